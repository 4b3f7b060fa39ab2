// The results file: its text form, the check it must pass before hand-over,
// the character checks behind it, and the sample station files.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "data/ResultsDocument.h"
#include "data/ValueValidators.h"
#include "foundation/TextScanners.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

const char* const kResultsPath = "/vault/data_collection/results.json";

// Value alphabets are covered through BK_addResult; these are the checks only
// the results file uses.
TEST(ValueScannersTest, OnlyTheAlphabetCountsAndAnEmptyTextFailsAtItsEnd) {
  EXPECT_TRUE(validateDateTimeStampVal("99:99- 2010"));  // order is never looked at
  EXPECT_TRUE(validateStationIDVal("TSTA_L07-FCT.1"));
  EXPECT_FALSE(validateStationIDVal("a b"));
  EXPECT_FALSE(validateDateTimeStampVal(""));
  // An empty text meets its terminator at once, at position one.
  EXPECT_FALSE(validateStationIDVal(""));
  EXPECT_EQ(countLines(readLog(),
                       "validateStationIDValverifyStationID: Illegal characters "
                       "@position 1 is not alphanumeric or _"),
            1u);
  EXPECT_NO_THROW(verifySetValueNumericPlusPeriod("x12y", 1, 2));  // only the range
}

// Writes a finished document as commit writes it, before signing, with the
// members of `patch` set in it; a null member is removed.
void writeDocument(const char* patch = "{}") {
  Json::Value doc, changes;
  Json::Reader().parse(R"({"blobs": [], "results": [{"test": "T", "result": "NA"}],
      "test_attributes": {"uut_start": "2024-01-02 03:04:05", "uut_stop": "2024-01-02 03:05:06",
        "unit_serial_number": "C0212ABCDEF", "test_result": "PASS",
        "pdata_not_sent_to_trax": [], "signature_version": "1"},
      "test_station_attributes": {"bk_version": "1.1.71", "station_id": "TSTA_L07_FCT_1",
        "mac_addr": "ff:ff:ff:ff:ff:ff", "station_name": "FCT", "limits_version": "L-9",
        "software_name": "sw", "software_version": "4.2"}})",
                       doc);
  ASSERT_TRUE(Json::Reader().parse(patch, changes)) << patch;
  for (const std::string& section : changes.getMemberNames()) {
    const Json::Value& change = changes[section];
    if (change.isArray()) doc[section] = change;
    if (!change.isObject()) continue;
    for (const std::string& key : change.getMemberNames()) {
      if (change[key].isNull()) doc[section].removeMember(key);
      if (!change[key].isNull()) doc[section][key] = change[key];
    }
  }
  std::ostringstream text;
  Util_renderResultsJson(text, doc);
  writeFile(kResultsPath, text.str());
}

TEST(VerifyResultsTest, FinishedDocumentPassesAndEachCheckRefusesIt) {
  writeDocument();
  EXPECT_TRUE(Util_verify_results_json(kResultsPath));
  // The signature version is named in a line but never demanded.
  writeDocument(R"({"test_attributes": {"signature_version": "", "test_result": "anything"}})");
  EXPECT_TRUE(Util_verify_results_json(kResultsPath));

  for (const char* patch : {
           R"({"results": []})",
           R"({"test_attributes": {"uut_stop": null, "test_result": null}})",
           R"({"test_station_attributes": {"limits_version": null, "software_name": null,
                                           "software_version": null}})",
           R"({"test_attributes": {"uut_start": "2024/01/02"}})",
           R"({"test_attributes": {"uut_stop": null}})",
           R"({"test_station_attributes": {"station_id": "A B"}})",
           R"({"test_attributes": {"unit_serial_number": ""}})",
           R"({"test_station_attributes": {"limits_version": null}})",
       }) {
    writeDocument(patch);
    EXPECT_FALSE(Util_verify_results_json(kResultsPath)) << patch;
  }
  // Too few members, or unreadable input: refused without a throw.
  writeFile(kResultsPath, R"({"results": 1, "x": 2})");
  EXPECT_FALSE(Util_verify_results_json(kResultsPath));
  EXPECT_FALSE(Util_verify_results_json(nullptr));
  EXPECT_FALSE(Util_verify_results_json("/vault/no/such/results.json"));
  writeFile(kResultsPath, "{ \"results\": [ ");
  EXPECT_FALSE(Util_verify_results_json(kResultsPath));
}

// Sample station files written on a new station, then a session's document
// rendered as the forwarding agent reads it: sorted members, tab indents.
TEST(StationFileWritersTest, SamplesMakeAUsablePairAndTheDocumentRendersWithTabs) {
  removeStationFiles();
  std::filesystem::remove_all(kStationConfigDir);
  CreateStationInfoFile();
  CreateStationHealthFile();

  const std::string info = readFile(kStationInfoPath);
  EXPECT_EQ(parseFile(kStationInfoPath).getMemberNames().size(), 4u);  // unsigned
  // Written in this order, one member a line, no blank around the colon.
  EXPECT_EQ(info.rfind("{\n\t\"ksinfo\":{\n\t\t\"SITE\":\"", 0), 0u) << info;
  EXPECT_LT(info.find("\"lifeline\""), info.find("\"swversions\""));
  EXPECT_NE(info.find("\n\t\t\"SFC_TIMEOUT\":15,\n"), std::string::npos);
  const Json::Value health = parseFile(kHealthPath);
  EXPECT_EQ(health.size(), 13u);
  EXPECT_TRUE(health.isMember("network_last_sucessful_check_int"));
  EXPECT_TRUE(health.isMember("kssi_last_sucessful_check"));

  CUUT* uut = startSession();
  ASSERT_NE(uut, nullptr);
  std::ostringstream text;
  Util_renderResultsJson(text, uut->getRootJson());
  const std::string rendered = text.str();
  EXPECT_LT(rendered.find("\"blobs\""), rendered.find("\"results\""));
  EXPECT_LT(rendered.find("\"test_attributes\""), rendered.find("\"test_station_attributes\""));
  EXPECT_NE(rendered.find("\n\t\"blobs\" : "), std::string::npos) << rendered;
  EXPECT_NE(rendered.find("\n\t\t\"mac_addr\" : \"ff:ff:ff:ff:ff:ff\""), std::string::npos)
      << rendered;
  BK_UID_destroy(uut);
}

}  // namespace
