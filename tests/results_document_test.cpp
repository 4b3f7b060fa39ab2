// The results file: its text form, the check it must pass before hand-over,
// the character checks behind it, and the sample station files.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <sstream>
#include <string>

#include "data/ResultsDocument.h"
#include "data/ValueScanners.h"
#include "identity/Exceptions.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

const char* const kResultsPath = "/vault/data_collection/results.json";

// The exception text of a scanner over the whole text, or "" when it passes.
std::string complaint(void (*scanner)(const std::string&, size_t, size_t),
                      const std::string& text) {
  try {
    scanner(text, 0, text.size() - 1);
    return "";
  } catch (exception_with_string* e) {
    std::string message = e->getErrorMessage();
    delete e;
    return message;
  }
}

// Value alphabets are covered through BK_addResult; these are the checks only
// the results file uses.
TEST(ValueScannersTest, FirstBadPositionCountsFromOneAndAnEmptyTextFails) {
  EXPECT_EQ(complaint(verifyDateTimeStamp, "12:3x"),
            "12:3x: Illegal characters @position 5 is not a valid numeric value");
  // An empty text meets its terminator at once.
  EXPECT_EQ(complaint(verifyStationID, ""),
            "verifyStationID: Illegal characters @position 1 is not alphanumeric or _");
  EXPECT_NO_THROW(verifySetValueNumericPlusPeriod("x12y", 1, 2));  // only the range
  EXPECT_TRUE(validateDateTimeStampVal("99:99- 2010"));            // order is never looked at
  EXPECT_FALSE(validateDateTimeStampVal(""));
  EXPECT_TRUE(validateStationIDVal("TSTA_L07-FCT.1"));
  EXPECT_FALSE(validateStationIDVal("a b"));
}

// A finished document as commit writes it, before signing.
Json::Value finishedDocument() {
  Json::Value doc;
  Json::Reader().parse(R"({"blobs": [], "results": [{"test": "T", "result": "NA"}],
      "test_attributes": {"uut_start": "2024-01-02 03:04:05", "uut_stop": "2024-01-02 03:05:06",
        "unit_serial_number": "C0212ABCDEF", "test_result": "PASS",
        "pdata_not_sent_to_trax": [], "signature_version": "1"},
      "test_station_attributes": {"bk_version": "1.1.71", "station_id": "TSTA_L07_FCT_1",
        "mac_addr": "ff:ff:ff:ff:ff:ff", "station_name": "FCT", "limits_version": "L-9",
        "software_name": "sw", "software_version": "4.2"}})",
                       doc);
  return doc;
}

void writeDocument(const Json::Value& doc) {
  std::ostringstream text;
  Util_renderResultsJson(text, doc);
  writeFile(kResultsPath, text.str());
}

TEST(VerifyResultsTest, FinishedDocumentPassesAndEachCheckFailsWithItsOwnLine) {
  writeDocument(finishedDocument());
  EXPECT_TRUE(Util_verify_results_json(kResultsPath));
  // The signature version is named in a line but never demanded.
  Json::Value lax = finishedDocument();
  lax["test_attributes"]["signature_version"] = "";
  lax["test_attributes"]["test_result"] = "anything";
  writeDocument(lax);
  EXPECT_TRUE(Util_verify_results_json(kResultsPath));

  using Change = std::function<void(Json::Value&)>;
  const std::pair<Change, const char*> cases[] = {
      {[](Json::Value& d) {
         d = Json::Value(Json::objectValue);
         d["results"] = 1;
         d["x"] = 2;
       },
       "Total objects in the results json file are less than 3, see Bramblekit.log for error "},
      {[](Json::Value& d) { d["results"] = Json::Value(Json::arrayValue); },
       "Total test results are less than 1, see Bramblekit.log for errors"},
      {[](Json::Value& d) {
         d["test_attributes"].removeMember("uut_stop");
         d["test_attributes"].removeMember("test_result");
       },
       "Total test_attributes are less than 5, see Bramblekit.log for error"},
      {[](Json::Value& d) {
         for (const char* key : {"limits_version", "software_name", "software_version"}) {
           d["test_station_attributes"].removeMember(key);
         }
       },
       "Total test_station_attributes are less than 5, see Bramblekit.log for error"},
      {[](Json::Value& d) { d["test_attributes"]["uut_start"] = "2024/01/02"; },
       "uut_start time is NOT valid [2024/01/02]"},
      {[](Json::Value& d) { d["test_attributes"].removeMember("uut_stop"); },
       "uut_stop time is NOT valid[]"},
      {[](Json::Value& d) { d["test_station_attributes"]["station_id"] = "A B"; },
       "station_id time is NOT valid [A B]"},
      {[](Json::Value& d) { d["test_attributes"]["unit_serial_number"] = ""; },
       "signature_version or test_result or unit_serial_number time is NOT valid or empty []"},
      {[](Json::Value& d) { d["test_station_attributes"].removeMember("limits_version"); },
       "bk_version or limits_version or software_name or software_version is NOT valid or "
       "empty []"},
  };
  for (const auto& [change, line] : cases) {
    Json::Value doc = finishedDocument();
    change(doc);
    writeDocument(doc);
    size_t before = countLines(readLog(), line);
    EXPECT_FALSE(Util_verify_results_json(kResultsPath)) << line;
    EXPECT_EQ(countLines(readLog(), line), before + 1) << line;
  }

  // Unreadable input fails without throwing.
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
  Json::Value parsed;
  ASSERT_TRUE(Json::Reader().parse(info, parsed)) << info;
  EXPECT_EQ(parsed.getMemberNames().size(), 4u);  // unsigned
  EXPECT_EQ(parsed["ksinfo"].size(), 39u);
  EXPECT_EQ(parsed["lifeline"].size(), 16u);
  // Written in this order, one member a line, no blank around the colon.
  EXPECT_EQ(info.rfind("{\n\t\"ksinfo\":{\n\t\t\"SITE\":\"", 0), 0u) << info;
  EXPECT_LT(info.find("\"lifeline\""), info.find("\"swversions\""));
  EXPECT_NE(info.find("\n\t\t\"SFC_TIMEOUT\":15,\n"), std::string::npos);

  const std::string health = readFile(kHealthPath);
  ASSERT_TRUE(Json::Reader().parse(health, parsed)) << health;
  EXPECT_EQ(parsed.size(), 13u);
  EXPECT_TRUE(parsed.isMember("network_last_sucessful_check_int"));
  EXPECT_TRUE(parsed.isMember("kssi_last_sucessful_check"));

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
