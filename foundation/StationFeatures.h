// Feature switches of the station info file ("ON" / "OFF" under "ksinfo").
#ifndef BRAMBLEKIT_FOUNDATION_STATIONFEATURES_H_
#define BRAMBLEKIT_FOUNDATION_STATIONFEATURES_H_

#include <string>

// True only for the exact string "ON".
bool Util_featureON(const std::string& name);
// True for the exact string "OFF", and for a value that is not a string at
// all; a missing key is neither on nor off.
bool Util_featureOFF(const std::string& name);

#endif  // BRAMBLEKIT_FOUNDATION_STATIONFEATURES_H_
