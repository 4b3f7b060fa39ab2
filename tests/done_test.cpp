// Done: the required attributes, the station's last checks, the end of the
// unit-check thread, the failing test that a failure becomes, and the move to
// UID.did.
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include "interface/Status.h"
#include "sfc/ThreadSupport.h"
#include "sfc/UnitCheckThread.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

class DoneTest : public ::testing::Test {
 protected:
  void SetUp() override { writeReadyStation(); }
  void TearDown() override { session(nullptr); }
  // Replaces the test's session, destroying the previous one.
  CUUT* session(CUUT* uut) {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    return uut_ = uut;
  }
  // A fresh session with its attributes and two passing results.
  CUUT* filled(bool withLimits = true) {
    session(startSession());
    addAttributes(uut_, withLimits);
    addResults(uut_, 2, 0, 0);
    return uut_;
  }
  Answer done() { return answerOf(BK_UUTDone(uut_)); }
  // The one failing test that done adds, or a null value.
  Json::Value fatalTest() {
    for (const Json::Value& result : uut_->getRootJson()["results"]) {
      if (result["test"].asString() == "FATAL ERROR") return result;
    }
    return Json::Value();
  }
  CUUT* uut_ = nullptr;
};

TEST_F(DoneTest, CleanSessionMovesToDidOnce) {
  CUUT* uut = filled(false);
  EXPECT_TRUE(answered(done(), true, 0, "Digital signature verified OK"));
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
  EXPECT_FALSE(fileExists(dirOf(uut, "")));
  EXPECT_TRUE(uut->getRootJson()["test_attributes"].isMember("uut_stop"));
  // No limits version given: the software version stands in.
  EXPECT_EQ(uut->getRootJson()["test_station_attributes"]["limits_version"].asString(), "4.2.0");
  EXPECT_TRUE(fatalTest().isNull());
  // A second done names both states and moves nothing.
  EXPECT_TRUE(
      answered(done(), false, BK_buildStatus(BK_FAIL, 1, 4),
               "The UUT object was not valid for this transition type. state from=did to=done"));
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
}

TEST_F(DoneTest, MissingAttributesKeepSessionOpen) {
  const char* const names[] = {"serialnumber", "softwarename", "softwareversion"};
  const char* const texts[] = {
      "UUTDone() was called before a 'serial number' attribute was created or bad serial number.",
      "UUTDone() was called before a 'software name' attribute was created.",
      "UUTDone() was called before a 'software version' attribute was created."};
  for (int skipped = 0; skipped < 3; ++skipped) {
    CUUT* uut = session(startSession());
    for (int i = 0; i < 3; ++i) {
      if (i != skipped) expectSuccess(BK_addAttribute(uut, names[i], kSerial), names[i]);
    }
    const Answer answer = done();
    EXPECT_FALSE(answer.success);
    EXPECT_EQ(answer.text, texts[skipped]);
    EXPECT_EQ(uut->state, UUT_STATE_OPEN);
    EXPECT_TRUE(fileExists(dirOf(uut, "")));
  }
}

TEST_F(DoneTest, PassiveFailuresBecomeFailingTestBehindPassingReply) {
  Json::Value info = readyStationInfo();
  info["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = 0;
  Json::Value health = sampleHealth();
  health["ethernet_ok"] = 0;
  writeReadyStation(info, health);
  CUUT* uut = filled();
  EXPECT_TRUE(answered(done(), true, 0, ""));
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_FALSE(uut->pendingFailureActive);
  EXPECT_EQ(uut->testFailures, 1u);
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "EtherNet unplugged [PASSIVE]");
  EXPECT_EQ(fatalTest()["result"].asString(), "fail");
  EXPECT_EQ(fatalTest()["message"].asString().rfind("EtherNet unplugged [PASSIVE]", 0), 0u);

  // An expired signature is PASSIVE too.
  info = readyStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) - 60);
  writeReadyStation(info);
  filled();
  EXPECT_TRUE(done().success);
  EXPECT_FALSE(uut_->pendingFailureActive);
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "Signature NOT OK [PASSIVE]: ");
}

TEST_F(DoneTest, ActiveFailuresFailReplyButStillMove) {
  // An earlier ACTIVE failure, as am-I-okay leaves it.
  CUUT* uut = filled();
  uut->pendingFailure = uut->pendingFailureActive = true;
  uut->pendingFailureName = "UNIT_OUT_OF_PROCESS [ACTIVE]";
  uut->pendingFailureMessage = "unit is on hold";
  EXPECT_TRUE(answered(done(), false, kStatusFailBit | (32u << 20) | 34u, "unit is on hold"));
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_EQ(fatalTest()["sub_test"].asString(), "UNIT_OUT_OF_PROCESS [ACTIVE]");
  EXPECT_EQ(fatalTest()["message"].asString(), "unit is on hold");

  // A station file whose signature no longer holds: ACTIVE whatever the policy.
  uut = filled();
  Json::Value tampered = parseFile(kStationInfoPath);
  tampered["ksinfo"]["LINE_NUMBER"] = "L08";
  writeStationFiles(tampered, sampleHealth());
  const Answer answer = done();
  EXPECT_FALSE(answer.success);
  EXPECT_EQ(answer.status & kStatusFailBit, kStatusFailBit);
  EXPECT_EQ(answer.text.rfind("ERROR: ks_station_info signature NOT OK,", 0), 0u) << answer.text;
  EXPECT_EQ(uut->pendingFailureName, "Signature  NOT OK [ACTIVE]:");
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
  EXPECT_EQ(uut->testFailures, 1u);
}

// Stands in for the unit-check thread: waits in "the client" until SIGALRM
// arrives or it is told to stop, then ends as the real one does.
struct FakeUnitThread {
  std::shared_ptr<SFCThreadState> state;
  std::atomic<bool> stop{false};
  std::atomic<int> alarms{0};
  pthread_t id{};

  explicit FakeUnitThread(CUUT* uut) : state(uut->sfcUnitThreadState) {
    sfcInstallAlarmHandler();
    state->started = true;
    EXPECT_EQ(pthread_create(&id, nullptr, run, this), 0);
    uut->sfcUnitThread = id;
    uut->sfcQueryUnitThreadCreated = true;
  }
  ~FakeUnitThread() { finish(); }
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
  void finish() {
    if (!stop.exchange(true)) pthread_join(id, nullptr);
  }
};

class DoneThreadTest : public DoneTest {
 protected:
  void SetUp() override {
    Json::Value info = readyStationInfo();
    info["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
    info["lifeline"]["BK_MSG_ERROR_UNIT_OUT_OF_PROCESS"] = 0;
    writeReadyStation(info);
    // Attributes are marked by hand so that no real unit check starts; the
    // feature is read again at done.
    CUUT* uut = session(startSession());
    uut->attributeSerialNumberCreated = uut->attributeSoftwareNameCreated = true;
    uut->attributeSoftwareVersionCreated = uut->attributeLimitsVersionCreated = true;
    uut->getRootJson()["test_attributes"]["unit_serial_number"] = kSerial;
    addResults(uut, 1, 0, 0);
    response_ = "/tmp/" + uut->getUID();
  }
  std::string response_;
};

TEST_F(DoneThreadTest, RunningThreadIsSignalledAndKilledOnlyWhenOverdue) {
  FakeUnitThread young(uut_);
  uut_->timeWhenSFCThreadCreated = time(nullptr);
  EXPECT_TRUE(answered(done(), true, 0, "Digital signature verified OK"));
  young.finish();
  EXPECT_FALSE(uut_->pendingFailure);
  EXPECT_GE(young.alarms.load(), 1);

  SetUp();
  FakeUnitThread overdue(uut_);
  uut_->timeWhenSFCThreadCreated = time(nullptr) - 100;
  const Answer answer = done();
  overdue.finish();
  const std::string killed =
      "SFC_QUERY_UNIT THREAD KILLED: terminated by BK for [" + uut_->getUID() + "]";
  EXPECT_TRUE(answered(answer, false, BK_buildStatus(BK_FAIL, 32, 33), killed + " [ACTIVE]"));
  EXPECT_EQ(uut_->pendingFailureName, "SFC_QUERY_UNIT [ACTIVE]");
  EXPECT_EQ(fatalTest()["sub_sub_test"].asString(), killed);
  EXPECT_GE(overdue.alarms.load(), 1);
}

TEST_F(DoneThreadTest, EndedThreadsAnswerDecidesAndIsDeleted) {
  // A thread never started counts as ended, and no ended thread is signalled.
  writeFile(response_,
            "Response=0 SFC_OK UNIT_OUT_OF_PROCESS: unit belongs to rework, station=FT\n");
  EXPECT_TRUE(answered(done(), true, 0, ""));
  EXPECT_FALSE(uut_->pendingFailureActive);
  EXPECT_EQ(uut_->pendingFailureName, "UNIT_OUT_OF_PROCESS [PASSIVE]");
  EXPECT_FALSE(fileExists(response_));

  SetUp();
  FakeUnitThread ended(uut_);
  ended.finish();
  writeFile(response_, "No response from SFC server\n");
  EXPECT_TRUE(answered(done(), false, BK_buildStatus(BK_FAIL, 32, 33),
                       "SFC_QUERY_UNIT no Response from server: [ACTIVE]"));
  EXPECT_EQ(uut_->pendingFailureDetail, "No response from SFC server");
  EXPECT_EQ(ended.alarms.load(), 0);
}

}  // namespace
