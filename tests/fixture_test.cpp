// Fixture position, module history and the station's own failure report.
#include <gtest/gtest.h>

#include <string>

#include "support/SessionRun.h"

using namespace bk_test;

namespace {

const unsigned kFailApiSyntax = 0x80100004u;

class Fixture : public SessionTest {
 protected:
  const Json::Value& station() { return uut_->getRootJson()["test_station_attributes"]; }
};

TEST_F(Fixture, PositionLimitsAreInclusiveAndTheLastCallWins) {
  CUUT* uut = filled(1);
  const std::string fixture16(16, 'F'), head8(8, 'H'), fixture17(17, 'F'), head9(9, 'H');
  expectSuccess(BK_setDUTPos(uut, fixture16.c_str(), head8.c_str()), "longest");
  EXPECT_EQ(station()["fixture_id"], fixture16);
  EXPECT_EQ(station()["head_id"], head8);
  EXPECT_TRUE(
      answered(answerOf(BK_setDUTPos(uut, fixture17.c_str(), "h")), false, kFailApiSyntax,
               "Invalid FIXTURE_ID [" + fixture17 + "] or FIXTURE_HEAD_ID[h] value passed "));
  EXPECT_FALSE(answerOf(BK_setDUTPos(uut, "f", head9.c_str())).success);
  EXPECT_EQ(answerOf(BK_setDUTPos(uut, "", "h")).text, "0 size string passed as a parameter");
  EXPECT_FALSE(answerOf(BK_setDUTPos(uut, "f", "")).success);
  for (auto [fixture, head] : {std::make_pair(0, 1), {11, 1}, {1, 0}, {1, 7}}) {
    EXPECT_TRUE(answered(answerOf(BK_setDUTPosition(uut, fixture, head)), false, kFailApiSyntax,
                         "Invalid FIXTURE_ID[" + std::to_string(fixture) + "] or FIXTURE_HEAD_ID[" +
                             std::to_string(head) + "] value passed "));
  }
  EXPECT_EQ(station()["fixture_id"], fixture16);  // refusals change nothing

  expectSuccess(BK_setDUTPosition(uut, 10, 6), "numbers");
  EXPECT_TRUE(station()["fixture_id"].isInt());
  EXPECT_EQ(station()["fixture_id"].asInt() * 100 + station()["head_id"].asInt(), 1006);
  // Any state the handle still reaches; the type follows the last call.
  done();
  ASSERT_TRUE(commit().success);
  expectSuccess(BK_setDUTPos(uut, "7", "2"), "text after commit");
  EXPECT_EQ(station()["fixture_id"], "7");
}

TEST_F(Fixture, ModuleHistoryNeedsSerialNumberAndOpenSession) {
  CUUT* uut = replace(startSession());
  const std::string refused = "No serial number or invalid state while adding addHistoryAttributes";
  EXPECT_TRUE(answered(answerOf(BK_addModuleHistory(uut, "M1", "V", "D", "P", "S", "L")), false,
                       kFailApiSyntax, refused));

  addAttributes(uut);
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

  done();
  EXPECT_EQ(answerOf(BK_addModuleHistory(uut, "M3", "V", "D", "P", "S", "L")).text, refused);
  EXPECT_EQ(uut->getRootJson()["modules"]["module_serial_number"], "M2");
  EXPECT_EQ(answerOf(BK_addModuleHistory(nullptr, "M", "V", "D", "P", "S", "L")).text,
            "NULL ahUUTHandle handle passed as a parameter");
}

TEST_F(Fixture, StationFailureReportWhileOpenOrDid) {
  CUUT* uut = replace(startSession());
  expectSuccess(BK_sendStationFailureReport(uut, "calibrate", "lamp"), "open, no serial");
  addAttributes(uut);
  addResult(uut, BK_PASS, "t");
  done();
  expectSuccess(BK_sendStationFailureReport(uut, "probe", "no contact"), "did");
  const Json::Value& doc = uut->getRootJson();
  EXPECT_EQ(doc["station_failure"]["failure_step"], "probe");
  EXPECT_EQ(doc["station_failure"]["failure_reason"], "no contact");
  EXPECT_EQ(doc["test_attributes"]["override"], "1");

  const std::string prefix = "The UUT object state was not valid for this transition type. state ";
  ASSERT_TRUE(commit().success);
  EXPECT_TRUE(answered(answerOf(BK_sendStationFailureReport(uut, "s", "r")), false, 0x80100011u,
                       prefix + "'commit'"));
}

}  // namespace
