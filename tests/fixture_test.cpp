// Fixture position, module history and the station's own failure report.
#include <gtest/gtest.h>

#include <string>

#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/TestSupport.h"

namespace {

const unsigned kFailApiSyntax = 0x80100004u;

class Fixture : public ::testing::Test {
 protected:
  void SetUp() override {
    bk_test::writeStationFiles();
    BKReplyHandle reply = BK_UUTStart(&handle);
    ASSERT_TRUE(BK_success(reply));
    BK_reply_destroy(reply);
    uut = static_cast<CUUT*>(handle);
  }
  void TearDown() override { BK_UID_destroy(handle); }

  void giveSerialNumber() {
    uut->serialNumber = "C02XK0ABCDEF";
    uut->attributeSerialNumberCreated = true;
    uut->rootJson["test_attributes"]["unit_serial_number"] = "C02XK0ABCDEF";
  }
  bool run(BKReplyHandle reply) {
    text = BK_reply_getError(reply);
    status = static_cast<CBKReply*>(reply)->getStatus();
    bool ok = BK_success(reply);
    BK_reply_destroy(reply);
    return ok;
  }
  const Json::Value& station() { return uut->getRootJson()["test_station_attributes"]; }

  UUTHandle handle = nullptr;
  CUUT* uut = nullptr;
  std::string text;
  unsigned status = 0;
};

TEST_F(Fixture, TextPositionLimitsAreInclusive) {
  const std::string fixture16(16, 'F');
  const std::string head8(8, 'H');
  ASSERT_TRUE(run(BK_setDUTPos(handle, fixture16.c_str(), head8.c_str()))) << text;
  EXPECT_EQ(station()["fixture_id"], fixture16);
  EXPECT_EQ(station()["head_id"], head8);

  const std::string fixture17(17, 'F');
  EXPECT_FALSE(run(BK_setDUTPos(handle, fixture17.c_str(), "h")));
  EXPECT_EQ(text, "Invalid FIXTURE_ID [" + fixture17 + "] or FIXTURE_HEAD_ID[h] value passed ");
  EXPECT_EQ(status, kFailApiSyntax);
  const std::string head9(9, 'H');
  EXPECT_FALSE(run(BK_setDUTPos(handle, "f", head9.c_str())));
  EXPECT_EQ(text, "Invalid FIXTURE_ID [f] or FIXTURE_HEAD_ID[" + head9 + "] value passed ");
  EXPECT_EQ(station()["fixture_id"], fixture16);  // refusals change nothing

  EXPECT_FALSE(run(BK_setDUTPos(handle, "", "h")));
  EXPECT_EQ(text, "0 size string passed as a parameter");
  EXPECT_FALSE(run(BK_setDUTPos(handle, "f", "")));
  EXPECT_EQ(text, "0 size string passed as a parameter");

  EXPECT_FALSE(run(BK_setDUTPos(nullptr, "f", "h")));
  EXPECT_EQ(text, "NULL UUTHandle handle passed as a parameter");
  EXPECT_FALSE(run(BK_setDUTPos(handle, nullptr, "h")));
  EXPECT_EQ(text, "NULL cpFixtureID handle passed as a parameter");
  EXPECT_FALSE(run(BK_setDUTPos(handle, "f", nullptr)));
  EXPECT_EQ(text, "NULL cpFixtureHeadID handle passed as a parameter");

  const std::string log = bk_test::readLog();
  EXPECT_EQ(bk_test::countLines(log, "Entering BK_setDUTPos uses string"), 1u);
  EXPECT_EQ(bk_test::countLines(log, "FIXTURE_ID [" + fixture16 + "] and FIXTURE_HEAD_ID[" + head8 +
                                         "] value passed "),
            1u);
}

TEST_F(Fixture, NumberedPositionAndTheLastCallWins) {
  for (auto bad :
       {std::make_pair(0, 1), std::make_pair(11, 1), std::make_pair(1, 0), std::make_pair(1, 7)}) {
    EXPECT_FALSE(run(BK_setDUTPosition(handle, bad.first, bad.second)));
    EXPECT_EQ(text, "Invalid FIXTURE_ID[" + std::to_string(bad.first) + "] or FIXTURE_HEAD_ID[" +
                        std::to_string(bad.second) + "] value passed ");
    EXPECT_EQ(status, kFailApiSyntax);
  }
  EXPECT_FALSE(station().isMember("fixture_id"));

  ASSERT_TRUE(run(BK_setDUTPosition(handle, 10, 6)));
  EXPECT_TRUE(station()["fixture_id"].isInt());
  EXPECT_EQ(station()["fixture_id"].asInt(), 10);
  EXPECT_EQ(station()["head_id"].asInt(), 6);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Entering setDUTPosition uses enums"), 1u);

  // Any state the handle still reaches; the type follows the last call.
  uut->state = UUT_STATE_COMMIT;
  ASSERT_TRUE(run(BK_setDUTPos(handle, "7", "2")));
  EXPECT_TRUE(station()["fixture_id"].isString());
  EXPECT_EQ(station()["fixture_id"], "7");
}

TEST_F(Fixture, ModuleHistoryNeedsSerialNumberAndOpenSession) {
  const std::string refused = "No serial number or invalid state while adding addHistoryAttributes";
  EXPECT_FALSE(run(BK_addModuleHistory(handle, "M1", "V", "D", "P", "S", "L")));
  EXPECT_EQ(text, refused);
  EXPECT_EQ(status, kFailApiSyntax);

  giveSerialNumber();
  ASSERT_TRUE(run(BK_addModuleHistory(handle, "M1", "V1", "D1", "P1", "S1", "L1")));
  ASSERT_TRUE(run(BK_addModuleHistory(handle, "M2", "V2", "D2", nullptr, nullptr, nullptr)));
  Json::Value expected(Json::objectValue);
  expected["module_serial_number"] = "M2";
  expected["vendor_code"] = "V2";
  expected["date_code"] = "D2";
  expected["part_number"] = "Not_Passed_in";
  expected["description"] = "Not_Passed_in";
  expected["lot_code"] = "Not_Passed_in";
  EXPECT_EQ(uut->getRootJson()["modules"], expected);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "LINE_NUMBER = L07"), 2u);

  uut->state = UUT_STATE_DONE;
  EXPECT_FALSE(run(BK_addModuleHistory(handle, "M3", "V", "D", "P", "S", "L")));
  EXPECT_EQ(text, refused);
  EXPECT_EQ(uut->getRootJson()["modules"]["module_serial_number"], "M2");

  const char* names[] = {"ahUUTHandle", "akcpModuleSN", "akcpVendorCode", "akcpDateCode"};
  BKReplyHandle replies[] = {BK_addModuleHistory(nullptr, "M", "V", "D", "P", "S", "L"),
                             BK_addModuleHistory(handle, nullptr, "V", "D", "P", "S", "L"),
                             BK_addModuleHistory(handle, "M", nullptr, "D", "P", "S", "L"),
                             BK_addModuleHistory(handle, "M", "V", nullptr, "P", "S", "L")};
  for (int i = 0; i < 4; ++i) {
    EXPECT_FALSE(run(replies[i]));
    EXPECT_EQ(text, std::string("NULL ") + names[i] + " handle passed as a parameter");
  }
}

TEST_F(Fixture, LineNumberMissingIsOnlyNoted) {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"].removeMember("LINE_NUMBER");
  bk_test::writeStationFiles(info);
  BK_UID_destroy(handle);
  ASSERT_TRUE(run(BK_UUTStart(&handle)));
  uut = static_cast<CUUT*>(handle);
  giveSerialNumber();
  ASSERT_TRUE(run(BK_addModuleHistory(handle, "M", "V", "D", "P", "S", "L")));
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(),
                                "LINE_NUMBER = No entry in the ks_station_info.json file or file "
                                "does not exist"),
            1u);
}

TEST_F(Fixture, StationFailureReportWhileOpenOrDid) {
  // No serial number needed.
  ASSERT_TRUE(run(BK_sendStationFailureReport(handle, "calibrate", "lamp")));
  uut->state = UUT_STATE_DID;
  ASSERT_TRUE(run(BK_sendStationFailureReport(handle, "probe", "no contact")));
  const Json::Value& doc = uut->getRootJson();
  EXPECT_EQ(doc["station_failure"]["failure_step"], "probe");
  EXPECT_EQ(doc["station_failure"]["failure_reason"], "no contact");
  EXPECT_EQ(doc["test_attributes"]["override"], "1");
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(),
                                "called with -overrideFail-, FailureStep:probe, FailureReason:no "
                                "contact"),
            1u);

  const std::string prefix = "The UUT object state was not valid for this transition type. state ";
  uut->state = UUT_STATE_COMMIT;
  EXPECT_FALSE(run(BK_sendStationFailureReport(handle, "s", "r")));
  EXPECT_EQ(text, prefix + "'commit'");
  EXPECT_EQ(status, 0x80100011u);
  uut->state = static_cast<UUTState>(9);
  EXPECT_FALSE(run(BK_sendStationFailureReport(handle, "s", "r")));
  EXPECT_EQ(text, prefix + "'9'");
  uut->state = UUT_STATE_OPEN;

  EXPECT_FALSE(run(BK_sendStationFailureReport(nullptr, "s", "r")));
  EXPECT_EQ(text, "NULL ahUUTHandle handle passed as a parameter");
  EXPECT_FALSE(run(BK_sendStationFailureReport(handle, nullptr, "r")));
  EXPECT_EQ(text, "NULL akcpFailureStep handle passed as a parameter");
  EXPECT_FALSE(run(BK_sendStationFailureReport(handle, "s", nullptr)));
  EXPECT_EQ(text, "NULL akcpFailureReason handle passed as a parameter");
}

}  // namespace
