// Version checks of the station's software, under the exported names their
// log lines carry; the exported functions wrap them.
#ifndef BRAMBLEKIT_STATION_VERSIONCHECKS_H_
#define BRAMBLEKIT_STATION_VERSIONCHECKS_H_

#include <string>

#include "foundation/Reply.h"

namespace version {

bool BK_isStationSWVersionOK(const std::string& uid, CBKReply* reply);
bool BK_isMartenVersionOK(const std::string& uid, CBKReply* reply);
bool BK_isOtterVersionOK(const std::string& uid, CBKReply* reply);
// Compares the forwarding agent's version file with the minimum; NULL texts
// are allowed.
bool BK_checkMartenVersion(std::string* read, std::string* libraryVersion, std::string* required);

}  // namespace version

#endif  // BRAMBLEKIT_STATION_VERSIONCHECKS_H_
