// Sample station files for a new station or a test bench.
#ifndef BRAMBLEKIT_STATION_STATIONFILEWRITERS_H_
#define BRAMBLEKIT_STATION_STATIONFILEWRITERS_H_

namespace stationfiles {

void CreateStationInfoFile();
void CreateStationHealthFile();

}  // namespace stationfiles

#endif  // BRAMBLEKIT_STATION_STATIONFILEWRITERS_H_
