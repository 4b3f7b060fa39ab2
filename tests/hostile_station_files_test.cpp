// Station files as another agent may leave them: empty or half written while
// being replaced, of the wrong shape, with keys missing or of the wrong type.
// No reader of them throws, and the checks answer with their failures.
#include <gtest/gtest.h>
#include <json/json.h>

#include <string>
#include <vector>

#include "foundation/Reply.h"
#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"
#include "support/SessionRun.h"

namespace {

using namespace bk_test;

std::string styled(const Json::Value& value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

// Short files are read again after a pause as files being rewritten; these
// are padded past that length so that each is judged at once.
std::string padded(std::string text) {
  if (text.size() < 1100) text.append(1100 - text.size(), ' ');
  return text;
}

struct StationFiles {
  const char* name;
  std::string info;
  std::string health;
};

std::vector<StationFiles> hostileFiles() {
  const std::string info = styled(readyStationInfo());
  const std::string health = styled(sampleHealth());

  Json::Value missing = readyStationInfo();
  for (const char* key : {"SIGNATURE_EXPIRATION", "KSSI_LASTUPDATE_TIMEOUT",
                          "MARTEN_NOT_RUNNING_TIMEOUT", "NETWORK_NOT_OK_TIMEOUT", "SFC_TIMEOUT"}) {
    missing["ksinfo"].removeMember(key);
  }
  missing["ksinfo"].removeMember("SIGNATURE_VERSION");
  missing["lifeline"] = Json::Value(Json::objectValue);

  Json::Value texts = readyStationInfo();
  for (const char* key : {"SIGNATURE_EXPIRATION", "KSSI_LASTUPDATE_TIMEOUT",
                          "MARTEN_NOT_RUNNING_TIMEOUT", "NETWORK_NOT_OK_TIMEOUT", "SFC_TIMEOUT",
                          "MAX_PDATA_TESTS_ALLOWED", "MAX_BLOB_SIZE_ALLOWED_IN_BYTES"}) {
    texts["ksinfo"][key] = "15";
  }
  texts["ksinfo"]["SIGNATURE_VERSION"] = Json::Value(Json::arrayValue);
  texts["ksinfo"]["STATION_ID"] = Json::Value(Json::objectValue);
  for (const std::string& key : texts["lifeline"].getMemberNames()) texts["lifeline"][key] = "1";
  Json::Value textHealth = sampleHealth();
  for (const std::string& key : textHealth.getMemberNames()) textHealth[key] = "1";

  return {
      {"empty", padded(""), padded("")},
      {"array", padded("[]"), padded("[]")},
      // Cut just inside ksinfo: none of the entries the checks read arrived.
      {"truncated", padded(info.substr(0, info.find("\"ksinfo\"") + 12)),
       padded(health.substr(0, health.size() / 2))},
      {"keys missing", styled(missing), padded("{}")},
      {"texts for numbers", styled(texts), padded(styled(textHealth))},
      {"nested too deep", padded(std::string(5000, '[')), padded(std::string(5000, '['))},
  };
}

TEST(HostileStationFiles, NoReaderThrowsAndChecksFail) {
  for (const StationFiles& files : hostileFiles()) {
    SCOPED_TRACE(files.name);
    writeFile(kStationInfoPath, files.info);
    writeFile(kHealthPath, files.health);
    UUTHandle uut = nullptr;
    ASSERT_NO_THROW(BK_reply_destroy(BK_UUTStart(&uut)));
    ASSERT_NE(uut, nullptr);

    CBKReply reply;
    EXPECT_FALSE(BK_isSignatureOK(&reply));
    EXPECT_FALSE(BK_isSigExpOK(&reply));
    bool (*const probes[])(UUTHandle, BKReplyHandle) = {BK_isEtherNetOK, BK_isNetWorkOK,
                                                        BK_isKestrelOK, BK_isMartenRunning};
    for (const auto probe : probes) {
      EXPECT_NO_THROW(probe(uut, &reply));
      EXPECT_NO_THROW(probe(uut, nullptr));
    }
    for (unsigned message = 0; message < 36; ++message) {
      for (unsigned msgClass : {0u, 1u, 2u, 4u, 32u}) {
        EXPECT_NO_THROW(BK_isFailPassive(msgClass, message));
        EXPECT_NO_THROW(BK_buildStatus(BK_FAIL, msgClass, message));
      }
    }
    BKReplyHandle answer = nullptr;
    EXPECT_NO_THROW(answer = BK_amIOkay(uut, kSerial));
    EXPECT_FALSE(BK_success(answer)) << BK_reply_getError(answer);
    BK_reply_destroy(answer);
    EXPECT_NO_THROW(BK_reply_destroy(BK_UUTDone(uut)));
    BK_UID_destroy(uut);
  }
}

// Time-outs of the station file that cannot be read fail their probes with a
// text that names them.
TEST(HostileStationFiles, UnreadableTimeoutsFailTheirProbes) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["KSSI_LASTUPDATE_TIMEOUT"] = "45";
  info["ksinfo"].removeMember("MARTEN_NOT_RUNNING_TIMEOUT");
  writeStationFiles(info);
  getKSInfo()->refresh();
  const std::pair<bool (*)(UUTHandle, BKReplyHandle), const char*> probes[] = {
      {BK_isKestrelOK,
       "Can't interpret KSSI_LASTUPDATE_TIMEOUT value from ks_station_info.json file"},
      {BK_isMartenRunning,
       "Can't interpret MARTEN_NOT_RUNNING_TIMEOUT value from ks_station_info.json file"}};
  for (const auto& [probe, text] : probes) {
    CBKReply reply;
    EXPECT_FALSE(probe(nullptr, &reply));
    EXPECT_FALSE(BK_success(&reply));
    EXPECT_EQ(reply.getData(), std::string(text));
  }
}

}  // namespace
