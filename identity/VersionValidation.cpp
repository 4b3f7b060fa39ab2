#include "identity/VersionValidation.h"

#include "foundation/Log.h"
#include "foundation/TextScanners.h"
#include "identity/ScanReply.h"
#include "interface/Bramblekit.h"

namespace identity {

bool validateVersion(const std::string& UID, CBKReply* reply, const std::string& version) {
  bool good = bkAnswerScan(reply, verifyAlphaNumericPlusPeriod, version,
                           BK_MSG_ERROR_INVALID_SW_VERSION, __FUNCTION__);
  BK_LOG(UID, "Software version Number:" << version);
  return good;
}

}  // namespace identity
