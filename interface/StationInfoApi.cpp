// The exported station-file functions: the boundary around station/.
#include "foundation/FailReply.h"
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"
#include "station/StationFileWriters.h"
#include "station/StationInfoQuery.h"

namespace unguarded {

BKReplyHandle BK_getKSStationInfo(UUTHandle handle, int key, char** value,
                                  unsigned long long* length) {
  CBKReply* reply = new CBKReply();
  if (handle == nullptr && length != nullptr) *length = 0;
  BK_RETURN_IF_NULL(reply, handle, "ahKSStation");
  stationinfo::BK_getKSStationInfo(bkUIDOf(handle), key, value, length, reply);
  return reply;
}

}  // namespace unguarded

BKReplyHandle BK_getKSStationInfo(UUTHandle handle, int key, char** value,
                                  unsigned long long* length) {
  return bkGuard(__func__, [&] {
    return unguarded::BK_getKSStationInfo(bkLiveSession(handle), key, value, length);
  });
}

void CreateStationInfoFile() {
  bkGuardVoid(__func__, [] { stationfiles::CreateStationInfoFile(); });
}

void CreateStationHealthFile() {
  bkGuardVoid(__func__, [] { stationfiles::CreateStationHealthFile(); });
}
