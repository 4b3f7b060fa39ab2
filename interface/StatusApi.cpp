// The exported status functions: the boundary around the policy rules.
#include "foundation/StatusWord.h"
#include "interface/EntryFrame.h"

bool BK_isLifelineMessageOFF(unsigned msgClass, unsigned message) {
  return bkGuardValue(__func__, false,
                      [&] { return statusword::BK_isLifelineMessageOFF(msgClass, message); });
}

bool BK_isLifelineClassOFF(unsigned msgClass, unsigned message) {
  return bkGuardValue(__func__, false,
                      [&] { return statusword::BK_isLifelineClassOFF(msgClass, message); });
}

// A message without a numeric entry makes the look-up throw: the answer is
// then "not passive".
bool BK_isFailPassive(unsigned msgClass, unsigned message) {
  return bkGuardValue(__func__, false,
                      [&] { return statusword::BK_isFailPassive(msgClass, message); });
}

// After an exception the word is a failure: the policy could not be read.
unsigned BK_buildStatus(BK_PASSFAILRESULT result, unsigned msgClass, unsigned message) {
  return bkGuardValue(
      __func__, kStatusFailBit | (msgClass << 20) | message, [&, raw = static_cast<int>(result)] {
        return statusword::BK_buildStatus(static_cast<BK_PASSFAILRESULT>(raw), msgClass, message);
      });
}
