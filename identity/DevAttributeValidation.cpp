#include "identity/DevAttributeValidation.h"

#include "foundation/Log.h"
#include "foundation/TextScanners.h"
#include "identity/ScanReply.h"
#include "interface/Bramblekit.h"

namespace identity {

bool validateDevAttribute(const std::string& UID, CBKReply* reply, const std::string& value) {
  bool good =
      bkAnswerScan(reply, verifyChunkIsAscii, value, BK_MSG_ERROR_INVALID_ATTRIBUTE, __FUNCTION__);
  BK_LOG(UID, "Developer added attribute :" << value);
  return good;
}

}  // namespace identity
