// The am-I-okay sequence: the checks a station runs before it spends time on
// a unit.  The first failing check ends the sequence; its verdict, ACTIVE or
// PASSIVE by the station's policy, stays in the session's pending failure for
// done and commit to act on.  Nothing here clears an earlier failure.
#include <stdint.h>

#include <memory>
#include <string>

#include "foundation/FailPolicy.h"
#include "foundation/Log.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "signature/StationInfoSignature.h"
#include "station/HealthProbes.h"

namespace {

// One check of the sequence: its policy key, its labels (part of the results'
// vocabulary, blanks and colons included) and the line logged on success.
struct AmIOkayCheck {
  const char* policyKey;
  const char* activeLabel;
  const char* passiveLabel;
  const char* okLine;
};

const AmIOkayCheck kMarten = {"BK_MSG_ERROR_MARTEN_NOT_RUNNING", "Marten NOT running: [ACTIVE] ",
                              " Marten NOT running: [PASSIVE] ", "MARTEN_NOT_RUNNING: Running"};
const AmIOkayCheck kEthernet = {"BK_MSG_ERROR_ETHERNET_NOT_RESPONDING",
                                "Ethernet UNPLUGGED: [ACTIVE] ", "Ethernet UNPLUGGED: [PASSIVE] ",
                                "ETHERNET_NOT_RESPONDING: OK"};
const AmIOkayCheck kNetwork = {
    "BK_MSG_ERROR_NETWORK_NOT_RESPONDING", "Can't ping TRAX, DCS, nor KS: [ACTIVE] ",
    "Can't ping TRAX, DCS, nor KS: [PASSIVE] ", "NETWORK_NOT_RESPONDING: OK"};
const AmIOkayCheck kSerialNumber = {"BK_MSG_ERROR_INVALID_SERIAL_NUMBER",
                                    "SERIAL_NUMBER_NOT_OK:  [ACTIVE] ",
                                    "SERIAL_NUMBER_NOT_OK: [PASSIVE] ", "SERIAL_NUMBER: OK"};
const AmIOkayCheck kSFCQuery = {"BK_MSG_ERROR_SFC_QUERY_UNIT", "SFC_QUERY_UNIT: [ACTIVE] ",
                                "SFC_QUERY_UNIT: [PASSIVE] ", "SFC_QUERY_UNIT: OK"};
const AmIOkayCheck kOutOfProcess = {
    "BK_MSG_ERROR_UNIT_OUT_OF_PROCESS",
    "UNIT_OUT_OF_PROCESS [ACTIVE]: ", "UNIT_OUT_OF_PROCESS [PASSIVE]: ", "UNIT_OUT_OF_PROCESS OK"};

// ACTIVE for the integer 1 and for an entry that is no integer; a missing
// key or another integer is PASSIVE.  This reads the message key alone,
// unlike the status policy.
bool isActive(const char* policyKey) { return FailPolicy::activeWhenOne(policyKey); }

// The short text of a server's out-of-process answer: what follows the
// phrase, up to the last comma.  The phrase is looked for as the servers
// write it: the underscore form only when the blank form opens the text, and
// a miss (-1) skips the first 18 characters.
std::string trimOutOfProcessAnswer(const std::string& answer) {
  const int32_t phraseLength = 19;
  int32_t position = static_cast<int32_t>(answer.find("UNIT OUT OF PROCESS"));
  if (position == 0) position = static_cast<int32_t>(answer.find("UNIT_OUT_OF_PROCESS"));
  int64_t start = static_cast<int64_t>(position) + phraseLength;
  if (start < 0 || static_cast<uint64_t>(start) > answer.size()) return "";
  std::string rest = answer.substr(static_cast<size_t>(start));
  return rest.substr(0, rest.rfind(','));
}

}  // namespace

CBKReply* CUUT::checkAMIOK(std::string serialNumber) {
  // Owned until it is handed back, so that a probe's exception leaks nothing.
  std::unique_ptr<CBKReply> owned(new CBKReply());
  CBKReply* reply = owned.get();

  // A failed signature is always ACTIVE: no policy may wave it through.
  if (!signaturecheck::BK_isSignatureOK(reply)) {
    std::string detail = reply->getData();
    pendingFailure.record(true, "Signature  NOT OK [ACTIVE]:", detail,
                          "ERROR: ks_station_info signature NOT OK," + detail);
    BK_LOG_ERROR(pendingFailure.message());
    return owned.release();
  }

  // Records a failure under the policy; the reply becomes a pass carrying the
  // text when the station chose PASSIVE, so that its test runs on.
  auto recordFailure = [&](const AmIOkayCheck& check, const std::string& text,
                           const char* emptyActiveLine) -> CBKReply* {
    const bool active = isActive(check.policyKey);
    pendingFailure.record(active, active ? check.activeLabel : check.passiveLabel, text, text);
    if (active) {
      BK_LOG_ERROR((text.empty() && emptyActiveLine != nullptr ? emptyActiveLine : text));
    } else {
      BK_LOG(UID, text);
      reply->setData(text);
      reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    }
    return owned.release();
  };

  if (!probe::BK_isMartenRunning(UID, reply)) {
    return recordFailure(kMarten, reply->getData(), nullptr);
  }
  BK_LOG(UID, kMarten.okLine);
  if (!probe::BK_isEtherNetOK(UID, reply)) {
    return recordFailure(kEthernet, reply->getData(), nullptr);
  }
  BK_LOG(UID, kEthernet.okLine);
  if (!probe::BK_isNetWorkOK(UID, reply)) {
    return recordFailure(kNetwork, reply->getData(), nullptr);
  }
  BK_LOG(UID, kNetwork.okLine);

  // Without a serial number only the station itself is examined.
  if (serialNumber.empty()) {
    const std::string text = " Called wihtout the serial number, no UOP/SFC_QUERY_UNIT for now.";
    reply->setData(text);
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    BK_LOG(UID, text);
    return owned.release();
  }

  if (!validateSerialNumber(reply, serialNumber)) {
    return recordFailure(kSerialNumber, reply->getData(), nullptr);
  }
  BK_LOG(UID, kSerialNumber.okLine);
  if (!unitcheck::BK_isSFCQueryUnitOK(unitCheckView(), reply)) {
    return recordFailure(kSFCQuery, reply->getData(), nullptr);
  }
  BK_LOG(UID, kSFCQuery.okLine);
  // Here a true answer is the failure.
  if (unitcheck::BK_isUnitOutOfProcess(UID, reply)) {
    return recordFailure(kOutOfProcess, trimOutOfProcessAnswer(reply->getData()),
                         "NO response from server or server is unavailable, empty response file");
  }
  BK_LOG(UID, kOutOfProcess.okLine);

  const std::string none = "FATAL ERROR FOUND: NONE";
  reply->setData(none);
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  BK_LOG(UID, none);
  return owned.release();
}
