// Fixed paths and names shared by every part of the library.  The forwarding
// agent and the station-management agent rely on these exact places.  Plain
// constant texts, so that code running at library load may use them before
// any static object is constructed.
#ifndef BRAMBLEKIT_FOUNDATION_CONSTANTS_H_
#define BRAMBLEKIT_FOUNDATION_CONSTANTS_H_

#include <bramblekit/BramblekitVersion.h>

namespace bk {
inline constexpr const char* kLibraryVersion = BK_VERSION_STRING;
}  // namespace bk

inline constexpr const char* vaultRootPath = "/vault/";
inline constexpr const char* vaultuutdataPath = "/vault/data_collection/uut_data/";
inline constexpr const char* corruptuutdataPath = "/vault/data_collection/corrupt_uut_data/";
inline constexpr const char* vaultStationConfigPath = "/vault/data_collection/test_station_config/";
inline constexpr const char* ksinfo = "ks_station_info.json";
inline constexpr const char* stationHealthCheck = "station_health_check.json";
inline constexpr const char* ksstationinfoFilePath =
    "/vault/data_collection/test_station_config/ks_station_info.json";
inline constexpr const char* stationHealthCheckFilePath =
    "/vault/data_collection/test_station_config/station_health_check.json";
inline constexpr const char* tempFilesPath = "/tmp/";
inline constexpr const char* sfcstatusfilepath = "/tmp/sfcstatus";
inline constexpr const char* jsondbg = "/vault/data_collection/json.dbg";
inline constexpr const char* bramblekitLogFilePath = "/vault/Bramblekit.log";
inline constexpr const char* bramblekitVersionFile = "/tmp/bk_version";
// Built for the version check of the forwarding agent; this library never writes it.
inline constexpr const char* brambleVersionFile = "/tmp/bramble_version";
inline constexpr const char* uut_startTime = "uut_start";
inline constexpr const char* uut_stopTime = "uut_stop";
inline constexpr const char* platformPathSeparator = "/";
inline constexpr const char* blobsDirectoryName = "blobs";

// Holds the place of a session id in log lines written outside any session,
// laid out like a time stamp so the log's columns stay aligned.
inline constexpr const char* kBlankUID = "        -      .      ";

#endif  // BRAMBLEKIT_FOUNDATION_CONSTANTS_H_
