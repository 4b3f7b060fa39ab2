#include "data/ResultBrick.h"

#include <string>
#include <utility>

#include "data/TestRecords.h"
#include "data/ValueValidators.h"
#include "foundation/FailReply.h"
#include "foundation/Log.h"
#include "foundation/StatusWord.h"
#include "foundation/TextError.h"

namespace {

// A session holds tens of thousands of records: keys and constant texts are
// stored by reference to these literals instead of a copy in each record.
const Json::StaticString kResults("results");
const Json::StaticString kTest("test");
const Json::StaticString kSubTest("sub_test");
const Json::StaticString kSubSubTest("sub_sub_test");
const Json::StaticString kParametricKey("parametric_key");
const Json::StaticString kValue("value");
const Json::StaticString kLowerLimit("lower_limit");
const Json::StaticString kUpperLimit("upper_limit");
const Json::StaticString kUnits("units");
const Json::StaticString kPriority("priority");
const Json::StaticString kTestType("test_type");
const Json::StaticString kResult("result");
const Json::StaticString kMessage("message");
const Json::StaticString kEmpty("");

// The non-empty names joined by single blanks.
std::string parametricKeyOf(const CBKTestSpec& spec) {
  std::string key;
  for (const std::string* name :
       {&spec.testNameRef(), &spec.subTestNameRef(), &spec.subSubTestNameRef()}) {
    if (name->empty()) continue;
    if (!key.empty()) key += ' ';
    key += *name;
  }
  return key;
}

std::string keyTooLongText(const CBKTestSpec& spec) {
  size_t test = spec.getTestNameLength();
  size_t sub = spec.getSubTestNameLength();
  size_t subSub = spec.getSubSubTestNameLength();
  // The sum leaves out the blanks, which the limit counts.
  return "TestName [" + spec.testNameRef() + "] length [" + std::to_string(test) + "] +\n" +
         "SubTestName [" + spec.subTestNameRef() + "] length [" + std::to_string(sub) + "] +\n" +
         "SubSubTestName [" + spec.subSubTestNameRef() + "] length [" + std::to_string(subSub) +
         "] = [" + std::to_string(test + sub + subSub) + "]\n" +
         " exceeds the allowable length of [" + std::to_string(kMaxParametricKeyLength) +
         "] including two spaces between names";
}

bool acceptableNumber(const std::string& text) {
  return text == "NA" || text == "N/A" || validateTestSpecVal(text);
}

}  // namespace

CBKReply* CResultBrick::create(Json::Value& root, std::map<std::string, double>& parametricKeys,
                               const std::string& uid, const CBKTestSpec& spec,
                               const CBKTestResult& result) {
  CBKReply* reply = new CBKReply();
  try {
    Json::Value& results = root[kResults];
    Json::Value record(Json::objectValue);
    if (!spec.testNameRef().empty()) record[kTest] = spec.testNameRef();
    if (!spec.subTestNameRef().empty()) record[kSubTest] = spec.subTestNameRef();
    if (!spec.subSubTestNameRef().empty()) record[kSubSubTest] = spec.subSubTestNameRef();

    if (result.valueRef() == kValueNotSet) {
      // A pass/fail record: no key, no duplicate test, and whatever limits,
      // units and priority the station set are dropped.
      record[kValue] = kEmpty;
      record[kLowerLimit] = kEmpty;
      record[kUpperLimit] = kEmpty;
      record[kUnits] = kEmpty;
      record[kTestType] = Json::StaticString("PF");
      record[kPriority] = kEmpty;
    } else {
      std::string key = parametricKeyOf(spec);
      if (key.size() > kMaxParametricKeyLength) {
        BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
                      keyTooLongText(spec));
        return reply;
      }
      // One search serves both the duplicate test and the insertion.
      auto& keys = parametricKeys;
      auto place = keys.lower_bound(key);
      bool used = place != keys.end() && place->first == key;
      // The first record of a session is never a duplicate.
      if (!results.empty() && used) {
        BK_FAIL_REPLY(
            reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
            "Duplicate Parametric Key or Duplicate Test+SubTest_SubSubTest Name [" + key + "]");
        return reply;
      }
      // Taken before the value checks and kept when they refuse: once the
      // document holds a record, a refused result can not be sent again under
      // the same names.
      if (!used) keys.emplace_hint(place, key, 0.0);
      if (!key.empty()) record[kParametricKey] = std::move(key);
      record[kUnits] = spec.unitsRef();
      record[kPriority] = spec.getPriority();

      // Judged in this order; the first refusal answers.
      const struct {
        const char* label;
        const std::string& text;
        const Json::StaticString& field;
      } numbers[] = {{"Invalid Test Result Value : [", result.valueRef(), kValue},
                     {"Invalid Lower limit value : [", spec.lowerSpecLimitRef(), kLowerLimit},
                     {"Invalid Upper Limit value : [", spec.upperSpecLimitRef(), kUpperLimit}};
      for (const auto& number : numbers) {
        if (!acceptableNumber(number.text)) {
          BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
                        number.label + number.text + "] for the Test[" + spec.testNameRef() + "]");
          return reply;
        }
        record[number.field] = number.text;
      }
    }

    switch (result.getResult()) {
      case BK_PASS:
        record[kResult] = Json::StaticString("pass");
        break;
      case BK_FAIL:
        record[kResult] = Json::StaticString(spec.getInfoOnly() ? "info_only" : "fail");
        record[kMessage] = result.messageRef();
        break;
      case BK_NA:
        record[kResult] = Json::StaticString("NA");
        break;
      default:
        BK_LOG(uid, "create"
                        << "Invalid result type: " << result.getResult());
        throw exception_with_string("Invalid result type");
    }
    results.append(std::move(record));
  } catch (exception_with_string* e) {
    reply->setData(e->getErrorMessage());
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    BK_LOG_ERROR(e->getErrorMessage());
    delete e;
  } catch (...) {
    // A verdict that is no verdict lands here.  The status is overwritten
    // with a success below while the text stays: stations read the text, not
    // the status, to learn that the record was dropped.
    reply->setData("CResultBrick::create caught an exception!");
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    BK_LOG_ERROR("CResultBrick::create caught an exception!");
  }
  reply->setStatus(kResultPassStatus);
  return reply;
}
