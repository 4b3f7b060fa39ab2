// The two records a station fills for one test: what was measured and with
// which limits (CBKTestSpec), and what came out (CBKTestResult).  They belong
// to the station, not to a session; BK_addResult copies what it needs.
#ifndef BRAMBLEKIT_DATA_TESTRECORDS_H_
#define BRAMBLEKIT_DATA_TESTRECORDS_H_

#include <stddef.h>
#include <stdint.h>

#include <atomic>
#include <string>

#include "interface/Bramblekit.h"

// The value a result holds until the station sets one: it marks a pass/fail
// record, never a measurement.
inline constexpr const char* kValueNotSet = "StationDidNotCallSetValue";

class CBKTestSpec {
 public:
  CBKTestSpec();

  std::string getTestName() const { return testName; }
  std::string getSubTestName() const { return subTestName; }
  std::string getSubSubTestName() const { return subSubTestName; }
  std::string getLowerSpecLimit() const { return lowerSpecLimit; }
  std::string getUpperSpecLimit() const { return upperSpecLimit; }
  std::string getUnits() const { return units; }
  size_t getTestNameLength() const { return testName.size(); }
  size_t getSubTestNameLength() const { return subTestName.size(); }
  size_t getSubSubTestNameLength() const { return subSubTestName.size(); }
  size_t getLowerSpecLimitLength() const { return lowerSpecLimit.size(); }
  size_t getUpperSpecLimitLength() const { return upperSpecLimit.size(); }
  size_t getUnitsLength() const { return units.size(); }
  // Kept as plain integers: stations pass values outside the enumerations.
  int32_t getPriority() const { return priority; }
  bool getInfoOnly() const { return infoOnly; }

  // Read-only views for the intake path, which would otherwise copy every
  // text of every result.
  const std::string& testNameRef() const { return testName; }
  const std::string& subTestNameRef() const { return subTestName; }
  const std::string& subSubTestNameRef() const { return subSubTestName; }
  const std::string& lowerSpecLimitRef() const { return lowerSpecLimit; }
  const std::string& upperSpecLimitRef() const { return upperSpecLimit; }
  const std::string& unitsRef() const { return units; }

  void setTestName(const std::string& text) { testName = text; }
  void setSubTestName(const std::string& text) { subTestName = text; }
  void setSubSubTestName(const std::string& text) { subSubTestName = text; }
  // Units and limits are never empty: an empty text stores "NA".
  void setLowerSpecLimit(const std::string& text) { lowerSpecLimit = text.empty() ? "NA" : text; }
  void setUpperSpecLimit(const std::string& text) { upperSpecLimit = text.empty() ? "NA" : text; }
  void setUnits(const std::string& text) { units = text.empty() ? "NA" : text; }
  // No range check: an unknown priority is kept and filtered later.
  void setPriority(int32_t value) { priority = value; }
  void setInfoOnly(bool value) { infoOnly = value; }

 private:
  size_t size;
  std::string testName;
  std::string subTestName;
  std::string subSubTestName;
  std::string lowerSpecLimit;
  std::string upperSpecLimit;
  std::string reservedText;
  std::string units;
  bool infoOnly;
  int32_t priority;
};

class CBKTestResult {
 public:
  CBKTestResult();

  int32_t getResult() const { return result; }
  std::string getValue() const { return value; }
  std::string getMessage() const { return message; }
  size_t getValueLength() const { return value.size(); }
  size_t getMessageLength() const { return message.size(); }
  const std::string& valueRef() const { return value; }
  const std::string& messageRef() const { return message; }

  void setResult(int32_t verdict) { result = verdict; }
  void setValue(const std::string& text) { value = text; }
  void setMessage(const std::string& text) { message = text; }

 private:
  size_t size;
  int32_t result;
  std::string value;
  std::string message;
};

// Set by the first spec given priority -2, so that the note about it is
// logged once per process.  Never reset.
extern std::atomic<bool> bPCalTestSubmitted;

#endif  // BRAMBLEKIT_DATA_TESTRECORDS_H_
