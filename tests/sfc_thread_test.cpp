// The unit-check thread against the client double: what it asks, how often,
// and what it leaves in the response file.  Each test is its own process
// (and sandbox), so the client is loaded afresh and the call counts start at 0.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>

#include "sfc/ThreadSupport.h"
#include "sfc_client_double/SfcTestSupport.h"
#include "support/SessionRun.h"

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

// Done ends a check that still waits for its server: it signals the thread,
// and fails the check as killed only once it is overdue.
TEST_F(UnitCheckThread, DoneSignalsAWaitingCheckAndKillsItOnlyWhenOverdue) {
  for (int timeout : {15, 1}) {
    SCOPED_TRACE(timeout);
    script("SFCQueryRecordUnitCheck", {answer(kOkAnswer, 3000)});
    Json::Value info = bk_test::readyStationInfo();
    info["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
    info["ksinfo"]["SFC_TIMEOUT"] = timeout;
    bk_test::writeReadyStation(info);
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    uut_ = bk_test::startSession();
    bk_test::addAttributes(uut_);  // the serial number starts the check
    bk_test::addResult(uut_, BK_PASS, "t");
    const time_t created = uut_->getTimeWhenSFCThreadCreated();
    const size_t asked = timeout == 15 ? 1 : 2;  // the client waits from its call on
    ASSERT_TRUE(waitFor([&] { return calls("SFCQueryRecordUnitCheck").size() == asked; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // and is in its delay
    ASSERT_TRUE(waitFor([&] { return time(nullptr) >= created + (timeout == 1 ? 2 : 0); }));
    const bk_test::Answer answer = bk_test::answerOf(BK_UUTDone(uut_));
    const std::string killed =
        "SFC_QUERY_UNIT THREAD KILLED: terminated by BK for [" + uut_->getUID() + "]";
    if (timeout == 15) {
      EXPECT_TRUE(bk_test::answered(answer, true, 0, "Digital signature verified OK"));
    } else {
      EXPECT_TRUE(
          bk_test::answered(answer, false, BK_buildStatus(BK_FAIL, 32, 33), killed + " [ACTIVE]"));
    }
    EXPECT_EQ(bk_test::countLines(bk_test::readLog(), killed) > 0, timeout == 1);
    ASSERT_TRUE(waitForAllSFCThreads());
    EXPECT_EQ(calls("signal").size(), asked);
  }
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

// ---- SIGALRM as the station sees it, and files and notes after the end. ----

std::atomic<int> stationAlarms{0};
void stationHandler(int) { ++stationAlarms; }

void setAlarmAction(void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  sigaction(SIGALRM, &action, nullptr);
}

TEST_F(UnitCheckThread, StationAlarmsReachTheStationsHandlerBeforeAndAfterAUnitCheck) {
  // The station's handler was there before the library was loaded.
  setAlarmAction(stationHandler);
  sfcInstallAlarmHandler();  // what loading does
  raise(SIGALRM);
  EXPECT_EQ(stationAlarms.load(), 1);

  // Signalled the moment it starts, the thread takes the signal itself.
  script("SFCQueryRecordUnitCheck", {answer(kOkAnswer, 300)});
  uut_ = startSession();
  ASSERT_TRUE(startUnitCheck(uut_, kSerial));
  EXPECT_EQ(sfcUnitThreadSignal(uut_, SIGALRM), 0);
  ASSERT_TRUE(waitForUnitCheckEnd(uut_));
  EXPECT_EQ(stationAlarms.load(), 1);
  EXPECT_EQ(responseFile(), kOkAnswer);

  raise(SIGALRM);
  EXPECT_EQ(stationAlarms.load(), 2);
}

TEST_F(UnitCheckThread, StationsDefaultOrIgnoredAlarmIsKept) {
  for (void (*disposition)(int) : {SIG_DFL, SIG_IGN}) {
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      setAlarmAction(disposition);
      sfcInstallAlarmHandler();
      raise(SIGALRM);
      _exit(7);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (disposition == SIG_DFL) {
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) << status;
    } else {
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
    }
  }
}

TEST_F(UnitCheckThread, StationThatTookSigalrmOverIsNotSignalledByDone) {
  script("SFCQueryRecordUnitCheck", {answer(kOkAnswer, 500)});
  uut_ = startSession();
  ASSERT_TRUE(startUnitCheck(uut_, kSerial));
  // Reset to the default action: a signal sent now would end the process.
  for (void (*handler)(int) : {SIG_DFL, stationHandler}) {
    setAlarmAction(handler);
    EXPECT_EQ(sfcUnitThreadSignal(uut_, SIGALRM), 0);  // done goes on as if sent
  }
  ASSERT_TRUE(waitForUnitCheckEnd(uut_));
  EXPECT_EQ(stationAlarms.load(), 0);
  EXPECT_EQ(calls("signal").size(), 0u);
  EXPECT_EQ(
      bk_test::countLines(bk_test::readLog(), "]: SIGALRM not sent to sfc-threadid=[" +
                                                  std::to_string(uut_->sfcUnitThread) +
                                                  "]: the station replaced the library's handler"),
      2u);
}

TEST_F(UnitCheckThread, AnswerArrivingAfterTheSessionEndedLeavesNoFile) {
  for (bool destroy : {false, true}) {
    script("SFCQueryRecordUnitCheck", {answer(kOkAnswer, 300)});
    uut_ = startSession();
    ASSERT_TRUE(startUnitCheck(uut_, kSerial));
    const std::string path = responsePath(uut_);
    if (destroy) {
      BK_UID_destroy(uut_);
      uut_ = nullptr;
    } else {
      BK_reply_destroy(BK_UUTCancel(uut_));
    }
    ASSERT_TRUE(waitForAllSFCThreads());
    EXPECT_FALSE(bk_test::fileExists(path)) << (destroy ? "destroy" : "cancel");
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    uut_ = nullptr;
  }
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(),
                                "deleting server response file written after the session ended"),
            2u);
}

TEST_F(UnitCheckThread, UnloadWithAThreadStillRunningTellsTheLog) {
#if defined(__SANITIZE_THREAD__)
  // Exit destroys every static while the thread still runs: by design here,
  // and a race to ThreadSanitizer in any program that does it.
  GTEST_SKIP() << "a process that exits under a running thread";
#endif
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    script("SFCQueryRecordUnitCheck", {answer(kOkAnswer, 5000)});
    CUUT* uut = startSession();
    startUnitCheck(uut, kSerial);
    // Once the thread waits in the client, only unload can meet it.
    waitFor([] { return !calls("SFCQueryRecordUnitCheck").empty(); });
    exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(),
                                "]: libBKSFCPost left loaded: an SFC thread is still running"),
            1u);
}

}  // namespace
