// Explicit session times, the document handed to the station, and the two
// checks that were never implemented.
#include <gtest/gtest.h>

#include <string>

#include "foundation/Log.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

class SessionTime : public ::testing::Test {
 protected:
  void SetUp() override { start(sampleStationInfo()); }
  void TearDown() override { BK_UID_destroy(uut); }
  void start(const Json::Value& info) {
    if (uut != nullptr) BK_UID_destroy(uut);
    writeStationFiles(info);
    uut = startSession();
  }
  const Json::Value& attributes() { return uut->getRootJson()["test_attributes"]; }

  CUUT* uut = nullptr;
};

TEST_F(SessionTime, ExplicitTimesReplaceTheirStampsEvenAfterCommit) {
  const Json::Value started = attributes()["uut_start"];
  const time_t past = 1285134918;  // some September afternoon in 2010
  Answer stop = answerOf(BK_setStopTime(uut, past));
  EXPECT_TRUE(stop.success && stop.status == 0u) << stop.text;
  EXPECT_EQ(attributes()["uut_start"], started);
  EXPECT_EQ(attributes()["uut_stop"], Util_makeTimestamp2(past));
  EXPECT_TRUE(uut->stopTimeSet);

  expectSuccess(BK_setStartTime(uut, past - 900), "start");
  EXPECT_EQ(attributes()["uut_start"], Util_makeTimestamp2(past - 900));
  uut->state = UUT_STATE_COMMIT;
  expectSuccess(BK_setStartTime(uut, past - 60), "start after commit");
  EXPECT_EQ(attributes()["uut_start"], Util_makeTimestamp2(past - 60));
  EXPECT_EQ(attributes()["uut_stop"], Util_makeTimestamp2(past));
  const std::string log = readLog();
  EXPECT_EQ(
      countLines(log, "explicitly setting stop time in uut_stop : " + Util_makeTimestamp2(past)),
      1u);
  EXPECT_EQ(countLines(log, "explicitly setting start time in uut_start : "), 2u);
  EXPECT_EQ(answerOf(BK_setStartTime(nullptr, 0)).text, "NULL UUT handle passed as a parameter");
}

TEST_F(SessionTime, DocumentOnlyAfterCommit) {
  Answer early = answerOf(BK_getJsonResultsObj(uut));
  EXPECT_EQ(early.text, "Invalid state, can only be called after calling BK_UUTCommit api");
  EXPECT_EQ(early.status, 0x80100004u);

  // The state that a commit leaves, with the document it wrote.
  uut->state = UUT_STATE_COMMIT;
  Answer done = answerOf(BK_getJsonResultsObj(uut));
  EXPECT_TRUE(done.success);
  Json::Value parsed;
  ASSERT_TRUE(Json::Reader().parse(done.text, parsed));
  EXPECT_EQ(parsed, uut->getRootJson());
  EXPECT_EQ(countLines(readLog(), "Json object size = " + std::to_string(parsed.size()) +
                                      " reply object size = "),
            1u);

  // A document of two members or fewer is no results document.
  uut->rootJson = Json::Value(Json::objectValue);
  uut->rootJson["results"] = Json::Value(Json::arrayValue);
  Answer small = answerOf(BK_getJsonResultsObj(uut));
  EXPECT_FALSE(small.success);
  EXPECT_EQ(small.text, "Invalid state of json object");
}

TEST_F(SessionTime, UnimplementedChecksAnswerMessageTwo) {
  // Without a policy entry for the message the status is 0: no verdict.
  char station[] = "station-1";
  Answer stationOK = answerOf(BK_isStationOK(station));
  EXPECT_TRUE(stationOK.success && stationOK.status == 0u);
  EXPECT_EQ(stationOK.text, "isStationOK API not implemented");
  EXPECT_EQ(answerOf(BK_isUUTOK(uut)).text, "isUUTOK API unimplemented");
  Answer null = answerOf(BK_isStationOK(nullptr));
  EXPECT_EQ(null.text, "NULL stationIdentifier handle passed as a parameter");
  EXPECT_EQ(null.status, 0x80100004u);

  Json::Value info = sampleStationInfo();
  info["lifeline"]["BK_MSG_ERROR_UNIMPLEMENTED"] = 1;
  start(info);
  EXPECT_EQ(answerOf(BK_isStationOK(station)).status, 0x80100002u);
  EXPECT_EQ(answerOf(BK_isUUTOK(uut)).status, 0x80100002u);
}

}  // namespace
