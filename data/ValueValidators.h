// Checks of the texts that go into the results document: numbers, time
// stamps and station ids, by the scanners of foundation/TextScanners.h.
#ifndef BRAMBLEKIT_DATA_VALUEVALIDATORS_H_
#define BRAMBLEKIT_DATA_VALUEVALIDATORS_H_

#include <string>

// Validators over the whole text; a refusal is logged.
// True also for the sentinel of a value the station never set.
bool validateTestSpecVal(const std::string& text);
bool validateDateTimeStampVal(const std::string& text);
bool validateStationIDVal(const std::string& text);

#endif  // BRAMBLEKIT_DATA_VALUEVALIDATORS_H_
