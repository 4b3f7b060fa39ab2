// BK_addResult: the boundary around the session's result intake.
#include "data/ResultBrick.h"
#include "data/TestRecords.h"
#include "interface/EntryFrame.h"
#include "session/ResultIntake.h"
#include "session/UUT.h"

namespace unguarded {

BKReplyHandle BK_addResult(UUTHandle handle, testSpecHandle spec, testResultHandle result) {
  // The reply for a NULL argument is made only when there is one.
  if (handle == nullptr || spec == nullptr || result == nullptr) {
    CBKReply* reply = new CBKReply();
    BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
    BK_RETURN_IF_NULL(reply, spec, "testSpecHandle");
    BK_RETURN_IF_NULL(reply, result, "testResultHandle");
  }
  return intake::BK_addResult(static_cast<CUUT*>(handle), *static_cast<CBKTestSpec*>(spec),
                              *static_cast<CBKTestResult*>(result));
}

}  // namespace unguarded

// A result taken leaves its lines held with the log's; anything else (a
// refusal, a text) has them written before the station reads the answer.
BKReplyHandle BK_addResult(UUTHandle handle, testSpecHandle spec, testResultHandle result) {
  BKReplyHandle answer = bkGuard(
      __func__,
      [&] {
        return unguarded::BK_addResult(bkLiveSession(handle), bkLive(spec, BKHandleKind::TestSpec),
                                       bkLive(result, BKHandleKind::TestResult));
      },
      BKLogAtExit::Hold);
  const CBKReply* reply = static_cast<const CBKReply*>(answer);
  if (reply == nullptr || reply->getStatus() != kResultPassStatus || reply->hasData()) {
    bkLogFlush();
  }
  return answer;
}
