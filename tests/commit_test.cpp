// Commit: the verdict table, the cases that cancel or hold back a session,
// the results file's stages and the hand-over.
#include <gtest/gtest.h>

#include <string>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "support/SessionRun.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

class CommitTest : public ::testing::Test {
 protected:
  void SetUp() override {
    writeReadyStation();
    logStart_ = readLog().size();
  }
  void TearDown() override {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
  }

  // A session with the given results, taken through a clean done.
  CUUT* doneSession(int passes, int failures, int nas) {
    uut_ = startSession();
    addAttributes(uut_);
    addResults(uut_, passes, failures, nas);
    Answer done = answerOf(BK_UUTDone(uut_));
    EXPECT_TRUE(done.success) << done.text;
    EXPECT_EQ(uut_->state, UUT_STATE_DID);
    return uut_;
  }

  Json::Value committedResults() { return parseFile(dirOf(uut_, ".commit/results.Json")); }

  // The log written since the test began, so the test reads only its own lines.
  std::string newLog() { return readLog().substr(logStart_); }

  CUUT* uut_ = nullptr;
  size_t logStart_ = 0;
};

struct VerdictRow {
  const char* name;
  BK_PASSFAILRESULT claim;
  int passes, failures, nas;
  bool pending, pendingActive;
  const char* testResult;
  bool override;
  const char* logLine;
  const char* replyText;  // "" when the reply carries none
};

// Every row of the verdict table.  The pending failure is set by hand after
// done, next to its one failing test, as done leaves it.
const VerdictRow kVerdictRows[] = {
    {"PassPendingPassive", BK_PASS, 2, 1, 0, true, false, "FAIL", true,
     "Commit(BK_PASS): An amIOK failure", ""},
    {"PassPendingActive", BK_PASS, 2, 1, 0, true, true, "FAIL", false,
     "Commit(BK_PASS): An amIOK failure", ""},
    {"PassClean", BK_PASS, 3, 0, 0, false, false, "PASS", false,
     "Commit(BK_PASS): testFailures[0] and testPasses[1 or more]", ""},
    {"PassWithFailures", BK_PASS, 1, 2, 0, true, false, "FAIL", false,
     "Commit(BK_PASS): testFailures[at least 1] Failing the test",
     "Cannot commit PASS with [2] failing tests, Otter FAILing the test"},
    {"PassOnlyNA", BK_PASS, 0, 0, 2, false, false, "FAIL", false,
     "Commit(BK_PASS): testFailures[at least 1] Failing the test",
     "Cannot commit PASS with [0] failing tests, Otter FAILing the test"},
    {"NAClaimCountsAsPass", BK_NA, 3, 0, 0, false, false, "PASS", false,
     "Commit(BK_PASS): testFailures[0] and testPasses[1 or more]", ""},
    {"FailPendingPassive", BK_FAIL, 2, 1, 0, true, false, "FAIL", true,
     "Commit(BK_FAIL): testFailures[at least 1]  An amIOK earlier ...", ""},
    {"FailWithFailures", BK_FAIL, 1, 3, 0, false, false, "FAIL", false,
     "Commit(BK_FAIL): testFailures[at least 1]  Failing test", ""},
    {"FailOnlyPasses", BK_FAIL, 2, 0, 0, false, false, "PASS", false,
     "Commit(BK_FAIL): testFailures[0]  and testPassess[more than 1] trying to fail a passing test",
     ""},
};

void PrintTo(const VerdictRow& row, std::ostream* out) { *out << row.name; }

class VerdictTest : public CommitTest, public ::testing::WithParamInterface<VerdictRow> {};

TEST_P(VerdictTest, RecordsVerdictAndHandsOver) {
  const VerdictRow& row = GetParam();
  CUUT* uut = doneSession(row.passes, row.failures, row.nas);
  uut->pendingFailure = row.pending;
  uut->pendingFailureActive = row.pendingActive;
  uut->pendingFailureName = "EtherNet unplugged [PASSIVE]";

  Answer commit = answerOf(BK_UUTCommit(uut, row.claim));

  // Whatever the row, a commit that got to the hand-over answers pass.
  EXPECT_TRUE(commit.success);
  EXPECT_EQ(commit.status, 0u);
  EXPECT_EQ(commit.text, row.replyText);
  EXPECT_EQ(uut->state, UUT_STATE_COMMIT);
  EXPECT_FALSE(fileExists(dirOf(uut, ".did")));
  Json::Value attributes = committedResults()["test_attributes"];
  EXPECT_EQ(attributes["test_result"].asString(), row.testResult);
  EXPECT_EQ(attributes.isMember("override"), row.override);
  if (row.override) {
    EXPECT_EQ(attributes["override"].asString(), "1");
  }
  std::string log = newLog();
  EXPECT_EQ(countLines(log, row.logLine), 1u) << row.logLine;
  if (*row.replyText != '\0') {
    EXPECT_EQ(countLines(log, std::string("ERROR: ") + row.replyText), 1u);
  }
  EXPECT_EQ(countLines(log, "Test results committed"), 1u);
}

INSTANTIATE_TEST_SUITE_P(EveryRow, VerdictTest, ::testing::ValuesIn(kVerdictRows),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(CommitTest, WritesVerifiedSignedFileThroughItsStages) {
  CUUT* uut = doneSession(2, 0, 0);
  writeFile(jsondbg, "");
  Answer commit = answerOf(BK_UUTCommit(uut, BK_PASS));
  ASSERT_TRUE(commit.success) << commit.text;

  std::string dir = dirOf(uut, ".commit/");
  EXPECT_FALSE(fileExists(dir + "results.tmp"));
  std::string text = readFile(dir + "results.Json");
  Json::Value attributes = parseFile(dir + "results.Json")["test_attributes"];
  EXPECT_EQ(attributes["signature_version"].asString(), "1");
  EXPECT_FALSE(attributes["otter_signature"].asString().empty());
  EXPECT_FALSE(attributes["ocelot_signature"].asString().empty());
  EXPECT_TRUE(verifyCommittedResults(dir + "results.Json")) << text;

  std::string log = newLog();
  // Before and after tell of the same size; the document stands in the log
  // because json.dbg asked for it.
  size_t before = log.find("Before:[");
  size_t after = log.find("After:[");
  ASSERT_NE(before, std::string::npos);
  ASSERT_NE(after, std::string::npos);
  EXPECT_EQ(log.substr(before + 8, log.find(']', before) - before - 8),
            log.substr(after + 7, log.find(']', after) - after - 7));
  EXPECT_NE(log.find("\"unit_serial_number\" : \"C0212ABCDEF\""), std::string::npos);
  EXPECT_EQ(countLines(log, "Signed test results successfully"), 1u);
}

TEST_F(CommitTest, AttributeAfterDoneReachesTheCommittedFile) {
  // The session's directory still exists under the name of its state, so
  // the attribute is taken.
  CUUT* uut = doneSession(1, 0, 0);
  Answer added = answerOf(BK_addAttribute(uut, "fixture_color", "red"));
  EXPECT_TRUE(added.success) << added.text;
  ASSERT_TRUE(answerOf(BK_UUTCommit(uut, BK_PASS)).success);
  EXPECT_EQ(committedResults()["uut_attributes"]["fixture_color"].asString(), "red");
}

TEST_F(CommitTest, DirectCopiesEndAsCommitBesideTheHandOver) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["OCELOT_DIRECT"] = "ON";
  info["ksinfo"]["VOLE_DIRECT"] = "ON";
  writeReadyStation(info);
  CUUT* uut = doneSession(1, 0, 0);
  ASSERT_TRUE(answerOf(BK_UUTCommit(uut, BK_PASS)).success);

  std::string own = readFile(dirOf(uut, ".commit/results.Json"));
  for (const char* root :
       {"/vault/data_collection/uut_data_ocelot/", "/vault/data_collection/uut_data_vole/"}) {
    std::string copy = std::string(root) + uut->getUID() + ".commit/results.Json";
    ASSERT_TRUE(fileExists(copy)) << copy;
    EXPECT_EQ(readFile(copy), own);
    EXPECT_FALSE(fileExists(std::string(root) + uut->getUID() + ".did"));
  }
  std::string log = newLog();
  EXPECT_EQ(countLines(log, "Test results copied to a folder[oce]"), 1u);
  EXPECT_EQ(countLines(log, "Test results copied to a folder[vole]"), 1u);
}

TEST_F(CommitTest, OutOfSequenceCancels) {
  // Before done.
  uut_ = startSession();
  addAttributes(uut_);
  addResults(uut_, 1, 0, 0);
  Answer early = answerOf(BK_UUTCommit(uut_, BK_PASS));
  EXPECT_FALSE(early.success);
  EXPECT_EQ(early.text, " CANCELING TEST: Valid UID but apis calls out of sequnce.");
  EXPECT_FALSE(fileExists(dirOf(uut_, "")));
  EXPECT_EQ(countLines(newLog(), "ERROR: " + early.text), 2u);
  BK_UID_destroy(uut_);

  // After a commit: the second one removes the committed directory.
  CUUT* uut = doneSession(1, 0, 0);
  ASSERT_TRUE(answerOf(BK_UUTCommit(uut, BK_PASS)).success);
  ASSERT_TRUE(fileExists(dirOf(uut, ".commit")));
  EXPECT_FALSE(answerOf(BK_UUTCommit(uut, BK_PASS)).success);
  EXPECT_FALSE(fileExists(dirOf(uut, ".commit")));
}

TEST_F(CommitTest, VanishedDirectoryAndEmptySessionCancel) {
  Json::Value info = readyStationInfo();
  info["lifeline"]["BK_MSG_ERROR_UNIT_ID_INVALID"] = 1;
  writeReadyStation(info);
  CUUT* uut = doneSession(1, 0, 0);
  Util_deletDirectory(dirOf(uut, ".did").c_str());
  Answer gone = answerOf(BK_UUTCommit(uut, BK_PASS));
  EXPECT_FALSE(gone.success);
  EXPECT_EQ(gone.status, BK_buildStatus(BK_FAIL, 1, 1));
  EXPECT_EQ(gone.text,
            "CANCELING TEST: Invalid UID, filesystem does not contain reference to "
            "this UID in '" +
                dirOf(uut, ".did/") + "'");
  BK_UID_destroy(uut_);

  uut = doneSession(0, 0, 0);
  Answer empty = answerOf(BK_UUTCommit(uut, BK_PASS));
  EXPECT_FALSE(empty.success);
  EXPECT_EQ(empty.text,
            "CANCELING TEST: total Failures[0], total Passes[0] and total testNAs[0]. Make sure "
            "that you execute at least one test");
  EXPECT_FALSE(fileExists(dirOf(uut, ".did")));
}

TEST_F(CommitTest, SerialNumberCasesHoldBackOrCancel) {
  // No serial number attribute: nothing written, the session waits as .did.
  CUUT* uut = doneSession(1, 0, 0);
  uut->attributeSerialNumberCreated = false;
  Answer missing = answerOf(BK_UUTCommit(uut, BK_PASS));
  EXPECT_FALSE(missing.success);
  EXPECT_EQ(missing.text,
            "UUTCommit() was called before a 'serial number' attribute was added, NOT committing "
            "the test results.");
  EXPECT_TRUE(fileExists(dirOf(uut, ".did")));
  EXPECT_FALSE(fileExists(dirOf(uut, ".did/results.tmp")));
  EXPECT_FALSE(fileExists(dirOf(uut, ".did/results.Json")));
  BK_UID_destroy(uut_);

  // ACTIVE bad number, under the intake's exact name: cancelled.
  uut = doneSession(1, 0, 0);
  uut->pendingFailure = true;
  uut->pendingFailureName = "SERIAL_NUMBER_NOT_OK [ACTIVE]:";
  Answer active = answerOf(BK_UUTCommit(uut, BK_PASS));
  EXPECT_FALSE(active.success);
  EXPECT_EQ(active.text, "INVALID_SERIAL_NUMBER, NOT committing CANCELING test ERROR: [ACTIVE]");
  EXPECT_FALSE(fileExists(dirOf(uut, ".did")));
  BK_UID_destroy(uut_);

  // PASSIVE bad number: written and signed, never handed over.
  uut = doneSession(1, 0, 0);
  uut->pendingFailure = true;
  uut->pendingFailureName = "SERIAL_NUMBER_NOT_OK [PASSIVE]:";
  Answer passive = answerOf(BK_UUTCommit(uut, BK_PASS));
  EXPECT_TRUE(passive.success);
  EXPECT_EQ(uut->state, UUT_STATE_COMMIT);
  EXPECT_TRUE(fileExists(dirOf(uut, ".did/results.Json")));
  EXPECT_FALSE(fileExists(dirOf(uut, ".commit")));
  EXPECT_EQ(countLines(newLog(), "INVALID_SERIAL_NUMBER, NOT committing ERROR: [PASSIVE]"), 1u);
  BK_UID_destroy(uut_);

  // Another check's differently spaced name does not stop the commit.
  uut = doneSession(1, 0, 0);
  uut->pendingFailure = true;
  uut->pendingFailureName = "SERIAL_NUMBER_NOT_OK[ACTIVE]:";
  EXPECT_TRUE(answerOf(BK_UUTCommit(uut, BK_PASS)).success);
  EXPECT_TRUE(fileExists(dirOf(uut, ".commit/results.Json")));
}

TEST_F(CommitTest, FileFailingVerificationTwiceStaysWithCorruptCopy) {
  CUUT* uut = doneSession(1, 0, 0);
  uut->getRootJson()["test_station_attributes"].removeMember("limits_version");
  Answer commit = answerOf(BK_UUTCommit(uut, BK_PASS));
  EXPECT_FALSE(commit.success);
  EXPECT_EQ(commit.text,
            "::Second time results json file verification failed, check sanity of the station");
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(fileExists(dirOf(uut, ".did/results.tmp")));
  EXPECT_FALSE(fileExists(dirOf(uut, ".commit")));
  std::string corrupt = std::string(corruptuutdataPath) + uut->getUID();
  EXPECT_EQ(readFile(corrupt), readFile(dirOf(uut, ".did/results.tmp")));
  std::string log = newLog();
  EXPECT_EQ(countLines(log, "Invalid test results file or file does not exist"), 1u);
  EXPECT_EQ(countLines(log, "trying to rewrite the results file second time"), 1u);

  // Mended, the same session may commit again.
  uut->getRootJson()["test_station_attributes"]["limits_version"] = "L-9";
  EXPECT_TRUE(answerOf(BK_UUTCommit(uut, BK_PASS)).success);
  EXPECT_TRUE(fileExists(dirOf(uut, ".commit/results.Json")));
}

TEST_F(CommitTest, NullHandle) {
  uut_ = startSession();  // loads the fail policy
  Answer answer = answerOf(BK_UUTCommit(nullptr, BK_PASS));
  EXPECT_FALSE(answer.success);
  EXPECT_EQ(answer.text, "NULL inHandle handle passed as a parameter");
}

}  // namespace
