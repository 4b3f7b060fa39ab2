// The session's side of the identity checks: the NULL guards and the pending
// failure an invalid serial number leaves.
#include "foundation/FailReply.h"
#include "foundation/Log.h"
#include "identity/DevAttributeValidation.h"
#include "identity/SerialNumberValidation.h"
#include "identity/VersionValidation.h"
#include "session/UUT.h"

bool CUUT::ValidateSerialNumberChecksum(std::string serialNumber) {
  return identity::ValidateSerialNumberChecksum(serialNumber);
}

bool CUUT::validateSerialNumber(void* apoReply, std::string serialNumber) {
  if (apoReply == nullptr) {
    // A guard only: both callers pass a reply.  The one built here reaches
    // nobody, and the number counts as good.
    CBKReply orphan;
    bkRejectNullArgument(&orphan, "apoReply", __FILE__, __LINE__, __FUNCTION__);
    return true;
  }
  const bool valid =
      identity::validateSerialNumber(UID, static_cast<CBKReply*>(apoReply), serialNumber);
  if (!valid) {
    // A PASSIVE policy clears the flag even if an earlier failure had set it.
    const bool active = identity::serialNumberPolicyActive();
    pendingFailure.recordVerdictOnly(active, active
                                                 ? "ACTIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER"
                                                 : "PASSIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
    BK_LOG(UID, "Invalid Serial number");
  } else {
    BK_LOG(UID, "Valid Serial number");
  }
  return valid;
}

bool CUUT::validateVersion(void* passedInReply, std::string version) {
  if (passedInReply == nullptr) {
    // A guard only: the reply built here reaches nobody, and the version
    // counts as good.
    CBKReply orphan;
    bkRejectNullArgument(&orphan, "passedInReply", __FILE__, __LINE__, __FUNCTION__);
    return true;
  }
  return identity::validateVersion(UID, static_cast<CBKReply*>(passedInReply), version);
}

bool CUUT::validateDevAttribute(void* passedInReply, std::string value) {
  if (passedInReply == nullptr) {
    // Like the version check: the guard answers true on a reply nobody sees.
    CBKReply own;
    bkRejectNullArgument(&own, "passedInReply", __FILE__, __LINE__, __FUNCTION__);
    return true;
  }
  return identity::validateDevAttribute(UID, static_cast<CBKReply*>(passedInReply), value);
}
