// Station info files signed like the station-management agent signs them, with
// the development station key that this build embeds (cmake/Keys.cmake).  The
// signing runs the tool tools/sign_station_info, so black-box tests can use it
// as well.  Each helper throws std::runtime_error when signing fails, or when
// the build embeds a deployment's station key whose private half is unknown
// (hasDevelopmentStationKey() tells beforehand).
#ifndef BRAMBLEKIT_TESTS_SUPPORT_SIGNEDSTATION_H_
#define BRAMBLEKIT_TESTS_SUPPORT_SIGNEDSTATION_H_

#include <json/json.h>

#include <string>

#include "support/TestSupport.h"

namespace bk_test {

// False when the build embeds a deployment's station key: no test can sign.
bool hasDevelopmentStationKey();

// Writes both station files, the station info file signed under `version`
// ("1" or "2").  SIGNATURE_VERSION in ksinfo is set to `version`; for "2" a
// missing kestrel_day becomes {"event_timestamp": 1}.  Nothing else is added:
// done also needs ksinfo.SIGNATURE_EXPIRATION under version 1.
void writeSignedStationFiles(const Json::Value& info = sampleStationInfo(),
                             const Json::Value& health = sampleHealth(),
                             const std::string& version = "1");

// Signs the station info file at `path` in place, under `version`, or under its
// own ksinfo.SIGNATURE_VERSION when `version` is empty.  Only "signature" and
// "digest" change; every other byte stays.
void signStationInfoFile(const std::string& path = kStationInfoPath,
                         const std::string& version = "");

// Runs the signing tool with any arguments; gives its exit status.
int runStationInfoSigner(const std::string& keyPath, const std::string& path,
                         const std::string& version);

// The development station private key, "" when there is none.
std::string developmentStationKey();

}  // namespace bk_test

#endif  // BRAMBLEKIT_TESTS_SUPPORT_SIGNEDSTATION_H_
