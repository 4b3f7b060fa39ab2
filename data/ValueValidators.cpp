#include "data/ValueValidators.h"

#include <string>

#include "data/TestRecords.h"
#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "foundation/TextError.h"
#include "foundation/TextScanners.h"

namespace {

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
