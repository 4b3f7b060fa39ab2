// Explicit session times, the document handed to the station, and the two
// checks that were never implemented.
#include <gtest/gtest.h>

#include <string>

#include "foundation/Log.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/TestSupport.h"

namespace {

class SessionTime : public ::testing::Test {
 protected:
  void start(const Json::Value& info = bk_test::sampleStationInfo()) {
    bk_test::writeStationFiles(info);
    BKReplyHandle reply = BK_UUTStart(&handle);
    ASSERT_TRUE(BK_success(reply));
    BK_reply_destroy(reply);
    uut = static_cast<CUUT*>(handle);
  }
  void TearDown() override {
    if (handle != nullptr) BK_UID_destroy(handle);
  }
  bool run(BKReplyHandle reply) {
    text = BK_reply_getError(reply);
    status = static_cast<CBKReply*>(reply)->getStatus();
    bool ok = BK_success(reply);
    BK_reply_destroy(reply);
    return ok;
  }
  const Json::Value& attributes() { return uut->getRootJson()["test_attributes"]; }

  UUTHandle handle = nullptr;
  CUUT* uut = nullptr;
  std::string text;
  unsigned status = 0;
};

TEST_F(SessionTime, StopTimeStandsAndStartTimeIsUntouched) {
  start();
  const Json::Value started = attributes()["uut_start"];
  const time_t past = 1285134918;  // some September afternoon in 2010
  ASSERT_TRUE(run(BK_setStopTime(handle, past)));
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(attributes()["uut_stop"], Util_makeTimestamp2(past));
  EXPECT_EQ(attributes()["uut_start"], started);
  EXPECT_TRUE(uut->stopTimeSet);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "explicitly setting stop time in uut_stop : " +
                                                        Util_makeTimestamp2(past)),
            1u);
}

TEST_F(SessionTime, StartTimeReplacesTheOneOfTheStartEvenAfterCommit) {
  start();
  const time_t when = 1285134000;
  ASSERT_TRUE(run(BK_setStartTime(handle, when)));
  EXPECT_EQ(attributes()["uut_start"], Util_makeTimestamp2(when));
  uut->state = UUT_STATE_COMMIT;
  ASSERT_TRUE(run(BK_setStartTime(handle, when + 60)));
  EXPECT_EQ(attributes()["uut_start"], Util_makeTimestamp2(when + 60));
  EXPECT_EQ(
      bk_test::countLines(bk_test::readLog(), "explicitly setting start time in uut_start : "), 2u);
}

TEST_F(SessionTime, DocumentOnlyAfterCommit) {
  start();
  EXPECT_FALSE(run(BK_getJsonResultsObj(handle)));
  EXPECT_EQ(text, "Invalid state, can only be called after calling BK_UUTCommit api");
  EXPECT_EQ(status, 0x80100004u);

  // The state that a commit leaves, with the document it wrote.
  uut->state = UUT_STATE_COMMIT;
  BKReplyHandle reply = BK_getJsonResultsObj(handle);
  EXPECT_TRUE(BK_success(reply));
  Json::Value parsed;
  ASSERT_TRUE(Json::Reader().parse(BK_reply_getJsonData(reply), parsed));
  EXPECT_EQ(parsed, uut->getRootJson());
  BK_reply_destroy(reply);
  EXPECT_EQ(bk_test::countLines(
                bk_test::readLog(),
                "Json object size = " + std::to_string(parsed.size()) + " reply object size = "),
            1u);

  // A document of two members or fewer is no results document.
  uut->rootJson = Json::Value(Json::objectValue);
  uut->rootJson["results"] = Json::Value(Json::arrayValue);
  EXPECT_FALSE(run(BK_getJsonResultsObj(handle)));
  EXPECT_EQ(text, "Invalid state of json object");
}

TEST_F(SessionTime, NullHandles) {
  start();
  EXPECT_FALSE(run(BK_setStartTime(nullptr, 0)));
  EXPECT_EQ(text, "NULL UUT handle passed as a parameter");
  EXPECT_FALSE(run(BK_setStopTime(nullptr, 0)));
  EXPECT_EQ(text, "NULL UUT handle passed as a parameter");
  EXPECT_FALSE(run(BK_getJsonResultsObj(nullptr)));
  EXPECT_EQ(text, "NULL uutHandle handle passed as a parameter");
}

TEST_F(SessionTime, UnimplementedChecksAnswerMessageTwo) {
  // Without a policy entry for the message the status is 0: no verdict.
  start();
  char station[] = "station-1";
  EXPECT_TRUE(run(BK_isStationOK(station)));
  EXPECT_EQ(text, "isStationOK API not implemented");
  EXPECT_EQ(status, 0u);
  EXPECT_TRUE(run(BK_isUUTOK(handle)));
  EXPECT_EQ(text, "isUUTOK API unimplemented");
  EXPECT_FALSE(run(BK_isStationOK(nullptr)));
  EXPECT_EQ(text, "NULL stationIdentifier handle passed as a parameter");
  EXPECT_EQ(status, 0x80100004u);
  EXPECT_FALSE(run(BK_isUUTOK(nullptr)));
  EXPECT_EQ(text, "NULL UUTHandle handle passed as a parameter");
  BK_UID_destroy(handle);
  handle = nullptr;

  Json::Value info = bk_test::sampleStationInfo();
  info["lifeline"]["BK_MSG_ERROR_UNIMPLEMENTED"] = 1;
  start(info);
  EXPECT_FALSE(run(BK_isStationOK(station)));
  EXPECT_EQ(status, 0x80100002u);
  EXPECT_FALSE(run(BK_isUUTOK(handle)));
  EXPECT_EQ(status, 0x80100002u);
}

}  // namespace
