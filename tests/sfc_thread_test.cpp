// The unit-check thread against the client double: what it asks, how often,
// and what it leaves in the response file.  Each test is its own process
// (and sandbox), so the client is loaded afresh and the call counts start at 0.
#include <gtest/gtest.h>

#include "sfc_client_double/SfcTestSupport.h"

using namespace sfc_test;

namespace {

const std::string kSerial = "C02XK0TMJGH5";
const std::string kOkAnswer = "Response=0 SFC_OK unit_process_check=OK,";

class UnitCheckThread : public ::testing::Test {
 protected:
  void TearDown() override {
    // No thread may outlive the test: it would log into a log being torn down.
    EXPECT_TRUE(waitForAllSFCThreads());
    if (uut_ != nullptr) BK_UID_destroy(uut_);
  }
  // Starts a session and its unit check, and waits for the thread to end.
  void runUnitCheck(Json::Value info = bk_test::sampleStationInfo()) {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    uut_ = startSession(info);
    ASSERT_NE(uut_, nullptr);
    ASSERT_TRUE(startUnitCheck(uut_, kSerial));
    ASSERT_TRUE(waitForUnitCheckEnd(uut_));
  }
  std::string responseFile() { return bk_test::readFile(responsePath(uut_)); }

  CUUT* uut_ = nullptr;
  CBKReply reply_;
};

TEST_F(UnitCheckThread, AsksOnceForTheUnitAtThisStationAndWritesTheAnswer) {
  script("SFCQueryRecordUnitCheck", {answer(kOkAnswer)});
  runUnitCheck();
  auto asked = calls("SFCQueryRecordUnitCheck");
  ASSERT_EQ(asked.size(), 1u);
  EXPECT_EQ(asked[0], (std::vector<std::string>{"SFCQueryRecordUnitCheck", kSerial, kStationId}));
  auto freed = calls("FreeSFCBuffer");
  ASSERT_EQ(freed.size(), 1u);
  EXPECT_EQ(freed[0][1], kOkAnswer);
  EXPECT_EQ(responseFile(), kOkAnswer);  // byte for byte, no line end added
  EXPECT_TRUE(BK_isSFCQueryUnitOK(uut_, &reply_, nullptr));
  EXPECT_STREQ(reply_.getData(), kOkAnswer.c_str());
  // An ended thread is never signalled again, nor one that never started.
  EXPECT_EQ(sfcUnitThreadSignal(uut_, SIGALRM), ESRCH);
  CUUT* idle = startSession();
  EXPECT_EQ(sfcUnitThreadProbe(idle), ESRCH);
  EXPECT_EQ(sfcUnitThreadSignal(idle, SIGALRM), ESRCH);
  BK_UID_destroy(idle);
}

TEST_F(UnitCheckThread, RetriesErrorsAtOnceUpToElevenTimesAndKeepsTheFinalAnswer) {
  // An answer with both words is still an error while attempts remain.
  script("SFCQueryRecordUnitCheck",
         {answer("1 SFC_ERROR 0 SFC_OK half"), answer("1 SFC_ERROR busy"), answer(kOkAnswer)});
  runUnitCheck();
  EXPECT_EQ(calls("SFCQueryRecordUnitCheck").size(), 3u);
  EXPECT_EQ(responseFile(), kOkAnswer);

  script("SFCQueryRecordUnitCheck", {answer("1 SFC_ERROR server busy")});
  runUnitCheck();
  EXPECT_EQ(calls("SFCQueryRecordUnitCheck").size(), 3u + 11u);
  EXPECT_EQ(calls("FreeSFCBuffer").size(), 3u + 11u);
  EXPECT_EQ(responseFile(), "1 SFC_ERROR server busy");
}

TEST_F(UnitCheckThread, SlowClientPastTheTimeoutThenAnswersAfterTheSignal) {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"]["SFC_TIMEOUT"] = 1;
  script("SFCQueryRecordUnitCheck", {answer(kOkAnswer, 3500)});
  uut_ = startSession(info);
  ASSERT_TRUE(startUnitCheck(uut_, kSerial));
  time_t created = uut_->getTimeWhenSFCThreadCreated();

  ASSERT_TRUE(waitFor([created] { return time(nullptr) >= created + 2; }));
  EXPECT_EQ(sfcUnitThreadProbe(uut_), 0);
  EXPECT_FALSE(BK_isSFCQueryUnitOK(uut_, &reply_, nullptr));

  // What done does: the signal wakes the client, the answer still counts.
  EXPECT_EQ(sfcUnitThreadSignal(uut_, SIGALRM), 0);
  ASSERT_TRUE(waitForUnitCheckEnd(uut_));
  EXPECT_EQ(calls("signal").size(), 1u);
  EXPECT_EQ(calls("SFCQueryRecordUnitCheck").size(), 1u);
  EXPECT_FALSE(bSupposedToDie.load());  // the thread took the flag
  EXPECT_EQ(responseFile(), kOkAnswer);
  EXPECT_TRUE(BK_isSFCQueryUnitOK(uut_, &reply_, nullptr));
}

TEST_F(UnitCheckThread, TimeoutThatIsNotAPositiveIntegerIsLoggedAs15) {
  for (Json::Value timeout : {Json::Value("soon"), Json::Value(0)}) {
    SCOPED_TRACE(timeout.toStyledString());
    Json::Value info = bk_test::sampleStationInfo();
    info["ksinfo"]["SFC_TIMEOUT"] = timeout;
    script("SFCQueryRecordUnitCheck", {answer(kOkAnswer)});
    runUnitCheck(info);
    EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Normal Thread End for [" + kSerial + "]"),
              timeout.isString() ? 1u : 2u);
  }
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "SFC_TIMEOUT [15]"), 2u);
}

TEST_F(UnitCheckThread, StaleResponseFileIsDeletedAtStart) {
  uut_ = startSession();
  bk_test::writeFile(responsePath(uut_), "stale answer of an earlier thread");
  // The client double answers nothing: only the deletion can remove the file.
  script("SFCQueryRecordUnitCheck", {nullAnswer()});
  ASSERT_TRUE(startUnitCheck(uut_, kSerial));
  ASSERT_TRUE(waitForUnitCheckEnd(uut_));
  EXPECT_FALSE(bk_test::fileExists(responsePath(uut_)));
}

// The queries that stand ready share one status file and write only an ok.
TEST_F(UnitCheckThread, ReadyQueriesWriteOnlyOkAnswersToTheStatusFile) {
  uut_ = startSession();
  script("SFCServerVersion", {answer("1 SFC_ERROR"), answer("0 SFC_OK server 4.2")});
  script("SFCQueryRecordByStationName", {answer("0 SFC_OK mlbsn=X")});
  ASSERT_TRUE(uut_->SFC_ServerVersion());
  ASSERT_TRUE(waitForAllSFCThreads());
  EXPECT_EQ(calls("SFCServerVersion").size(), 2u);
  ASSERT_TRUE(uut_->SFC_QueryRecord(kSerial));
  ASSERT_TRUE(waitForAllSFCThreads());
  EXPECT_EQ(calls("SFCQueryRecordByStationName")[0],
            (std::vector<std::string>{"SFCQueryRecordByStationName", kSerial, "FUNCTIONAL-TEST",
                                      "mlbsn,iccid,mpn,region_code,imei"}));
  EXPECT_EQ(bk_test::readFile("/tmp/sfcstatus"), "0 SFC_OK mlbsn=X");
  EXPECT_EQ(calls("FreeSFCBuffer").size(), 3u);  // every buffer went back to the client
}

}  // namespace
