#include "data/ValueScanners.h"

#include <string>

#include "data/TestRecords.h"
#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "identity/Exceptions.h"
#include "identity/TextScanners.h"

namespace {

// The C locale's classes, so that a station that changes its locale does not
// change what the servers accept.
bool numericChar(char c) {
  return bkIsDigit(c) || c == '.' || c == '-' || c == 'e' || c == '+' || c == 'E';
}
bool timeStampChar(char c) { return bkIsDigit(c) || c == ':' || c == '-' || c == ' '; }
bool stationIDChar(char c) {
  return bkIsDigit(c) || bkIsAlpha(c) || c == '_' || c == '-' || c == '.';
}

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

// Scans the whole text with `verify`; a refusal is logged, under the caller's
// name, as a line of no session.
bool scanWhole(void (*verify)(const std::string&, size_t, size_t), const std::string& text,
               const char* function) {
  try {
    verify(text, 0, lastPosition(text));
    return true;
  } catch (exception_with_string* e) {
    bkLogSessionLine(kBlankUID, function, e->getErrorMessage());
    delete e;
  } catch (...) {
    bkLogErrorLine(__FILE__, __LINE__, function, std::string(function) + ": Unhandled exception");
  }
  return false;
}

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
  return scanWhole(verifySetValueNumericPlusPeriod, text, __FUNCTION__);
}

bool validateDateTimeStampVal(const std::string& text) {
  return scanWhole(verifyDateTimeStamp, text, __FUNCTION__);
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
