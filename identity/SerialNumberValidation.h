// Serial numbers: the six layouts and the check character of the long one.
#ifndef BRAMBLEKIT_IDENTITY_SERIALNUMBERVALIDATION_H_
#define BRAMBLEKIT_IDENTITY_SERIALNUMBERVALIDATION_H_

#include <string>

#include "foundation/Reply.h"

namespace identity {

// The mod-34 check over the whole text, I and O left out of the alphabet.
bool ValidateSerialNumberChecksum(const std::string& serialNumber);

// Tests `serialNumber` against the layouts, answers in `reply` and logs under
// `UID`.  True when the number is valid.
bool validateSerialNumber(const std::string& UID, CBKReply* reply, const std::string& serialNumber);

// The policy entry of an invalid number read as a boolean: an integer other
// than 0, or an entry that is no integer, is ACTIVE; a missing one PASSIVE.
// The attribute intake reads the same key by another rule.
bool serialNumberPolicyActive();

}  // namespace identity

#endif  // BRAMBLEKIT_IDENTITY_SERIALNUMBERVALIDATION_H_
