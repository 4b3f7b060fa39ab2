#include "data/ResultBrick.h"

#include <string>
#include <utility>

#include "data/TestRecords.h"
#include "data/ValueScanners.h"
#include "identity/Exceptions.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

std::atomic<uint32_t> CResultBrick::counter{0};

namespace {

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

CBKReply* CResultBrick::create(void* unitHandle, void* testSpec, void* testResult) {
  CBKReply* reply = new CBKReply();
  if (unitHandle == nullptr) {
    bkRejectNullArgument(reply, "unitHandle", __FILE__, __LINE__, __FUNCTION__);
    return reply;
  }
  if (testSpec == nullptr) {
    bkRejectNullArgument(reply, "testSpec", __FILE__, __LINE__, __FUNCTION__);
    return reply;
  }
  if (testResult == nullptr) {
    bkRejectNullArgument(reply, "testResult", __FILE__, __LINE__, __FUNCTION__);
    return reply;
  }
  CUUT* uut = static_cast<CUUT*>(unitHandle);
  const CBKTestSpec& spec = *static_cast<CBKTestSpec*>(testSpec);
  const CBKTestResult& result = *static_cast<CBKTestResult*>(testResult);

  try {
    Json::Value& root = uut->getRootJson();
    Json::Value record(Json::objectValue);
    if (!spec.testNameRef().empty()) record["test"] = spec.testNameRef();
    if (!spec.subTestNameRef().empty()) record["sub_test"] = spec.subTestNameRef();
    if (!spec.subSubTestNameRef().empty()) record["sub_sub_test"] = spec.subSubTestNameRef();

    if (result.valueRef() == kValueNotSet) {
      // A pass/fail record: no key, no duplicate test, and whatever limits,
      // units and priority the station set are dropped.
      record["value"] = "";
      record["lower_limit"] = "";
      record["upper_limit"] = "";
      record["units"] = "";
      record["test_type"] = "PF";
      record["priority"] = "";
    } else {
      std::string key = parametricKeyOf(spec);
      if (key.size() > kMaxParametricKeyLength) {
        BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
                      keyTooLongText(spec));
        return reply;
      }
      // The first record of a session is never a duplicate.
      Json::Value& results = root["results"];
      if (!results.empty() && uut->parametricKeys.count(key) != 0) {
        BK_FAIL_REPLY(
            reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
            "Duplicate Parametric Key or Duplicate Test+SubTest_SubSubTest Name [" + key + "]");
        return reply;
      }
      // Taken before the value checks and kept when they refuse: once the
      // document holds a record, a refused result can not be sent again under
      // the same names.
      uut->parametricKeys.emplace(key, 0.0);
      if (!key.empty()) record["parametric_key"] = std::move(key);
      record["units"] = spec.unitsRef();
      record["priority"] = spec.getPriority();

      if (!acceptableNumber(result.valueRef())) {
        BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
                      "Invalid Test Result Value : [" + result.valueRef() + "] for the Test[" +
                          spec.testNameRef() + "]");
        return reply;
      }
      record["value"] = result.valueRef();
      if (!acceptableNumber(spec.lowerSpecLimitRef())) {
        BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
                      "Invalid Lower limit value : [" + spec.lowerSpecLimitRef() +
                          "] for the Test[" + spec.testNameRef() + "]");
        return reply;
      }
      record["lower_limit"] = spec.lowerSpecLimitRef();
      if (!acceptableNumber(spec.upperSpecLimitRef())) {
        BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT,
                      "Invalid Upper Limit value : [" + spec.upperSpecLimitRef() +
                          "] for the Test[" + spec.testNameRef() + "]");
        return reply;
      }
      record["upper_limit"] = spec.upperSpecLimitRef();
    }

    switch (result.getResult()) {
      case BK_PASS:
        record["result"] = "pass";
        break;
      case BK_FAIL:
        record["result"] = spec.getInfoOnly() ? "info_only" : "fail";
        record["message"] = result.messageRef();
        break;
      case BK_NA:
        record["result"] = "NA";
        break;
      default:
        BK_LOG(uut->getUID(), "create"
                                  << "Invalid result type: " << result.getResult());
        throw exception_with_string("Invalid result type");
    }
    root["results"].append(std::move(record));
  } catch (exception_with_string* e) {
    reply->setData(e->getErrorMessage());
    reply->setStatus(BK_buildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    BK_LOG_ERROR(e->getErrorMessage());
    delete e;
  } catch (...) {
    // A verdict that is no verdict lands here.  The status is overwritten
    // with a success below while the text stays: stations have always been
    // answered that way, and the record is not in the document.
    reply->setData("CResultBrick::create caught an exception!");
    reply->setStatus(BK_buildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    BK_LOG_ERROR("CResultBrick::create caught an exception!");
  }
  reply->setStatus(BK_buildStatus(BK_PASS, 0, 0));
  return reply;
}
