// The rules of the fail policy side by side, so that none drifts from the
// others unnoticed: each reader of "lifeline" goes through one of them.
#include <gtest/gtest.h>

#include "foundation/FailPolicy.h"
#include "foundation/StationFiles.h"
#include "support/TestSupport.h"

namespace {

const char* const kKey = "BK_MSG_ERROR_INVALID_SERIAL_NUMBER";

struct Row {
  const char* name;
  Json::Value value;  // null member of `missing` stands for no entry
  bool missing;
  bool off;           // switchesOff
  bool classPassive;  // classPassive
  bool whenOne;       // activeWhenOne
  bool nonZero;       // activeWhenNonZero
};

TEST(FailPolicyRules, EveryEntryShapeUnderEveryRule) {
  const Row rows[] = {
      {"missing", Json::Value(), true, true, false, false, false},
      {"0", 0, false, false, true, false, false},
      {"1", 1, false, false, false, true, true},
      {"2", 2, false, true, false, false, true},
      {"-1", -1, false, true, false, false, true},
      {"1.0", 1.0, false, false, false, true, true},
      {"1.5", 1.5, false, false, false, true, true},
      {"true", true, false, false, false, true, true},
      {"text 1", "1", false, false, false, true, true},
      {"array", Json::Value(Json::arrayValue), false, false, false, true, true},
      {"null", Json::Value(), false, false, false, true, true},
  };
  for (const Row& row : rows) {
    Json::Value info = bk_test::sampleStationInfo();
    info["lifeline"] = Json::Value(Json::objectValue);
    if (!row.missing) info["lifeline"][kKey] = row.value;
    bk_test::writeStationFiles(info);
    getKSInfo()->refresh();
    EXPECT_EQ(FailPolicy::switchesOff(kKey), row.off) << row.name;
    EXPECT_EQ(FailPolicy::classPassive(kKey), row.classPassive) << row.name;
    EXPECT_EQ(FailPolicy::activeWhenOne(kKey), row.whenOne) << row.name;
    EXPECT_EQ(FailPolicy::activeWhenNonZero(kKey), row.nonZero) << row.name;
  }
}

}  // namespace
