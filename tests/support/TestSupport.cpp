#include "support/TestSupport.h"

#include <sys/time.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "bramblekit/Bramblekit.h"
#include "foundation/MessageNames.h"

namespace bk_test {

namespace fs = std::filesystem;

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

bool fileExists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

void writeFile(const std::string& path, const std::string& text) {
  const fs::path parent = fs::path(path).parent_path();
  if (!parent.empty()) fs::create_directories(parent);
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("cannot write " + path);
}

std::string readLog() {
  // The lines of the last results may still be held in memory; any entry
  // point outside the per-result calls writes them, and this one does
  // nothing else.
  BK_getVersion();
  return fileExists(kLogPath) ? readFile(kLogPath) : std::string();
}

std::size_t countLines(const std::string& text, const std::string& needle) {
  std::istringstream lines(text);
  std::size_t count = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.find(needle) != std::string::npos) ++count;
  }
  return count;
}

namespace {

Json::Value bitList(const char* first, const char* second, const char* third, const char* fourth) {
  Json::Value list(Json::arrayValue);
  for (const char* bit : {first, second, third, fourth}) list.append(bit);
  return list;
}

}  // namespace

Json::Value sampleStationInfo() {
  Json::Value ksinfo(Json::objectValue);
  ksinfo["SITE"] = "TSTA";
  ksinfo["PRODUCT"] = "P42";
  ksinfo["BUILD_STAGE"] = "EVT";
  ksinfo["BUILD_SUBSTAGE"] = "0";
  ksinfo["REMOTE_ADDR"] = "10.20.30.40";
  ksinfo["LOCATION"] = "FLOOR-2";
  ksinfo["LINE_NUMBER"] = "L07";
  ksinfo["STATION_NUMBER"] = "1";
  ksinfo["STATION_TYPE"] = "FUNCTIONAL-TEST";
  ksinfo["SCREEN_COLOR"] = "blue";
  ksinfo["STATION_IP"] = "10.20.30.40";
  ksinfo["DCS_IP"] = "10.20.0.2";
  ksinfo["TRAX_IP"] = "10.20.0.3";
  ksinfo["HERON_IP"] = "10.20.0.4";
  ksinfo["MAGPIE_IP"] = "10.20.0.5";
  ksinfo["FUSING_IP"] = "10.20.0.6";
  ksinfo["DROPBOX_IP"] = "10.20.0.7";
  ksinfo["SFC_IP"] = "10.20.0.8";
  ksinfo["SFC_URL"] = "http://10.20.0.8/sfc/query";
  ksinfo["PROV_IP"] = "10.20.0.9";
  ksinfo["DATE_TIME"] = "2010-09-22 05:55:18";
  ksinfo["STATION_ID"] = "TSTA_L07_FUNCTIONAL-TEST_1";
  ksinfo["URI_CONFIG_PATH"] = "/stations/TSTA/L07/1";
  ksinfo["KESTREL_IP"] = "10.20.0.10";
  ksinfo["MAC"] = "ff:ff:ff:ff:ff:ff";
  ksinfo["SAVE_BRICKS"] = "1";
  ksinfo["LOCAL_CSV"] = "1";
  ksinfo["REALTIME_PARAMETRIC"] = "1";
  ksinfo["SINGLE_CSV_UUT"] = "0";
  ksinfo["SFC_QUERY_UNIT_ON_OFF"] = "OFF";
  ksinfo["SFC_TIMEOUT"] = 15;
  ksinfo["KSSI_LASTUPDATE_TIMEOUT"] = 45;
  ksinfo["MARTEN_NOT_RUNNING_TIMEOUT"] = -1;
  ksinfo["NETWORK_NOT_OK_TIMEOUT"] = -1;
  ksinfo["STATION_SET_CONTROL_BIT_ON_OFF"] = "ON";
  ksinfo["CONTROL_BITS_TO_CHECK_ON_OFF"] = "ON";
  ksinfo["CONTROL_BITS_TO_CLEAR_ON_PASS_ON_OFF"] = "ON";
  ksinfo["CONTROL_BITS_TO_CLEAR_ON_FAIL_ON_OFF"] = "ON";
  ksinfo["STATION_DISPLAY_NAME"] = "Functional Test 1";
  ksinfo["SIGNATURE_VERSION"] = "1";

  // Every message of the library's table ACTIVE, so that a test sees each
  // fault as a real failure unless it lowers the policy itself.
  Json::Value lifeline(Json::objectValue);
  for (const char* message : BKMessageNumberNames) {
    if (*message != '\0') lifeline[message] = 1;
  }

  Json::Value swversions(Json::objectValue);
  swversions["desktop_wallpaper"] = "0123456789abcdef0123456789abcdef";
  swversions["bramble"] = "fedcba9876543210fedcba9876543210";
  swversions["bramblekit"] = "00112233445566778899aabbccddeeff";

  Json::Value controlbits(Json::objectValue);
  controlbits["CONTROL_BITS_TO_CHECK"] = bitList("0x0001", "0x0002", "0X000a", "0x00B0");
  controlbits["CONTROL_BITS_TO_CLEAR_ON_PASS"] = bitList("0x0003", "0x0004", "0x0005", "0x0006");
  controlbits["CONTROL_BITS_TO_CLEAR_ON_FAIL"] = bitList("0x0007", "0x0008", "0x0009", "0x000c");
  Json::Value stations(Json::arrayValue);
  for (int i = 1; i <= 5; ++i) stations.append("station-" + std::to_string(i));
  controlbits["CONTROL_BITS_STATION_NAMES"] = stations;
  controlbits["STATION_FAIL_COUNT_ALLOWED"] = 5;

  Json::Value info(Json::objectValue);
  info["ksinfo"] = ksinfo;
  info["lifeline"] = lifeline;
  info["swversions"] = swversions;
  info["controlbits"] = controlbits;
  info["digest"] = "unsigned";
  return info;
}

Json::Value sampleHealth() {
  timeval now{};
  gettimeofday(&now, nullptr);
  const Json::Int64 seconds = now.tv_sec;
  // The agent's own writer spells "sucessful" while the probes read
  // "successful"; both spellings are written so either reader is served. The
  // Kestrel probe wants a number with a fraction, so that one is never whole.
  const double exact = static_cast<double>(now.tv_sec) - 0.5;

  Json::Value health(Json::objectValue);
  health["network_ok"] = 1;
  health["network_last_check_timestamp"] = exact;
  health["network_last_check_timestamp_int"] = seconds;
  health["network_last_sucessful_check_int"] = seconds;
  health["network_last_successful_check_int"] = seconds;
  health["network_last_check_pretty_timestamp"] = "2010-12-01 12:12:12";
  health["ethernet_ok"] = 1;
  health["ethernet_last_check_timestamp"] = exact;
  health["ethernet_last_sucessful_check"] = exact;
  health["ethernet_last_check_pretty_timestamp"] = "2010-12-01 12:12:12";
  health["kssi_ok"] = 1;
  health["kssi_last_sucessful_check"] = exact;
  health["kssi_last_successful_check"] = exact;
  health["kssi_last_check_timestamp"] = exact;
  health["kssi_last_check_pretty_timestamp"] = "2010-12-01 12:12:12";
  return health;
}

void writeStationFiles(const Json::Value& info, const Json::Value& health) {
  Json::StreamWriterBuilder styled;
  styled["indentation"] = "\t";
  writeFile(kStationInfoPath, Json::writeString(styled, info) + "\n");
  writeFile(kHealthPath, Json::writeString(styled, health) + "\n");
}

void removeStationFiles() {
  std::error_code ignored;
  fs::remove(kStationInfoPath, ignored);
  fs::remove(kHealthPath, ignored);
}

}  // namespace bk_test
