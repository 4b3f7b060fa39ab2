// Result intake on the session's side: the count limit, the verdict counters
// and the priority filter, ahead of the record itself.
#include <string.h>

#include <algorithm>
#include <memory>
#include <string>

#include "data/ResultBrick.h"
#include "data/TestRecords.h"
#include "foundation/FailReply.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "session/ResultIntake.h"
#include "session/UUT.h"

namespace {

// A test of this exact name passes every count limit: stations use it to
// record how the session itself went.
const char* const kDataCollectionTest = "Data Collection";
const int kDefaultMaxTests = 30000;
// Read for every result: made once, not per call.
const std::string kSection = "ksinfo";
const std::string kMaxTestsKey = "MAX_PDATA_TESTS_ALLOWED";

// The name of a priority in the station's list of priorities not sent, and
// its index in submittedCounts; -1 where it has neither.
const char* priorityName(int32_t priority) {
  static const char* const kNames[] = {"p0", "p1", "p2", "p3", "p4"};
  if (priority == BK_TRAX_PRIORITY_AU) return "au";
  if (priority >= 0 && priority <= 4) return kNames[priority];
  return "NOTFOUND";
}

int submittedIndex(int32_t priority) {
  if (priority == BK_TRAX_PRIORITY_AU) return 0;
  if (priority >= 0 && priority <= 4) return priority + 1;
  return -1;
}

}  // namespace

CBKReply* CUUT::createResult(void* spec, void* result) {
  if (spec == nullptr || result == nullptr) {
    CBKReply* reply = new CBKReply();
    bkRejectNullArgument(reply, spec == nullptr ? "testSpec" : "testResult", __FILE__, __LINE__,
                         __FUNCTION__);
    return reply;
  }
  const CBKTestSpec& testSpec = *static_cast<CBKTestSpec*>(spec);
  const CBKTestResult& testResult = *static_cast<CBKTestResult*>(result);

  // A verdict that is none of the three would be counted nowhere and stored
  // nowhere: refused, whatever the policy, so no success stands for it.
  const int32_t verdict = testResult.getResult();
  if (verdict != BK_FAIL && verdict != BK_PASS && verdict != BK_NA) {
    CBKReply* reply = new CBKReply();
    const std::string text = "Test result verdict [" + std::to_string(verdict) +
                             "] is not BK_FAIL, BK_PASS or BK_NA, result not added.";
    reply->setData(text);
    reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_DATA_FORMAT));
    BK_LOG_ERROR(text);
    return reply;
  }

  // The limit is read again only when the station info file was: any
  // session's start re-reads it for all of them.
  CBKKSInfo* info = getKSInfo();
  const unsigned generation = info->generation();
  if (generation != maxTestsGeneration) {
    Json::Value configured = info->getValueFor(kSection, kMaxTestsKey);
    maxTests = configured.isInt() ? configured.asInt() : kDefaultMaxTests;
    maxTestsGeneration = generation;
  }
  const int limit = maxTests;
  uint32_t total = testPasses + testFailures + testNAs;
  // The session's own failure record is exempt too: a unit at its limit must
  // not lose the failure that decides its verdict.
  bool exempt = testSpec.testNameRef() == kDataCollectionTest || recordingOwnFailure;
  if (limit > 0 && total > static_cast<uint32_t>(limit - 1) && !exempt) {
    CBKReply* reply = new CBKReply();
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "total tests exceed the number of tests [" + std::to_string(limit) +
                      "] allowed in the ks_station_info.json file.");
    return reply;
  }
  // A limit of zero or less in the station file means the default.
  if (limit <= 0 && total > static_cast<uint32_t>(kDefaultMaxTests - 1) && !exempt) {
    CBKReply* reply = new CBKReply();
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "total tests exceed the default limit on number of tests [30000] allowed.");
    return reply;
  }

  // Counted before the filter and before the record is checked: commit holds
  // the declared verdict against every result the station sent.
  switch (testResult.getResult()) {
    case BK_PASS:
      ++testPasses;
      bkLogSessionLine(UID, __FUNCTION__,
                       "BK_PASS result [" + std::to_string(testPasses) + " total]");
      break;
    case BK_FAIL:
      ++testFailures;
      bkLogSessionLine(UID, __FUNCTION__,
                       "BK_FAIL result [" + std::to_string(testFailures) + " total] TestName[" +
                           testSpec.testNameRef() + "]");
      break;
    case BK_NA:
      ++testNAs;
      bkLogSessionLine(UID, __FUNCTION__, "BK_NA result");
      break;
    default:
      break;
  }
  int index = submittedIndex(testSpec.getPriority());
  if (index >= 0) incrementSubmittedCount(static_cast<unsigned>(index));

  if (!canSendPDataToTrax(static_cast<BK_TRAX_PRIORITY>(testSpec.getPriority()))) {
    ++notSentCount;
    CBKReply* reply = new CBKReply();
    reply->setData("Test result not sent to TRAX ");
    reply->setStatus(kResultPassStatus);
    return reply;
  }
  return CResultBrick::create(rootJson, parametricKeys, UID, testSpec, testResult);
}

// The station's list names the priorities that are NOT sent, whatever its
// key says.  "p0" always goes; "NOTFOUND" in the list holds back everything
// else, priorities without a name included.
bool CUUT::canSendPDataToTrax(BK_TRAX_PRIORITY priority) {
  const Json::Value& notSent = pdataNotSent;
  if (notSent.size() == 0) return true;
  if (priority == BK_TRAX_PRIORITY_P0) return true;
  const std::string name = priorityName(priority);
  for (const Json::Value& entry : notSent) {
    // An array or object names no priority, and asString would throw.
    if (entry.isArray() || entry.isObject()) continue;
    const std::string text = entry.asString();
    if (text == "NOTFOUND" || text == name) return false;
  }
  return true;
}

void CUUT::createDummyFailTest(const char* testName, const char* subTestName,
                               const char* subSubTestName, const char* message) {
  // At most `limit` bytes, up to the first NUL; NULL reads as empty.
  auto cut = [](const char* text, size_t limit) {
    return text == nullptr ? std::string() : std::string(text, strnlen(text, limit));
  };
  CBKTestSpec spec;
  spec.setTestName(cut(testName, 48));
  spec.setSubTestName(cut(subTestName, 64));
  spec.setSubSubTestName(cut(subSubTestName, 128));
  spec.setPriority(BK_TRAX_PRIORITY_P0);
  CBKTestResult result;
  result.setResult(BK_FAIL);
  // Cut to the longest message a result may carry: a longer one would be
  // refused, and with it the failure.
  result.setMessage(cut(message, 512));

  recordingOwnFailure = true;
  std::unique_ptr<CBKReply> reply(intake::BK_addResult(this, spec, result));
  recordingOwnFailure = false;
  if (!reply->succeeded()) BK_LOG_ERROR("Can not create our fake fail test.");
}
