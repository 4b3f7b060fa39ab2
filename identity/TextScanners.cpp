#include "identity/TextScanners.h"

#include <sstream>

#include "identity/Exceptions.h"

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
