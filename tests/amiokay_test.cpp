// The am-I-okay sequence: checks in order, the first failure ends it, and the
// pending failure it leaves for done and commit.
#include <gtest/gtest.h>

#include <string>

#include "support/SessionRun.h"

namespace {

class AmIOkay : public bk_test::SessionTest {
 protected:
  void SetUp() override {
    if (!bk_test::hasDevelopmentStationKey()) GTEST_SKIP() << "no development station key";
  }
  bk_test::Answer run(const char* serialNumber) {
    markLog();
    return bk_test::answerOf(BK_amIOkay(uut_, serialNumber));
  }
  // The pending failure the sequence left, as name, detail and message.
  void expectPending(bool active, const std::string& name, const std::string& detail,
                     const std::string& message) {
    EXPECT_TRUE(uut_->pendingFailure.failed());
    EXPECT_EQ(uut_->pendingFailure.active(), active);
    EXPECT_EQ(uut_->pendingFailure.name(), name);
    EXPECT_EQ(uut_->pendingFailure.detail(), detail);
    EXPECT_EQ(uut_->pendingFailure.message(), message);
  }
};

TEST_F(AmIOkay, CleanRunsWithAndWithoutSerialNumber) {
  start();
  for (const char* serial : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_TRUE(
        bk_test::answered(run(serial), true, 0u,
                          " Called wihtout the serial number, no UOP/SFC_QUERY_UNIT for now."));
    EXPECT_FALSE(logged("SERIAL_NUMBER"));
  }
  EXPECT_TRUE(bk_test::answered(run(bk_test::kSerial), true, 0u, "FATAL ERROR FOUND: NONE"));
  EXPECT_TRUE(logged("UNIT_OUT_OF_PROCESS OK"));  // the last check ran
  EXPECT_FALSE(uut_->pendingFailure.failed());
  // A time-out that cannot be read fails its probe; nothing is thrown.
  info_["ksinfo"].removeMember("MARTEN_NOT_RUNNING_TIMEOUT");
  start();
  const bk_test::Answer answer = run(bk_test::kSerial);
  EXPECT_FALSE(answer.success);
  EXPECT_NE(answer.text.find("Can't interpret MARTEN_NOT_RUNNING_TIMEOUT"), std::string::npos)
      << answer.text;
}

TEST_F(AmIOkay, BadSignatureEndsTheSequenceBeforeTheHealthChecks) {
  info_["ksinfo"]["MARTEN_NOT_RUNNING_TIMEOUT"] = 10;
  info_["lifeline"]["BK_MSG_ERROR_MARTEN_NOT_RUNNING"] = 0;
  signed_ = false;
  start();
  ageHealthFile();
  bk_test::Answer answer = run(bk_test::kSerial);
  EXPECT_FALSE(answer.success);
  expectPending(true, "Signature  NOT OK [ACTIVE]:", answer.text,
                "ERROR: ks_station_info signature NOT OK," + answer.text);
  EXPECT_FALSE(logged("Station_Health_Check file is"));
}

// Each station check, failed under an ACTIVE, a PASSIVE and a mistyped
// policy; the checks after it must not run.
struct StationFault {
  const char* policyKey;
  const char* activeLabel;
  const char* passiveLabel;
  const char* nextCheckLine;  // logged only if the sequence went on
  void (*breakStation)(Json::Value& info, Json::Value& health);
  bool oldHealthFile;
};

const StationFault kStationFaults[] = {
    {"BK_MSG_ERROR_MARTEN_NOT_RUNNING", "Marten NOT running: [ACTIVE] ",
     " Marten NOT running: [PASSIVE] ", "MARTEN_NOT_RUNNING: Running",
     [](Json::Value& info, Json::Value&) { info["ksinfo"]["MARTEN_NOT_RUNNING_TIMEOUT"] = 60; },
     true},
    {"BK_MSG_ERROR_ETHERNET_NOT_RESPONDING", "Ethernet UNPLUGGED: [ACTIVE] ",
     "Ethernet UNPLUGGED: [PASSIVE] ", "ETHERNET_NOT_RESPONDING: OK",
     [](Json::Value&, Json::Value& health) { health["ethernet_ok"] = 0; }, false},
    {"BK_MSG_ERROR_NETWORK_NOT_RESPONDING", "Can't ping TRAX, DCS, nor KS: [ACTIVE] ",
     "Can't ping TRAX, DCS, nor KS: [PASSIVE] ", "NETWORK_NOT_RESPONDING: OK",
     [](Json::Value& info, Json::Value& health) {
       info["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = 60;
       health["network_last_successful_check_int"] = Json::Int64(time(nullptr) - 3600);
     },
     false},
};

TEST_F(AmIOkay, StationFaultsFollowThePolicy) {
  for (const StationFault& fault : kStationFaults) {
    for (const Json::Value& policy : {Json::Value(1), Json::Value(0), Json::Value("1")}) {
      SCOPED_TRACE(std::string(fault.policyKey) + " " + policy.toStyledString());
      info_ = bk_test::readyStationInfo();
      health_ = bk_test::sampleHealth();
      info_["lifeline"][fault.policyKey] = policy;
      fault.breakStation(info_, health_);
      start();
      if (fault.oldHealthFile) ageHealthFile();

      bk_test::Answer answer = run(bk_test::kSerial);
      const bool active = policy != 0;  // an entry that is no integer is ACTIVE
      EXPECT_EQ(answer.status, active ? answer.status | (1u << 31) : 0u);
      EXPECT_FALSE(answer.text.empty());
      expectPending(active, active ? fault.activeLabel : fault.passiveLabel, answer.text,
                    answer.text);
      EXPECT_FALSE(logged(fault.nextCheckLine));
      EXPECT_FALSE(logged("SERIAL_NUMBER: OK"));
    }
  }
}

TEST_F(AmIOkay, BadSerialNumberUsesTheSequencesOwnLabels) {
  for (int policy : {1, 0}) {
    SCOPED_TRACE(policy);
    info_["lifeline"]["BK_MSG_ERROR_INVALID_SERIAL_NUMBER"] = policy;
    start();
    bk_test::Answer answer = run("123");
    EXPECT_EQ(answer.success, policy == 0);
    EXPECT_EQ(answer.text,
              "Serial Number Error: Serial number is not 11, 12, 13, 16, 17 or 20 digits long "
              "(FG, MLB, FULL) [ 123 ]");
    // The sequence's record replaces what the validation wrote.
    EXPECT_TRUE(uut_->pendingFailure.failed());
    EXPECT_EQ(uut_->pendingFailure.active(), policy == 1);
    EXPECT_EQ(uut_->pendingFailure.name(), policy == 1 ? "SERIAL_NUMBER_NOT_OK:  [ACTIVE] "
                                                       : "SERIAL_NUMBER_NOT_OK: [PASSIVE] ");
    EXPECT_FALSE(logged("SFC_QUERY_UNIT: OK"));
  }
}

// A unit check past its time-out that never answered: the serial number
// starts it, and without a client it ends with no answer.
TEST_F(AmIOkay, ShopFloorTimeoutUsesTheSequencesOwnLabel) {
  info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  info_["ksinfo"]["SFC_TIMEOUT"] = -1;  // overdue at once
  start();
  bk_test::expectSuccess(BK_addAttribute(uut_, "serialnumber", bk_test::kSerial), "serial");
  const bk_test::Answer answer = run(bk_test::kSerial);
  EXPECT_FALSE(answer.success);
  expectPending(true, "SFC_QUERY_UNIT: [ACTIVE] ", answer.text, answer.text);
  EXPECT_FALSE(logged("UNIT_OUT_OF_PROCESS OK"));
}

TEST_F(AmIOkay, OutOfProcessAnswerIsTrimmedToItsReason) {
  info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  const std::pair<const char*, const char*> cases[] = {
      {"Response=0 SFC_OK UNIT OUT OF PROCESS wrong station,code=7", " wrong station"},
      // The phrase at the very start: the underscore form is looked for, is
      // absent, and 18 characters are dropped.
      {"UNIT OUT OF PROCESS at FCT,x", "S at FCT"},
      {"Response=0 SFC_OK UNIT OUT OF PROCESS", ""},
  };
  for (const auto& [response, reason] : cases) {
    SCOPED_TRACE(response);
    start();
    bk_test::writeFile("/tmp/" + uut_->getUID(), response);
    EXPECT_FALSE(run(bk_test::kSerial).success);
    expectPending(true, "UNIT_OUT_OF_PROCESS [ACTIVE]: ", reason, reason);
  }
}

}  // namespace
