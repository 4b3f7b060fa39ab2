// The results file: its text form, the check it must pass before hand-over,
// the character checks behind it, and the sample station files.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

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

// A session's file as written, and the same file with one byte changed
// inside a value: still JSON, still passing every check, but not what was
// written.
TEST(VerifyResultsTest, WrittenFileMustHoldExactlyTheRenderedBytes) {
  writeDocument();
  const std::string text = readFile(kResultsPath);
  Json::Value document;
  ASSERT_TRUE(Json::Reader().parse(text, document));
  ASSERT_TRUE(Util_resultsRenderRoundTrips(document, text));
  EXPECT_TRUE(Util_verify_results_written(kResultsPath, text, &document));

  std::string altered = text;
  altered[altered.find("C0212ABCDEF") + 3] = 'X';
  for (const std::string& onDisk : {altered, text.substr(0, text.size() - 1), text + "\n"}) {
    writeFile(kResultsPath, onDisk);
    EXPECT_FALSE(Util_verify_results_written(kResultsPath, text, &document)) << onDisk.size();
  }
  // Without the document the file is parsed: the altered one passes that.
  writeFile(kResultsPath, altered);
  EXPECT_TRUE(Util_verify_results_written(kResultsPath, text, nullptr));
  // The document is checked as the file would be.
  writeFile(kResultsPath, text);
  document["test_attributes"]["uut_stop"] = "";
  EXPECT_FALSE(Util_verify_results_written(kResultsPath, text, &document));
}

Json::Value parsed(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value, false)) << text;
  return value;
}

std::string rendered(const Json::Value& document) {
  std::ostringstream out;
  Util_renderResultsJson(out, document);
  return out.str();
}

// The signed file as parse-and-render made it: the text parsed, the members
// set in its test_attributes, all rendered again.
std::string parsedAndRendered(const std::string& text, const Json::Value& members) {
  Json::Value root = parsed(text);
  for (const std::string& name : members.getMemberNames()) {
    root["test_attributes"][name] = members[name];
  }
  return rendered(root);
}

// Documents around the section that signing patches: its neighbours, keys
// that sort next to the inserted ones, every kind of value and text the
// renderer escapes.
std::vector<Json::Value> oddDocuments() {
  const char* const texts[] = {
      R"({"blobs": [], "results": [{"test": "T", "value": "3.3", "result": "PASS"}],
          "test_attributes": {"pdata_not_sent_to_trax": ["3", "4"], "signature_version": "2",
                              "test_result": "PASS", "uut_start": "2024-01-02 03:04:05"},
          "test_station_attributes": {"station_id": "S1", "mac_addr": "ff"}})",
      R"({"results": [1], "test_attributes": {"ocelot_signaturd": "a", "ocelot_signaturf": "b",
          "otter_signature": "old", "otter_signaturf": "c", "signature_versio": "d",
          "signature_version0": "e", "": "empty key", "~": "tilde"}})",
      R"({"results": [], "test_attributes": {"a": 1}, "test_station_attributes": {},
          "u": [{"x": {}}, [], [[]]], "uut_attributes": {}, "zz": []})",
      R"({"results": ["\u00e9\ud83d\ude00", "tab\tquote\"back\\slash/", "\u0001\u001f\u007f"],
          "test_attributes": {"\u043a\u043b\u044e\u0447": "\u00e9", "k\"ey": "a/b\n",
                              "signature_version": "\ud83d\ude00"},
          "test_station_attributes": {"\u00ff": "\\\\"}})",
      R"({"results": [0, -1, 9223372036854775807, -9223372036854775808, 18446744073709551615,
                      0.1, -0.0, 1e300, 5e-324, 3.0, true, false, null],
          "test_attributes": {"n": [0.5, -2, 1e-7, true, null], "signature_version": 2,
                              "o": {"deep": {"deeper": [[], {}]}}, "x": [], "y": {},
                              "long": ["aaaaaaaaaaaaaaaaaaaa", "bbbbbbbbbbbbbbbbbbbb",
                                       "cccccccccccccccccccc", "dddddddddddddddddddd"]}})",
      R"({"test_attributes": {"signature_version": {"old": ["1"]}, "z": "last"}})",
  };
  std::vector<Json::Value> documents;
  for (const char* text : texts) documents.push_back(parsed(text));
  // What no parser gives: NUL inside texts, bytes that are no UTF-8.
  Json::Value built = documents[0];
  built["test_attributes"][std::string("nul\0key", 7)] = std::string("a\0b", 3);
  built["test_attributes"]["bad"] = std::string("\xC3\x28\xED\xA0\x80\xFF");
  built["results"][0]["value"] = std::string("\xF0\x9F\x98");
  documents.push_back(built);
  return documents;
}

TEST(ResultsText, MembersPutIntoTheTextAreTheBytesOfParseAndRender) {
  Json::Value members;
  members["otter_signature"] = std::string(256, 'a');
  members["ocelot_signature"] = std::string(256, 'b');
  members["signature_version"] = "1";
  for (const Json::Value& document : oddDocuments()) {
    const std::string text = rendered(document);
    EXPECT_TRUE(Util_resultsRenderRoundTrips(document, text)) << text;
    std::string patched;
    ASSERT_TRUE(Util_renderWithMembersSet(text, document, "test_attributes", members, patched))
        << text;
    EXPECT_EQ(patched, parsedAndRendered(text, members));
    // A text that is not the document's rendering is refused.
    std::string untouched = "untouched";
    EXPECT_FALSE(
        Util_renderWithMembersSet(text + " ", document, "test_attributes", members, untouched));
    EXPECT_EQ(untouched, "untouched");
  }
  // No object with members to patch: refused, the caller renders.
  std::string out;
  for (const char* text :
       {R"({"test_attributes": {}})", R"({"test_attributes": "x"})", R"({"results": []})"}) {
    EXPECT_FALSE(Util_renderWithMembersSet(text, parsed(text), "test_attributes", members, out));
  }
}

// Whatever would not survive a parse is caught, by the text scan or the walk.
TEST(ResultsText, CommentsInfinityNaNAndDepthDoNotRoundTrip) {
  std::vector<Json::Value> spoilt(4, oddDocuments()[0]);
  spoilt[0]["test_station_attributes"]["station_id"].setComment(std::string("// line 3"),
                                                                Json::commentAfterOnSameLine);
  spoilt[1]["results"][0]["value"] = std::numeric_limits<double>::infinity();
  spoilt[2]["test_attributes"]["test_result"] = std::nan("");
  Json::Value* deep = &spoilt[3]["test_attributes"]["nested"];
  for (int level = 0; level < 80; ++level) deep = &(*deep)["in"];
  *deep = "bottom";
  for (const Json::Value& document : spoilt) {
    EXPECT_FALSE(Util_resultsRenderRoundTrips(document, rendered(document)));
  }
  // Slashes in values send the decision to the walk, which finds a comment
  // the text alone could not tell from them.
  Json::Value slashes = oddDocuments()[0];
  slashes["results"][0]["units"] = "V/s";
  EXPECT_TRUE(Util_resultsRenderRoundTrips(slashes, rendered(slashes)));
  slashes["results"][0]["units"].setComment(std::string("/* ok */"), Json::commentBefore);
  EXPECT_FALSE(Util_resultsRenderRoundTrips(slashes, rendered(slashes)));
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
