// The exported setters of test specs and test results.  They are thin on
// purpose: a plain bool, no reply, no lock, no session.  Judging the contents
// is left to BK_addResult.
//
// The length argument is a cross-check of what the caller believes it passed,
// applied after the store: it never bounds the copy and a false return undoes
// nothing.
#include "data/TestRecords.h"
#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "interface/Bramblekit.h"

namespace {

CBKTestSpec* specOf(testSpecHandle handle) { return static_cast<CBKTestSpec*>(handle); }
CBKTestResult* resultOf(testResultHandle handle) { return static_cast<CBKTestResult*>(handle); }

// The text up to its terminating zero; NULL reads as empty.
std::string textOf(const char* text) { return text == nullptr ? std::string() : std::string(text); }

// Stores `text` with `set`, then cross-checks the stored length.
template <typename Record>
bool storeText(Record* record, void (Record::*set)(const std::string&),
               size_t (Record::*storedLength)() const, const char* text, size_t length) {
  if (record == nullptr) return false;
  (record->*set)(textOf(text));
  return (record->*storedLength)() == length;
}

}  // namespace

testSpecHandle BK_testSpec_create(void) { return new CBKTestSpec(); }

void BK_testSpec_destroy(testSpecHandle spec) { delete specOf(spec); }

bool BK_testSpec_setTestName(testSpecHandle spec, const char* text, size_t length) {
  return storeText(specOf(spec), &CBKTestSpec::setTestName, &CBKTestSpec::getTestNameLength, text,
                   length);
}

bool BK_testSpec_setSubTestName(testSpecHandle spec, const char* text, size_t length) {
  return storeText(specOf(spec), &CBKTestSpec::setSubTestName, &CBKTestSpec::getSubTestNameLength,
                   text, length);
}

bool BK_testSpec_setSubSubTestName(testSpecHandle spec, const char* text, size_t length) {
  return storeText(specOf(spec), &CBKTestSpec::setSubSubTestName,
                   &CBKTestSpec::getSubSubTestNameLength, text, length);
}

bool BK_testSpec_setUnits(testSpecHandle spec, const char* text, size_t length) {
  if (spec != nullptr && (text == nullptr || text[0] == '\0')) {
    // Not an error.  The line carries the record's test name where other
    // lines carry a session id: the record knows no session.
    BK_LOG(specOf(spec)->getTestName(), "NULL or empty string passed as Units");
  }
  return storeText(specOf(spec), &CBKTestSpec::setUnits, &CBKTestSpec::getUnitsLength, text,
                   length);
}

bool BK_testSpec_setLimits(testSpecHandle spec, const char* lower, size_t lowerLength,
                           const char* upper, size_t upperLength) {
  if (spec == nullptr) return false;
  CBKTestSpec* record = specOf(spec);
  record->setLowerSpecLimit(textOf(lower));
  record->setUpperSpecLimit(textOf(upper));
  if (lower == nullptr || upper == nullptr) return true;
  bool lowerEmpty = lower[0] == '\0';
  bool upperEmpty = upper[0] == '\0';
  if (lowerEmpty && upperEmpty) return true;
  if (upperEmpty) return record->getLowerSpecLimitLength() == lowerLength;
  // With two real limits only the upper length is cross-checked; stations
  // have always been answered that way.
  return record->getUpperSpecLimitLength() == upperLength;
}

bool BK_testSpec_setPriority(testSpecHandle spec, enum BK_TRAX_PRIORITY priority) {
  if (spec == nullptr) return false;
  if (priority == BK_TRAX_PRIORITY_AU && !bPCalTestSubmitted.exchange(true)) {
    BK_LOG(kBlankUID,
           "Please NOTE: priority submitted = -2, all other PData tests will NOT be "
           "submitted to TRAX.");
  }
  specOf(spec)->setPriority(priority);
  return specOf(spec)->getPriority() == priority;
}

bool BK_testSpec_setAsNonTestItem(testSpecHandle spec) {
  if (spec == nullptr) return false;
  specOf(spec)->setInfoOnly(true);
  return specOf(spec)->getInfoOnly();
}

testResultHandle BK_testResult_create(void) { return new CBKTestResult(); }

void BK_testResult_destroy(testResultHandle result) { delete resultOf(result); }

bool BK_testResult_setResult(testResultHandle result, enum BK_PASSFAILRESULT verdict) {
  if (result == nullptr) return false;
  resultOf(result)->setResult(verdict);
  return resultOf(result)->getResult() == verdict;
}

bool BK_testResult_setValue(testResultHandle result, const char* text, size_t length) {
  return storeText(resultOf(result), &CBKTestResult::setValue, &CBKTestResult::getValueLength, text,
                   length);
}

bool BK_testResult_setMessage(testResultHandle result, const char* text, size_t length) {
  return storeText(resultOf(result), &CBKTestResult::setMessage, &CBKTestResult::getMessageLength,
                   text, length);
}
