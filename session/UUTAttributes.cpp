// Attributes of a session: named texts kept in the results document.  Six
// names are reserved and trigger something; every other name is a free
// ("developer") attribute.  An attribute, once there, cannot be changed.
#include <ctype.h>
#include <time.h>

#include <string>

#include "foundation/FailPolicy.h"
#include "foundation/FailReply.h"
#include "foundation/Log.h"
#include "foundation/StationFeatures.h"
#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"

namespace {

const size_t kVersionLimit = 48;
const size_t kDevAttributeLimit = 256;

// The document member behind an attribute name.
struct MemberPath {
  const char* section;
  std::string key;
};

MemberPath memberFor(const std::string& name) {
  if (name == "serialnumber") return {"test_attributes", "unit_serial_number"};
  if (name == "softwareversion") return {"test_station_attributes", "software_version"};
  if (name == "softwarename") return {"test_station_attributes", "software_name"};
  if (name == "limitsversion") return {"test_station_attributes", "limits_version"};
  if (name == "STATION_IDENTIFIER") return {"test_station_attributes", "station_id"};
  // Nothing writes sub_station, so this name is never found and may be set
  // again; the last value wins.
  if (name == "STATION_SUB_IDENTIFIER") return {"test_station_attributes", "sub_station"};
  return {"uut_attributes", name};
}

std::string asText(const Json::Value& value) {
  if (value.isConvertibleTo(Json::stringValue)) return value.asString();
  Json::StreamWriterBuilder compact;
  compact["indentation"] = "";
  return Json::writeString(compact, value);
}

// ACTIVE for the integer 1 and for an entry that is no integer; a missing
// key or another integer is PASSIVE.
bool serialNumberPolicyIsActive() {
  return FailPolicy::activeWhenOne("BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
}

std::string upperCase(std::string text) {
  for (char& c : text) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return text;
}

}  // namespace

bool CUUT::getAttribute(const std::string& name, std::string* value) {
  const MemberPath path = memberFor(name);
  const Json::Value& root = rootJson;  // const: a look-up must not add members
  std::string text = "NOTFOUND";
  const Json::Value& section = root.isObject() ? root[path.section] : Json::Value::nullSingleton();
  if (section.isObject()) text = asText(section.get(path.key, Json::Value("NOTFOUND")));
  // A free attribute whose value is the word NOTFOUND counts as missing.
  bool found = text != "NOTFOUND";
  if (value != nullptr) *value = found ? text : "";
  return found;
}

CBKReply* CUUT::createAttribute(std::string name, std::string value) {
  CBKReply* reply = new CBKReply();
  bool badSerial = false;
  try {
    std::string existing;
    if (getAttribute(name, &existing)) {
      if (name == "STATION_IDENTIFIER") {
        // The station file supplies station_id; a station that also sends it
        // is told so, and that is no error.
        attributeStationIdentifierCreated = true;
        BK_LOG(UID, "Attribtue [" << name << "] has already been created as [" << existing
                                  << "]. Do not add stationID, Bramblekit does for you.");
        reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
        return reply;
      }
      const std::string text =
          "Attribtue [" + name + "] has already been created as [" + existing + "].";
      reply->setData(text);
      reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX));
      BK_LOG_ERROR(text);
      BK_LOG(UID, text);
      return reply;
    }

    Json::Value& station = rootJson["test_station_attributes"];
    if (name == "serialnumber") {
      BK_LOG(UID, "Caught serial number creation: [" << value << "]");
      if (!validateSerialNumber(reply, value)) {
        badSerial = true;
        std::string text = reply->getData();
        // The text goes in twice: servers parse the doubled form.
        text += text;
        const bool active = serialNumberPolicyIsActive();
        pendingFailure.record(
            active,
            active ? "SERIAL_NUMBER_NOT_OK [ACTIVE]:" : "SERIAL_NUMBER_NOT_OK [PASSIVE]:", text,
            text);
        if (active) {
          BK_LOG_ERROR(text);
        } else {
          BK_LOG(UID, text);
          reply->setData(text);
          reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
        }
      }
      // A bad number is recorded all the same, for commit to deal with.
      attributeSerialNumberCreated = true;
      serialNumber = upperCase(value);
      rootJson["test_attributes"]["unit_serial_number"] = serialNumber;

      if (Util_featureON("SFC_QUERY_UNIT_ON_OFF") && !badSerial) {
        BK_LOG(UID, "SFC QUERY FEATURE ON");
        if (SFC_QueryRecordUnitCheck(serialNumber)) {
          timeWhenSFCThreadCreated = time(nullptr);
          sfcQueryUnitThreadCreated = true;
          BK_LOG(UID, " SFC_QueryRecordUnitCheck returned true [" << UID << "]");
        } else {
          BK_LOG(UID, "SFC_QueryRecordUnitCheck returned [false] for ["
                          << serialNumber << "] caught in createAttribute");
        }
      } else {
        BK_LOG(UID, "Either SFC QUERY FEATURE OFF or bad serial number NOT executing SFC QUERY");
      }
      // Its findings stay in the pending failure; the reply is not needed.
      delete checkAMIOK("");
    } else if (name == "limitsversion") {
      BK_LOG(UID, "Caught Limits Version creation: [" << value << "]");
      if (value.length() > kVersionLimit) {
        value = value.substr(0, kVersionLimit);
        BK_LOG(UID, "Limiting the size of Limits Version to 48 characters [" << value << "].");
      }
      limitsVersion = value;
      attributeLimitsVersionCreated = true;
      station["limits_version"] = value;
    } else if (name == "softwarename") {
      BK_LOG(UID, "Caught Station Software Name creation");
      softwareName = value;
      attributeSoftwareNameCreated = true;
      station["software_name"] = value;
    } else if (name == "softwareversion") {
      BK_LOG(UID, "Caught Station Software Version creation: [" << value << "]");
      if (value.length() > kVersionLimit) {
        value = value.substr(0, kVersionLimit);
        BK_LOG(UID, "Limiting the size of Software Version to 48 characters [" << value << "].");
      }
      if (!validateVersion(reply, value)) {
        const std::string text =
            "Invalid or Station Version [" + value + "] or exceeds 48 characters";
        reply->setData(text);
        reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX));
        BK_LOG_ERROR(text);
        return reply;
      }
      softwareVersion = value;
      attributeSoftwareVersionCreated = true;
      station["software_version"] = value;
    } else if (name == "STATION_SUB_IDENTIFIER") {
      BK_LOG(UID, "Caught Sub Station ID creation [" << value << "]");
      subStationIdentifier = value;
      attributeSubStationIdentifierCreated = true;
      rootJson["uut_attributes"]["STATION_SUB_IDENTIFIER"] = value;
    } else if (name == "STATION_IDENTIFIER") {
      // Reached only when the station file gave no STATION_ID; the document
      // keeps what the station file said.
      BK_LOG(UID, "Caught Station ID creation [" << value << "]");
      stationIdentifier = value;
      attributeStationIdentifierCreated = true;
      reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
      return reply;
    } else {
      if (value.length() > kDevAttributeLimit) {
        value = value.substr(0, kDevAttributeLimit);
        BK_LOG(UID,
               "Limiting the size of dev attributes Version to 256 characters [" << value << "].");
      }
      if (!validateDevAttribute(reply, value)) {
        const std::string text = "Illegal character in developer's added attribute [" + value +
                                 "] caught in createAttribute";
        reply->setData(text);
        reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX));
        BK_LOG_ERROR(text);
        return reply;
      }
      rootJson["uut_attributes"][name] = value;
    }
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  } catch (...) {
    const std::string text = std::string("createAttribute") + ": Undhandled exception";
    reply->setData(text);
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    BK_LOG_ERROR(text);
  }
  if (badSerial) {
    // Whatever the serial branch put in the reply, the station hears of the
    // bad number; the policy decides through the status whether it stops.
    const std::string text = std::string("createAttribute") + ": Invalid Serial Number passed";
    reply->setData(text);
    reply->setStatus(
        bkBuildStatus(BK_FAIL, BK_MSG_CLASS_PROCESS_CONTROL, BK_MSG_ERROR_INVALID_SERIAL_NUMBER));
    BK_LOG_ERROR(text);
  }
  return reply;
}
