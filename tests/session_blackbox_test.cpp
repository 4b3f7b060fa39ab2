// A whole unit session through the shared library alone, as a station runs
// it: from BK_UUTStart to the hand-over of a verified, signed results file.
#include <gtest/gtest.h>
#include <json/json.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "DevelopmentKeys.h"
#include "interface/Bramblekit.h"
#include "support/SignedStation.h"

using namespace bk_test;
namespace fs = std::filesystem;

namespace {

// The reply's error text, "" for success; the reply is freed.
std::string failure(BKReplyHandle reply) {
  std::string text = BK_success(reply) ? "" : std::string("failed: ") + BK_reply_getError(reply);
  BK_reply_destroy(reply);
  return text;
}

std::string addResult(UUTHandle unit, const char* name, BK_PASSFAILRESULT verdict) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, name, strlen(name));
  BK_testSpec_setLimits(spec, "1", 1, "5", 1);
  BK_testResult_setValue(result, "3.31", 4);
  BK_testResult_setResult(result, verdict);
  std::string text = failure(BK_addResult(unit, spec, result));
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
  return text;
}

TEST(SessionBlackboxTest, UnitGoesFromStartToSignedHandOver) {
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 3600);
  writeSignedStationFiles(info, sampleHealth());

  UUTHandle unit = nullptr;
  ASSERT_EQ(failure(BK_UUTStart(&unit)), "");
  EXPECT_EQ(failure(BK_addAttribute(unit, "serialnumber", "c0212abcdef")), "");
  EXPECT_EQ(failure(BK_addAttribute(unit, "softwarename", "blackbox-station")), "");
  EXPECT_EQ(failure(BK_addAttribute(unit, "softwareversion", "1.0.3")), "");
  EXPECT_EQ(addResult(unit, "voltage", BK_PASS), "");
  EXPECT_EQ(addResult(unit, "camera", BK_NA), "");
  EXPECT_EQ(failure(BK_addBlobData(unit, "trace.txt", "trace\n", 6)), "");
  EXPECT_EQ(failure(BK_amIOkay(unit, "C0212ABCDEF")), "");
  EXPECT_EQ(failure(BK_UUTDone(unit)), "");
  EXPECT_NE(addResult(unit, "late", BK_PASS), "") << "done closes the session to new results";
  EXPECT_EQ(failure(BK_UUTCommit(unit, BK_PASS)), "");
  BK_UID_destroy(unit);

  std::vector<fs::path> left;
  for (const auto& entry : fs::directory_iterator("/vault/data_collection/uut_data/")) {
    left.push_back(entry.path());
  }
  // The session ends as one UID.commit directory and nothing else.
  ASSERT_EQ(left.size(), 1u);
  ASSERT_EQ(left[0].extension(), ".commit");
  const std::string results = (left[0] / "results.Json").string();
  Json::Value document;
  ASSERT_TRUE(Json::Reader().parse(readFile(results), document));
  EXPECT_EQ(document["test_attributes"]["test_result"].asString(), "PASS");
  EXPECT_EQ(document["test_attributes"]["unit_serial_number"].asString(), "C0212ABCDEF");
  EXPECT_EQ(document["results"].size(), 2u);
  EXPECT_EQ(document["blobs"].size(), 1u);
  // Both signatures hold for the consumers' verifier program.
  const std::string verify = std::string("'") + BK_VERIFY_RESULTS_TOOL + "' '" +
                             BK_DEV_RESULTS_PUBLIC_KEY + "' '" + results + "'";
  const int status = std::system(verify.c_str());
  EXPECT_TRUE(status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0) << readFile(results);
}

}  // namespace
