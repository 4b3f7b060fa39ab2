#include "foundation/StatusWord.h"

#include <json/json.h>

#include "foundation/FailPolicy.h"
#include "foundation/Log.h"
#include "foundation/StationFiles.h"

// clang-format off
const char* const BKMessageClassNames[33] = {
    "BK_MSG_CLASS_UNCLASSIFIED", "BK_MSG_CLASS_API_ERROR", "BK_MSG_CLASS_COMM_ERR",
    "BK_MSG_CLASS_QUERY", "BK_MSG_CLASS_QUERY_RESPONSE", "BK_MSG_CLASS_QUERY_DELAYED_RESPONSE",
    "BK_MSG_CLASS_PROCESS_CONTROL",
    "", "", "", "", "", "", "", "", "", "", "", "", "",
    "", "", "", "", "", "", "", "", "", "", "", "", ""};
// clang-format on

const char* const BKMessageNumberNames[36] = {
    "BK_MSG_ERROR_API_UNHANDLED", "BK_MSG_ERROR_UNIT_ID_INVALID", "BK_MSG_ERROR_UNIMPLEMENTED",
    "BK_MSG_ERROR_API_VERSION", "BK_MSG_ERROR_API_SYNTAX", "BK_MSG_ERROR_API_NO_ATTRIBUTE",
    "BK_MSG_ERROR_MARTEN_NOT_RUNNING", "BK_MSG_ERROR_FILESYSTEM", "BK_MSG_ERROR_NETWORK",
    "BK_MSG_ERROR_INVALID_SERIAL_NUMBER", "BK_MSG_ERROR_DCS_NOT_RESPONDING",
    "BK_MSG_ERROR_TRAX_NOT_RESPONDING", "BK_MSG_ERROR_KESTREL_NOT_RESPONDING",
    "BK_MSG_ERROR_NETWORK_NOT_RESPONDING", "BK_MSG_ERROR_ETHERNET_NOT_RESPONDING",
    "BK_MSG_ERROR_UNIT_OUT_OF_PROCESS", "BK_MSG_ERROR_INVALID_STATION_TYPE",
    "BK_MSG_ERROR_INVALID_SW_VERSION", "BK_MSG_ERROR_INVALID_BK_VERSION",
    "BK_MSG_ERROR_INVALID_MARTEN_VERSION", "BK_MSG_ERROR_INVALID_KSSTATIONINFO_VALUE",
    "BK_MSG_ERROR_INVALID_DATA_FORMAT", "STR_BK_MSG_ERROR_INVALID_SIGNATURE",
    "BK_MSG_UNIT_GOLDEN_UNIT", "BK_MSG_UNIT_OUTLIER", "BK_MSG_UNIT_ESCAPE",
    "BK_MSG_UNIT_FORCE_FAIL", "BK_MSG_UNIT_RECALL", "BK_MSG_UNIT_HOLD", "BK_MSG_UNIT_NOT_IN_SFC",
    "BK_MSG_STATION_SW_MISMATCH",
    // Two names run together: station files know message 31 by this key.
    "BK_MSG_STATION_OUTLIERBK_MSG_ERROR_INVALID_SIGNATURE", "BK_MSG_ERROR_INVALID_ATTRIBUTE",
    "BK_MSG_ERROR_SFC_QUERY_UNIT", "BK_MSG_ERROR_CANOPY_AMIOKAY", ""};

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
