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

#include "DevelopmentKeys.h"
#include "interface/Bramblekit.h"
#include "support/SignedStation.h"
#include "support/TestSupport.h"

using namespace bk_test;
namespace fs = std::filesystem;

namespace {

bool succeeds(BKReplyHandle reply, std::string* text = nullptr) {
  bool ok = BK_success(reply);
  if (text != nullptr) *text = BK_reply_getError(reply);
  BK_reply_destroy(reply);
  return ok;
}

void addResult(UUTHandle unit, const char* name, BK_PASSFAILRESULT verdict, const char* value) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, name, strlen(name));
  BK_testSpec_setPriority(spec, BK_TRAX_PRIORITY_P0);
  if (value != nullptr) {
    BK_testSpec_setLimits(spec, "1", 1, "5", 1);
    BK_testSpec_setUnits(spec, "V", 1);
    BK_testResult_setValue(result, value, strlen(value));
  }
  BK_testResult_setResult(result, verdict);
  std::string text;
  EXPECT_TRUE(succeeds(BK_addResult(unit, spec, result), &text)) << name << ": " << text;
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
}

// The consumers' verifier program, on the development results key.
bool verifyResultsSignatures(const std::string& path) {
  std::string command = std::string("'") + BK_VERIFY_RESULTS_TOOL + "' '" +
                        BK_DEV_RESULTS_PUBLIC_KEY + "' '" + path + "'";
  int status = std::system(command.c_str());
  return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::string committedDirectory() {
  for (const fs::directory_entry& entry :
       fs::directory_iterator("/vault/data_collection/uut_data/")) {
    if (entry.path().extension() == ".commit") return entry.path().string();
  }
  return "";
}

TEST(SessionBlackboxTest, UnitGoesFromStartToSignedHandOver) {
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 3600);
  writeSignedStationFiles(info, sampleHealth());

  UUTHandle unit = nullptr;
  ASSERT_TRUE(succeeds(BK_UUTStart(&unit)));
  ASSERT_NE(unit, nullptr);
  std::string text;
  EXPECT_TRUE(succeeds(BK_addAttribute(unit, "serialnumber", "c0212abcdef"), &text)) << text;
  EXPECT_TRUE(succeeds(BK_addAttribute(unit, "softwarename", "blackbox-station")));
  EXPECT_TRUE(succeeds(BK_addAttribute(unit, "softwareversion", "1.0.3")));
  EXPECT_TRUE(succeeds(BK_addAttribute(unit, "limitsversion", "LIM-3")));
  addResult(unit, "voltage", BK_PASS, "3.31");
  addResult(unit, "current", BK_PASS, "0.42");
  addResult(unit, "buttons", BK_PASS, nullptr);
  addResult(unit, "camera", BK_NA, nullptr);
  EXPECT_TRUE(succeeds(BK_addBlobData(unit, "trace.txt", "trace\n", 6), &text)) << text;
  EXPECT_TRUE(succeeds(BK_amIOkay(unit, "C0212ABCDEF"), &text)) << text;

  EXPECT_TRUE(succeeds(BK_UUTDone(unit), &text)) << text;
  // Done closes the session to new results.
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle late = BK_testResult_create();
  BK_testSpec_setTestName(spec, "late", 4);
  BK_testResult_setResult(late, BK_PASS);
  EXPECT_FALSE(succeeds(BK_addResult(unit, spec, late)));
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(late);
  EXPECT_EQ(committedDirectory(), "");

  EXPECT_TRUE(succeeds(BK_UUTCommit(unit, BK_PASS), &text)) << text;
  BK_UID_destroy(unit);

  std::string directory = committedDirectory();
  ASSERT_NE(directory, "");
  std::string results = directory + "/results.Json";
  ASSERT_TRUE(fileExists(results));
  Json::Value document;
  Json::Reader reader;
  ASSERT_TRUE(reader.parse(readFile(results), document));
  const Json::Value& attributes = document["test_attributes"];
  EXPECT_EQ(attributes["test_result"].asString(), "PASS");
  EXPECT_EQ(attributes["unit_serial_number"].asString(), "C0212ABCDEF");
  EXPECT_EQ(attributes["signature_version"].asString(), "1");
  EXPECT_EQ(document["results"].size(), 4u);
  EXPECT_EQ(document["blobs"].size(), 1u);
  EXPECT_TRUE(verifyResultsSignatures(results)) << readFile(results);
  // Nothing of the session is left under another name.
  EXPECT_FALSE(fs::exists(directory.substr(0, directory.size() - 7) + ".did"));
}

}  // namespace
