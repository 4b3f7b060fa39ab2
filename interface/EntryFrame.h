// The frame every exported entry point shares: NULL tests, entry and exit
// lines.  Kept in one place so that every entry point answers a bad call the
// same way.
#ifndef BRAMBLEKIT_INTERFACE_ENTRYFRAME_H_
#define BRAMBLEKIT_INTERFACE_ENTRYFRAME_H_

#include <string>

#include "foundation/Log.h"
#include "interface/Reply.h"
#include "interface/Status.h"

// Fills `reply` with the answer to a NULL argument and logs it as an error.
void bkRejectNullArgument(CBKReply* reply, const char* name, const char* file, int line,
                          const char* function);

// Ends the entry point when `pointer` is NULL: no entry line, no exit line.
#define BK_RETURN_IF_NULL(reply, pointer, name)                                \
  do {                                                                         \
    if ((pointer) == nullptr) {                                                \
      bkRejectNullArgument((reply), (name), __FILE__, __LINE__, __FUNCTION__); \
      return static_cast<BKReplyHandle>(reply);                                \
    }                                                                          \
  } while (0)

#define BK_LOG_ENTRY(uid) BK_LOG((uid), "Entering " << __FUNCTION__)
#define BK_LOG_EXIT(uid) BK_LOG((uid), "Exiting " << __FUNCTION__)

// Ends an entry point whose whole work is `call`, a session method that makes
// its own reply: entry line, the call, exit line.  `reply` served only the
// NULL tests and is freed.
#define BK_RETURN_DELEGATED(reply, uid, call) \
  do {                                        \
    BK_LOG_ENTRY(uid);                        \
    delete (reply);                           \
    CBKReply* bk_delegated_ = (call);         \
    BK_LOG_EXIT(uid);                         \
    return bk_delegated_;                     \
  } while (0)

// Fails `reply` with `text` and the status built under the fail policy, and
// logs the text as an error at the given position.
void bkFailReply(CBKReply* reply, unsigned msgClass, unsigned message, const std::string& text,
                 const char* file, int line, const char* function);

// bkFailReply at the caller's position.
#define BK_FAIL_REPLY(reply, msgClass, message, text) \
  bkFailReply((reply), (msgClass), (message), (text), __FILE__, __LINE__, __FUNCTION__)

#endif  // BRAMBLEKIT_INTERFACE_ENTRYFRAME_H_
