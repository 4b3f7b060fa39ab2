// Adding one test result to a session.  The checks run in a fixed order and
// the first that fails answers; stations rely on which text comes first.
#include "session/ResultIntake.h"

#include <sstream>
#include <string>

#include "data/ResultBrick.h"
#include "foundation/FailReply.h"
#include "foundation/Log.h"

namespace {

const size_t kMaxTestName = 48;
const size_t kMaxSubTestName = 64;
const size_t kMaxSubSubTestName = 128;
const size_t kMaxMessage = 512;
const size_t kMaxUnits = 10;

std::string pointerText(const void* pointer) {
  std::ostringstream text;
  text << pointer;
  return text.str();
}

// The text of the first check the records fail, or "" when they pass.  Only
// their form is looked at here, not the session.
std::string formProblem(const CBKTestSpec& spec, const CBKTestResult& result) {
  const std::string& name = spec.testNameRef();
  const std::string& subName = spec.subTestNameRef();
  const std::string& subSubName = spec.subSubTestNameRef();
  if (name.size() + subName.size() + subSubName.size() == 0) {
    return "TestName=[" + name + "], length=[" + std::to_string(name.size()) + "] " +
           "SubTestName=[" + subName + "], length=[" + std::to_string(subName.size()) + "] " +
           "SubSubTestName=[" + subSubName + "] length=[" + std::to_string(subSubName.size()) +
           "] " + "Can not submit empty strings for TestName, SubTestName, SubSubTestName.";
  }
  if (name.size() > kMaxTestName || name.empty()) {
    return "TestName=[" + name + "], length=[" + std::to_string(name.size()) +
           "] exceeds the allowable length of [" + std::to_string(kMaxTestName) + "] or empty.";
  }
  if (subName.size() > kMaxSubTestName) {
    return "SubTestName=[" + subName + "], length=[" + std::to_string(subName.size()) +
           "] exceeds the allowable length of [" + std::to_string(kMaxSubTestName) + "].";
  }
  if (subSubName.size() > kMaxSubSubTestName) {
    return "SubSubTestName=[" + subSubName + "], length=[" + std::to_string(subSubName.size()) +
           "] exceeds the allowable length of [" + std::to_string(kMaxSubSubTestName) + "].";
  }
  if (result.getMessageLength() > kMaxMessage) {
    return "Test error message length =[" + std::to_string(result.getMessageLength()) +
           "] exceeds the allowable length of [512 characters].";
  }
  if (spec.getUnitsLength() > kMaxUnits) {
    return "Test units's message length =[" + std::to_string(spec.getUnitsLength()) +
           "] exceeds the allowable length of [10 characters].";
  }
  return std::string();
}

}  // namespace

namespace intake {

CBKReply* BK_addResult(CUUT* uut, const CBKTestSpec& testSpec, const CBKTestResult& testResult) {
  // A result logs three lines or more: gathered, and held with the log's
  // other held lines, since stations send results by the thousand.
  BKLogBatch logBatch(BKLogDelivery::Hold);
  const void* handle = uut;
  // Logged without a string stream: this runs once per result, tens of
  // thousands of times in a session.
  bkLogSessionLine(uut->UID, __FUNCTION__, "Entering BK_addResult");

  // A refusal ends the call without an exit line.  Its reply is made only
  // then: an accepted result answers with the record's own reply.
  CBKReply* refusal = nullptr;
  std::string problem = formProblem(testSpec, testResult);
  if (!problem.empty()) {
    refusal = new CBKReply();
    BK_FAIL_REPLY(refusal, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT, problem);
  } else if (!uut->isUIDValid()) {
    refusal = new CBKReply();
    BK_FAIL_REPLY(refusal, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_UNIT_ID_INVALID,
                  "UID @ " + pointerText(handle) + " invalid.");
  } else if (!uut->canAcceptResults()) {
    refusal = new CBKReply();
    BK_FAIL_REPLY(refusal, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "UID " + pointerText(handle) +
                      " is already Done() or is invalid.  No results may be added.");
  } else if (testResult.getResult() == BK_FAIL && testResult.getMessageLength() == 0) {
    refusal = new CBKReply();
    BK_FAIL_REPLY(refusal, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "a fail message is required to be set for an BK_FAIL result.");
  }
  if (refusal != nullptr) return refusal;

  CBKReply* created = uut->createResult(const_cast<CBKTestSpec*>(&testSpec),
                                        const_cast<CBKTestResult*>(&testResult));
  if (created->succeeded() && created->hasData()) {
    // Any text of the intake (a result held back by the priority filter, a
    // verdict that is no verdict) is dropped from a successful answer.
    delete created;
    created = new CBKReply();
  }
  if (created->succeeded()) created->setStatus(kResultPassStatus);
  bkLogSessionLine(uut->UID, __FUNCTION__, "Exiting BK_addResult");
  return created;
}

}  // namespace intake
