#include "identity/ScanReply.h"

#include "foundation/FailReply.h"
#include "foundation/TextError.h"

bool bkAnswerScan(CBKReply* reply, BKTextScanner scan, const std::string& text, unsigned failure,
                  const char* function) {
  try {
    // An empty text scans from 0 to the largest position and stops at the
    // terminating NUL: it fails at the first position.
    scan(text, 0, text.length() - 1);
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    return true;
  } catch (exception_with_string* e) {
    // The scanners throw the serial-number family; all share this base.
    reply->setData(e->getErrorMessage());
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, failure));
    delete e;
  } catch (...) {
    bkFailReply(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED,
                std::string(function) + ": Unhandled exception", __FILE__, __LINE__, function);
  }
  return false;
}
