// BK_addResult from the station's side: the order of its checks, the two
// record forms in the document, parametric keys and duplicates, the count
// limit and the priority filter.
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>

#include <string>

#include "data/ResultBrick.h"
#include "data/TestRecords.h"
#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

// One test as a station would fill it, fields in the order tests vary them;
// a null `value` leaves the sentinel, which makes a pass/fail record.
struct Sample {
  std::string name = "T";
  const char* value = "1";
  std::string sub = "", subSub = "";
  int verdict = BK_PASS;
  std::string message = "";
  int priority = BK_TRAX_PRIORITY_P1;
  const char* lower = "0";
  const char* upper = "2";
  const char* units = "V";
  bool infoOnly = false;
};

struct Outcome {
  bool success;
  unsigned message;
  unsigned status;
  std::string text;
};

Json::Value parse(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}

// A failing pass/fail record as the document holds it.
Json::Value passFailRecord(const std::string& test, const std::string& message) {
  Json::Value record = parse(
      R"({"value": "", "lower_limit": "", "upper_limit": "", "units": "", "priority": "",
          "test_type": "PF", "result": "fail"})");
  record["test"] = test;
  record["message"] = message;
  return record;
}

class AddResultTest : public SessionTest {
 protected:
  void SetUp() override { start(); }

  // A new session, with `key` of ksinfo set to `value` when given.
  void start(const char* key = nullptr, const Json::Value& value = Json::Value()) {
    info_ = readyStationInfo();
    if (key != nullptr) info_["ksinfo"][key] = value;
    SessionTest::start();
  }

  Outcome add(const Sample& test) {
    testSpecHandle spec = BK_testSpec_create();
    testResultHandle result = BK_testResult_create();
    auto length = [](const char* text) { return text == nullptr ? 0 : strlen(text); };
    BK_testSpec_setTestName(spec, test.name.c_str(), test.name.size());
    BK_testSpec_setSubTestName(spec, test.sub.c_str(), test.sub.size());
    BK_testSpec_setSubSubTestName(spec, test.subSub.c_str(), test.subSub.size());
    BK_testSpec_setLimits(spec, test.lower, length(test.lower), test.upper, length(test.upper));
    BK_testSpec_setUnits(spec, test.units, length(test.units));
    BK_testSpec_setPriority(spec, static_cast<BK_TRAX_PRIORITY>(test.priority));
    if (test.infoOnly) BK_testSpec_setAsNonTestItem(spec);
    if (test.value != nullptr) BK_testResult_setValue(result, test.value, length(test.value));
    BK_testResult_setResult(result, static_cast<BK_PASSFAILRESULT>(test.verdict));
    BK_testResult_setMessage(result, test.message.c_str(), test.message.size());
    CBKReply* reply = static_cast<CBKReply*>(BK_addResult(uut_, spec, result));
    Outcome answer{BK_success(reply), BK_reply_getMessageID(reply), reply->getStatus(),
                   reply->hasData() ? reply->getData() : ""};
    BK_reply_destroy(reply);
    BK_testSpec_destroy(spec);
    BK_testResult_destroy(result);
    return answer;
  }
  bool ok(const Sample& test) { return add(test).success; }

  Json::Value& results() { return uut_->getRootJson()["results"]; }
};

TEST_F(AddResultTest, NamesAndTextsAreCheckedForFormAndLengthInclusively) {
  EXPECT_EQ(add({""}).text,
            "TestName=[], length=[0] SubTestName=[], length=[0] SubSubTestName=[] length=[0] "
            "Can not submit empty strings for TestName, SubTestName, SubSubTestName.");
  EXPECT_EQ(add({"", "1", "S"}).text,
            "TestName=[], length=[0] exceeds the allowable length of [48] or empty.");
  Outcome units = add({"T", nullptr, "", "", BK_PASS, "", 1, "0", "2", "ABCDEFGHIJK"});
  EXPECT_EQ(units.text,
            "Test units's message length =[11] exceeds the allowable length of [10 characters].");
  EXPECT_FALSE(units.success);
  EXPECT_EQ(units.message, 21u);
  // One over each limit is refused, the limit itself allowed (a pass/fail
  // record has no key limit).
  for (size_t extra : {1, 0}) {
    const Sample tests[] = {{std::string(48 + extra, 'n'), nullptr},
                            {"T", nullptr, std::string(64 + extra, 's')},
                            {"T", nullptr, "", std::string(128 + extra, 'x')},
                            {"T", nullptr, "", "", BK_FAIL, std::string(512 + extra, 'm')}};
    for (const Sample& test : tests) EXPECT_EQ(ok(test), extra == 0) << test.name << extra;
  }
  EXPECT_EQ(results().size(), 4u);
}

TEST_F(AddResultTest, SessionStateIsCheckedAfterTheFormAndBeforeTheFailMessage) {
  const Sample failing{"F", "1", "", "", BK_FAIL};
  Outcome noMessage = add(failing);
  EXPECT_EQ(noMessage.text, "a fail message is required to be set for an BK_FAIL result.");
  EXPECT_EQ(noMessage.message, 4u);

  char pointer[32];
  snprintf(pointer, sizeof(pointer), "%p", static_cast<void*>(uut_));
  ASSERT_EQ(rename(uut_->getPath().c_str(), uut_->getPath(UUT_STATE_DONE).c_str()), 0);
  Outcome invalid = add(failing);
  EXPECT_EQ(invalid.text, std::string("UID @ ") + pointer + " invalid.");
  EXPECT_EQ(invalid.message, 1u);
  EXPECT_FALSE(invalid.success);

  ASSERT_EQ(rename(uut_->getPath(UUT_STATE_DONE).c_str(), uut_->getPath().c_str()), 0);
  addAttributes(uut_);
  ASSERT_TRUE(done().success);
  Outcome closed = add(failing);
  EXPECT_EQ(closed.text, std::string("UID ") + pointer +
                             " is already Done() or is invalid.  No results may be added.");
  EXPECT_EQ(closed.message, 4u);
  EXPECT_EQ(results().size(), 0u);
  EXPECT_EQ(uut_->testFailures, 0u);
}

TEST_F(AddResultTest, RecordsReachTheDocumentInBothForms) {
  Outcome ok = add({"Voltage", "1.5", "Rail", "3V3", BK_PASS, "", BK_TRAX_PRIORITY_P2});
  EXPECT_TRUE(ok.success && ok.text.empty()) << ok.text;
  EXPECT_EQ(ok.status, kResultPassStatus);
  // Limits, units and priority of a pass/fail record are dropped.
  EXPECT_TRUE(add({"Boot", nullptr, "", "", BK_FAIL, "no prompt"}).success);

  ASSERT_EQ(results().size(), 2u);
  EXPECT_EQ(results()[0], parse(R"({"test": "Voltage", "sub_test": "Rail", "sub_sub_test": "3V3",
      "parametric_key": "Voltage Rail 3V3", "value": "1.5", "lower_limit": "0",
      "upper_limit": "2", "units": "V", "priority": 2, "result": "pass"})"))
      << results()[0];
  EXPECT_TRUE(results()[0]["priority"].isInt());
  EXPECT_EQ(results()[1], passFailRecord("Boot", "no prompt")) << results()[1];
}

TEST_F(AddResultTest, VerdictDecidesResultAndMessage) {
  // The library never compares a value with its limits.
  Sample outside{"outside", "100", "", "", BK_PASS, "ignored", BK_TRAX_PRIORITY_P1, "0", "1"};
  Sample info{"info", "1", "", "", BK_FAIL, "just so"};
  info.infoOnly = true;
  Sample na{"na", "1", "", "", BK_NA, "ignored"};
  for (const Sample& test : {outside, info, na}) EXPECT_TRUE(ok(test)) << test.name;
  // A verdict outside the enumeration is refused and counted nowhere, even
  // where the policy lets bad data pass.
  Json::Value lenient = sampleStationInfo();
  lenient["lifeline"].removeMember("BK_MSG_ERROR_INVALID_DATA_FORMAT");
  writeStationFiles(lenient);
  getKSInfo()->refresh();
  for (int verdict : {3, -1}) {
    const Outcome odd = add({"odd", "1", "", "", verdict});
    EXPECT_EQ(odd.status, 0x80100015u) << verdict;
    EXPECT_EQ(odd.text, "Test result verdict [" + std::to_string(verdict) +
                            "] is not BK_FAIL, BK_PASS or BK_NA, result not added.");
  }

  std::string seen;  // result and message of each record, "-" for none
  for (const Json::Value& r : results())
    seen += r["result"].asString() + ":" + r.get("message", "-").asString() + " ";
  EXPECT_EQ(seen, "pass:- info_only:just so NA:- ");
  EXPECT_EQ(uut_->testPasses + uut_->testFailures * 10 + uut_->testNAs * 100, 111u);
}

TEST_F(AddResultTest, ParametricKeyJoinsNonEmptyNamesUpTo128Bytes) {
  EXPECT_TRUE(ok({"a", "1", "", "c"}));
  EXPECT_EQ(results()[0]["parametric_key"], "a c");

  // 48 + 1 + 64 + 1 + 14 = 128
  const Sample exact{std::string(48, 'a'), "1", std::string(64, 'b'), std::string(14, 'c')};
  EXPECT_TRUE(ok(exact));
  Sample over = exact;
  over.subSub = std::string(15, 'd');
  Outcome refused = add(over);
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
  EXPECT_FALSE(ok({"first", "bad"}));
  EXPECT_TRUE(ok({"first"}));
  EXPECT_FALSE(ok({"first"}));

  // From now on a refused result has used up its name.
  EXPECT_EQ(add({"second", "1,5"}).text, "Invalid Test Result Value : [1,5] for the Test[second]");
  Outcome retry = add({"second", "1.5"});
  EXPECT_EQ(retry.text,
            "Duplicate Parametric Key or Duplicate Test+SubTest_SubSubTest Name [second]");
  EXPECT_EQ(retry.message, 21u);

  // Where the blank falls does not matter; pass/fail records have no key.
  EXPECT_TRUE(ok({"a b", "1", "c"}) && !ok({"a", "1", "b c"}));
  EXPECT_TRUE(ok({"pf", nullptr}) && ok({"pf", nullptr}));
  EXPECT_EQ(results().size(), 4u);
}

TEST_F(AddResultTest, ValuesAndLimitsAreCheckedByTheirCharactersOnly) {
  int n = 0;
  auto unique = [&n](const char* value) { return Sample{"v" + std::to_string(n++), value}; };
  // The sentinel, set by the station itself, makes a pass/fail record.
  for (const char* good : {"1e-3", "+.5", "--", "e", ".", "NA", "N/A", "-12.5E+3", kValueNotSet}) {
    EXPECT_TRUE(ok(unique(good))) << good;
  }
  EXPECT_EQ(results()[results().size() - 1]["test_type"], "PF");
  for (const char* bad : {"1,5", "0x10", "", " 1", "na", "n/a"}) {
    Outcome answer = add(unique(bad));
    EXPECT_FALSE(answer.success) << bad;
    EXPECT_EQ(answer.text.rfind("Invalid Test Result Value : [", 0), 0u) << answer.text;
  }
  auto limited = [](const char* name, const char* value, const char* lower, const char* upper) {
    return Sample{name, value, "", "", BK_PASS, "", BK_TRAX_PRIORITY_P1, lower, upper};
  };
  EXPECT_TRUE(ok(limited("l1", "1", "NA", "N/A")));
  EXPECT_EQ(add(limited("l2", "1", "low", "2")).text,
            "Invalid Lower limit value : [low] for the Test[l2]");
  EXPECT_EQ(add(limited("l3", "1", "0", "high")).text,
            "Invalid Upper Limit value : [high] for the Test[l3]");
  // The value is checked first.
  EXPECT_EQ(add(limited("l4", "x", "low", "2")).text.rfind("Invalid Test Result Value", 0), 0u);
}

TEST_F(AddResultTest, CountLimitFromTheStationFileWithDataCollectionExempt) {
  // 30,000 without a limit and for a limit of zero or less, each with its
  // own text.  Held back by the priority filter, the results still count.
  const std::pair<Json::Value, std::string> defaults[] = {
      {Json::Value(),
       "total tests exceed the number of tests [30000] allowed in the ks_station_info.json file."},
      {0, "total tests exceed the default limit on number of tests [30000] allowed."}};
  for (const auto& [limit, text] : defaults) {
    info_ = readyStationInfo();
    info_["ksinfo"]["PDATA_TO_SEND_TO_TRAX"] = parse(R"(["NOTFOUND"])");
    if (!limit.isNull()) info_["ksinfo"]["MAX_PDATA_TESTS_ALLOWED"] = limit;
    SessionTest::start();
    for (int i = 0; i < 30000; ++i) ASSERT_TRUE(ok({"t" + std::to_string(i)})) << i;
    EXPECT_EQ(add({"one more"}).text, text);
  }

  start("MAX_PDATA_TESTS_ALLOWED", 5);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(ok({"t" + std::to_string(i)}));
  Outcome sixth = add({"t5"});
  EXPECT_EQ(sixth.text,
            "total tests exceed the number of tests [5] allowed in the ks_station_info.json file.");
  EXPECT_EQ(sixth.message, 4u);
  EXPECT_EQ(uut_->testPasses, 5u);
  EXPECT_TRUE(ok({"Data Collection"}));
  EXPECT_EQ(results().size(), 6u);
}

TEST_F(AddResultTest, PrioritiesNamedInTheStationListAreCountedButNotRecorded) {
  start("PDATA_TO_SEND_TO_TRAX", parse(R"(["p1"])"));
  EXPECT_EQ(uut_->getRootJson()["test_attributes"]["pdata_not_sent_to_trax"][0], "p1");
  Outcome held = add({"held"});  // priority 1
  EXPECT_TRUE(held.success && held.text.empty()) << held.text;
  EXPECT_TRUE(ok({"sent", "1", "", "", BK_PASS, "", BK_TRAX_PRIORITY_P2}));
  ASSERT_EQ(results().size(), 1u);
  EXPECT_EQ(results()[0]["test"], "sent");
  EXPECT_EQ(uut_->testPasses, 2u);
  EXPECT_EQ(uut_->notSentCount, 1u);
  EXPECT_EQ(uut_->getSubmittedCount(2) + uut_->getSubmittedCount(3) * 10, 11u);

  // "NOTFOUND" in the list holds back everything but P0.
  start("PDATA_TO_SEND_TO_TRAX", parse(R"(["p3", "NOTFOUND"])"));
  int n = 0;
  for (int priority : {-2, -1, 0, 1, 4, 77}) {
    EXPECT_TRUE(ok({"p" + std::to_string(n++), "1", "", "", BK_PASS, "", priority}));
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
  Json::Value expected = passFailRecord(std::string(48, 'F'), "station broke");
  expected["sub_sub_test"] = "step";
  EXPECT_EQ(results()[0], expected) << results()[0];
  EXPECT_EQ(uut_->testFailures, 1u);
}

TEST_F(AddResultTest, LogLinesAreInTheFileInTheirOrderWhenTheCallReturns) {
  ASSERT_TRUE(ok({"L"}));
  EXPECT_FALSE(ok({""}));
  const std::string log = readLog();
  const std::string tag = "[" + uut_->getUID() + " - ";
  const char* const expected[] = {
      "Entering BK_addResult", "createResult]: BK_PASS result [1 total]", "Exiting BK_addResult",
      "Entering BK_addResult", ": ERROR: TestName=[], length=[0] SubTestName=[]"};
  size_t at = log.find(tag);
  for (const char* line : expected) {
    at = log.find(line, at);
    ASSERT_NE(at, std::string::npos) << line << "\n" << log;
  }
  // A refusal has no exit line, and every line is whole.
  EXPECT_EQ(countLines(log, "Exiting BK_addResult"), 1u);
  EXPECT_EQ(log.back(), '\n');
}

}  // namespace
