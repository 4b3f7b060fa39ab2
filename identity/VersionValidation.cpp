// CUUT::validateVersion: the form of the station software's version.
#include "foundation/FailReply.h"
#include "foundation/Log.h"
#include "foundation/TextScanners.h"
#include "identity/ScanReply.h"
#include "session/UUT.h"

bool CUUT::validateVersion(void* passedInReply, std::string version) {
  if (passedInReply == nullptr) {
    // A guard only: the reply built here reaches nobody, and the version
    // counts as good.
    CBKReply orphan;
    bkRejectNullArgument(&orphan, "passedInReply", __FILE__, __LINE__, __FUNCTION__);
    return true;
  }
  bool good = bkAnswerScan(static_cast<CBKReply*>(passedInReply), verifyAlphaNumericPlusPeriod,
                           version, BK_MSG_ERROR_INVALID_SW_VERSION, __FUNCTION__);
  BK_LOG(UID, "Software version Number:" << version);
  return good;
}
