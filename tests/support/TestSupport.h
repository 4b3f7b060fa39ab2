// Helpers shared by every test program: file access, the library's log, and
// a pair of station files that let a session run.
//
// Every test process runs inside bk-hermetic, so /vault and /tmp here are
// private, empty tmpfs mounts and these helpers may write there freely.
#ifndef BRAMBLEKIT_TESTS_SUPPORT_TESTSUPPORT_H_
#define BRAMBLEKIT_TESTS_SUPPORT_TESTSUPPORT_H_

#include <json/json.h>

#include <cstddef>
#include <string>

namespace bk_test {

inline constexpr const char* kLogPath = "/vault/Bramblekit.log";
inline constexpr const char* kStationConfigDir = "/vault/data_collection/test_station_config/";
inline constexpr const char* kStationInfoPath =
    "/vault/data_collection/test_station_config/ks_station_info.json";
inline constexpr const char* kHealthPath =
    "/vault/data_collection/test_station_config/station_health_check.json";

// Whole content of a file; throws std::runtime_error if it cannot be read, so
// a missing file fails the test instead of reading as empty.
std::string readFile(const std::string& path);
bool fileExists(const std::string& path);
// Replaces the file, creating missing parent directories; throws on failure.
void writeFile(const std::string& path, const std::string& text);

// The library's log, or "" while no log has been written.
std::string readLog();
// Number of lines of `text` that contain `needle`.
std::size_t countLines(const std::string& text, const std::string& needle);

// A complete station info document as a station receives it, still unsigned.
// Every message of the library's table is ACTIVE in its "lifeline" policy, and
// the background shop-floor unit check is switched off.
Json::Value sampleStationInfo();
// A health document that every health probe accepts: all checks ok, and the
// time stamps the probes read set to now.
Json::Value sampleHealth();

// Writes both station files as styled JSON under the station config directory.
// The station info file stays unsigned: support/SignedStation.h signs it.
void writeStationFiles(const Json::Value& info = sampleStationInfo(),
                       const Json::Value& health = sampleHealth());
void removeStationFiles();

}  // namespace bk_test

#endif  // BRAMBLEKIT_TESTS_SUPPORT_TESTSUPPORT_H_
