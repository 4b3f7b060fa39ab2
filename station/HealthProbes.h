// Health probes of the station.  They keep the exported names because their
// log lines name them; the exported functions wrap them.
#ifndef BRAMBLEKIT_STATION_HEALTHPROBES_H_
#define BRAMBLEKIT_STATION_HEALTHPROBES_H_

#include <string>

#include "foundation/Reply.h"

namespace probe {

// Each answers false on a failure and fills `reply` (when not NULL); lines
// are logged under `uid`.
bool BK_isEtherNetOK(const std::string& uid, CBKReply* reply);
bool BK_isNetWorkOK(const std::string& uid, CBKReply* reply);
bool BK_isKestrelOK(const std::string& uid, CBKReply* reply);
bool BK_isMartenRunning(const std::string& uid, CBKReply* reply);

}  // namespace probe

#endif  // BRAMBLEKIT_STATION_HEALTHPROBES_H_
