// Sample station files, for setting up a new station or a test bench.  The
// station info sample carries no signature, so it fails the signature check
// until the station-management agent replaces it.  The health sample keeps
// the forwarding agent's own spelling of its keys ("sucessful").
#include "station/StationFileWriters.h"

#include <sys/time.h>

#include <iomanip>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "foundation/OutputFile.h"
#include "interface/Bramblekit.h"

namespace {

// Members in the order they are written; values are already JSON text.
using Members = std::vector<std::pair<std::string, std::string>>;

std::string quoted(const std::string& text) { return "\"" + text + "\""; }

// One member a line, one tab per level, no blank around the colon.
std::string objectText(const Members& members, int depth) {
  std::string indent(static_cast<size_t>(depth), '\t');
  std::string text = "{\n";
  for (size_t i = 0; i < members.size(); ++i) {
    text += indent + "\t" + quoted(members[i].first) + ":" + members[i].second;
    text += i + 1 < members.size() ? ",\n" : "\n";
  }
  return text + indent + "}";
}

std::string listText(const std::vector<std::string>& entries) {
  std::string text = "[";
  for (size_t i = 0; i < entries.size(); ++i) text += (i ? "," : "") + quoted(entries[i]);
  return text + "]";
}

std::string nowAsReal() {
  struct timeval now;
  gettimeofday(&now, nullptr);
  std::ostringstream text;
  text << now.tv_sec << "." << std::setw(6) << std::setfill('0') << now.tv_usec;
  return text.str();
}

Members stationSettings() {
  return {
      {"SITE", quoted("XSITE")},
      {"PRODUCT", quoted("XPRODUCT")},
      {"BUILD_STAGE", quoted("EVT")},
      {"BUILD_SUBSTAGE", quoted("0")},
      {"REMOTE_ADDR", quoted("10.0.0.10")},
      {"LOCATION", quoted("FLOOR-1")},
      {"LINE_NUMBER", quoted("LINE-1")},
      {"STATION_NUMBER", quoted("1")},
      {"STATION_TYPE", quoted("SAMPLE-STATION")},
      {"SCREEN_COLOR", quoted("blue")},
      {"STATION_IP", quoted("10.0.0.10")},
      {"DCS_IP", quoted("10.0.0.2")},
      {"TRAX_IP", quoted("10.0.0.3")},
      {"HERON_IP", quoted("10.0.0.4")},
      {"MAGPIE_IP", quoted("10.0.0.5")},
      {"FUSING_IP", quoted("10.0.0.6")},
      {"DROPBOX_IP", quoted("10.0.0.7")},
      {"SFC_IP", quoted("10.0.0.8")},
      {"SFC_URL", quoted("http://10.0.0.8/sfc")},
      {"PROV_IP", quoted("10.0.0.9")},
      {"DATE_TIME", quoted("2010-09-22 05:55:18")},
      {"STATION_ID", quoted("XSITE_LINE-1_SAMPLE-STATION_1")},
      {"URI_CONFIG_PATH", quoted("/stations/XSITE/LINE-1/1")},
      {"KESTREL_IP", quoted("10.0.0.11")},
      {"MAC", quoted("ff:ff:ff:ff:ff:ff")},
      {"SAVE_BRICKS", quoted("1")},
      {"LOCAL_CSV", quoted("1")},
      {"REALTIME_PARAMETRIC", quoted("1")},
      {"SINGLE_CSV_UUT", quoted("0")},
      {"SFC_QUERY_UNIT_ON_OFF", quoted("OFF")},
      {"SFC_TIMEOUT", "15"},
      {"KSSI_LASTUPDATE_TIMEOUT", "45"},
      {"MARTEN_NOT_RUNNING_TIMEOUT", "-1"},
      {"NETWORK_NOT_OK_TIMEOUT", "-1"},
      {"STATION_SET_CONTROL_BIT_ON_OFF", quoted("ON")},
      {"CONTROL_BITS_TO_CHECK_ON_OFF", quoted("ON")},
      {"CONTROL_BITS_TO_CLEAR_ON_PASS_ON_OFF", quoted("ON")},
      {"CONTROL_BITS_TO_CLEAR_ON_FAIL_ON_OFF", quoted("ON")},
      {"STATION_DISPLAY_NAME", quoted("Sample Station 1")},
  };
}

Members failPolicy() {
  static const char* const kMessages[] = {
      "BK_MSG_ERROR_NETWORK_NOT_RESPONDING",
      "BK_MSG_ERROR_ETHERNET_NOT_RESPONDING",
      "BK_MSG_ERROR_INVALID_STATION_TYPE",
      "BK_MSG_ERROR_INVALID_SW_VERSION",
      "BK_MSG_ERROR_INVALID_BK_VERSION",
      "BK_MSG_ERROR_INVALID_VERSION",
      "BK_MSG_ERROR_MARTEN_NOT_RUNNING",
      "BK_MSG_ERROR_DCS_NOT_RESPONDING",
      "BK_MSG_ERROR_TRAX_NOT_RESPONDING",
      "BK_MSG_ERROR_KESTREL_NOT_RESPONDING",
      "BK_MSG_ERROR_INVALID_SERIAL_NUMBER",
      "BK_MSG_ERROR_API_UNHANDLED",
      "BK_MSG_ERROR_API_SYNTAX",
      "BK_MSG_ERROR_FILESYSTEM",
      "BK_MSG_ERROR_INVALID_DATA_FORMAT",
      "BK_MSG_ERROR_UNIT_OUT_OF_PROCESS",
  };
  Members policy;
  for (const char* message : kMessages) policy.emplace_back(message, "0");
  return policy;
}

Members softwareDigests() {
  return {
      {"desktop_wallpaper", quoted("0123456789abcdef0123456789abcdef")},
      {"bramble", quoted("00112233445566778899aabbccddeeff")},
      {"bramblekit", quoted("ffeeddccbbaa99887766554433221100")},
  };
}

Members controlBits() {
  return {
      {"CONTROL_BITS_TO_CHECK", listText({"0x0001", "0x0002", "0x0004", "0x0008"})},
      {"CONTROL_BITS_TO_CLEAR_ON_PASS", listText({"0x0010", "0x0020", "0x0040", "0x0080"})},
      {"CONTROL_BITS_TO_CLEAR_ON_FAIL", listText({"0x0100", "0x0200", "0x0400", "0x0800"})},
      {"CONTROL_BITS_STATION_NAMES",
       listText({"station-1", "station-2", "station-3", "station-4", "station-5"})},
      {"STATION_FAIL_COUNT_ALLOWED", "5"},
  };
}

Members healthSample() {
  const std::string now = nowAsReal();
  return {
      {"network_ok", "1"},
      {"network_last_check_timestamp", now},
      {"network_last_check_timestamp_int", now},
      {"network_last_sucessful_check_int", now},
      {"network_last_check_pretty_timestamp", quoted("2010-12-01 12:12:12")},
      {"ethernet_ok", "1"},
      {"ethernet_last_check_timestamp", now},
      {"ethernet_last_sucessful_check", now},
      {"ethernet_last_check_pretty_timestamp", quoted("2010-12-01 12:12:12")},
      {"kssi_ok", "1"},
      {"kssi_last_sucessful_check", now},
      {"kssi_last_check_timestamp", quoted("blue")},
      {"kssi_last_check_pretty_timestamp", quoted("2010-12-01 12:12:12")},
  };
}

void writeSample(const char* fileName, const std::string& text) {
  try {
    std::string path = std::string(vaultStationConfigPath) + fileName;
    BK_LOG(kBlankUID, "creating file '" << path << "'");
    std::unique_ptr<std::ofstream> out(COutputFile::open(path));
    if (out->is_open()) {
      *out << text << "\n";
      out->close();
    }
  } catch (...) {
    BK_LOG_ERROR("API error; unhandled exception caught");
  }
}

}  // namespace

namespace stationfiles {

void CreateStationInfoFile() {
  std::string text;
  try {
    text = objectText({{"ksinfo", objectText(stationSettings(), 1)},
                       {"lifeline", objectText(failPolicy(), 1)},
                       {"swversions", objectText(softwareDigests(), 1)},
                       {"controlbits", objectText(controlBits(), 1)}},
                      0);
  } catch (...) {
    BK_LOG_ERROR("API error; unhandled exception caught");
    return;
  }
  writeSample(ksinfo, text);
}

void CreateStationHealthFile() {
  std::string text;
  try {
    text = objectText(healthSample(), 0);
  } catch (...) {
    BK_LOG_ERROR("API error; unhandled exception caught");
    return;
  }
  writeSample(stationHealthCheck, text);
}

}  // namespace stationfiles
