// Facts about the unit that are neither attributes nor results: where it sits
// in the fixture, the module it was built from, and a failure of the station
// itself.  All of them change only the document in memory; commit writes it.
#include <string>

#include "foundation/FailReply.h"
#include "foundation/StationFiles.h"
#include "session/UUT.h"

namespace {

// The entry point lets these three pass as NULL; the document gets a word
// that says so rather than nothing.
std::string orNotPassed(const char* text) { return text != nullptr ? text : "Not_Passed_in"; }

std::string stateNameOf(UUTState state) {
  unsigned index = static_cast<unsigned>(state);
  if (index < 5) return state_names[index];
  return std::to_string(index);
}

// Both forms of the position, names or numbers, land in the same two fields.
// `function` is the caller's name, for the texts.
template <typename Fixture, typename Head>
bool storePosition(Json::Value& root, CBKReply* reply, Fixture fixture, Head head,
                   const char* function) {
  try {
    Json::Value& station = root["test_station_attributes"];
    station["fixture_id"] = fixture;
    station["head_id"] = head;
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    return true;
  } catch (...) {
    bkFailReply(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED,
                std::string(function) + ": Unhandled exception", __FILE__, __LINE__, function);
    return false;
  }
}

}  // namespace

bool CUUT::setDUTPos(CBKReply* reply, const char* fixture, const char* head) {
  return storePosition(rootJson, reply, fixture, head, __FUNCTION__);
}

bool CUUT::setDUTPosition(CBKReply* reply, BK_ENUM_FIXTURE_ID fixture,
                          BK_ENUM_FIXTURE_HEAD_ID head) {
  return storePosition(rootJson, reply, fixture, head, __FUNCTION__);
}

CBKReply* CUUT::addModuleHistory(const char* moduleSN, const char* vendorCode, const char* dateCode,
                                 const char* partNumber, const char* description,
                                 const char* lotCode) {
  CBKReply* reply = new CBKReply();
  BK_LOG(UID, "Caught module module history attributes creation.");
  if (!wasAttributeSerialNumberCreated() || state != UUT_STATE_OPEN) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "No serial number or invalid state while adding addHistoryAttributes");
    return reply;
  }
  // Only noted: the line is neither stored nor a condition.
  Json::Value line = getKSInfo()->getValueFor("ksinfo", "LINE_NUMBER");
  if (line.isString() && line.asString() == "NOTFOUND") {
    BK_LOG(UID, "LINE_NUMBER = "
                    << "No entry in the ks_station_info.json file or file does not exist");
  } else {
    BK_LOG(UID, "LINE_NUMBER = " << (line.isString() ? line.asString() : line.toStyledString()));
  }
  // One module per session: a second call replaces the first.
  Json::Value& modules = rootJson["modules"];
  modules["module_serial_number"] = moduleSN;
  modules["vendor_code"] = vendorCode;
  modules["date_code"] = dateCode;
  modules["part_number"] = orNotPassed(partNumber);
  modules["description"] = orNotPassed(description);
  modules["lot_code"] = orNotPassed(lotCode);
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  return reply;
}

CBKReply* CUUT::sendStationFailureReport(const char* step, const char* reason) {
  CBKReply* reply = new CBKReply();
  if (state != UUT_STATE_OPEN && state != UUT_STATE_DID) {
    // Stations test for this message number here, odd as it is.
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_SW_VERSION,
                  "The UUT object state was not valid for this transition type. state '" +
                      stateNameOf(state) + "'");
    return reply;
  }
  rootJson["station_failure"]["failure_step"] = step;
  rootJson["station_failure"]["failure_reason"] = reason;
  rootJson["test_attributes"]["override"] = "1";
  BK_LOG(UID, "called with -overrideFail-, FailureStep:" << step << ", FailureReason:" << reason);
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  return reply;
}
