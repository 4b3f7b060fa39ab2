// Test specs and test results: the length cross-check applied after the
// store, and the "NA" rule of units and limits.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "data/TestRecords.h"
#include "interface/Bramblekit.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

class TestRecordsTest : public ::testing::Test {
 protected:
  void TearDown() override {
    BK_testSpec_destroy(spec_);
    BK_testResult_destroy(result_);
  }
  CBKTestSpec* spec() { return static_cast<CBKTestSpec*>(spec_); }
  CBKTestResult* result() { return static_cast<CBKTestResult*>(result_); }

  testSpecHandle spec_ = BK_testSpec_create();
  testResultHandle result_ = BK_testResult_create();
};

TEST_F(TestRecordsTest, DefaultsAndTheLengthThatBoundsTheTextAndChecksIt) {
  // What an untouched record puts in the document.
  EXPECT_EQ(spec()->getLowerSpecLimit() + spec()->getUpperSpecLimit() + spec()->getUnits(),
            "NANANA");
  EXPECT_EQ(spec()->getPriority(), 0);
  EXPECT_TRUE(BK_testSpec_setPriority(spec_, static_cast<BK_TRAX_PRIORITY>(77)));  // unchecked
  EXPECT_EQ(spec()->getPriority(), 77);
  EXPECT_EQ(result()->getResult(), BK_PASS);
  EXPECT_EQ(result()->getValue(), "StationDidNotCallSetValue");

  EXPECT_TRUE(BK_testSpec_setTestName(spec_, nullptr, 0));
  // The length bounds the read, and is then the cross-check.
  EXPECT_TRUE(BK_testSpec_setTestName(spec_, "ABC", 2));
  EXPECT_EQ(spec()->getTestName(), "AB");
  EXPECT_FALSE(BK_testSpec_setSubTestName(spec_, "A\0B", 3));  // stops at the zero
  EXPECT_EQ(spec()->getSubTestName(), "A");
  EXPECT_TRUE(BK_testResult_setValue(result_, nullptr, 0));  // replaces the sentinel
  EXPECT_EQ(result()->getValue(), "");
  EXPECT_FALSE(BK_testResult_setMessage(result_, "why", 99));
  EXPECT_EQ(result()->getMessage(), "why");

  // Empty units become "NA", noted under the test name where lines carry a session id.
  BK_testSpec_setTestName(spec_, "Ripple", 6);
  EXPECT_TRUE(BK_testSpec_setUnits(spec_, "mV", 2));
  EXPECT_FALSE(BK_testSpec_setUnits(spec_, "", 0));
  EXPECT_EQ(spec()->getUnits(), "NA");
  EXPECT_TRUE(BK_testSpec_setUnits(spec_, nullptr, 2));
  EXPECT_EQ(countLines(readLog(),
                       "[Ripple - BK_testSpec_setUnits]: NULL or empty string passed as Units"),
            2u);
}

TEST_F(TestRecordsTest, LimitsAreStoredFirstAndThenCrossChecked) {
  // Lower, its length, upper, its length, the answer, and what is stored.
  const std::tuple<const char*, size_t, const char*, size_t, bool, const char*> rows[] = {
      {nullptr, 0, "5", 999, true, "NA 5"},  // a NULL side skips the check
      {"1", 999, nullptr, 7, true, "1 NA"}, {"", 7, "", 9, true, "NA NA"},
      {"1", 1, "", 0, true, "1 NA"},        {"1", 2, "", 0, false, "1 NA"},
      {"", 0, "5", 1, true, "NA 5"},        {"", 0, "5", 2, false, "NA 5"},
      {"1", 999, "5", 1, true, "1 5"},  // only the upper length counts
      {"1", 1, "5", 999, false, "1 5"},
  };
  for (const auto& [lower, lowerLength, upper, upperLength, answer, stored] : rows) {
    BK_testSpec_setLimits(spec_, "old", 3, "old", 3);
    EXPECT_EQ(BK_testSpec_setLimits(spec_, lower, lowerLength, upper, upperLength), answer)
        << stored;
    EXPECT_EQ(spec()->getLowerSpecLimit() + " " + spec()->getUpperSpecLimit(), stored);
  }
}

}  // namespace
