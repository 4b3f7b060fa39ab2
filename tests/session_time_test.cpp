// Explicit session times, the document handed to the station, and the two
// checks that were never implemented.
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "foundation/Log.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

class SessionTime : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    filled(1);
  }
  const Json::Value& attributes() { return uut_->getRootJson()["test_attributes"]; }
};

TEST_F(SessionTime, ExplicitTimesReplaceTheirStampsEvenAfterCommit) {
  const Json::Value started = attributes()["uut_start"];
  const time_t past = 1285134918;  // some September afternoon in 2010
  EXPECT_TRUE(answered(answerOf(BK_setStopTime(uut_, past)), true, 0, ""));
  EXPECT_EQ(attributes()["uut_start"], started);
  EXPECT_EQ(attributes()["uut_stop"], Util_makeTimestamp2(past));
  EXPECT_TRUE(uut_->stopTimeSet);

  expectSuccess(BK_setStartTime(uut_, past - 900), "start");
  EXPECT_EQ(attributes()["uut_start"], Util_makeTimestamp2(past - 900));
  done();
  ASSERT_TRUE(commit().success);
  expectSuccess(BK_setStartTime(uut_, past - 60), "start after commit");
  EXPECT_EQ(attributes()["uut_start"], Util_makeTimestamp2(past - 60));
  EXPECT_EQ(attributes()["uut_stop"], Util_makeTimestamp2(past));
}

TEST_F(SessionTime, TimesBeyondTheCalendarAreRefused) {
  const Json::Value started = attributes()["uut_start"];
  for (time_t when : {std::numeric_limits<time_t>::max(), std::numeric_limits<time_t>::min()}) {
    EXPECT_TRUE(answered(answerOf(BK_setStartTime(uut_, when)), false, 0x80100007u,
                         "Failed to create a manual start timestamp"));
    EXPECT_TRUE(answered(answerOf(BK_setStopTime(uut_, when)), false, 0x80100007u,
                         "Failed to create a manual stop timestamp"));
  }
  EXPECT_EQ(attributes()["uut_start"], started);
  EXPECT_FALSE(attributes().isMember("uut_stop"));
  EXPECT_FALSE(uut_->startTimeSet || uut_->stopTimeSet);
}

TEST_F(SessionTime, DocumentOnlyAfterCommit) {
  EXPECT_TRUE(answered(answerOf(BK_getJsonResultsObj(uut_)), false, 0x80100004u,
                       "Invalid state, can only be called after calling BK_UUTCommit api"));
  done();
  ASSERT_TRUE(commit().success);
  Answer committed = answerOf(BK_getJsonResultsObj(uut_));
  EXPECT_TRUE(committed.success);
  Json::Value parsed;
  ASSERT_TRUE(Json::Reader().parse(committed.text, parsed));
  EXPECT_EQ(parsed, uut_->getRootJson());
}

TEST_F(SessionTime, UnimplementedChecksAnswerMessageTwo) {
  // Without a policy entry for the message the status is 0: no verdict.
  Json::Value info = sampleStationInfo();
  info["lifeline"].removeMember("BK_MSG_ERROR_UNIMPLEMENTED");
  writeStationFiles(info);
  replace(startSession());
  char station[] = "station-1";
  EXPECT_TRUE(
      answered(answerOf(BK_isStationOK(station)), true, 0u, "isStationOK API not implemented"));
  EXPECT_EQ(answerOf(BK_isUUTOK(uut_)).text, "isUUTOK API unimplemented");

  info["lifeline"]["BK_MSG_ERROR_UNIMPLEMENTED"] = 1;
  writeStationFiles(info);
  replace(startSession());
  EXPECT_EQ(answerOf(BK_isStationOK(station)).status, 0x80100002u);
  EXPECT_EQ(answerOf(BK_isUUTOK(uut_)).status, 0x80100002u);
}

}  // namespace
