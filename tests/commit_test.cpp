// Commit: the verdict table, the cases that cancel or hold back a session,
// the results file's stages and the hand-over.
#include <gtest/gtest.h>

#include <string>

#include "data/ResultsDocument.h"
#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "signature/ResultsSigning.h"
#include "support/SessionRun.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

class CommitTest : public SessionTest {
 protected:
  void SetUp() override {
    SessionTest::SetUp();
    logStart_ = readLog().size();
  }
  Json::Value committedResults() { return parseFile(dirOf(uut_, ".commit/results.Json")); }
  // The log written since the test began, so the test reads only its own lines.
  std::string newLog() { return readLog().substr(logStart_); }
  size_t logStart_ = 0;
};

// The source line that logged `text` as an error of commit, as "(n", or "".
std::string errorLineOf(const std::string& log, const std::string& text) {
  const size_t end = log.find(") commit: ERROR: " + text);
  if (end == std::string::npos) return "";
  const size_t start = log.rfind('(', end);
  return log.substr(start, end - start);
}

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

// Every row of the verdict table.  A pending failure is the ethernet down
// under the row's policy; done adds its one failing test.
const VerdictRow kVerdictRows[] = {
    {"PassPendingPassive", BK_PASS, 2, 0, 0, true, false, "FAIL", true,
     "Commit(BK_PASS): An amIOK failure", ""},
    {"PassPendingActive", BK_PASS, 2, 0, 0, true, true, "FAIL", false,
     "Commit(BK_PASS): An amIOK failure", ""},
    {"PassClean", BK_PASS, 3, 0, 0, false, false, "PASS", false,
     "Commit(BK_PASS): testFailures[0] and testPasses[1 or more]", ""},
    {"PassWithFailures", BK_PASS, 1, 1, 0, true, false, "FAIL", false,
     "Commit(BK_PASS): testFailures[at least 1] Failing the test",
     "Cannot commit PASS with [2] failing tests, Otter FAILing the test"},
    {"PassOnlyNA", BK_PASS, 0, 0, 2, false, false, "FAIL", false,
     "Commit(BK_PASS): testFailures[at least 1] Failing the test",
     "Cannot commit PASS with [0] failing tests, Otter FAILing the test"},
    {"NAClaimCountsAsPass", BK_NA, 3, 0, 0, false, false, "PASS", false,
     "Commit(BK_PASS): testFailures[0] and testPasses[1 or more]", ""},
    {"FailPendingPassive", BK_FAIL, 2, 0, 0, true, false, "FAIL", true,
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
  if (row.pending) {
    Json::Value info = readyStationInfo();
    info["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = row.pendingActive ? 1 : 0;
    Json::Value health = sampleHealth();
    health["ethernet_ok"] = 0;
    writeReadyStation(info, health);
  }
  CUUT* uut = doneSession(row.passes, row.failures, row.nas);

  // Whatever the row, a commit that got to the hand-over answers pass.
  EXPECT_TRUE(answered(commit(row.claim), true, 0, row.replyText));
  EXPECT_EQ(uut->state, UUT_STATE_COMMIT);
  EXPECT_FALSE(fileExists(dirOf(uut, ".did")));
  Json::Value attributes = committedResults()["test_attributes"];
  EXPECT_EQ(attributes["test_result"].asString(), row.testResult);
  EXPECT_EQ(attributes.get("override", "absent").asString(), row.override ? "1" : "absent");
  EXPECT_EQ(countLines(newLog(), row.logLine), 1u) << row.logLine;
}

INSTANTIATE_TEST_SUITE_P(EveryRow, VerdictTest, ::testing::ValuesIn(kVerdictRows),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(CommitTest, HandsOverSignedFileWithLateAttributeAndDirectCopies) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["OCELOT_DIRECT"] = "ON";
  info["ksinfo"]["VOLE_DIRECT"] = "ON";
  writeReadyStation(info);
  // The session's directory still exists under the name of its state, so
  // an attribute after done is taken.
  expectSuccess(BK_addAttribute(doneSession(2), "fixture_color", "red"), "attribute");
  ASSERT_TRUE(commit().success);
  EXPECT_FALSE(fileExists(dirOf(uut_, ".commit/results.tmp")));
  EXPECT_EQ(committedResults()["test_attributes"]["signature_version"].asString(), "1");
  EXPECT_EQ(committedResults()["uut_attributes"]["fixture_color"].asString(), "red");
  EXPECT_TRUE(verifyCommittedResults(dirOf(uut_, ".commit/results.Json")));
  // Signed in memory, yet the bytes of signing the first write by parse and render.
  writeFile("/vault/first-write.json", Util_renderResultsText(uut_->getRootJson()));
  ASSERT_TRUE(signJsonResults("/vault/first-write.json"));
  EXPECT_EQ(readFile("/vault/first-write.json"), readFile(dirOf(uut_, ".commit/results.Json")));
  for (const char* root :
       {"/vault/data_collection/uut_data_ocelot/", "/vault/data_collection/uut_data_vole/"}) {
    const std::string copy = std::string(root) + uut_->getUID();
    EXPECT_EQ(readFile(copy + ".commit/results.Json"),
              readFile(dirOf(uut_, ".commit/results.Json")));
    EXPECT_FALSE(fileExists(copy + ".did"));
  }
}

TEST_F(CommitTest, OutOfSequenceVanishedOrEmptySessionsCancel) {
  filled(1);  // before done
  const std::string early = " CANCELING TEST: Valid UID but apis calls out of sequnce.";
  EXPECT_EQ(commit().text, early);
  EXPECT_FALSE(fileExists(dirOf(uut_, "")));
  // Each failure is logged under commit, at its own line.
  EXPECT_EQ(countLines(newLog(), ") commit: ERROR: " + early), 2u);

  // After a commit the directory is the forwarding agent's: a second commit
  // deletes nothing, and a late blob writes nothing, neither into it nor,
  // once the agent has taken it, into a new one.  Only an explicit cancel
  // still retracts it.
  doneSession(1);
  ASSERT_TRUE(commit().success);
  const std::string committed = dirOf(uut_, ".commit");
  EXPECT_TRUE(answered(commit(), false, BK_buildStatus(BK_FAIL, 1, 4), early));
  EXPECT_TRUE(fileExists(committed + "/results.Json"));
  writeFile("/tmp/late.txt", "late");
  EXPECT_TRUE(answered(answerOf(BK_addBlob(uut_, "late", "/tmp/late.txt")), false, 0x80100004u,
                       "The UUT was already committed, blob not copied: blobs must be added "
                       "before BK_UUTCommit."));
  EXPECT_FALSE(fileExists(committed + "/blobs"));
  ASSERT_EQ(rename(committed.c_str(), "/vault/taken"), 0);
  EXPECT_FALSE(answerOf(BK_addBlobData(uut_, "late", "late", 4)).success);
  EXPECT_FALSE(fileExists(committed));
  ASSERT_EQ(rename("/vault/taken", committed.c_str()), 0);
  EXPECT_TRUE(answerOf(BK_UUTCancel(uut_)).success);
  EXPECT_FALSE(fileExists(committed));

  doneSession(0);
  EXPECT_TRUE(answered(commit(), false, BK_buildStatus(BK_FAIL, 1, 4),
                       "CANCELING TEST: total Failures[0], total Passes[0] and total testNAs[0]. "
                       "Make sure that you execute at least one test"));
  EXPECT_FALSE(fileExists(dirOf(uut_, ".did")));
  EXPECT_NE(errorLineOf(newLog(), early), errorLineOf(newLog(), "CANCELING TEST: total"));

  // Even a PASSIVE policy cannot keep a vanished session.
  Json::Value info = readyStationInfo();
  info["lifeline"]["BK_MSG_ERROR_UNIT_ID_INVALID"] = 1;
  writeReadyStation(info);
  doneSession(1);
  Util_deletDirectory(dirOf(uut_, ".did").c_str());
  EXPECT_TRUE(answered(commit(), false, BK_buildStatus(BK_FAIL, 1, 1),
                       "CANCELING TEST: Invalid UID, filesystem does not contain reference to "
                       "this UID in '" +
                           dirOf(uut_, ".did/") + "'"));
  EXPECT_TRUE(answered(answerOf(BK_UUTCommit(nullptr, BK_PASS)), false,
                       BK_buildStatus(BK_FAIL, 1, 4),
                       "NULL inHandle handle passed as a parameter"));
}

// A bad number from the attribute intake: ACTIVE cancels, PASSIVE writes and
// signs but never hands over.  Am-I-okay's own label for it does not count.
TEST_F(CommitTest, SerialNumberCasesHoldBackOrCancel) {
  struct Case {
    int policy;
    const char* attribute;
    const char* checked;  // by am-I-okay, when given
    const char* left;     // what stays on disk; null when cancelled
  };
  const Case cases[] = {{1, "123", nullptr, nullptr},
                        {0, "123", nullptr, ".did/results.Json"},
                        {1, kSerial, "123", ".commit/results.Json"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.policy) + (c.checked ? " am-I-okay" : " attribute"));
    Json::Value info = readyStationInfo();
    info["lifeline"]["BK_MSG_ERROR_INVALID_SERIAL_NUMBER"] = c.policy;
    writeReadyStation(info);
    replace(startSession());
    answerOf(BK_addAttribute(uut_, "serialnumber", c.attribute));
    for (const char* name : {"softwarename", "softwareversion"}) {
      expectSuccess(BK_addAttribute(uut_, name, "1"), name);
    }
    if (c.checked != nullptr) {
      EXPECT_FALSE(amIOkay(c.checked).success);
    }
    addResult(uut_, BK_PASS, "t");
    done();
    const Answer answer = commit();
    EXPECT_EQ(answer.success, c.left != nullptr);
    if (c.left == nullptr) {
      EXPECT_EQ(answer.text,
                "INVALID_SERIAL_NUMBER, NOT committing CANCELING test ERROR: [ACTIVE]");
      EXPECT_FALSE(fileExists(dirOf(uut_, ".did")));
    } else {
      EXPECT_EQ(uut_->state, UUT_STATE_COMMIT);
      EXPECT_TRUE(fileExists(dirOf(uut_, c.left)));
      EXPECT_NE(fileExists(dirOf(uut_, ".commit")), fileExists(dirOf(uut_, ".did")));
    }
  }
}

TEST_F(CommitTest, RecordedBlobsMustBeWholeOnDisk) {
  CUUT* uut = filled(1);
  expectSuccess(BK_addBlobData(uut, "trace", "0123456789", 10), "blob");
  ASSERT_TRUE(done().success);
  const Json::Value record = uut->getRootJson()["blobs"][0];
  const std::string blob = dirOf(uut, ".did/blobs/") + record["file_name"].asString();
  const std::string whole = readFile(blob);
  const std::string held = "Blob file '" + record["file_name"].asString() +
                           "' is missing or not of its recorded size, NOT committing the test "
                           "results.";
  for (const char* damage : {"truncated", "removed"}) {
    if (damage[0] == 't') {
      writeFile(blob, whole.substr(0, whole.size() / 2));
    } else {
      ASSERT_EQ(remove(blob.c_str()), 0);
    }
    EXPECT_TRUE(answered(commit(), false, 0x80100004u, held)) << damage;
    EXPECT_EQ(uut->state, UUT_STATE_DID) << damage;
    EXPECT_FALSE(fileExists(dirOf(uut, ".commit"))) << damage;
  }
  writeFile(blob, whole);
  EXPECT_TRUE(commit().success);
  EXPECT_EQ(readFile(dirOf(uut, ".commit/blobs/") + record["file_name"].asString()), whole);
}

// A station id that the results' readers refuse: the written file fails its
// verification, both times.
TEST_F(CommitTest, FileFailingVerificationTwiceStaysWithCorruptCopy) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["STATION_ID"] = "TSTA L07";
  writeReadyStation(info);
  CUUT* uut = doneSession(1);
  Answer answer = commit();
  EXPECT_FALSE(answer.success);
  EXPECT_EQ(answer.text,
            "::Second time results json file verification failed, check sanity of the station");
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(fileExists(dirOf(uut, ".did/results.tmp")));
  EXPECT_FALSE(fileExists(dirOf(uut, ".commit")));
  EXPECT_EQ(readFile(corruptuutdataPath + uut->getUID()), readFile(dirOf(uut, ".did/results.tmp")));
}

}  // namespace
