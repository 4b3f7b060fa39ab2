// Character checks of the texts that go into the results document: numbers,
// time stamps and station ids.  Only the alphabet is checked, never order or
// range, so "e+-" passes as a number and "99:99-" as a time.
#ifndef BRAMBLEKIT_DATA_VALUESCANNERS_H_
#define BRAMBLEKIT_DATA_VALUESCANNERS_H_

#include <stddef.h>

#include <string>

// Scanners: return when positions first to last (both included) hold allowed
// characters, and throw a new exception_with_string at the first that does
// not.  A position past the text's end reads as its terminating zero, which no
// scanner allows, so an empty text always fails.
void verifySetValueNumericPlusPeriod(const std::string& text, size_t first, size_t last);
void verifyDateTimeStamp(const std::string& text, size_t first, size_t last);
void verifyStationID(const std::string& text, size_t first, size_t last);

// Validators over the whole text; a refusal is logged.
// True also for the sentinel of a value the station never set.
bool validateTestSpecVal(const std::string& text);
bool validateDateTimeStampVal(const std::string& text);
bool validateStationIDVal(const std::string& text);

#endif  // BRAMBLEKIT_DATA_VALUESCANNERS_H_
