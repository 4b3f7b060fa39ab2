// The session's starters of the ready SFC queries; the threads are sfc/'s.
#include "foundation/Log.h"
#include "session/UUT.h"
#include "sfc/QueryThreads.h"

bool CUUT::SFC_ServerVersion() {
  if (!startServerVersionQuery(&sfcServerVersionThread)) {
    BK_LOG(UID, "SFC QR server version thread creation failed\n");
    return false;
  }
  BK_LOG(UID, "SFC QR server version thread created\n");
  return true;
}

bool CUUT::SFC_QueryHistory(std::string serialNumber) {
  if (!startHistoryQuery(serialNumber, &sfcQueryHistoryThread)) {
    BK_LOG(UID, "SFC Query History thread creation failed\n");
    return false;
  }
  BK_LOG(UID, "SFC Query History thread created\n");
  return true;
}

// The record by station name, also for a plain record query.
static bool startRecordQuery(CUUT* uut, const std::string& serialNumber, pthread_t* id) {
  bool attempted = false;
  if (!startStationNameQuery(serialNumber, id, &attempted)) {
    if (attempted) BK_LOG(uut->UID, "SFC QR station name thread creation failed\n");
    return false;
  }
  BK_LOG(uut->UID, "SFC QR station name thread created\n");
  return true;
}

bool CUUT::SFC_QueryRecord(std::string serialNumber) {
  return startRecordQuery(this, serialNumber, &sfcQueryRecordThread);
}

bool CUUT::SFC_QueryRecordByStationName(std::string serialNumber) {
  return startRecordQuery(this, serialNumber, &sfcQueryRecordByStationNameThread);
}
