// The exported unit process checks: the boundary around sfc/UnitProcessChecks.
#include "foundation/FailReply.h"
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"
#include "sfc/UnitProcessChecks.h"

namespace {

// Neither check has a reply to return, so a bad call is answered in the
// reply when there is one, and always in the log.
bool rejectBadCall(void* handle, void* reply, const char* function) {
  if (reply == nullptr) {
    bkLogErrorLine(__FILE__, __LINE__, function, "NULL reply handle passed as a parameter");
    return true;
  }
  if (handle == nullptr) {
    bkRejectNullArgument(static_cast<CBKReply*>(reply), "UUTHandle", __FILE__, __LINE__, function);
    return true;
  }
  return false;
}

}  // namespace

namespace unguarded {

bool BK_isSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply, const char*) {
  if (rejectBadCall(handle, reply, __FUNCTION__)) return false;
  return unitcheck::BK_isSFCQueryUnitOK(static_cast<CUUT*>(handle)->unitCheckView(),
                                        static_cast<CBKReply*>(reply));
}

bool BK_isUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply, const char*) {
  // A bad call does not report the unit as out of process.
  if (rejectBadCall(handle, reply, __FUNCTION__)) return false;
  return unitcheck::BK_isUnitOutOfProcess(static_cast<CUUT*>(handle)->getUID(),
                                          static_cast<CBKReply*>(reply));
}

}  // namespace unguarded

bool BK_isSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply, const char* serialNumber) {
  return bkGuard(__func__, reply, [&] {
    return unguarded::BK_isSFCQueryUnitOK(bkLiveSession(handle), bkLiveReply(reply), serialNumber);
  });
}

bool BK_isUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply, const char* serialNumber) {
  return bkGuard(__func__, reply, [&] {
    return unguarded::BK_isUnitOutOfProcess(bkLiveSession(handle), bkLiveReply(reply),
                                            serialNumber);
  });
}
