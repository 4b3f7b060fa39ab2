#include "data/ValueScanners.h"

#include <string>

#include "data/TestRecords.h"
#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "identity/Exceptions.h"

namespace {

// The C locale's classes, spelled out so that a station that changes its
// locale does not change what the servers accept.
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool numericChar(char c) {
  return isDigit(c) || c == '.' || c == '-' || c == 'e' || c == '+' || c == 'E';
}
bool timeStampChar(char c) { return isDigit(c) || c == ':' || c == '-' || c == ' '; }
bool stationIDChar(char c) { return isDigit(c) || isAlpha(c) || c == '_' || c == '-' || c == '.'; }

template <typename Allowed>
void scan(const std::string& text, size_t first, size_t last, Allowed allowed, const char* prefix,
          const char* complaint) {
  for (size_t i = first; i <= last; ++i) {
    char c = i < text.size() ? text[i] : '\0';
    if (!allowed(c)) {
      throw new exception_with_string(std::string(prefix) + text + ": Illegal characters @" +
                                      "position " + std::to_string(i + 1) + complaint);
    }
    if (i == last) break;  // last may be the largest size_t
  }
}

// Scans the whole text.  An empty text scans from 0 towards the largest
// position and so meets the terminator at once.
size_t lastPosition(const std::string& text) { return text.size() - 1; }

}  // namespace

void verifySetValueNumericPlusPeriod(const std::string& text, size_t first, size_t last) {
  scan(text, first, last, numericChar, "", " is not a valid numeric value");
}

void verifyDateTimeStamp(const std::string& text, size_t first, size_t last) {
  scan(text, first, last, timeStampChar, "", " is not a valid numeric value");
}

void verifyStationID(const std::string& text, size_t first, size_t last) {
  scan(text, first, last, stationIDChar, "verifyStationID", " is not alphanumeric or _");
}

bool validateTestSpecVal(const std::string& text) {
  if (text == kValueNotSet) return true;
  try {
    verifySetValueNumericPlusPeriod(text, 0, lastPosition(text));
    return true;
  } catch (exception_with_string* e) {
    BK_LOG(kBlankUID, e->getErrorMessage());
    delete e;
  } catch (...) {
    BK_LOG_ERROR("validateTestSpecVal"
                 << ": Unhandled exception");
  }
  return false;
}

bool validateDateTimeStampVal(const std::string& text) {
  try {
    verifyDateTimeStamp(text, 0, lastPosition(text));
    return true;
  } catch (exception_with_string* e) {
    BK_LOG(kBlankUID, e->getErrorMessage());
    delete e;
  } catch (...) {
    BK_LOG_ERROR("validateDateTimeStampVal"
                 << ": Unhandled exception");
  }
  return false;
}

bool validateStationIDVal(const std::string& text) {
  try {
    verifyStationID(text, 0, lastPosition(text));
    return true;
  } catch (exception_with_string* e) {
    BK_LOG_ERROR("validateStationIDVal" << e->getErrorMessage());
    delete e;
  } catch (...) {
    BK_LOG_ERROR("validateStationIDVal"
                 << ": Unhandled exception");
  }
  return false;
}
