#include "session/UUT.h"

#include <time.h>
#include <unistd.h>

#include <fstream>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Log.h"
#include "foundation/OutputFile.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"

const char* const state_names[5] = {"open", "done", "popping", "did", "commit"};

CUUT::CUUT()
    : state(UUT_STATE_OPEN),
      rootJson(Json::objectValue),
      testFailures(0),
      testPasses(0),
      testNAs(0),
      notSentCount(0),
      retentionPolicy(30),
      timeWhenSFCThreadCreated(-1),
      sfcUnitThread(),
      sfcUnitThreadState(std::make_shared<SFCThreadState>()),
      submittedCounts{0, 0, 0, 0, 0, 0},
      attributeSerialNumberCreated(false),
      attributeLimitsVersionCreated(false),
      attributeSoftwareNameCreated(false),
      attributeSoftwareVersionCreated(false),
      attributeStationIdentifierCreated(false),
      attributeSubStationIdentifierCreated(false),
      sfcQueryUnitThreadCreated(false),
      useStateSuffix(true),
      stopTimeSet(false),
      startTimeSet(false) {
  create();
  clearAllSubmittedCounts();
}

CUUT::~CUUT() {}

bool CUUT::create() {
  try {
    state = UUT_STATE_OPEN;
    UID = "";
    do {
      UID = Util_makeTimestamp(0) + "-" + newUUID();
      BK_LOG(UID, "UID = " << UID);
      uutPath = getPath();
      BK_LOG(UID, "Trying UID dir '" << uutPath << "'");
    } while (Util_fileExists(uutPath.c_str()));
    uutPath = getPath();

    // The station info file is read here and nowhere else in a session: the
    // settings of its start hold for the whole session.
    getKSInfo()->refresh();
    getSHCheck()->refresh();

    BK_LOG(UID, "Creating dir: " << uutPath);
    Util_createDirectories(uutPath.c_str());

    if (!startTimeSet) createTimestampFile(state);

    pdataNotSent = Json::Value(Json::arrayValue);
    rootJson["blobs"] = Json::Value(Json::arrayValue);
    rootJson["results"] = Json::Value(Json::arrayValue);

    CBKKSInfo* info = getKSInfo();
    Json::Value& station = rootJson["test_station_attributes"];
    station["bk_version"] = bk::kLibraryVersion;
    // Texts in the document whatever the station file holds: a number as its
    // digits, an array or object as the empty text.
    station["station_id"] = info->getTextFor("ksinfo", "STATION_ID");
    station["mac_addr"] = info->getTextFor("ksinfo", "MAC");
    station["station_name"] = info->getTextFor("ksinfo", "STATION_TYPE");
    pdataNotSent = info->getValueFor("ksinfo", "PDATA_TO_SEND_TO_TRAX");
    rootJson["test_attributes"]["pdata_not_sent_to_trax"] = pdataNotSent;
    rootJson["test_attributes"]["signature_version"] =
        info->getTextFor("ksinfo", "SIGNATURE_VERSION");

    if (pdataNotSent.size() != 0) {
      BK_LOG(UID, "pdata not sent to TRAX of priority type " << pdataNotSent.toStyledString());
    }
    return true;
  } catch (...) {
    BK_LOG_ERROR("From CUUT::create() unknown exception.");
    return false;
  }
}

std::string CUUT::getBasePath() { return vaultuutdataPath + UID; }

std::string CUUT::getPath(UUTState s) {
  static const char* const kSuffixes[5] = {"", ".done", ".popping", ".did", ".commit"};
  std::string path = getBasePath();
  if (useStateSuffix) {
    path += static_cast<unsigned>(s) < 5 ? kSuffixes[s] : ".BAD_UUT_STATE";
  } else if (s == UUT_STATE_COMMIT) {
    path += ".commit";
  }
  return path + platformPathSeparator;
}

std::string CUUT::getPath() { return getPath(state); }

bool CUUT::isUIDValid() { return Util_directoryExists(getPath().c_str()); }

void CUUT::createTimestampFile(int s) {
  if (s == -1) s = static_cast<int>(state);
  const std::string text = Util_makeTimestamp2(0);
  if (s == UUT_STATE_OPEN) {
    rootJson["test_attributes"][uut_startTime] = text;
  } else if (s == UUT_STATE_DONE) {
    rootJson["test_attributes"][uut_stopTime] = text;
  }
  BK_LOG(UID, text);
}

namespace {

// Whether `t` is a local time at all; beyond the calendar's range the text
// would be made from nothing.  0 stands for now.
bool isLocalTime(long t) {
  const time_t when = static_cast<time_t>(t);
  struct tm local;
  return t == 0 || localtime_r(&when, &local) != nullptr;
}

}  // namespace

bool CUUT::createSpecificStartTime(long t) {
  if (!isLocalTime(t)) return false;
  std::string text = Util_makeTimestamp2(t);
  if (text.empty()) return false;
  rootJson["test_attributes"][uut_startTime] = text;
  startTimeSet = true;
  return true;
}

bool CUUT::createSpecificStopTime(long t) {
  if (!isLocalTime(t)) return false;
  std::string text = Util_makeTimestamp2(t);
  if (text.empty()) return false;
  rootJson["test_attributes"][uut_stopTime] = text;
  stopTimeSet = true;
  return true;
}

CBKReply* CUUT::cancel() {
  CBKReply* reply = new CBKReply();
  time_t started = time(nullptr);
  std::string path = getPath();
  bool deleted = false;
  for (;;) {
    try {
      deleted = Util_deletDirectory(path.c_str()) == 0;
    } catch (const std::exception& e) {
      BK_LOG(UID, "cancel"
                      << " runtime exception." << e.what());
    }
    if (deleted) break;
    Util_sleep(100);
    if (time(nullptr) - started > 4) break;
  }
  if (deleted) {
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    BK_LOG(UID, "Canceled UUT at '" << path << "'");
  } else {
    std::string text = "Could not delete the temporary UUT directory '" + path + "'";
    reply->setData(text);
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_FILESYSTEM));
    BK_LOG_ERROR(text);
  }
  return reply;
}

CBKReply* CUUT::getSerialNumber(std::string& out) {
  CBKReply* reply = new CBKReply();
  if (serialNumber.empty()) {
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_NO_ATTRIBUTE));
    return reply;
  }
  out = serialNumber;
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  return reply;
}

void CUUT::clearAllSubmittedCounts() {
  for (uint32_t& count : submittedCounts) count = 0;
}

std::string bkUIDOf(const void* handle) {
  if (handle == nullptr) return kBlankUID;
  return static_cast<const CUUT*>(handle)->getUID();
}
