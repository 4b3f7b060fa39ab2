// The exported signature checks: the boundary around signature/.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "signature/StationInfoSignature.h"

bool BK_isSignatureOK(BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return signaturecheck::BK_isSignatureOK(static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}

bool BK_isSigExpOK(BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return signaturecheck::BK_isSigExpOK(static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}
