// The exported setters of test specs and test results.  They are thin on
// purpose: a plain bool, no reply, no lock, no session.  Judging the contents
// is left to BK_addResult.
//
// A text comes with its length: at most that many bytes are read, and a zero
// byte before them ends the text, so a buffer without a terminator is never
// read past its end.  The length is then also the cross-check of what the
// caller believes it passed, applied after the store: a false return undoes
// nothing.
#include <string.h>

#include "data/TestRecords.h"
#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"

namespace {

CBKTestSpec* specOf(testSpecHandle handle) { return static_cast<CBKTestSpec*>(handle); }
CBKTestResult* resultOf(testResultHandle handle) { return static_cast<CBKTestResult*>(handle); }

// At most `length` bytes of `text`, up to a zero byte among them; NULL reads
// as empty.
std::string textOf(const char* text, size_t length) {
  return text == nullptr ? std::string() : std::string(text, strnlen(text, length));
}

// Stores `text` with `set`, then cross-checks the stored length.
template <typename Record>
bool storeText(Record* record, void (Record::*set)(const std::string&),
               size_t (Record::*storedLength)() const, const char* text, size_t length) {
  if (record == nullptr) return false;
  (record->*set)(textOf(text, length));
  return (record->*storedLength)() == length;
}

}  // namespace

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

testSpecHandle BK_testSpec_create(void) {
  CBKTestSpec* spec = new CBKTestSpec();
  bkHandleAdd(spec, BKHandleKind::TestSpec);
  return spec;
}

void BK_testSpec_destroy(testSpecHandle spec) {
  bkHandleRemove(spec, BKHandleKind::TestSpec);
  delete specOf(spec);
}

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
  if (spec != nullptr && textOf(text, length).empty()) {
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
  const std::string lowerText = textOf(lower, lowerLength);
  const std::string upperText = textOf(upper, upperLength);
  record->setLowerSpecLimit(lowerText);
  record->setUpperSpecLimit(upperText);
  if (lower == nullptr || upper == nullptr) return true;
  bool lowerEmpty = lowerText.empty();
  bool upperEmpty = upperText.empty();
  if (lowerEmpty && upperEmpty) return true;
  if (upperEmpty) return record->getLowerSpecLimitLength() == lowerLength;
  // With two real limits only the upper length is cross-checked; stations
  // rely on the lower length not being checked.
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

testResultHandle BK_testResult_create(void) {
  CBKTestResult* result = new CBKTestResult();
  bkHandleAdd(result, BKHandleKind::TestResult);
  return result;
}

void BK_testResult_destroy(testResultHandle result) {
  bkHandleRemove(result, BKHandleKind::TestResult);
  delete resultOf(result);
}

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

}  // namespace unguarded

namespace {

testSpecHandle liveSpec(testSpecHandle spec) { return bkLive(spec, BKHandleKind::TestSpec); }
testResultHandle liveResult(testResultHandle result) {
  return bkLive(result, BKHandleKind::TestResult);
}

}  // namespace

testSpecHandle BK_testSpec_create(void) {
  return bkGuardValue<testSpecHandle>(
      __func__, nullptr, [] { return unguarded::BK_testSpec_create(); }, BKLogAtExit::Hold);
}

void BK_testSpec_destroy(testSpecHandle spec) {
  bkGuardVoid(
      __func__, [&] { unguarded::BK_testSpec_destroy(liveSpec(spec)); }, BKLogAtExit::Hold);
}

bool BK_testSpec_setTestName(testSpecHandle spec, const char* text, size_t length) {
  return bkGuard(
      __func__, nullptr,
      [&] { return unguarded::BK_testSpec_setTestName(liveSpec(spec), text, length); },
      BKLogAtExit::Hold);
}

bool BK_testSpec_setSubTestName(testSpecHandle spec, const char* text, size_t length) {
  return bkGuard(
      __func__, nullptr,
      [&] { return unguarded::BK_testSpec_setSubTestName(liveSpec(spec), text, length); },
      BKLogAtExit::Hold);
}

bool BK_testSpec_setSubSubTestName(testSpecHandle spec, const char* text, size_t length) {
  return bkGuard(
      __func__, nullptr,
      [&] { return unguarded::BK_testSpec_setSubSubTestName(liveSpec(spec), text, length); },
      BKLogAtExit::Hold);
}

bool BK_testSpec_setUnits(testSpecHandle spec, const char* text, size_t length) {
  return bkGuard(
      __func__, nullptr,
      [&] { return unguarded::BK_testSpec_setUnits(liveSpec(spec), text, length); },
      BKLogAtExit::Hold);
}

bool BK_testSpec_setLimits(testSpecHandle spec, const char* lower, size_t lowerLength,
                           const char* upper, size_t upperLength) {
  return bkGuard(
      __func__, nullptr,
      [&] {
        return unguarded::BK_testSpec_setLimits(liveSpec(spec), lower, lowerLength, upper,
                                                upperLength);
      },
      BKLogAtExit::Hold);
}

bool BK_testSpec_setPriority(testSpecHandle spec, enum BK_TRAX_PRIORITY priority) {
  return bkGuard(
      __func__, nullptr,
      [&, raw = static_cast<int>(priority)] {
        return unguarded::BK_testSpec_setPriority(liveSpec(spec),
                                                  static_cast<BK_TRAX_PRIORITY>(raw));
      },
      BKLogAtExit::Hold);
}

bool BK_testSpec_setAsNonTestItem(testSpecHandle spec) {
  return bkGuard(
      __func__, nullptr, [&] { return unguarded::BK_testSpec_setAsNonTestItem(liveSpec(spec)); },
      BKLogAtExit::Hold);
}

testResultHandle BK_testResult_create(void) {
  return bkGuardValue<testResultHandle>(
      __func__, nullptr, [] { return unguarded::BK_testResult_create(); }, BKLogAtExit::Hold);
}

void BK_testResult_destroy(testResultHandle result) {
  bkGuardVoid(
      __func__, [&] { unguarded::BK_testResult_destroy(liveResult(result)); }, BKLogAtExit::Hold);
}

bool BK_testResult_setResult(testResultHandle result, enum BK_PASSFAILRESULT verdict) {
  return bkGuard(
      __func__, nullptr,
      [&, raw = static_cast<int>(verdict)] {
        return unguarded::BK_testResult_setResult(liveResult(result),
                                                  static_cast<BK_PASSFAILRESULT>(raw));
      },
      BKLogAtExit::Hold);
}

bool BK_testResult_setValue(testResultHandle result, const char* text, size_t length) {
  return bkGuard(
      __func__, nullptr,
      [&] { return unguarded::BK_testResult_setValue(liveResult(result), text, length); },
      BKLogAtExit::Hold);
}

bool BK_testResult_setMessage(testResultHandle result, const char* text, size_t length) {
  return bkGuard(
      __func__, nullptr,
      [&] { return unguarded::BK_testResult_setMessage(liveResult(result), text, length); },
      BKLogAtExit::Hold);
}
