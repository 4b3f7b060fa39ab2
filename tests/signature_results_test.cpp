// Signing of committed results, checked from the consumers' side with the
// results public key: both signatures verify, and fail after any change to
// the texts they cover.
#include <gtest/gtest.h>
#include <json/json.h>
#include <stdio.h>
#include <sys/wait.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "DevelopmentKeys.h"
#include "signature/ResultsSigning.h"
#include "signature/SignedTexts.h"
#include "support/TestSupport.h"
#include "tools/ResultsVerifier.h"

namespace {

using namespace bk_test;

constexpr const char* kResultsPath = "/vault/data_collection/uut_data/u1.did/results.Json";

// A finished session's document, as commit renders it before signing.
Json::Value finishedDocument() {
  Json::Value root;
  Json::Reader().parse(R"({"blobs": [], "station_failure": {"failure_reason": "none"},
    "results": [{"test": "voltage", "value": "3.31", "lower_limit": "1", "result": "PASS"},
                {"test": "current", "value": "0.42", "upper_limit": "5", "result": "PASS"}],
    "test_attributes": {"uut_start": "2026-11-21 10:00:00", "uut_stop": "2026-11-21 10:05:00",
      "unit_serial_number": "C0212ABCDEF",
      "test_result": "PASS", "pdata_not_sent_to_trax": ["3"], "signature_version": "2"},
    "test_station_attributes": {"bk_version": "1.1.71", "station_id": "TSTA_L07_FT_1",
      "mac_addr": "ff:ff:ff:ff:ff:ff", "station_name": "FUNCTIONAL-TEST"}})",
                       root);
  return root;
}

std::string writeResults(const Json::Value& root) {
  std::ostringstream text;
  text << root;
  writeFile(kResultsPath, text.str());
  return text.str();
}

bool verifies(const std::string& text) {
  std::string reason;
  return verifySignedResults(BK_DEV_RESULTS_PUBLIC_KEY, text, reason);
}

// The verifier program's exit status and standard output for `text`.
std::pair<int, std::string> runVerifier(const std::string& text) {
  writeFile(kResultsPath, text);
  const std::string command = std::string("'") + BK_VERIFY_RESULTS_TOOL + "' '" +
                              BK_DEV_RESULTS_PUBLIC_KEY + "' '" + kResultsPath + "' 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  std::string out;
  char buffer[256];
  while (pipe != nullptr && fgets(buffer, sizeof buffer, pipe) != nullptr) out += buffer;
  const int status = pipe == nullptr ? -1 : pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

TEST(ResultsSignature, SignedFileVerifiesAndEveryChangeToTheSignedTextsFails) {
  const std::string before = writeResults(finishedDocument());
  ASSERT_TRUE(signJsonResults(kResultsPath));
  const std::string text = readFile(kResultsPath);
  ASSERT_TRUE(verifies(text));
  Json::Value attributes;
  ASSERT_TRUE(Json::Reader().parse(text, attributes));
  attributes = attributes["test_attributes"];
  EXPECT_EQ(attributes["signature_version"], "1");
  EXPECT_EQ(attributes["otter_signature"].asString().size(), 256u);
  EXPECT_EQ(attributes["ocelot_signature"].asString().size(), 256u);
  // Only the three members changed, so both texts can be cut again.
  std::string expected = before;
  expected.replace(expected.find("\"signature_version\" : \"2\""), 25,
                   "\"signature_version\" : \"1\"");
  EXPECT_EQ(withoutSignatureMembers(text, attributes["otter_signature"].asString(),
                                    attributes["ocelot_signature"].asString()),
            expected);

  std::string span;
  ASSERT_TRUE(resultsOtterText(text, span));
  // The station failure lies inside the span because pdata_not_sent_to_trax,
  // an array, closes the last "]" of the file.
  ASSERT_NE(span.find("failure_reason"), std::string::npos);
  std::size_t tried = 0;
  for (std::size_t at = text.find(span); at < text.find(span) + span.size(); ++at) {
    const std::size_t lineStart = text.rfind('\n', at) + 1;
    const std::string line = text.substr(lineStart, text.find('\n', at) - lineStart);
    if (line.find("_signature\" : ") != std::string::npos) continue;  // added after signing
    std::string changed = text;
    changed[at] ^= 0x01;
    EXPECT_FALSE(verifies(changed)) << "byte " << at << " in line: " << line;
    ++tried;
  }
  EXPECT_GT(tried, 300u);
  for (const char* value : {"C0212ABCDEF", "ff:ff:ff:ff:ff:ff", "2026-11-21 10:00:00", "\"PASS\"",
                            "FUNCTIONAL-TEST", "TSTA_L07_FT_1"}) {
    std::string changed = text;
    changed[changed.find(value, text.find("test_attributes")) + 1] ^= 0x02;
    EXPECT_FALSE(verifies(changed)) << value;
  }
  // What neither text covers may change.
  std::string uncovered = text;
  uncovered.replace(uncovered.find("\"1.1.71\""), 8, "\"9.9.99\"");
  EXPECT_TRUE(verifies(uncovered));
}

TEST(ResultsSignature, TextsAsTheConsumersCutThem) {
  std::string ocelot;
  ASSERT_TRUE(resultsOcelotText(writeResults(finishedDocument()), ocelot, nullptr));
  EXPECT_EQ(ocelot,
            "C0212ABCDEFff:ff:ff:ff:ff:ff2026-11-21 10:00:00PASSFUNCTIONAL-TESTTSTA_L07_FT_1");
  // A sub-station takes the station name's place; without a later array the
  // span ends at the results.
  Json::Value root = finishedDocument();
  root["test_station_attributes"]["sub_station_id"] = "SUB7";
  root["test_attributes"]["pdata_not_sent_to_trax"] = "NOTFOUND";
  const std::string text = writeResults(root);
  ASSERT_TRUE(resultsOcelotText(text, ocelot, nullptr));
  EXPECT_EQ(ocelot, "C0212ABCDEFff:ff:ff:ff:ff:ff2026-11-21 10:00:00PASSSUB7TSTA_L07_FT_1");
  std::string span;
  ASSERT_TRUE(resultsOtterText(text, span));
  EXPECT_EQ(span.find("station_failure"), std::string::npos);
  EXPECT_EQ(span.back(), ']');
  ASSERT_TRUE(signJsonResults(kResultsPath));
  EXPECT_TRUE(verifies(readFile(kResultsPath)));
}

// A FAIL turned into a PASS, or another serial number, while the cut texts
// still find the signed values: each file is refused with the reason.
TEST(ResultsSignature, EditsBehindDecoysAndNonStrictFilesAreRefused) {
  Json::Value failed = finishedDocument();
  failed["test_attributes"]["test_result"] = "FAIL";
  writeResults(failed);
  ASSERT_TRUE(signJsonResults(kResultsPath));
  const std::string text = readFile(kResultsPath);
  const auto edit = [&text](const std::string& from, const std::string& to) {
    std::string changed = text;
    const std::size_t at = changed.find(from, changed.find("\"test_attributes\""));
    return changed.replace(at, from.size(), to);
  };
  std::string decoy = edit("\"C0212ABCDEF\"", "\"C0299ZZZZZZ\"");
  decoy.insert(1,
               "\"a\" : {\"test_result\" : \"FAIL\", \"unit_serial_number\" : \"C0212ABCDEF\"},");
  std::string passed = edit("\"FAIL\"", "\"PASS\"");
  passed.insert(1, "\"a\" : {\"test_result\" : \"FAIL\"},");

  // Tests named like the keys: the library signs what the cutter finds there.
  Json::Value named = failed;
  for (const char* name : {"unit_serial_number", "test_result"}) {
    Json::Value result;
    result["test"] = name;
    result["value"] = "7";
    result["result"] = "PASS";
    named["results"].append(result);
  }
  writeResults(named);
  ASSERT_TRUE(signJsonResults(kResultsPath));
  std::string namedText = readFile(kResultsPath);
  namedText.replace(namedText.rfind("\"FAIL\""), 6, "\"PASS\"");

  // A parser takes the later of two keys, the cutter the earlier.
  std::string duplicate = text;
  duplicate.insert(duplicate.find("\"unit_serial_number\"", duplicate.find("\"test_attributes\"")),
                   "\"test_result\" : \"PASS\",\n\t\t");
  std::string commented = edit("\"FAIL\"", "\"PASS\"");
  commented.insert(1, "/* \"test_result\" : \"FAIL\" */");
  const std::pair<std::string, std::string> cases[] = {
      {decoy,
       "unit_serial_number: signed \"C0212ABCDEF\", but test_attributes holds "
       "\"C0299ZZZZZZ\""},
      {passed, "test_result: signed \"FAIL\", but test_attributes holds \"PASS\""},
      {namedText, "unit_serial_number: signed \"7\", but test_attributes holds \"C0212ABCDEF\""},
      {duplicate, "not strict JSON: the key \"test_result\" twice in one object, again at line "},
      {commented, "not strict JSON: a comment at line 1, column 2"},
      {text + "{}", "not strict JSON: more than white space after the top-level value, at line "},
  };
  ASSERT_TRUE(verifies(text));
  for (const auto& [tampered, reason] : cases) {
    std::string why;
    EXPECT_FALSE(verifySignedResults(BK_DEV_RESULTS_PUBLIC_KEY, tampered, why)) << reason;
    EXPECT_EQ(why.rfind(reason, 0), 0u) << why;
  }

  // The program says so too, and names what no signature covers.
  EXPECT_EQ(runVerifier(decoy).first, 1);
  EXPECT_EQ(runVerifier(text), std::make_pair(0, std::string("verify_results: both signatures "
                                                             "verified\nnot covered: blobs, "
                                                             "uut_stop, bk_version\n")));
}

// Commit signs from the text it wrote and the value it rendered; the file
// must end byte for byte as signing the file alone leaves it.
TEST(ResultsSignature, SigningFromTheWrittenTextLeavesTheBytesOfSigningTheFile) {
  Json::Value subStation = finishedDocument();
  subStation["test_station_attributes"]["sub_station_id"] = "SUB7";
  subStation["test_attributes"]["pdata_not_sent_to_trax"] = "NOTFOUND";
  Json::Value odd = finishedDocument();
  odd["test_attributes"]["unit_serial_number"] = "C0\"2\xC3\xA9/x";
  odd["test_attributes"].removeMember("signature_version");
  odd["uut_attributes"]["zz"] = Json::Value(Json::arrayValue);
  for (const Json::Value& document : {finishedDocument(), subStation, odd}) {
    const std::string text = writeResults(document);
    ASSERT_TRUE(signJsonResults(kResultsPath));
    const std::string signedFile = readFile(kResultsPath);
    writeFile(kResultsPath, text);
    ASSERT_TRUE(signJsonResults(kResultsPath, text, document));
    EXPECT_EQ(readFile(kResultsPath), signedFile);
  }
}

TEST(ResultsSignature, FailuresLeaveTheFileUntouched) {
  Json::Value emptySubStation = finishedDocument();
  emptySubStation["test_station_attributes"]["sub_station_id"] = "";
  std::string broken = writeResults(finishedDocument());
  broken.pop_back();  // cut fine, but no JSON: the rewrite is refused
  // "results" at the very start counts as absent.
  for (const std::string& text :
       {writeResults(emptySubStation), broken, std::string("\"results\" : [1]")}) {
    writeFile(kResultsPath, text);
    EXPECT_FALSE(signJsonResults(kResultsPath)) << text;
    EXPECT_EQ(readFile(kResultsPath), text);
  }
  // An absent key throws to the committer.
  Json::Value root = finishedDocument();
  root["test_station_attributes"].removeMember("mac_addr");
  const std::string text = writeResults(root);
  EXPECT_THROW(signJsonResults(kResultsPath), std::out_of_range);
  EXPECT_EQ(readFile(kResultsPath), text);
}

}  // namespace
