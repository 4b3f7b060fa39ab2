// The unit-check thread against the client double: what it asks, how often,
// what it leaves in the response file, and how the two unit process checks
// read that file.  Each test is its own process (and sandbox), so the client
// is loaded afresh and the double's call counts start at zero.
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

  const std::string log = bk_test::readLog();
  EXPECT_EQ(bk_test::countLines(log, "Begin Thread for [" + kSerial + "] sfc-threadid=["), 1u);
  EXPECT_EQ(bk_test::countLines(log, "SFC_TIMEOUT [15]"), 1u);
  EXPECT_EQ(bk_test::countLines(log, "Normal Thread End for [" + kSerial + "]"), 1u);
  EXPECT_EQ(bk_test::countLines(log, "SFC_QueryRecordUnitCheck thread successfully created [" +
                                         uut_->getUID() + "] sfc-threadid=["),
            1u);

  EXPECT_TRUE(BK_isSFCQueryUnitOK(uut_, &reply_, nullptr));
  EXPECT_STREQ(reply_.getData(), kOkAnswer.c_str());
  // An ended thread is never signalled again.
  EXPECT_EQ(sfcUnitThreadSignal(uut_, SIGALRM), ESRCH);
}

TEST_F(UnitCheckThread, RetriesErrorsAtOnceAndKeepsTheFinalAnswer) {
  // An answer with both words is still an error while attempts remain.
  script("SFCQueryRecordUnitCheck",
         {answer("1 SFC_ERROR 0 SFC_OK half"), answer("1 SFC_ERROR busy"), answer(kOkAnswer)});
  runUnitCheck();
  EXPECT_EQ(calls("SFCQueryRecordUnitCheck").size(), 3u);
  EXPECT_EQ(calls("FreeSFCBuffer").size(), 3u);
  EXPECT_EQ(responseFile(), kOkAnswer);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Invalid SFC server response"), 0u);
}

TEST_F(UnitCheckThread, GivesUpAfterElevenErrorsAndWritesTheLast) {
  script("SFCQueryRecordUnitCheck", {answer("1 SFC_ERROR server busy")});
  runUnitCheck();
  EXPECT_EQ(calls("SFCQueryRecordUnitCheck").size(), 11u);
  EXPECT_EQ(calls("FreeSFCBuffer").size(), 11u);
  EXPECT_EQ(responseFile(), "1 SFC_ERROR server busy");
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(),
                                "Invalid SFC server response: [1 SFC_ERROR server busy] for SN# [" +
                                    kSerial + "]."),
            1u);
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
  EXPECT_NE(std::string(reply_.getData())
                .find("] > SFC_TIMEOUT [1] and response file does not "
                      "exist"),
            std::string::npos)
      << reply_.getData();

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
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    runUnitCheck(info);
    EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Normal Thread End for [" + kSerial + "]"),
              timeout.isString() ? 1u : 2u);
  }
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "SFC_TIMEOUT [15]"), 2u);
}

TEST_F(UnitCheckThread, StaleResponseFileIsDeletedAtStart) {
  uut_ = startSession();
  bk_test::writeFile(responsePath(uut_), "stale answer of an earlier thread");
  // A delay, so that the stale file is surely gone before the answer comes.
  script("SFCQueryRecordUnitCheck", {answer(kOkAnswer, 500)});
  ASSERT_TRUE(startUnitCheck(uut_, kSerial));
  ASSERT_TRUE(waitForUnitCheckEnd(uut_));
  EXPECT_EQ(responseFile(), kOkAnswer);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(),
                                "Deleting file [" + responsePath(uut_) +
                                    "] **** [beginning of thread-we should never get here-file "
                                    "not get cleaned last time] ****"),
            1u);
}

TEST_F(UnitCheckThread, NullAnswerLeavesNoFile) {
  script("SFCQueryRecordUnitCheck", {nullAnswer()});
  runUnitCheck();
  EXPECT_FALSE(bk_test::fileExists(responsePath(uut_)));
  std::string log = bk_test::readLog();
  EXPECT_EQ(bk_test::countLines(log, "Could not find function in libBKSFCPost.dylib"), 1u);
  EXPECT_EQ(bk_test::countLines(log, "Normal Thread End"), 0u);
}

TEST_F(UnitCheckThread, ProbeOfASessionWithoutThreadReportsEnded) {
  uut_ = startSession();
  EXPECT_EQ(sfcUnitThreadProbe(uut_), ESRCH);
  EXPECT_EQ(sfcUnitThreadSignal(uut_, SIGALRM), ESRCH);
}

// The queries that stand ready share one status file and write only an ok.
TEST_F(UnitCheckThread, ReadyQueriesWriteOnlyOkAnswersToTheStatusFile) {
  uut_ = startSession();
  script("SFCServerVersion", {answer("1 SFC_ERROR"), answer("0 SFC_OK server 4.2")});
  ASSERT_TRUE(uut_->SFC_ServerVersion());
  ASSERT_TRUE(waitForAllSFCThreads());
  EXPECT_EQ(bk_test::readFile("/tmp/sfcstatus"), "0 SFC_OK server 4.2");
  EXPECT_EQ(calls("SFCServerVersion").size(), 2u);

  script("SFCQueryRecordByStationName", {answer("0 SFC_OK mlbsn=X")});
  ASSERT_TRUE(uut_->SFC_QueryRecord(kSerial));
  ASSERT_TRUE(waitForAllSFCThreads());
  EXPECT_EQ(calls("SFCQueryRecordByStationName")[0],
            (std::vector<std::string>{"SFCQueryRecordByStationName", kSerial, "FUNCTIONAL-TEST",
                                      "mlbsn,iccid,mpn,region_code,imei"}));
  EXPECT_EQ(bk_test::readFile("/tmp/sfcstatus"), "0 SFC_OK mlbsn=X");

  script("SFCQueryHistory", {answer("history unavailable")});
  ASSERT_TRUE(uut_->SFC_QueryHistory(kSerial));
  ASSERT_TRUE(waitForAllSFCThreads());
  EXPECT_EQ(calls("SFCQueryHistory")[0], (std::vector<std::string>{"SFCQueryHistory", kSerial}));
  EXPECT_EQ(bk_test::readFile("/tmp/sfcstatus"), "0 SFC_OK mlbsn=X");  // unchanged
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "We should never get here"), 1u);
  // Every buffer went back to the client.
  EXPECT_EQ(calls("FreeSFCBuffer").size(), 4u);
}

}  // namespace
