// Fixture position, module history and the station's own failure report.
#include <gtest/gtest.h>

#include <string>

#include "support/SessionRun.h"

using namespace bk_test;

namespace {

const unsigned kFailApiSyntax = 0x80100004u;

class Fixture : public ::testing::Test {
 protected:
  void SetUp() override { start(sampleStationInfo()); }
  void TearDown() override { BK_UID_destroy(uut); }
  void start(const Json::Value& info) {
    if (uut != nullptr) BK_UID_destroy(uut);
    writeStationFiles(info);
    uut = startSession();
  }
  void giveSerialNumber() {
    uut->serialNumber = "C02XK0ABCDEF";
    uut->attributeSerialNumberCreated = true;
    uut->rootJson["test_attributes"]["unit_serial_number"] = "C02XK0ABCDEF";
  }
  // Each reply refuses the call and names its NULL parameter.
  static void expectNullNamed(std::initializer_list<std::pair<BKReplyHandle, const char*>> cases) {
    for (const auto& [reply, name] : cases) {
      Answer answer = answerOf(reply);
      EXPECT_FALSE(answer.success);
      EXPECT_EQ(answer.text, std::string("NULL ") + name + " handle passed as a parameter");
    }
  }
  const Json::Value& station() { return uut->getRootJson()["test_station_attributes"]; }

  CUUT* uut = nullptr;
};

TEST_F(Fixture, TextPositionLimitsAreInclusive) {
  const std::string fixture16(16, 'F'), head8(8, 'H'), fixture17(17, 'F'), head9(9, 'H');
  expectSuccess(BK_setDUTPos(uut, fixture16.c_str(), head8.c_str()), "longest");
  EXPECT_EQ(station()["fixture_id"], fixture16);
  EXPECT_EQ(station()["head_id"], head8);

  Answer tooLong = answerOf(BK_setDUTPos(uut, fixture17.c_str(), "h"));
  EXPECT_EQ(tooLong.text,
            "Invalid FIXTURE_ID [" + fixture17 + "] or FIXTURE_HEAD_ID[h] value passed ");
  EXPECT_EQ(tooLong.status, kFailApiSyntax);
  EXPECT_EQ(answerOf(BK_setDUTPos(uut, "f", head9.c_str())).text,
            "Invalid FIXTURE_ID [f] or FIXTURE_HEAD_ID[" + head9 + "] value passed ");
  EXPECT_EQ(answerOf(BK_setDUTPos(uut, "", "h")).text, "0 size string passed as a parameter");
  EXPECT_EQ(answerOf(BK_setDUTPos(uut, "f", "")).text, "0 size string passed as a parameter");
  EXPECT_EQ(station()["fixture_id"], fixture16);  // refusals change nothing
  expectNullNamed({{BK_setDUTPos(nullptr, "f", "h"), "UUTHandle"},
                   {BK_setDUTPos(uut, nullptr, "h"), "cpFixtureID"},
                   {BK_setDUTPos(uut, "f", nullptr), "cpFixtureHeadID"}});

  const std::string log = readLog();
  EXPECT_EQ(countLines(log, "Entering BK_setDUTPos uses string"), 1u);
  EXPECT_EQ(countLines(log, "FIXTURE_ID [" + fixture16 + "] and FIXTURE_HEAD_ID[" + head8 +
                                "] value passed "),
            1u);
}

TEST_F(Fixture, NumberedPositionAndTheLastCallWins) {
  for (auto [fixture, head] :
       {std::make_pair(0, 1), std::make_pair(11, 1), std::make_pair(1, 0), std::make_pair(1, 7)}) {
    Answer answer = answerOf(BK_setDUTPosition(uut, fixture, head));
    EXPECT_EQ(answer.text, "Invalid FIXTURE_ID[" + std::to_string(fixture) +
                               "] or FIXTURE_HEAD_ID[" + std::to_string(head) + "] value passed ");
    EXPECT_EQ(answer.status, kFailApiSyntax);
  }
  EXPECT_FALSE(station().isMember("fixture_id"));

  expectSuccess(BK_setDUTPosition(uut, 10, 6), "numbers");
  EXPECT_TRUE(station()["fixture_id"].isInt());
  EXPECT_EQ(station()["fixture_id"].asInt() * 100 + station()["head_id"].asInt(), 1006);
  EXPECT_EQ(countLines(readLog(), "Entering setDUTPosition uses enums"), 1u);

  // Any state the handle still reaches; the type follows the last call.
  uut->state = UUT_STATE_COMMIT;
  expectSuccess(BK_setDUTPos(uut, "7", "2"), "text after commit");
  EXPECT_EQ(station()["fixture_id"], "7");
}

TEST_F(Fixture, ModuleHistoryNeedsSerialNumberAndOpenSession) {
  const std::string refused = "No serial number or invalid state while adding addHistoryAttributes";
  Answer noSerial = answerOf(BK_addModuleHistory(uut, "M1", "V", "D", "P", "S", "L"));
  EXPECT_EQ(noSerial.text, refused);
  EXPECT_EQ(noSerial.status, kFailApiSyntax);

  giveSerialNumber();
  expectSuccess(BK_addModuleHistory(uut, "M1", "V1", "D1", "P1", "S1", "L1"), "full");
  expectSuccess(BK_addModuleHistory(uut, "M2", "V2", "D2", nullptr, nullptr, nullptr), "short");
  Json::Value expected(Json::objectValue);  // one module: the last
  expected["module_serial_number"] = "M2";
  expected["vendor_code"] = "V2";
  expected["date_code"] = "D2";
  for (const char* key : {"part_number", "description", "lot_code"}) {
    expected[key] = "Not_Passed_in";
  }
  EXPECT_EQ(uut->getRootJson()["modules"], expected);
  EXPECT_EQ(countLines(readLog(), "LINE_NUMBER = L07"), 2u);

  uut->state = UUT_STATE_DONE;
  EXPECT_EQ(answerOf(BK_addModuleHistory(uut, "M3", "V", "D", "P", "S", "L")).text, refused);
  EXPECT_EQ(uut->getRootJson()["modules"]["module_serial_number"], "M2");
  expectNullNamed({{BK_addModuleHistory(nullptr, "M", "V", "D", "P", "S", "L"), "ahUUTHandle"},
                   {BK_addModuleHistory(uut, nullptr, "V", "D", "P", "S", "L"), "akcpModuleSN"},
                   {BK_addModuleHistory(uut, "M", nullptr, "D", "P", "S", "L"), "akcpVendorCode"},
                   {BK_addModuleHistory(uut, "M", "V", nullptr, "P", "S", "L"), "akcpDateCode"}});
}

TEST_F(Fixture, LineNumberMissingIsOnlyNoted) {
  Json::Value info = sampleStationInfo();
  info["ksinfo"].removeMember("LINE_NUMBER");
  start(info);
  giveSerialNumber();
  expectSuccess(BK_addModuleHistory(uut, "M", "V", "D", "P", "S", "L"), "module");
  EXPECT_EQ(countLines(readLog(),
                       "LINE_NUMBER = No entry in the ks_station_info.json file or "
                       "file does not exist"),
            1u);
}

TEST_F(Fixture, StationFailureReportWhileOpenOrDid) {
  expectSuccess(BK_sendStationFailureReport(uut, "calibrate", "lamp"), "open, no serial");
  uut->state = UUT_STATE_DID;
  expectSuccess(BK_sendStationFailureReport(uut, "probe", "no contact"), "did");
  const Json::Value& doc = uut->getRootJson();
  EXPECT_EQ(doc["station_failure"]["failure_step"], "probe");
  EXPECT_EQ(doc["station_failure"]["failure_reason"], "no contact");
  EXPECT_EQ(doc["test_attributes"]["override"], "1");
  EXPECT_EQ(countLines(readLog(),
                       "called with -overrideFail-, FailureStep:probe, FailureReason:no contact"),
            1u);

  const std::string prefix = "The UUT object state was not valid for this transition type. state ";
  uut->state = UUT_STATE_COMMIT;
  Answer late = answerOf(BK_sendStationFailureReport(uut, "s", "r"));
  EXPECT_EQ(late.text, prefix + "'commit'");
  EXPECT_EQ(late.status, 0x80100011u);
  uut->state = static_cast<UUTState>(9);
  EXPECT_EQ(answerOf(BK_sendStationFailureReport(uut, "s", "r")).text, prefix + "'9'");
  expectNullNamed({{BK_sendStationFailureReport(nullptr, "s", "r"), "ahUUTHandle"},
                   {BK_sendStationFailureReport(uut, nullptr, "r"), "akcpFailureStep"},
                   {BK_sendStationFailureReport(uut, "s", nullptr), "akcpFailureReason"}});
  uut->state = UUT_STATE_OPEN;
}

}  // namespace
