// Two checks that stations may call but that have no implementation: they
// answer BK_MSG_ERROR_UNIMPLEMENTED.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

namespace unguarded {

BKReplyHandle BK_isStationOK(char* stationIdentifier) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, stationIdentifier, "stationIdentifier");
  BK_LOG_ENTRY(kBlankUID);
  BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_UNIMPLEMENTED,
                "isStationOK API not implemented");
  BK_LOG_EXIT(kBlankUID);
  return reply;
}

BKReplyHandle BK_isUUTOK(UUTHandle handle) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_UNIMPLEMENTED,
                "isUUTOK API unimplemented");
  BK_LOG_EXIT(uut->getUID());
  return reply;
}

}  // namespace unguarded

BKReplyHandle BK_isStationOK(char* stationIdentifier) {
  return bkGuard(__func__, [&] { return unguarded::BK_isStationOK(stationIdentifier); });
}

BKReplyHandle BK_isUUTOK(UUTHandle handle) {
  return bkGuard(__func__, [&] { return unguarded::BK_isUUTOK(bkLiveSession(handle)); });
}
