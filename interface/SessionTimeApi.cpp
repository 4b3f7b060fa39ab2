// Explicit session times.
#include <time.h>

#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_setStartTime(UUTHandle handle, time_t when) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUT");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  if (!uut->createSpecificStartTime(when)) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_FILESYSTEM,
                  "Failed to create a manual start timestamp");
  } else {
    BK_LOG(uut->getUID(),
           "explicitly setting start time in uut_start : " << Util_makeTimestamp2(when));
  }
  BK_LOG_EXIT(uut->getUID());
  return reply;
}

BKReplyHandle BK_setStopTime(UUTHandle handle, time_t when) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUT");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  if (!uut->createSpecificStopTime(when)) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_FILESYSTEM,
                  "Failed to create a manual stop timestamp");
  } else {
    BK_LOG(uut->getUID(),
           "explicitly setting stop time in uut_stop : " << Util_makeTimestamp2(when));
  }
  BK_LOG_EXIT(uut->getUID());
  return reply;
}

}  // namespace unguarded

BKReplyHandle BK_setStartTime(UUTHandle handle, time_t when) {
  return bkGuard(__func__, [&] { return unguarded::BK_setStartTime(bkLiveSession(handle), when); });
}

BKReplyHandle BK_setStopTime(UUTHandle handle, time_t when) {
  return bkGuard(__func__, [&] { return unguarded::BK_setStopTime(bkLiveSession(handle), when); });
}
