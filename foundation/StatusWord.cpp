#include "foundation/StatusWord.h"

#include <json/json.h>

#include "foundation/FailPolicy.h"
#include "foundation/Log.h"
#include "foundation/StationFiles.h"

const char* bkClassName(unsigned msgClass) {
  if (msgClass == 0) return BKMessageClassNames[0];
  return BKMessageClassNames[__builtin_ctz(msgClass) + 1];
}

const char* bkMessageName(unsigned message) {
  return message < 36 ? BKMessageNumberNames[message] : "";
}

// The signature message can never be switched off or made passive.
static const unsigned kSignatureMessage = BK_MSG_ERROR_INVALID_SIGNATURE;

namespace statusword {

bool BK_isLifelineMessageOFF(unsigned, unsigned message) {
  if (message == kSignatureMessage) return false;
  return FailPolicy::switchesOff(bkMessageName(message));
}

bool BK_isLifelineClassOFF(unsigned msgClass, unsigned) {
  return FailPolicy::switchesOff(bkClassName(msgClass));
}

bool BK_isFailPassive(unsigned msgClass, unsigned message) {
  if (message == kSignatureMessage) return false;
  const char* messageName = bkMessageName(message);
  const bool byIDActive = FailPolicy::activeWhenOne(messageName);
  bool byID = false;
  if (!BK_isLifelineMessageOFF(msgClass, message)) {
    byID = true;
    BK_LOG(kBlankUID, "lifeline by ID => name: '" << messageName << "'  state: '"
                                                  << (byIDActive ? "ACTIVE" : "PASSIVE"));
  }
  bool byClass = false;
  bool byClassActive = false;
  if (!BK_isLifelineClassOFF(msgClass, message)) {
    byClass = true;
    // Indexed by the class value itself, not by its bit position.  Read as a
    // boolean: only an integer 0 is PASSIVE; a missing entry counts as true.
    const char* className = msgClass < 33 ? BKMessageClassNames[msgClass] : "";
    byClassActive = !FailPolicy::classPassive(className);
    BK_LOG(kBlankUID, "lifeline by class => name: '" << className << "'  state: '"
                                                     << (byClassActive ? "ACTIVE" : "PASSIVE")
                                                     << "'");
  }
  if (message == BK_MSG_ERROR_API_VERSION) return false;
  if (byID) return !byIDActive;
  if (byClass) return !byClassActive;
  return true;
}

unsigned BK_buildStatus(BK_PASSFAILRESULT result, unsigned msgClass, unsigned message) {
  if (BK_isLifelineMessageOFF(msgClass, message)) return 0;
  unsigned word = (msgClass << 20) | message;
  if (result != BK_FAIL) return word;
  if (BK_isFailPassive(msgClass, message)) {
    BK_LOG(kBlankUID, "Forcing a passive fail for error (class: "
                          << msgClass << " [" << bkClassName(msgClass) << "], messageID: "
                          << message << " [" << bkMessageName(message) << "] )");
    return word;
  }
  return kStatusFailBit | word;
}

}  // namespace statusword
