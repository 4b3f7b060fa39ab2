#include "foundation/TextScanners.h"

#include <sstream>

#include "foundation/TextError.h"

bool bkIsDigit(char c) { return c >= '0' && c <= '9'; }
bool bkIsAlpha(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool bkIsPrint(char c) { return c >= 0x20 && c <= 0x7e; }

namespace {

char charAt(const std::string& text, unsigned long i) { return i < text.size() ? text[i] : '\0'; }

// Runs the scan; `fail` builds and throws the exception for position i.
template <typename Accept, typename Fail>
void scan(const std::string& text, unsigned long first, unsigned long last, Accept accept,
          Fail fail) {
  for (unsigned long i = first; i <= last; ++i) {
    if (!accept(charAt(text, i))) fail(i);
    // The last position may be the largest unsigned value.
    if (i == last) break;
  }
}

template <typename Accept>
void scanBadFormat(const std::string& text, unsigned long first, unsigned long last, Accept accept,
                   const char* what) {
  scan(text, first, last, accept, [what](unsigned long i) {
    std::ostringstream message;
    message << "position " << i << what;
    throw new BK_SNException_badFormat(message.str());
  });
}

}  // namespace

void verifyChunkIsNumericOnly(std::string text, unsigned long first, unsigned long last) {
  scanBadFormat(text, first, last, bkIsDigit, " is not a number");
}

void verifyChunkIsAlphaOnly(std::string text, unsigned long first, unsigned long last) {
  scanBadFormat(text, first, last, bkIsAlpha, " is not a letter");
}

void verifyChunkIsAlphaNumeric(std::string text, unsigned long first, unsigned long last) {
  scanBadFormat(
      text, first, last, [](char c) { return bkIsDigit(c) || bkIsAlpha(c); },
      " is not alphanumeric");
}

void verifyChunkIsAscii(std::string text, unsigned long first, unsigned long last) {
  scanBadFormat(text, first, last, bkIsPrint, " is not an acceptable character");
}

void verifyAlphaNumericPlusPeriod(std::string text, unsigned long first, unsigned long last) {
  scan(
      text, first, last,
      [](char c) { return bkIsDigit(c) || bkIsAlpha(c) || c == '.' || c == '_' || c == '-'; },
      [](unsigned long i) {
        std::ostringstream message;
        // Stations read this one counting from 1; it names only the period.
        message << "Illegal characters in version attribute @"
                << "position " << i + 1 << " is not alphanumeric or '.' ";
        throw new exception_with_string(message.str());
      });
}

namespace {

// The servers accept these alphabets; the C locale's classes keep a station
// that changes its locale from changing them.
bool numericChar(char c) {
  return bkIsDigit(c) || c == '.' || c == '-' || c == 'e' || c == '+' || c == 'E';
}
bool timeStampChar(char c) { return bkIsDigit(c) || c == ':' || c == '-' || c == ' '; }
bool stationIDChar(char c) {
  return bkIsDigit(c) || bkIsAlpha(c) || c == '_' || c == '-' || c == '.';
}

template <typename Accept>
void scanValue(const std::string& text, size_t first, size_t last, Accept accept,
               const char* prefix, const char* complaint) {
  scan(text, first, last, accept, [&](unsigned long i) {
    throw new exception_with_string(std::string(prefix) + text + ": Illegal characters @" +
                                    "position " + std::to_string(i + 1) + complaint);
  });
}

}  // namespace

void verifySetValueNumericPlusPeriod(const std::string& text, size_t first, size_t last) {
  scanValue(text, first, last, numericChar, "", " is not a valid numeric value");
}

void verifyDateTimeStamp(const std::string& text, size_t first, size_t last) {
  scanValue(text, first, last, timeStampChar, "", " is not a valid numeric value");
}

void verifyStationID(const std::string& text, size_t first, size_t last) {
  scanValue(text, first, last, stationIDChar, "verifyStationID", " is not alphanumeric or _");
}
