// One text of the station info file, by a fixed number,
// handed over in two calls (first the length, then the text into the
// caller's buffer).
#include "station/StationInfoQuery.h"

#include <stdint.h>
#include <string.h>

#include <string>

#include "foundation/FailReply.h"
#include "foundation/Log.h"
#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"

namespace {

// Stations ask by number; the numbers are fixed, gaps included.
const char* const kStationInfoKeys[49] = {
    nullptr,
    "SITE",
    "PRODUCT",
    "BUILD_STAGE",
    "BUILD_SUBSTAGE",
    "REMOTE_ADDR",
    "LOCATION",
    "LINE_NUMBER",
    "STATION_NUMBER",
    "STATION_TYPE",
    "SCREEN_COLOR",
    "STATION_IP",
    "DCS_IP",
    "TRAX_IP",
    "HERON_IP",
    "MAGPIE_IP",
    "FUSING_IP",
    "DROPBOX_IP",
    "SFC_IP",
    "SFC_URL",
    "PROV_IP",
    "DATE_TIME",
    "STATION_ID",
    "KESTREL_IP",
    "MAC",
    "SAVE_BRICKS",
    "LOCAL_CSV",
    "REALTIME_PARAMETRIC",
    "SINGLE_CSV_UUT",
    "STATION_DISPLAY_NAME",
    "URI_CONFIG_PATH",
    "SFC_QUERY_UNIT_ON_OFF",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "STATION_SET_CONTROL_BIT_ON_OFF",
    "CONTROL_BITS_TO_CHECK_ON_OFF",
    "CONTROL_BITS_TO_CLEAR_ON_PASS_ON_OFF",
    "CONTROL_BITS_TO_CLEAR_ON_FAIL_ON_OFF",
    "ACTIVATION_IP",
    "LINE_MANAGER_IP",
    "GDADMIN",
    "SKIFF_LINE",
    "USB_STORAGE",
    "FIREWALL",
    "UNIT_PROCESS_REQUIRE_OCELOT",
    "KESTREL_STARTED",
    "LAST_RESTORED",
};

const char* const kWrongKey = "WRONG_KEY";

// An unknown number still goes through the look-up, under a name that the
// file never holds.
std::string keyNameFor(const std::string& uid, int key) {
  if (key >= 1 && key <= 48 && kStationInfoKeys[key] != nullptr) return kStationInfoKeys[key];
  BK_LOG(uid, "Try to get invalid value");
  return kWrongKey;
}

}  // namespace

namespace stationinfo {

void BK_getKSStationInfo(const std::string& uid, int key, char** value, unsigned long long* length,
                         CBKReply* reply) {
  BK_LOG(uid, "Entering BK_getKSStationInfo");

  const std::string name = keyNameFor(uid, key);
  const Json::Value found = getKSInfo()->getValueFor("ksinfo", name);
  auto fail = [&](const std::string& text) {
    if (length != nullptr) *length = 0;
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX, text);
  };

  if (!found.isString()) {
    fail("Incorrect value TYPE found for key [" + name +
         "] in ks_station_info.json found, not a string TYPE");
  } else {
    const std::string text = found.asString();
    const uint32_t textLength = static_cast<uint32_t>(text.size());
    if (value == nullptr && textLength != 0) {
      // A caller without a length pointer cannot take part in the protocol;
      // it gets the failure of a badly made call instead of a crash.
      if (length == nullptr) {
        fail("API parameters did not get passed in correctly for key [" + name + "]");
      } else {
        *length = textLength;
        std::string answer = "First Call: Length of buffer = [" + std::to_string(textLength) +
                             "] required for key [" + name +
                             "] needs to be passed in the next call.";
        reply->setData(answer);
        reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
        BK_LOG(uid, answer);
      }
    } else if (textLength == 0 || name == kWrongKey) {
      fail("KEY does not exist in the ks_station_info.json.");
    } else if (length != nullptr && value != nullptr && *value != nullptr &&
               *length == textLength) {
      // The caller's buffer holds *length bytes and the terminator.
      memcpy(*value, text.c_str(), text.size() + 1);
      std::string answer =
          "Value obtained for KEY [" + name + "] = [" + text + "] from ks_station_info.json file";
      reply->setData(answer);
      reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
      BK_LOG(uid, answer);
    } else {
      fail("API parameters did not get passed in correctly for key [" + name + "]");
    }
  }

  BK_LOG(uid, "Exiting BK_getKSStationInfo");
}

}  // namespace stationinfo
