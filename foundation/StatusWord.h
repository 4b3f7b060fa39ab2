// Status words and the station's fail policy.
//
// A status word is (fail << 31) | (class << 20) | message.  Whether a fault
// becomes a real failure is the station's choice, kept in the "lifeline"
// object of its station info file: 1 ACTIVE, 0 PASSIVE, anything else OFF.
#ifndef BRAMBLEKIT_FOUNDATION_STATUSWORD_H_
#define BRAMBLEKIT_FOUNDATION_STATUSWORD_H_

#include <string>

#include "foundation/MessageNames.h"
#include "interface/Bramblekit.h"

// The class name for a class value, by the trailing-zeros rule.
const char* bkClassName(unsigned msgClass);
// The message name, or "" outside the table.
const char* bkMessageName(unsigned message);

// The fail bit: 0x80000000.
inline constexpr unsigned kStatusFailBit = 1u << 31;

// A failure that no policy entry lowers: for answers whose success would tell
// the station that something was kept or handed over when it was not.
inline constexpr unsigned bkFailureStatus(unsigned msgClass, unsigned message) {
  return kStatusFailBit | (msgClass << 20) | message;
}

// The policy rules behind the exported status functions.  They carry the
// exported names because their log lines name them.
namespace statusword {
bool BK_isLifelineMessageOFF(unsigned msgClass, unsigned message);
bool BK_isLifelineClassOFF(unsigned msgClass, unsigned message);
bool BK_isFailPassive(unsigned msgClass, unsigned message);
unsigned BK_buildStatus(BK_PASSFAILRESULT result, unsigned msgClass, unsigned message);
}  // namespace statusword

// The status word for a fault under the station's fail policy.
inline unsigned bkBuildStatus(BK_PASSFAILRESULT result, unsigned msgClass, unsigned message) {
  return statusword::BK_buildStatus(result, msgClass, message);
}

#endif  // BRAMBLEKIT_FOUNDATION_STATUSWORD_H_
