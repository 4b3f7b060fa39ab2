// Opening, cancelling and freeing a session.
#include <unistd.h>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/LogHousekeeping.h"
#include "foundation/Mutexes.h"
#include "foundation/VersionFile.h"
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"
#include "sfc/UnitCheckThread.h"

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_UUTStart(UUTHandle* outHandle) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, outHandle, "UUTHandle");
  std::string infoFile = std::string(vaultStationConfigPath) + ksinfo;
  std::string healthFile = std::string(vaultStationConfigPath) + stationHealthCheck;
  if (!Util_fileExists(infoFile.c_str()) || !Util_fileExists(healthFile.c_str())) {
    *outHandle = nullptr;
    std::string text =
        "From BK_UUTStart: Could not create a new CUUT object because ks_station_info.json or "
        "station_health_check.json file does not exist";
    reply->setData(text);
    // Set directly: the fail policy lives in the very file that may be missing.
    reply->setStatus(kStatusFailBit);
    BK_LOG_ERROR(text);
    return reply;
  }
  CUUT* uut = new CUUT();
  // No session without its directory: nothing it is given could be kept.
  if (!uut->isUIDValid()) {
    const std::string text =
        "From BK_UUTStart: Could not create the UUT directory '" + uut->getPath() + "'";
    delete uut;
    *outHandle = nullptr;
    reply->setData(text);
    reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_FILESYSTEM));
    BK_LOG_ERROR(text);
    return reply;
  }
  bkHandleAdd(uut, BKHandleKind::Session);
  *outHandle = uut;
  writeBramblekitVersionToFile();
  // Logged only now, since the line carries the new session's UID.
  BK_LOG_ENTRY(uut->getUID());
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  BK_LOG_EXIT(uut->getUID());
  return reply;
}

BKReplyHandle BK_UUTCancel(UUTHandle handle) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_RETURN_DELEGATED(reply, uut->getUID(), uut->cancel());
}

void BK_UID_destroy(UUTHandle handle) {
  Util_rotateLog(bramblekitLogFilePath);
  Util_deleteLogs(vaultRootPath);
  unlink(sfcstatusfilepath);
  if (handle == nullptr) return;
  CUUT* uut = static_cast<CUUT*>(handle);
  sfcSessionEnded(uut->getUID());
  bkHandleRemove(uut, BKHandleKind::Session);
  delete uut;
}

}  // namespace unguarded

BKReplyHandle BK_UUTStart(UUTHandle* outHandle) {
  return bkGuard(__func__, [&] { return unguarded::BK_UUTStart(outHandle); });
}

BKReplyHandle BK_UUTCancel(UUTHandle handle) {
  return bkGuard(__func__, [&] {
    CUUT* uut = static_cast<CUUT*>(bkLiveSession(handle));
    BKReplyHandle reply = unguarded::BK_UUTCancel(uut);
    if (uut != nullptr) sfcSessionEnded(uut->getUID());
    return reply;
  });
}

// A handle that is not a live session is treated as NULL: the housekeeping
// runs, nothing is freed.
void BK_UID_destroy(UUTHandle handle) {
  bkGuardVoid(__func__, [&] { unguarded::BK_UID_destroy(bkLiveSession(handle)); });
}
