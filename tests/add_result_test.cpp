// BK_addResult from the station's side: the order of its checks, the two
// record forms in the document, parametric keys and duplicates, the count
// limit and the priority filter.
#include <gtest/gtest.h>
#include <stdio.h>

#include <string>

#include "data/ResultBrick.h"
#include "data/TestRecords.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

// One test as a station would fill it; `value` null leaves the sentinel.
struct Sample {
  std::string name = "T";
  std::string sub;
  std::string subSub;
  const char* value = "1";
  const char* lower = "0";
  const char* upper = "2";
  const char* units = "V";
  int priority = BK_TRAX_PRIORITY_P1;
  int verdict = BK_PASS;
  std::string message;
  bool infoOnly = false;
};

Sample named(const std::string& name, const char* value = "1") {
  Sample test;
  test.name = name;
  test.value = value;
  return test;
}

struct Answer {
  bool success;
  unsigned message;
  unsigned status;
  std::string text;
};

Answer answerOf(BKReplyHandle handle) {
  CBKReply* reply = static_cast<CBKReply*>(handle);
  Answer answer{BK_success(reply), BK_reply_getMessageID(reply), reply->getStatus(),
                reply->hasData() ? reply->getData() : ""};
  BK_reply_destroy(reply);
  return answer;
}

class AddResultTest : public ::testing::Test {
 protected:
  void SetUp() override { start(stationInfo()); }
  void TearDown() override {
    if (uut_ == nullptr) return;
    BK_reply_destroy(BK_UUTCancel(uut_));
    BK_UID_destroy(uut_);
    uut_ = nullptr;
  }

  static Json::Value stationInfo() {
    Json::Value info = sampleStationInfo();
    info["lifeline"]["BK_MSG_ERROR_UNIT_ID_INVALID"] = 1;
    return info;
  }

  void start(const Json::Value& info) {
    TearDown();
    writeStationFiles(info);
    UUTHandle handle = nullptr;
    BK_reply_destroy(BK_UUTStart(&handle));
    ASSERT_NE(handle, nullptr);
    uut_ = static_cast<CUUT*>(handle);
  }

  Answer add(const Sample& test) {
    testSpecHandle spec = BK_testSpec_create();
    testResultHandle result = BK_testResult_create();
    BK_testSpec_setTestName(spec, test.name.c_str(), 0);
    BK_testSpec_setSubTestName(spec, test.sub.c_str(), 0);
    BK_testSpec_setSubSubTestName(spec, test.subSub.c_str(), 0);
    BK_testSpec_setLimits(spec, test.lower, 0, test.upper, 0);
    BK_testSpec_setUnits(spec, test.units, 0);
    BK_testSpec_setPriority(spec, static_cast<BK_TRAX_PRIORITY>(test.priority));
    if (test.infoOnly) BK_testSpec_setAsNonTestItem(spec);
    if (test.value != nullptr) BK_testResult_setValue(result, test.value, 0);
    BK_testResult_setResult(result, static_cast<BK_PASSFAILRESULT>(test.verdict));
    BK_testResult_setMessage(result, test.message.c_str(), 0);
    Answer answer = answerOf(BK_addResult(uut_, spec, result));
    BK_testSpec_destroy(spec);
    BK_testResult_destroy(result);
    return answer;
  }

  Json::Value& results() { return uut_->getRootJson()["results"]; }

  CUUT* uut_ = nullptr;
};

TEST_F(AddResultTest, NullArgumentsAnswerBeforeTheEntryLine) {
  testSpecHandle spec = BK_testSpec_create();
  Answer b = answerOf(BK_addResult(uut_, nullptr, nullptr));
  Answer c = answerOf(BK_addResult(uut_, spec, nullptr));
  BK_testSpec_destroy(spec);
  EXPECT_EQ(b.text, "NULL testSpecHandle handle passed as a parameter");
  EXPECT_EQ(c.text, "NULL testResultHandle handle passed as a parameter");
  EXPECT_FALSE(b.success || c.success);
  EXPECT_EQ(b.message, 4u);
  EXPECT_EQ(countLines(readLog(), "Entering BK_addResult"), 0u);
}

TEST_F(AddResultTest, FormChecksAnswerInOrderWithoutExitLine) {
  EXPECT_EQ(add(named("")).text,
            "TestName=[], length=[0] SubTestName=[], length=[0] SubSubTestName=[] length=[0] "
            "Can not submit empty strings for TestName, SubTestName, SubSubTestName.");
  Sample onlySub = named("");
  onlySub.sub = "S";
  EXPECT_EQ(add(onlySub).text,
            "TestName=[], length=[0] exceeds the allowable length of [48] or empty.");

  // Every field one over its limit; each fix reveals the next complaint.
  Sample t = named(std::string(49, 'n'), nullptr);
  t.sub = std::string(65, 's');
  t.subSub = std::string(129, 'x');
  t.message = std::string(513, 'm');
  t.units = "ABCDEFGHIJK";
  EXPECT_EQ(add(t).text, "TestName=[" + t.name +
                             "], length=[49] exceeds the allowable length of [48] or empty.");
  t.name = "T";
  EXPECT_EQ(add(t).text,
            "SubTestName=[" + t.sub + "], length=[65] exceeds the allowable length of [64].");
  t.sub = "";
  EXPECT_EQ(add(t).text, "SubSubTestName=[" + t.subSub +
                             "], length=[129] exceeds the allowable length of [128].");
  t.subSub = "";
  EXPECT_EQ(add(t).text,
            "Test error message length =[513] exceeds the allowable length of [512 characters].");
  t.message = "";
  Answer units = add(t);
  EXPECT_EQ(units.text,
            "Test units's message length =[11] exceeds the allowable length of [10 characters].");
  EXPECT_FALSE(units.success);
  EXPECT_EQ(units.message, 21u);
  EXPECT_EQ(countLines(readLog(), "Exiting BK_addResult"), 0u);

  // Every limit itself is allowed (a pass/fail record has no key limit).
  Sample longest = named(std::string(48, 'n'), nullptr);
  longest.sub = std::string(64, 's');
  longest.subSub = std::string(128, 'x');
  longest.message = std::string(512, 'm');
  longest.units = "ABCDEFGHIJ";
  EXPECT_TRUE(add(longest).success);
  EXPECT_EQ(results().size(), 1u);
}

TEST_F(AddResultTest, SessionStateIsCheckedAfterTheFormAndBeforeTheFailMessage) {
  Sample failing = named("F");
  failing.verdict = BK_FAIL;
  Answer noMessage = add(failing);
  EXPECT_EQ(noMessage.text, "a fail message is required to be set for an BK_FAIL result.");
  EXPECT_EQ(noMessage.message, 4u);

  char pointer[32];
  snprintf(pointer, sizeof(pointer), "%p", static_cast<void*>(uut_));
  ASSERT_EQ(rename(uut_->getPath().c_str(), uut_->getPath(UUT_STATE_DONE).c_str()), 0);
  Answer invalid = add(failing);
  EXPECT_EQ(invalid.text, std::string("UID @ ") + pointer + " invalid.");
  EXPECT_EQ(invalid.message, 1u);
  EXPECT_FALSE(invalid.success);

  uut_->state = UUT_STATE_DONE;
  Answer closed = add(failing);
  EXPECT_EQ(closed.text, std::string("UID ") + pointer +
                             " is already Done() or is invalid.  No results may be added.");
  EXPECT_EQ(closed.message, 4u);
  EXPECT_EQ(results().size(), 0u);
  EXPECT_EQ(uut_->testFailures, 0u);
}

TEST_F(AddResultTest, RecordsReachTheDocumentInBothForms) {
  Sample parametric = named("Voltage", "1.5");
  parametric.sub = "Rail";
  parametric.subSub = "3V3";
  parametric.priority = BK_TRAX_PRIORITY_P2;
  Answer ok = add(parametric);
  EXPECT_TRUE(ok.success);
  EXPECT_EQ(ok.status, kResultPassStatus);
  EXPECT_EQ(ok.text, "");

  Sample passFail = named("Boot", nullptr);  // limits, units and priority are dropped
  passFail.verdict = BK_FAIL;
  passFail.message = "no prompt";
  EXPECT_TRUE(add(passFail).success);

  ASSERT_EQ(results().size(), 2u);
  Json::Value expected(Json::objectValue);
  expected["test"] = "Voltage";
  expected["sub_test"] = "Rail";
  expected["sub_sub_test"] = "3V3";
  expected["parametric_key"] = "Voltage Rail 3V3";
  expected["value"] = "1.5";
  expected["lower_limit"] = "0";
  expected["upper_limit"] = "2";
  expected["units"] = "V";
  expected["priority"] = 2;
  expected["result"] = "pass";
  EXPECT_EQ(results()[0], expected) << results()[0];
  EXPECT_TRUE(results()[0]["priority"].isInt());

  Json::Value pf(Json::objectValue);
  pf["test"] = "Boot";
  for (const char* key : {"value", "lower_limit", "upper_limit", "units", "priority"}) pf[key] = "";
  pf["test_type"] = "PF";
  pf["result"] = "fail";
  pf["message"] = "no prompt";
  EXPECT_EQ(results()[1], pf) << results()[1];
}

TEST_F(AddResultTest, VerdictDecidesResultAndMessage) {
  // The library never compares a value with its limits.
  Sample outside = named("outside", "100");
  outside.upper = "1";
  outside.message = "ignored";
  Sample info = named("info");
  info.infoOnly = true;
  info.verdict = BK_FAIL;
  info.message = "just so";
  Sample na = named("na");
  na.verdict = BK_NA;
  na.message = "ignored";
  for (const Sample& test : {outside, info, na}) EXPECT_TRUE(add(test).success) << test.name;
  ASSERT_EQ(results().size(), 3u);
  EXPECT_EQ(results()[0]["result"], "pass");
  EXPECT_FALSE(results()[0].isMember("message"));
  EXPECT_EQ(results()[1]["result"], "info_only");
  EXPECT_EQ(results()[1]["message"], "just so");
  EXPECT_EQ(results()[2]["result"], "NA");
  EXPECT_FALSE(results()[2].isMember("message"));
  EXPECT_EQ(uut_->testPasses + uut_->testFailures * 10 + uut_->testNAs * 100, 111u);
  std::string log = readLog();
  EXPECT_EQ(countLines(log, "]: BK_PASS result [1 total]"), 1u);
  EXPECT_EQ(countLines(log, "]: BK_FAIL result [1 total] TestName[info]"), 1u);
  EXPECT_EQ(countLines(log, "]: BK_NA result"), 1u);
}

TEST_F(AddResultTest, VerdictOutsideTheEnumerationIsCountedNowhereAndNotRecorded) {
  Sample odd = named("odd");
  odd.verdict = 3;
  Answer answer = add(odd);
  EXPECT_TRUE(answer.success);
  EXPECT_EQ(answer.text, "");
  EXPECT_EQ(uut_->testPasses + uut_->testFailures + uut_->testNAs, 0u);
  EXPECT_EQ(results().size(), 0u);
  EXPECT_EQ(countLines(readLog(), "]: createInvalid result type: 3"), 1u);
}

TEST_F(AddResultTest, ParametricKeyJoinsNonEmptyNamesUpTo128Bytes) {
  Sample gap = named("a");
  gap.subSub = "c";
  EXPECT_TRUE(add(gap).success);
  EXPECT_EQ(results()[0]["parametric_key"], "a c");

  Sample exact = named(std::string(48, 'a'));
  exact.sub = std::string(64, 'b');
  exact.subSub = std::string(14, 'c');  // 48 + 1 + 64 + 1 + 14 = 128
  EXPECT_TRUE(add(exact).success);
  Sample over = exact;
  over.subSub = std::string(15, 'd');
  Answer refused = add(over);
  EXPECT_FALSE(refused.success);
  EXPECT_EQ(refused.message, 21u);
  EXPECT_EQ(refused.text, "TestName [" + over.name + "] length [48] +\nSubTestName [" + over.sub +
                              "] length [64] +\nSubSubTestName [" + over.subSub +
                              "] length [15] = [127]\n exceeds the allowable length of [128] "
                              "including two spaces between names");
  EXPECT_EQ(results().size(), 2u);
}

TEST_F(AddResultTest, DuplicateKeysAreRefusedOnceTheDocumentHoldsARecord) {
  // While the array is empty there is no look-up, so a refused first result
  // can be sent again.
  EXPECT_FALSE(add(named("first", "bad")).success);
  EXPECT_TRUE(add(named("first", "1")).success);
  EXPECT_FALSE(add(named("first", "1")).success);

  // From now on a refused result has used up its name.
  EXPECT_EQ(add(named("second", "1,5")).text,
            "Invalid Test Result Value : [1,5] for the Test[second]");
  Answer retry = add(named("second", "1.5"));
  EXPECT_EQ(retry.text,
            "Duplicate Parametric Key or Duplicate Test+SubTest_SubSubTest Name [second]");
  EXPECT_EQ(retry.message, 21u);

  // Where the blank falls does not matter.
  Sample left = named("a b");
  left.sub = "c";
  Sample right = named("a");
  right.sub = "b c";
  EXPECT_TRUE(add(left).success);
  EXPECT_FALSE(add(right).success);

  // Pass/fail records have no key at all.
  EXPECT_TRUE(add(named("pf", nullptr)).success);
  EXPECT_TRUE(add(named("pf", nullptr)).success);
  EXPECT_EQ(results().size(), 4u);
}

TEST_F(AddResultTest, ValuesAndLimitsAreCheckedByTheirCharactersOnly) {
  int n = 0;
  auto unique = [&n](const char* value) { return named("v" + std::to_string(n++), value); };
  for (const char* good : {"1e-3", "+.5", "--", "e", ".", "NA", "N/A", "-12.5E+3"}) {
    EXPECT_TRUE(add(unique(good)).success) << good;
  }
  for (const char* bad : {"1,5", "0x10", "", " 1", "na", "n/a"}) {
    Answer answer = add(unique(bad));
    EXPECT_FALSE(answer.success) << bad;
    EXPECT_EQ(answer.text.rfind("Invalid Test Result Value : [", 0), 0u) << answer.text;
  }
  Sample limits = unique("1");
  limits.lower = "NA";
  limits.upper = "N/A";
  EXPECT_TRUE(add(limits).success);
  limits = unique("1");
  limits.lower = "low";
  EXPECT_EQ(add(limits).text,
            "Invalid Lower limit value : [low] for the Test[" + limits.name + "]");
  limits = unique("1");
  limits.upper = "high";
  EXPECT_EQ(add(limits).text,
            "Invalid Upper Limit value : [high] for the Test[" + limits.name + "]");
  limits = unique("x");  // the value is checked first
  limits.lower = "low";
  EXPECT_EQ(add(limits).text.rfind("Invalid Test Result Value", 0), 0u);
  // A value set to the sentinel by the station is a pass/fail record.
  EXPECT_TRUE(add(unique(kValueNotSet)).success);
  EXPECT_EQ(results()[results().size() - 1]["test_type"], "PF");
}

TEST_F(AddResultTest, CountLimitFromTheStationFileWithDataCollectionExempt) {
  // Default: 30,000, with counters standing in for earlier results.
  uut_->testPasses = 29999;
  EXPECT_TRUE(add(named("the 30000th")).success);
  EXPECT_EQ(add(named("one more")).text,
            "total tests exceed the number of tests [30000] allowed in the ks_station_info.json "
            "file.");
  for (int limit : {0, -3}) {
    Json::Value info = stationInfo();
    info["ksinfo"]["MAX_PDATA_TESTS_ALLOWED"] = limit;
    start(info);
    uut_->testNAs = 30000;
    EXPECT_EQ(add(named("over")).text,
              "total tests exceed the default limit on number of tests [30000] allowed.")
        << limit;
    uut_->testNAs = 29999;
    EXPECT_TRUE(add(named("last")).success) << limit;
  }

  Json::Value info = stationInfo();
  info["ksinfo"]["MAX_PDATA_TESTS_ALLOWED"] = 5;
  start(info);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(add(named("t" + std::to_string(i))).success);
  uint32_t counter = CResultBrick::getFileCounter();
  Answer sixth = add(named("t5"));
  EXPECT_EQ(sixth.text,
            "total tests exceed the number of tests [5] allowed in the ks_station_info.json file.");
  EXPECT_EQ(sixth.message, 4u);
  EXPECT_EQ(uut_->testPasses, 5u);
  EXPECT_EQ(CResultBrick::getFileCounter(), counter);
  EXPECT_TRUE(add(named("Data Collection")).success);
  EXPECT_EQ(results().size(), 6u);
}

TEST_F(AddResultTest, PrioritiesNamedInTheStationListAreCountedButNotRecorded) {
  Json::Value info = stationInfo();
  info["ksinfo"]["PDATA_TO_SEND_TO_TRAX"].append("p1");
  start(info);
  EXPECT_EQ(uut_->getRootJson()["test_attributes"]["pdata_not_sent_to_trax"][0], "p1");
  uint32_t counter = CResultBrick::getFileCounter();
  Answer held = add(named("held"));  // priority 1
  EXPECT_TRUE(held.success);
  EXPECT_EQ(held.text, "");
  Sample sent = named("sent");
  sent.priority = BK_TRAX_PRIORITY_P2;
  EXPECT_TRUE(add(sent).success);
  ASSERT_EQ(results().size(), 1u);
  EXPECT_EQ(results()[0]["test"], "sent");
  EXPECT_EQ(uut_->testPasses, 2u);
  EXPECT_EQ(uut_->notSentCount, 1u);
  EXPECT_EQ(uut_->getSubmittedCount(2), 1u);
  EXPECT_EQ(uut_->getSubmittedCount(3), 1u);
  EXPECT_EQ(CResultBrick::getFileCounter(), counter + 2);

  // A priority without a name is sent, unless the list says "NOTFOUND".
  EXPECT_TRUE(uut_->canSendPDataToTrax(static_cast<BK_TRAX_PRIORITY>(-1)));
  uut_->pdataNotSent.append(Json::Value(Json::objectValue));  // names nothing
  EXPECT_TRUE(uut_->canSendPDataToTrax(BK_TRAX_PRIORITY_AU));
}

TEST_F(AddResultTest, NotFoundInTheListHoldsBackEverythingButP0) {
  Json::Value info = stationInfo();
  info["ksinfo"]["PDATA_TO_SEND_TO_TRAX"].append("p3");
  info["ksinfo"]["PDATA_TO_SEND_TO_TRAX"].append("NOTFOUND");
  start(info);
  int n = 0;
  for (int priority : {-2, -1, 0, 1, 4, 77}) {
    Sample test = named("p" + std::to_string(n++));
    test.priority = priority;
    EXPECT_TRUE(add(test).success);
  }
  ASSERT_EQ(results().size(), 1u);
  EXPECT_EQ(results()[0]["priority"], 0);
  EXPECT_EQ(uut_->notSentCount, 5u);
  // -1 and 77 have no counter; the others one each.
  for (unsigned index : {0u, 1u, 2u, 5u}) EXPECT_EQ(uut_->getSubmittedCount(index), 1u) << index;
  EXPECT_EQ(uut_->getSubmittedCount(3) + uut_->getSubmittedCount(4), 0u);
}

TEST_F(AddResultTest, DummyFailTestIsAFailingPassFailRecord) {
  uut_->createDummyFailTest(std::string(60, 'F').c_str(), nullptr, "step", "station broke");
  uut_->createDummyFailTest("again", "", "", "");  // a fail needs a message
  ASSERT_EQ(results().size(), 1u);
  Json::Value expected(Json::objectValue);
  expected["test"] = std::string(48, 'F');
  expected["sub_sub_test"] = "step";
  for (const char* key : {"value", "lower_limit", "upper_limit", "units", "priority"}) {
    expected[key] = "";
  }
  expected["test_type"] = "PF";
  expected["result"] = "fail";
  expected["message"] = "station broke";
  EXPECT_EQ(results()[0], expected) << results()[0];
  EXPECT_EQ(uut_->testFailures, 1u);
  EXPECT_EQ(countLines(readLog(), "Can not create our fake fail test."), 1u);
}

}  // namespace
