// One text of the station info file, by a fixed number, handed over in two
// calls: first the length, then the text into the caller's buffer.
#ifndef BRAMBLEKIT_STATION_STATIONINFOQUERY_H_
#define BRAMBLEKIT_STATION_STATIONINFOQUERY_H_

#include <string>

#include "foundation/Reply.h"

// The number of "STATION_TYPE", which the blob intake looks up.
inline constexpr int kStationInfoStationType = 9;

namespace stationinfo {

// Answers in `reply`; writes its own entry and exit lines under the exported
// name, since the blob intake asks through here too and log readers count
// them.
void BK_getKSStationInfo(const std::string& uid, int key, char** value, unsigned long long* length,
                         CBKReply* reply);

}  // namespace stationinfo

#endif  // BRAMBLEKIT_STATION_STATIONINFOQUERY_H_
