// CUUT::validateVersion: the form of the station software's version.
#include <exception>

#include "foundation/Log.h"
#include "identity/Exceptions.h"
#include "identity/TextScanners.h"
#include "interface/Reply.h"
#include "interface/Status.h"
#include "session/UUT.h"

bool CUUT::validateVersion(void* passedInReply, std::string version) {
  if (passedInReply == nullptr) {
    // A guard only: the reply built here reaches nobody, and the version
    // counts as good.
    CBKReply orphan;
    std::string text = "NULL passedInReply handle passed as a parameter";
    orphan.setData(text);
    orphan.setStatus(BK_buildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX));
    BK_LOG_ERROR(text);
    return true;
  }
  CBKReply* reply = static_cast<CBKReply*>(passedInReply);
  bool bad = true;
  try {
    // An empty version scans from 0 to the largest position and stops at the
    // terminating NUL: it fails at position 1.
    verifyAlphaNumericPlusPeriod(version, 0, version.length() - 1);
    bad = false;
    reply->setStatus(BK_buildStatus(BK_PASS, 0, 0));
  } catch (exception_with_string* e) {
    reply->setData(e->getErrorMessage());
    reply->setStatus(
        BK_buildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_SW_VERSION));
    delete e;
  } catch (...) {
    std::string text = std::string(__FUNCTION__) + ": Unhandled exception";
    reply->setData(text);
    reply->setStatus(BK_buildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    BK_LOG_ERROR(text);
  }
  BK_LOG(UID, "Software version Number:" << version);
  return !bad;
}
