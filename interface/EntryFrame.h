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

// Fails `reply` with `text` and the status built under the fail policy, and
// logs the text as an error at the caller's position.
#define BK_FAIL_REPLY(reply, msgClass, message, text)                          \
  do {                                                                         \
    std::string bk_fail_text_ = (text);                                        \
    (reply)->setData(bk_fail_text_);                                           \
    (reply)->setStatus(BK_buildStatus(BK_FAIL, (msgClass), (message)));        \
    BK_LOG_ERROR(bk_fail_text_);                                               \
  } while (0)

#endif  // BRAMBLEKIT_INTERFACE_ENTRYFRAME_H_
