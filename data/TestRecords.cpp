#include "data/TestRecords.h"

std::atomic<bool> bPCalTestSubmitted{false};

CBKTestSpec::CBKTestSpec()
    : size(sizeof(CBKTestSpec)),
      lowerSpecLimit("NA"),
      upperSpecLimit("NA"),
      units("NA"),
      infoOnly(false),
      priority(BK_TRAX_PRIORITY_P0) {
  (void)size;
}

CBKTestResult::CBKTestResult() : size(sizeof(CBKTestResult)), result(BK_PASS), value(kValueNotSet) {
  (void)size;
}
