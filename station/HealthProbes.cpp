// Health probes: each judges one report that another agent keeps in the health
// file (or the file's own age) and never reaches out to a network itself.
//
// A failure fills the caller's reply, if any, and is logged as an error; the
// fail policy may turn the status into a pass, but the probe still answers
// false.  A health value the probe cannot read fills the reply with a failure
// and yet answers true, so an agent that writes a bad file does not stop the
// line.  A time-out of the station info file that cannot be read is a failure.
#include "station/HealthProbes.h"

#include <stdint.h>
#include <time.h>

#include <cmath>
#include <string>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Log.h"
#include "foundation/Reply.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "interface/Bramblekit.h"

namespace {

void fillFailure(BKReplyHandle reply, unsigned message, const std::string& text) {
  if (reply == nullptr) return;
  CBKReply* target = static_cast<CBKReply*>(reply);
  target->setData(text);
  target->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_PROCESS_CONTROL, message));
}

void fillPass(BKReplyHandle reply) {
  if (reply != nullptr) static_cast<CBKReply*>(reply)->setStatus(bkBuildStatus(BK_PASS, 0, 0));
}

// Seconds from `then` to `now`, wrapped to 32 bits: the health agent writes
// 32-bit stamps and its readers compare them so.
int32_t elapsed32(int64_t now, int64_t then) {
  return static_cast<int32_t>(static_cast<uint32_t>(now) - static_cast<uint32_t>(then));
}

// Whole seconds of a time stamp with a fraction; out-of-range values are
// clamped rather than converted with undefined behaviour.
int64_t truncateSeconds(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 9.2e18) return INT64_MAX;
  if (value <= -9.2e18) return INT64_MIN;
  return static_cast<int64_t>(value);
}

Json::Value healthValue(const char* key) { return getSHCheck()->getValueFor("", key); }
Json::Value stationValue(const char* key) { return getKSInfo()->getValueFor("ksinfo", key); }

}  // namespace

// Fills the reply (if any) with the failure, logs it, and answers false.
#define BK_PROBE_FAIL(reply, message, text)          \
  do {                                               \
    std::string bk_probe_text_ = (text);             \
    fillFailure((reply), (message), bk_probe_text_); \
    BK_LOG_ERROR(bk_probe_text_);                    \
    return false;                                    \
  } while (0)

// The same report on the road of an unreadable value, which answers true.
#define BK_PROBE_UNREADABLE(reply, message, text)    \
  do {                                               \
    std::string bk_probe_text_ = (text);             \
    fillFailure((reply), (message), bk_probe_text_); \
    BK_LOG_ERROR(bk_probe_text_);                    \
    return true;                                     \
  } while (0)

namespace probe {

bool BK_isEtherNetOK(const std::string& uid, CBKReply* reply) {
  (void)uid;
  const unsigned message = BK_MSG_ERROR_ETHERNET_NOT_RESPONDING;
  getSHCheck()->refresh();
  if (!Util_fileExists(stationHealthCheckFilePath)) {
    BK_PROBE_FAIL(reply, message, "Station_health_check.json file does not exist.");
  }
  Json::Value ok = healthValue("ethernet_ok");
  // With or without a reply: a file being rewritten must not end the process.
  if (!ok.isInt()) {
    BK_PROBE_UNREADABLE(reply, message,
                        "Can't interpret ethernet_ok value from station_health_check.json file");
  }
  int value = ok.asInt();
  if (value == 0) {
    BK_PROBE_FAIL(reply, message,
                  "Value found in station_health_check_file [" + std::to_string(value) + "]");
  }
  // The caller's reply is left as it was on this road.
  return true;
}

bool BK_isNetWorkOK(const std::string& uid, CBKReply* reply) {
  const unsigned message = BK_MSG_ERROR_NETWORK_NOT_RESPONDING;
  getSHCheck()->refresh();
  if (!Util_fileExists(stationHealthCheckFilePath)) {
    BK_PROBE_FAIL(reply, message, "Station_health_check.json file does not exist.");
  }
  // A missing or mistyped time-out is 0: only a check of this very second passes.
  int timeout = 0;
  Json::Value configured = stationValue("NETWORK_NOT_OK_TIMEOUT");
  if (configured.isInt()) timeout = configured.asInt();
  BK_LOG(uid, "NETWORK_NOT_OK_TIMEOUT value for Network [" << timeout << "]");
  if (timeout < 0) {
    BK_LOG(uid, "NETWORK_NOT_OK_TIMEOUT < 0 [returning true]");
    return true;
  }
  Json::Value last = healthValue("network_last_successful_check_int");
  if (!last.isInt()) {
    BK_PROBE_UNREADABLE(reply, message, "Can't interpret network_last_successful_check_int value");
  }
  int64_t lastCheck = last.asInt();
  int64_t now = time(nullptr);
  int32_t elapsed = elapsed32(now, lastCheck);
  BK_LOG(uid, "Time now = [" << now << "] : network_last_successful_check_int time  = ["
                             << lastCheck << "]: Time elapsed  = [" << elapsed
                             << "]: NetWork Timeout from kssi = [" << timeout << "]");
  if (elapsed > timeout) {
    BK_PROBE_FAIL(reply, message, "Total time elapsed in secs. [" + std::to_string(elapsed) + "]");
  }
  fillPass(reply);
  return true;
}

bool BK_isKestrelOK(const std::string& uid, CBKReply* reply) {
  const unsigned message = BK_MSG_ERROR_KESTREL_NOT_RESPONDING;
  getSHCheck()->refresh();
  if (!Util_fileExists(stationHealthCheckFilePath)) {
    BK_PROBE_FAIL(reply, message, "Station_health_check.json file does not exist");
  }
  // A time-out that cannot be read cannot pass.
  int timeout = 0;
  if (!readStationInt(stationValue("KSSI_LASTUPDATE_TIMEOUT"), timeout)) {
    BK_PROBE_FAIL(reply, message,
                  "Can't interpret KSSI_LASTUPDATE_TIMEOUT value from ks_station_info.json file");
  }
  BK_LOG(uid, "KSSI_LASTUPDATE_TIMEOUT value for Kestrel [" << timeout << "]");
  if (timeout < 0) {
    BK_LOG(uid, "KSSI_LASTUPDATE_TIMEOUT < 0 [returning true]");
    return true;
  }
  // The agent writes this stamp with a fraction; a whole number means some
  // other writer, and is not trusted.
  Json::Value last = healthValue("kssi_last_successful_check");
  if (last.type() != Json::realValue) {
    BK_PROBE_UNREADABLE(reply, message, "Can not interpret kssi_last_successful_check value");
  }
  int64_t lastUpdate = truncateSeconds(last.asDouble());
  int64_t now = time(nullptr);
  int32_t elapsed = elapsed32(now, lastUpdate);
  if (elapsed > timeout) {
    BK_LOG(uid, "Time now = [" << now << "] : kssi file lastupdated = [" << lastUpdate
                               << "] : KS Timeout kssi = [" << timeout
                               << "] : Time elapsed in secs. = [" << elapsed << "]");
    BK_PROBE_FAIL(reply, message,
                  "KESTREL_NOT_OK: total time elapsed [" + std::to_string(elapsed) + "]");
  }
  fillPass(reply);
  return true;
}

bool BK_isMartenRunning(const std::string& uid, CBKReply* reply) {
  const unsigned message = BK_MSG_ERROR_MARTEN_NOT_RUNNING;
  // The forwarding agent rewrites the health file: its age alone tells
  // whether the agent runs, so the contents are not re-read.
  if (!Util_fileExists(stationHealthCheckFilePath)) {
    BK_PROBE_FAIL(reply, message, "[Station_Health_Check.json not found]");
  }
  int64_t age = static_cast<int64_t>(time(nullptr)) -
                static_cast<int64_t>(Util_fileModificationTime(stationHealthCheckFilePath));
  int timeout = 0;
  if (!readStationInt(stationValue("MARTEN_NOT_RUNNING_TIMEOUT"), timeout)) {
    BK_PROBE_FAIL(reply, message,
                  "Can't interpret MARTEN_NOT_RUNNING_TIMEOUT value from ks_station_info.json "
                  "file");
  }
  if (timeout < 0) {
    BK_LOG(uid, "MARTEN_NOT_RUNNING_TIMEOUT < 0 [returning true]");
    return true;
  }
  std::string text = "[Station_Health_Check file is [" + std::to_string(age) + "] secs. old]";
  BK_LOG(uid, text);
  if (age > timeout) BK_PROBE_FAIL(reply, message, text);
  fillPass(reply);
  return true;
}

}  // namespace probe
