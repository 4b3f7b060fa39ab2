// The two checks that judge the unit check's response file: did shop-floor
// control answer in time, and did it say that the unit is out of process?
// Both look once and answer; neither deletes the file, stops the thread or
// touches the session.  They take no lock: a half-written answer reads as ok
// and the next check corrects it.
#include "sfc/UnitProcessChecks.h"

#include <time.h>

#include <fstream>
#include <string>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Log.h"
#include "foundation/StationFeatures.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "interface/Bramblekit.h"

namespace {

const char* const kFeature = "SFC_QUERY_UNIT_ON_OFF";

// The first line of the file, "" when it cannot be opened or is empty.
std::string firstLine(const std::string& path) {
  std::ifstream in(path.c_str());
  std::string line;
  if (in.is_open()) std::getline(in, line);
  return line;
}

unsigned passStatus() { return bkBuildStatus(BK_PASS, 0, 0); }

// A failed check is logged as an error before and after the reply is filled.
void failReply(CBKReply* reply, const std::string& text, unsigned message) {
  BK_LOG_ERROR(text);
  reply->setData(text);
  reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_PROCESS_CONTROL, message));
  BK_LOG_ERROR(text);
}

bool answer(CBKReply* reply, const std::string& text, bool result) {
  reply->setData(text);
  reply->setStatus(passStatus());
  return result;
}

bool queryUnitOK(const UnitCheckView& uut, CBKReply* reply) {
  if (!Util_featureON(kFeature)) {
    return answer(reply, "SFC_QUERY_UNIT_ON_OFF feature is OFF in the ks_station_info.json", true);
  }
  if (!uut.serialNumberAdded) {
    return answer(reply, "BK_AMIOkay/BK_isSFCQueryUnitOK API called before adding serial number",
                  true);
  }
  time_t created = uut.startedAt;
  if (!uut.threadStarted || created == -1) {
    return answer(
        reply, "BK_AMIOkay/BK_isSFCQueryUnitOK API called before the sfc thread was created", true);
  }
  Json::Value timeoutValue = getKSInfo()->getValueFor("ksinfo", "SFC_TIMEOUT");
  if (!timeoutValue.isInt()) {
    return answer(reply,
                  "BK_AMIOkay/BK_isSFCQueryUnitOK: Can not get valid value for SFC_TIMEOUT from "
                  "ks_station_info.json file, no action",
                  true);
  }
  // Used as it stands: 0 or less is not replaced here, unlike in the thread.
  long timeout = timeoutValue.asInt();
  time_t now = time(nullptr);
  long elapsed = static_cast<long>(now - created);
  std::string path = std::string(tempFilesPath) + uut.uid;

  if (Util_fileExists(path.c_str())) {
    // The file's age plays no part once it is there.
    std::string found =
        "BK_AMIOkay/BK_isSFCQueryUnitOK: SFC Status response file found, checking valid or "
        "invalid.";
    BK_LOG(uut.uid, found);
    std::string line = firstLine(path);
    if (line.find("No response from SFC") != std::string::npos) {
      failReply(reply, found + "SFC_QUERY_UNIT [No response from SFC]",
                BK_MSG_ERROR_SFC_QUERY_UNIT);
      return false;
    }
    return answer(reply, line, true);
  }
  if (elapsed < timeout) {
    BK_LOG(uut.uid, "SFC_QUERY_UNIT: timeNow[" << now << "] - timeWhenSFCThreadCreated [" << created
                                               << "] = [" << elapsed << "] < SFC_TIMEOUT ["
                                               << timeout << "] success.");
    return answer(reply, "BK_AMIOkay/BK_isSFCQueryUnitOK: No action, still within the SFC_TIME_OUT",
                  true);
  }
  if (elapsed > timeout) {
    std::string text = "BK_AMIOkay/BK_isSFCQueryUnitOK: SFC_QUERY_UNIT: timeNow[" +
                       std::to_string(now) + "] - timeWhenSFCThreadCreated [" +
                       std::to_string(created) + "] = [" + std::to_string(elapsed) +
                       "] > SFC_TIMEOUT [" + std::to_string(timeout) +
                       "] and response file does not exist";
    failReply(reply, text, BK_MSG_ERROR_SFC_QUERY_UNIT);
    return false;
  }
  return answer(reply, "We should never get here ??", true);
}

bool unitOutOfProcess(const std::string& uid, CBKReply* reply) {
  // The same switch as the unit check, whatever this text calls it.
  if (!Util_featureON(kFeature)) {
    return answer(reply, "OUT_OF_PROCESS feature is OFF in the ks_station_info.json", false);
  }
  std::string path = std::string(tempFilesPath) + uid;
  if (!Util_fileExists(path.c_str())) {
    return answer(reply, "SFC Status file does not exist, too early to call api:", false);
  }
  try {
    std::string line = firstLine(path);
    if (line.find("UNIT OUT OF PROCESS") != std::string::npos ||
        line.find("UNIT_OUT_OF_PROCESS") != std::string::npos) {
      // The answers begin with this text when they hold it; the count of
      // p + 17 characters is what the servers' readers expect to be cut.
      size_t p = line.find("Response=0 SFC_OK");
      if (p != std::string::npos) line.erase(p, p + 17);
      failReply(reply, line, BK_MSG_ERROR_UNIT_OUT_OF_PROCESS);
      return true;
    }
  } catch (...) {
    return answer(reply, "sfc status file exists but fail to open", false);
  }
  return answer(reply, "UNIT PROCESS CHECK OK", false);
}

}  // namespace

namespace unitcheck {

bool BK_isSFCQueryUnitOK(const UnitCheckView& view, CBKReply* reply) {
  BK_LOG_ENTRY(view.uid);
  bool ok = queryUnitOK(view, reply);
  BK_LOG_EXIT(view.uid);
  return ok;
}

bool BK_isUnitOutOfProcess(const std::string& uid, CBKReply* reply) {
  BK_LOG_ENTRY(uid);
  bool out = unitOutOfProcess(uid, reply);
  BK_LOG_EXIT(uid);
  return out;
}

}  // namespace unitcheck
