// Character-class scanners over positions first..last (inclusive) of a text.
// Each returns normally when every character passes and throws, by pointer,
// at the first one that does not; the catcher deletes the exception.
//
// Classes are those of the C locale whatever the process's locale: a byte
// with the high bit set belongs to none of them.  A position at or past the
// end reads as the terminating NUL, which no class accepts, so a scan whose
// last position lies beyond the text stops there.
#ifndef BRAMBLEKIT_FOUNDATION_TEXTSCANNERS_H_
#define BRAMBLEKIT_FOUNDATION_TEXTSCANNERS_H_

#include <stddef.h>

#include <string>

// Throw BK_SNException_badFormat; the message counts positions from 0.
void verifyChunkIsNumericOnly(std::string text, unsigned long first, unsigned long last);
void verifyChunkIsAlphaOnly(std::string text, unsigned long first, unsigned long last);
void verifyChunkIsAlphaNumeric(std::string text, unsigned long first, unsigned long last);
void verifyChunkIsAscii(std::string text, unsigned long first, unsigned long last);
// Letters, digits, '.', '_' and '-'.  Throws a plain exception_with_string
// whose message counts positions from 1.
void verifyAlphaNumericPlusPeriod(std::string text, unsigned long first, unsigned long last);

// The scanners of the texts that go into the results document: numbers,
// time stamps and station ids.  Only the alphabet is checked, never order or
// range, so "e+-" passes as a number and "99:99-" as a time.  They throw a
// plain exception_with_string whose message counts positions from 1.
void verifySetValueNumericPlusPeriod(const std::string& text, size_t first, size_t last);
void verifyDateTimeStamp(const std::string& text, size_t first, size_t last);
void verifyStationID(const std::string& text, size_t first, size_t last);

// The C-locale classes, for the validators that test single positions.
bool bkIsDigit(char c);
bool bkIsAlpha(char c);
bool bkIsPrint(char c);

#endif  // BRAMBLEKIT_FOUNDATION_TEXTSCANNERS_H_
