// Done: the required attributes, the station's last checks, the end of the
// unit-check thread, the failing test that a failure becomes, and the move to
// UID.did.
#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

class DoneTest : public SessionTest {
 protected:
  // The one failing test that done adds, or a null value.
  Json::Value fatalTest() {
    for (const Json::Value& result : uut_->getRootJson()["results"]) {
      if (result["test"].asString() == "FATAL ERROR") return result;
    }
    return Json::Value();
  }
};

TEST_F(DoneTest, CleanSessionMovesToDidOnce) {
  CUUT* uut = filled(2, 0, 0, false);
  EXPECT_TRUE(answered(done(), true, 0, "Digital signature verified OK"));
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
  EXPECT_FALSE(fileExists(dirOf(uut, "")));
  EXPECT_TRUE(uut->getRootJson()["test_attributes"].isMember("uut_stop"));
  // No limits version given: the software version stands in.
  EXPECT_EQ(uut->getRootJson()["test_station_attributes"]["limits_version"].asString(), "4.2.0");
  EXPECT_TRUE(fatalTest().isNull());
  // A second done names both states and moves nothing.
  EXPECT_TRUE(
      answered(done(), false, BK_buildStatus(BK_FAIL, 1, 4),
               "The UUT object was not valid for this transition type. state from=did to=done"));
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
}

TEST_F(DoneTest, MissingSerialNumberKeepsSessionOpen) {
  CUUT* uut = replace(startSession());
  expectSuccess(BK_addAttribute(uut, "softwarename", "sw"), "softwarename");
  expectSuccess(BK_addAttribute(uut, "softwareversion", "1"), "softwareversion");
  const Answer answer = done();
  EXPECT_FALSE(answer.success);
  EXPECT_EQ(answer.text,
            "UUTDone() was called before a 'serial number' attribute was created or bad serial "
            "number.");
  EXPECT_EQ(uut->state, UUT_STATE_OPEN);
  EXPECT_TRUE(fileExists(dirOf(uut, "")));
}

TEST_F(DoneTest, PassiveFailuresBecomeFailingTestBehindPassingReply) {
  Json::Value info = readyStationInfo();
  info["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = 0;
  Json::Value health = sampleHealth();
  health["ethernet_ok"] = 0;
  writeReadyStation(info, health);
  CUUT* uut = filled(2);
  EXPECT_TRUE(answered(done(), true, 0, ""));
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_FALSE(uut->pendingFailure.active());
  EXPECT_EQ(uut->testFailures, 1u);
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "EtherNet unplugged [PASSIVE]");
  EXPECT_EQ(fatalTest()["result"].asString(), "fail");
  // Logged under done, not under the helper that ran the check.
  EXPECT_EQ(countLines(readLog(), "[" + uut->getUID() + " - done]: EtherNet unplugged [PASSIVE]"),
            1u);

  // An expired signature is PASSIVE too.
  info = readyStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) - 60);
  writeReadyStation(info);
  filled(2);
  EXPECT_TRUE(done().success);
  EXPECT_FALSE(uut_->pendingFailure.active());
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "Signature NOT OK [PASSIVE]: ");

  // A policy entry that cannot be read never softens the fault.
  info = readyStationInfo();
  info["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = "0";
  writeReadyStation(info, health);
  filled(2);
  EXPECT_FALSE(done().success);
  EXPECT_TRUE(uut_->pendingFailure.active());
  EXPECT_NE(fatalTest()["sub_test"].asString().find("[ACTIVE]"), std::string::npos);
}

TEST_F(DoneTest, ActiveFailuresFailReplyButStillMove) {
  // An earlier ACTIVE failure, as am-I-okay leaves it.
  CUUT* uut = filled(2);
  unplugEthernet();
  const Answer found = amIOkay();
  ASSERT_FALSE(found.success);
  EXPECT_TRUE(answered(done(), false, kStatusFailBit | (32u << 20) | 34u, found.text));
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "Ethernet UNPLUGGED: [ACTIVE] ");
  EXPECT_EQ(fatalTest()["message"].asString(), found.text);

  // A station file whose signature no longer holds: ACTIVE whatever the policy.
  writeReadyStation();
  uut = filled(2);
  Json::Value tampered = parseFile(kStationInfoPath);
  tampered["ksinfo"]["LINE_NUMBER"] = "L08";
  writeStationFiles(tampered, sampleHealth());
  const Answer answer = done();
  EXPECT_FALSE(answer.success);
  EXPECT_EQ(answer.status & kStatusFailBit, kStatusFailBit);
  EXPECT_EQ(answer.text.rfind("ERROR: ks_station_info signature NOT OK,", 0), 0u) << answer.text;
  EXPECT_EQ(uut->pendingFailure.name(), "Signature  NOT OK [ACTIVE]:");
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
  EXPECT_EQ(uut->testFailures, 1u);
}

TEST_F(DoneTest, ChecksThatThrowFailTheUnit) {
  // A mistyped expiry and the ethernet down: the checks that could not run
  // to the end never let the unit pass.
  Json::Value info = readyStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = "tomorrow";
  writeReadyStation(info);
  CUUT* uut = filled(2);
  ASSERT_FALSE(uut->pendingFailure.active());
  Json::Value health = sampleHealth();
  health["ethernet_ok"] = 0;
  writeFile(kHealthPath, health.toStyledString());
  EXPECT_FALSE(done().success);
  EXPECT_TRUE(uut->pendingFailure.active());
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  ASSERT_TRUE(commit().success);
  const Json::Value attributes = parseFile(dirOf(uut, ".commit/results.Json"))["test_attributes"];
  EXPECT_EQ(attributes["test_result"].asString(), "FAIL");
  EXPECT_FALSE(attributes.isMember("override"));
}

TEST_F(DoneTest, OwnFailureRecordPassesTheCountLimitAndIsCutToFit) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["MAX_PDATA_TESTS_ALLOWED"] = 2;
  info["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  writeReadyStation(info);
  CUUT* uut = filled(2);
  // The unit check the serial number started ends without a client; then the
  // servers' answer: out of process, for a reason too long for a record.
  for (int i = 0; i < 5000 && sfcUnitThreadProbe(uut) != ESRCH; ++i) usleep(1000);
  writeFile("/tmp/" + uut->getUID(),
            "Response=0 SFC_OK UNIT OUT OF PROCESS " + std::string(600, 'm') + ",x");
  ASSERT_FALSE(amIOkay(kSerial).success);
  EXPECT_FALSE(done().success);
  EXPECT_EQ(uut->testFailures, 1u);
  EXPECT_EQ(fatalTest()["message"].asString(), " " + std::string(511, 'm'));
  ASSERT_TRUE(commit().success);
  EXPECT_EQ(parseFile(dirOf(uut, ".commit/results.Json"))["test_attributes"]["test_result"],
            "FAIL");
}

class DoneThreadTest : public DoneTest {
 protected:
  // A filled session that reaches done with the unit check switched on: it
  // was off at the start, so no real thread runs.
  void SetUp() override {
    SessionTest::SetUp();
    filled(1);
    Json::Value info = readyStationInfo();
    info["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
    info["lifeline"]["BK_MSG_ERROR_UNIT_OUT_OF_PROCESS"] = 0;
    writeReadyStation(info);
    getKSInfo()->refresh();
    response_ = "/tmp/" + uut_->getUID();
  }
  std::string response_;
};

// A thread never started counts as ended: its answer decides, and is deleted.
TEST_F(DoneThreadTest, EndedThreadsAnswerDecidesAndIsDeleted) {
  writeFile(response_,
            "Response=0 SFC_OK UNIT_OUT_OF_PROCESS: unit belongs to rework, station=FT\n");
  EXPECT_TRUE(answered(done(), true, 0, ""));
  EXPECT_FALSE(uut_->pendingFailure.active());
  EXPECT_EQ(uut_->pendingFailure.name(), "UNIT_OUT_OF_PROCESS [PASSIVE]");
  EXPECT_FALSE(fileExists(response_));
}

}  // namespace
