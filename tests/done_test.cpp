// Done: the required attributes, the station's last checks, the end of the
// unit-check thread, the failing test that a failure becomes, and the move to
// UID.did.
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "foundation/StationFiles.h"
#include "interface/Status.h"
#include "sfc/ThreadSupport.h"
#include "sfc/UnitCheckThread.h"
#include "support/SessionRun.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

class DoneTest : public ::testing::Test {
 protected:
  void SetUp() override {
    writeReadyStation();
    logStart_ = readLog().size();
  }
  void TearDown() override {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
  }

  CUUT* session(bool withLimits = true) {
    uut_ = startSession();
    addAttributes(uut_, withLimits);
    addResults(uut_, 2, 0, 0);
    return uut_;
  }

  std::string newLog() { return readLog().substr(logStart_); }

  // The one failing test that done adds, or a null value.
  Json::Value fatalTest() {
    for (const Json::Value& result : uut_->getRootJson()["results"]) {
      if (result["test"].asString() == "FATAL ERROR") return result;
    }
    return Json::Value();
  }

  CUUT* uut_ = nullptr;
  size_t logStart_ = 0;
};

TEST_F(DoneTest, CleanSessionMovesToDid) {
  CUUT* uut = session();
  Answer done = answerOf(BK_UUTDone(uut));
  EXPECT_TRUE(done.success) << done.text;
  EXPECT_EQ(done.status, 0u);
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
  EXPECT_FALSE(fileExists(dirOf(uut, "")));
  EXPECT_FALSE(fileExists(dirOf(uut, ".done")));
  EXPECT_TRUE(uut->getRootJson()["test_attributes"].isMember("uut_stop"));
  EXPECT_TRUE(fatalTest().isNull());
  EXPECT_EQ(uut->testFailures, 0u);

  std::string log = newLog();
  EXPECT_EQ(countLines(log, "reporting: cal=0 P0=0 P1=2 P2=0 P3=0 P4=0 "), 1u);
  EXPECT_EQ(countLines(log, "Total tests [Passed + Failed + NAs] = [2]"), 1u);
  EXPECT_EQ(countLines(log, "Total tests [Passed + Failed] = [2]"), 1u);
  EXPECT_EQ(countLines(log, "SFC_QUERY/UOP FEATURE set to [OFF] or FATAL ERROR already happened"),
            1u);
  EXPECT_EQ(countLines(log, "Returning success"), 1u);
  for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(uut->getSubmittedCount(i), 0u);

  // A second done names both states and moves nothing.
  Answer again = answerOf(BK_UUTDone(uut));
  EXPECT_FALSE(again.success);
  EXPECT_EQ(again.text,
            "The UUT object was not valid for this transition type. state from=did to=done");
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
}

TEST_F(DoneTest, MissingAttributesKeepSessionOpen) {
  struct Case {
    const char* skipped;
    const char* text;
  };
  const Case cases[] = {
      {"serialnumber",
       "UUTDone() was called before a 'serial number' attribute was created or bad serial "
       "number."},
      {"softwarename", "UUTDone() was called before a 'software name' attribute was created."},
      {"softwareversion",
       "UUTDone() was called before a 'software version' attribute was created."},
  };
  for (const Case& c : cases) {
    CUUT* uut = startSession();
    for (const char* name : {"serialnumber", "softwarename", "softwareversion"}) {
      if (std::string(name) == c.skipped) continue;
      expectSuccess(
          BK_addAttribute(uut, name, name == std::string("serialnumber") ? kSerial : "x-1.0"),
          name);
    }
    Answer done = answerOf(BK_UUTDone(uut));
    EXPECT_FALSE(done.success) << c.skipped;
    EXPECT_EQ(done.text, c.text);
    EXPECT_EQ(uut->state, UUT_STATE_OPEN);
    EXPECT_TRUE(fileExists(dirOf(uut, "")));
    BK_UID_destroy(uut);
  }
}

TEST_F(DoneTest, LimitsVersionSuppliedFromSoftwareVersion) {
  CUUT* uut = session(false);
  ASSERT_TRUE(answerOf(BK_UUTDone(uut)).success);
  EXPECT_EQ(uut->getRootJson()["test_station_attributes"]["limits_version"].asString(), "4.2.0");
}

TEST_F(DoneTest, PassiveHealthFailureBecomesFailingTest) {
  Json::Value info = readyStationInfo();
  info["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = 0;
  Json::Value health = sampleHealth();
  health["ethernet_ok"] = 0;
  writeReadyStation(info, health);
  CUUT* uut = session();

  Answer done = answerOf(BK_UUTDone(uut));
  EXPECT_TRUE(done.success);
  EXPECT_EQ(done.status, 0u);
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(uut->pendingFailure);
  EXPECT_FALSE(uut->pendingFailureActive);
  EXPECT_EQ(uut->testFailures, 1u);
  Json::Value fatal = fatalTest();
  ASSERT_FALSE(fatal.isNull());
  EXPECT_EQ(fatal["sub_test"].asString(), "EtherNet unplugged [PASSIVE]");
  EXPECT_EQ(fatal["result"].asString(), "fail");
  EXPECT_EQ(fatal["message"].asString().rfind("EtherNet unplugged [PASSIVE]", 0), 0u);
  EXPECT_EQ(countLines(newLog(), "Returning success"), 1u);

  // Commit then recognises the one failure as done's own.
  Answer commit = answerOf(BK_UUTCommit(uut, BK_PASS));
  EXPECT_TRUE(commit.success);
  Json::Value attributes = parseFile(dirOf(uut, ".commit/results.Json"))["test_attributes"];
  EXPECT_EQ(attributes["test_result"].asString(), "FAIL");
  EXPECT_EQ(attributes["override"].asString(), "1");
}

TEST_F(DoneTest, ActiveFailuresFailReplyButStillMove) {
  // An earlier ACTIVE failure, as am-I-okay leaves it.
  CUUT* uut = session();
  uut->pendingFailure = true;
  uut->pendingFailureActive = true;
  uut->pendingFailureName = "UNIT_OUT_OF_PROCESS [ACTIVE]";
  uut->pendingFailureDetail = "held";
  uut->pendingFailureMessage = "unit is on hold";
  Answer done = answerOf(BK_UUTDone(uut));
  EXPECT_FALSE(done.success);
  EXPECT_EQ(done.status, kStatusFailBit | (32u << 20) | 34u);
  EXPECT_EQ(done.text, "unit is on hold");
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "UNIT_OUT_OF_PROCESS [ACTIVE]");
  EXPECT_EQ(fatalTest()["message"].asString(), "unit is on hold");
  BK_UID_destroy(uut);

  // A station file whose signature no longer holds: ACTIVE whatever the policy.
  uut = session();
  Json::Value tampered = parseFile(kStationInfoPath);
  tampered["ksinfo"]["LINE_NUMBER"] = "L08";
  writeStationFiles(tampered, sampleHealth());
  done = answerOf(BK_UUTDone(uut));
  EXPECT_FALSE(done.success);
  EXPECT_EQ(done.status & kStatusFailBit, kStatusFailBit);
  EXPECT_EQ(uut->pendingFailureName, "Signature  NOT OK [ACTIVE]:");
  EXPECT_EQ(done.text.rfind("ERROR: ks_station_info signature NOT OK,", 0), 0u) << done.text;
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
  EXPECT_EQ(uut->testFailures, 1u);
}

TEST_F(DoneTest, ExpiredSignatureIsPassive) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) - 60);
  writeReadyStation(info);
  CUUT* uut = session();
  Answer done = answerOf(BK_UUTDone(uut));
  EXPECT_TRUE(done.success);
  EXPECT_EQ(uut->pendingFailureName, "Signature NOT OK [PASSIVE]: ");
  EXPECT_FALSE(uut->pendingFailureActive);
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "Signature NOT OK [PASSIVE]: ");
}

// --- The unit-check thread -----------------------------------------------------

// Stands in for the unit-check thread: waits in "the client" until SIGALRM
// arrives or it is told to stop, then ends as the real one does.
struct FakeUnitThread {
  std::shared_ptr<SFCThreadState> state;
  std::atomic<bool> stop{false};
  std::atomic<int> alarms{0};
  pthread_t id{};

  static void* run(void* self) {
    auto* fake = static_cast<FakeUnitThread*>(self);
    sigset_t alarm = sfcAlarmSet();
    pthread_sigmask(SIG_UNBLOCK, &alarm, nullptr);
    for (int i = 0; i < 5000; ++i) {
      if (bSupposedToDie.exchange(false)) fake->alarms++;
      if (fake->stop.load()) break;
      usleep(1000);
    }
    std::lock_guard<std::mutex> hold(fake->state->endLock);
    fake->state->ended = true;
    return nullptr;
  }

  void start(CUUT* uut) {
    sfcInstallAlarmHandler();
    state = uut->sfcUnitThreadState;
    state->started = true;
    ASSERT_EQ(pthread_create(&id, nullptr, run, this), 0);
    uut->sfcUnitThread = id;
    uut->sfcQueryUnitThreadCreated = true;
  }
  void finish() {
    stop = true;
    pthread_join(id, nullptr);
  }
};

class DoneThreadTest : public DoneTest {
 protected:
  void SetUp() override {
    Json::Value info = readyStationInfo();
    info["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
    info["lifeline"]["BK_MSG_ERROR_UNIT_OUT_OF_PROCESS"] = 0;
    writeReadyStation(info);
    logStart_ = readLog().size();
    // The attributes go in with the feature off in force, so that no real
    // unit check starts; the feature is read again at done.
    uut_ = startSession();
    uut_->attributeSerialNumberCreated = true;
    uut_->attributeSoftwareNameCreated = true;
    uut_->attributeSoftwareVersionCreated = true;
    uut_->attributeLimitsVersionCreated = true;
    uut_->getRootJson()["test_attributes"]["unit_serial_number"] = kSerial;
    addResults(uut_, 1, 0, 0);
  }
  std::string responsePath() { return "/tmp/" + uut_->getUID(); }
};

TEST_F(DoneThreadTest, OverdueThreadWithoutAnswerIsKilled) {
  FakeUnitThread fake;
  fake.start(uut_);
  uut_->timeWhenSFCThreadCreated = time(nullptr) - 100;
  Answer done = answerOf(BK_UUTDone(uut_));
  fake.finish();

  std::string killed =
      "SFC_QUERY_UNIT THREAD KILLED: terminated by BK for [" + uut_->getUID() + "]";
  EXPECT_FALSE(done.success);
  EXPECT_EQ(done.status, BK_buildStatus(BK_FAIL, 32, 33));
  EXPECT_EQ(done.text, killed + " [ACTIVE]");
  EXPECT_EQ(uut_->pendingFailureName, "SFC_QUERY_UNIT [ACTIVE]");
  EXPECT_EQ(fatalTest()["sub_sub_test"].asString(), killed);
  EXPECT_GE(fake.alarms.load(), 1);
  std::string log = newLog();
  EXPECT_EQ(countLines(log, "Thread Alive: sfc-threadid=["), 1u);
  EXPECT_EQ(countLines(log, "Thread NOT Alive now"), 1u);
  EXPECT_EQ(countLines(log, "SFC_QUERY_UNIT: SFC_TIMEOUT[15]"), 1u);
}

TEST_F(DoneThreadTest, YoungThreadIsSignalledButNotFailed) {
  FakeUnitThread fake;
  fake.start(uut_);
  uut_->timeWhenSFCThreadCreated = time(nullptr);
  Answer done = answerOf(BK_UUTDone(uut_));
  fake.finish();

  EXPECT_TRUE(done.success) << done.text;
  EXPECT_FALSE(uut_->pendingFailure);
  EXPECT_GE(fake.alarms.load(), 1);
  std::string log = newLog();
  EXPECT_EQ(countLines(log, "no action required."), 1u);
  EXPECT_EQ(countLines(log,
                       "server response file does not exists or fails to open file or "
                       "thread killed?"),
            1u);
}

TEST_F(DoneThreadTest, EndedThreadsAnswerDecidesAndIsDeleted) {
  // An ended thread is never signalled, and a thread never started counts
  // as ended: both take the response file's road.
  writeFile(responsePath(),
            "Response=0 SFC_OK UNIT_OUT_OF_PROCESS: unit belongs to rework, station=FT\n");
  Answer done = answerOf(BK_UUTDone(uut_));
  EXPECT_TRUE(done.success);
  EXPECT_EQ(done.status, 0u);
  EXPECT_TRUE(uut_->pendingFailure);
  EXPECT_FALSE(uut_->pendingFailureActive);
  EXPECT_EQ(uut_->pendingFailureName, "UNIT_OUT_OF_PROCESS [PASSIVE]");
  EXPECT_FALSE(fileExists(responsePath()));
  std::string log = newLog();
  EXPECT_EQ(countLines(log, "Thread Alive"), 0u);
  EXPECT_EQ(
      countLines(log, "deleting server response file, no longer needed [" + responsePath() + "]"),
      1u);
}

TEST_F(DoneThreadTest, NoResponseFromServerUnderActivePolicy) {
  FakeUnitThread fake;
  fake.start(uut_);
  fake.finish();
  writeFile(responsePath(), "No response from SFC server\n");
  Answer done = answerOf(BK_UUTDone(uut_));
  EXPECT_FALSE(done.success);
  EXPECT_EQ(done.status, BK_buildStatus(BK_FAIL, 32, 33));
  EXPECT_EQ(done.text, "SFC_QUERY_UNIT no Response from server: [ACTIVE]");
  EXPECT_EQ(uut_->pendingFailureDetail, "No response from SFC server");
  EXPECT_EQ(fake.alarms.load(), 0);
}

TEST_F(DoneThreadTest, FeatureOffLeavesThreadAloneAndDeletesFile) {
  Json::Value info = readyStationInfo();
  writeReadyStation(info);
  getKSInfo()->refresh();
  FakeUnitThread fake;
  fake.start(uut_);
  writeFile(responsePath(), "Response=0 SFC_OK\n");
  Answer done = answerOf(BK_UUTDone(uut_));
  fake.finish();
  EXPECT_TRUE(done.success);
  EXPECT_EQ(fake.alarms.load(), 0);
  EXPECT_FALSE(fileExists(responsePath()));
}

}  // namespace
