// The frame every exported entry point shares: NULL tests, entry and exit
// lines.  Kept in one place so that every entry point answers a bad call the
// same way.
#ifndef BRAMBLEKIT_INTERFACE_ENTRYFRAME_H_
#define BRAMBLEKIT_INTERFACE_ENTRYFRAME_H_

#include <new>
#include <string>

#include "foundation/FailReply.h"
#include "foundation/LiveHandles.h"
#include "foundation/Log.h"
#include "foundation/Reply.h"
#include "interface/Bramblekit.h"

// Ends the entry point when `pointer` is NULL: no entry line, no exit line.
#define BK_RETURN_IF_NULL(reply, pointer, name)                                \
  do {                                                                         \
    if ((pointer) == nullptr) {                                                \
      bkRejectNullArgument((reply), (name), __FILE__, __LINE__, __FUNCTION__); \
      return static_cast<BKReplyHandle>(reply);                                \
    }                                                                          \
  } while (0)

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

// ---- The boundary: no exception reaches the station. ----------------------
//
// Every exported function runs its work through one of the guards below.
// Library code never calls an exported function, so each guard is the
// outermost frame of the library on its thread.

// Logs `name` + " WHOOPS! unhandled exception!" as an error, with the
// exception's text when it has one.  Call only from inside a catch block.
void bkLogEscapedException(const char* name);
// Makes `reply` (when it is one) the failure for an escaped exception: class
// 1, message 0, with the fail bit set whatever the policy says, since the
// work did not happen.
void bkFailForException(CBKReply* reply, const char* name);

// What a call leaves of the log's held lines when it returns.
// The calls a station makes once per result (the test records, the replies,
// BK_addResult) leave them held; every other call writes them, so that the
// log is complete whenever the station is outside that loop.
enum class BKLogAtExit { Write, Hold };

class BKLogWriteOnExit {
 public:
  explicit BKLogWriteOnExit(BKLogAtExit atExit) : write_(atExit == BKLogAtExit::Write) {}
  ~BKLogWriteOnExit() {
    if (write_) bkLogFlush();
  }
  BKLogWriteOnExit(const BKLogWriteOnExit&) = delete;
  BKLogWriteOnExit& operator=(const BKLogWriteOnExit&) = delete;

 private:
  bool write_;
};

// Runs `work`; an exception it lets out is logged and answered by
// `onException()`.
template <typename Work, typename OnException>
auto bkGuardWith(const char* name, Work&& work, OnException&& onException,
                 BKLogAtExit atExit = BKLogAtExit::Write) -> decltype(work()) {
  BKLogWriteOnExit logAtExit(atExit);
  try {
    return work();
  } catch (...) {
    try {
      bkLogEscapedException(name);
    } catch (...) {
      // The log itself failed: the answer below still goes out.
    }
    return onException();
  }
}

// Stations pass values outside the enumerations: a closure carries such an
// argument as its integer, so that no out-of-range enum is ever loaded.

// For the entry points that answer with a new reply.
template <typename Work>
BKReplyHandle bkGuard(const char* name, Work&& work, BKLogAtExit atExit = BKLogAtExit::Write) {
  return bkGuardWith(
      name, work,
      [name]() -> BKReplyHandle {
        CBKReply* reply = new (std::nothrow) CBKReply();
        if (reply != nullptr) bkFailForException(reply, name);
        return reply;
      },
      atExit);
}

// For the entry points that answer bool: false, and their reply argument,
// if it is a live reply, carries the failure.
template <typename Work>
bool bkGuard(const char* name, BKReplyHandle reply, Work&& work,
             BKLogAtExit atExit = BKLogAtExit::Write) {
  return bkGuardWith(
      name, work,
      [name, reply]() {
        if (bkHandleLive(reply, BKHandleKind::Reply)) {
          bkFailForException(static_cast<CBKReply*>(reply), name);
        }
        return false;
      },
      atExit);
}

// For the rest: `fallback` is the answer after an exception.
template <typename Result, typename Work>
Result bkGuardValue(const char* name, Result fallback, Work&& work,
                    BKLogAtExit atExit = BKLogAtExit::Write) {
  return bkGuardWith(
      name, work, [fallback]() { return fallback; }, atExit);
}

// For the entry points without a result.
template <typename Work>
void bkGuardVoid(const char* name, Work&& work, BKLogAtExit atExit = BKLogAtExit::Write) {
  bkGuardWith(
      name, work, []() {}, atExit);
}

inline UUTHandle bkLiveSession(UUTHandle handle) { return bkLive(handle, BKHandleKind::Session); }
inline BKReplyHandle bkLiveReply(BKReplyHandle reply) { return bkLive(reply, BKHandleKind::Reply); }

#endif  // BRAMBLEKIT_INTERFACE_ENTRYFRAME_H_
