// Failing a reply: the text, the status under the fail policy, and the error
// line in the log, so that every layer answers a fault the same way.
#ifndef BRAMBLEKIT_FOUNDATION_FAILREPLY_H_
#define BRAMBLEKIT_FOUNDATION_FAILREPLY_H_

#include <string>

#include "foundation/Log.h"
#include "foundation/Reply.h"
#include "foundation/StatusWord.h"

// Fills `reply` with the answer to a NULL argument and logs it as an error.
void bkRejectNullArgument(CBKReply* reply, const char* name, const char* file, int line,
                          const char* function);

// Fails `reply` with `text` and the status built under the fail policy, and
// logs the text as an error at the given position.
void bkFailReply(CBKReply* reply, unsigned msgClass, unsigned message, const std::string& text,
                 const char* file, int line, const char* function);

// bkFailReply at the caller's position.
#define BK_FAIL_REPLY(reply, msgClass, message, text) \
  bkFailReply((reply), (msgClass), (message), (text), __FILE__, __LINE__, __FUNCTION__)

#endif  // BRAMBLEKIT_FOUNDATION_FAILREPLY_H_
