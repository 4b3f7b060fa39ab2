// The station info file's signature as the am-I-okay sequence and done see
// it: signed files pass, and any change to what the signature covers fails.
#include <gtest/gtest.h>
#include <json/json.h>
#include <time.h>

#include <chrono>
#include <string>
#include <thread>

#include "foundation/Reply.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "signature/RawTextCutters.h"
#include "support/SessionRun.h"

namespace {

using namespace bk_test;

constexpr const char* kInvalid = "Invalid Signature: signature could not be verified.";
constexpr const char* kBadVersion =
    "SIGNATURE_VERSION missing or SIGNATURE_VERSION[2] does not match with event_timeStamp[1] ";

// The check's verdict, status and text.
Answer checkSignature(bool (*check)(void*) = BK_isSignatureOK) {
  CBKReply reply;
  const bool ok = check(&reply);
  return {ok, reply.getStatus(), reply.hasData() ? reply.getData() : ""};
}

// This verdict and text; a refusal also carries the fail bit.
::testing::AssertionResult is(const Answer& answer, bool ok, const std::string& text) {
  return answered(answer, ok, ok ? answer.status & ~kStatusFailBit : answer.status | kStatusFailBit,
                  text);
}

// A refusal with the signature's failure; the text starts as every such
// text does.
::testing::AssertionResult refused(const Answer& answer) {
  if (!answer.success && (answer.status & kStatusFailBit) != 0 &&
      answer.text.rfind("Invalid Signature: ", 0) == 0) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << answer.status << " \"" << answer.text << '"';
}

class StationSignatureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!hasDevelopmentStationKey()) GTEST_SKIP() << "deployment station key: cannot sign";
  }
  void writeSigned(const Json::Value& info = readyStationInfo(), const std::string& version = "1") {
    writeSignedStationFiles(info, sampleHealth(), version);
    reload();
    signed_ = readFile(kStationInfoPath);
  }
  // Settings are read again, as a session start does.
  void reload() { getKSInfo()->refresh(); }
  void writeUnsigned(const Json::Value& info) {
    writeStationFiles(info);
    reload();
  }
  // The offset of the raw object `key` in the signed text, and its length.
  std::pair<std::size_t, std::size_t> span(const char* key) {
    std::string piece;
    EXPECT_TRUE(GetUnsortedObjFromJsonString(signed_, piece, key)) << key;
    return {signed_.find(piece), piece.size()};
  }
  // Writes the signed text with the byte `offset` into object `key` flipped.
  void tamper(const char* key, std::size_t offset) {
    std::string changed = signed_;
    changed[span(key).first + offset] ^= 0x01;
    writeFile(kStationInfoPath, changed);
  }
  std::string signed_;
};

TEST_F(StationSignatureTest, EveryByteOfTheSignedObjectsIsGuarded) {
  writeSigned();
  EXPECT_TRUE(is(checkSignature(), true, "Digital signature verified OK"));
  std::size_t tried = 0;
  for (const char* key : {"ksinfo", "lifeline", "controlbits"}) {
    const std::size_t length = span(key).second;
    for (std::size_t at = 0; at < length; at += std::max<std::size_t>(1, length / 110), ++tried) {
      tamper(key, at);
      EXPECT_TRUE(refused(checkSignature())) << key << " byte " << at;
    }
  }
  EXPECT_GE(tried, 300u);
  // Re-indenting is a change too: the file's raw text is what is signed.
  std::string reindented = signed_;
  writeFile(kStationInfoPath,
            reindented.replace(reindented.find("\t\t", span("ksinfo").first), 2, "\t    "));
  EXPECT_TRUE(is(checkSignature(), false, kInvalid));
  // The software versions are not covered.
  tamper("swversions", 5);
  EXPECT_TRUE(checkSignature().success);
}

// Files that keep the signed bytes but let a parser see other objects: each is
// refused with a text that names the rule, and the settings loaded from it are
// never the forged ones.
TEST_F(StationSignatureTest, ForgeriesAroundTheSignedTextFail) {
  writeSigned();
  const std::string ksinfoText = signed_.substr(span("ksinfo").first, span("ksinfo").second);
  std::string forgedKsinfo = ksinfoText;
  forgedKsinfo.replace(forgedKsinfo.find("TSTA_L07_FUNCTIONAL-TEST_1"), 26, "FORGED");
  const std::size_t last = signed_.rfind('}');
  const std::string body = signed_.substr(1, last - 1);

  std::string decoy = signed_;
  decoy.replace(span("ksinfo").first, ksinfoText.size(), forgedKsinfo);
  decoy.insert(1, "\"a_note\" : \"ksinfo\", \"a_copy\" : " + ksinfoText + ",");
  const std::string holds = "Invalid Signature: ks_station_info.json holds ";
  const struct {
    std::string text;
    std::string reason;  // how the reply's text begins
  } cases[] = {
      {std::string(signed_).insert(
           last, ",\"lifeline\" : {\"BK_MSG_ERROR_ETHERNET_NOT_RESPONDING\" : 0}\n"),
       holds + "the key \"lifeline\" twice in one object, again at line "},
      {"{ /*" + body + "*/ \"ksinfo\" : " + forgedKsinfo + ", \"lifeline\" : {} }",
       holds + "a comment at line 1, column 3"},
      {signed_ + "{\"ksinfo\" : " + forgedKsinfo + "}",
       holds + "more than white space after the top-level value, at line "},
      {decoy,
       "Invalid Signature: the text signed as \"ksinfo\" in ks_station_info.json is not "
       "its top-level ksinfo object"},
  };
  for (const auto& forged : cases) {
    writeFile(kStationInfoPath, forged.text);
    reload();
    const Answer answer = checkSignature();
    EXPECT_TRUE(refused(answer));
    EXPECT_EQ(answer.text.rfind(forged.reason, 0), 0u) << answer.text;
    // The decoy's settings are its forged object, which nothing signs: only
    // the refusal above keeps it from counting.
    if (forged.text == decoy) continue;
    EXPECT_NE(getKSInfo()->getValueFor("ksinfo", "STATION_ID"), "FORGED") << forged.reason;
    EXPECT_NE(getKSInfo()->getValueFor("lifeline", "BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"), 0);
  }
}

// The settings in use are those of the last session start: a signed file put
// back after an unsigned one was loaded does not vouch for them, while a newly
// signed file does not disturb settings that were signed too.
TEST_F(StationSignatureTest, SettingsInUseMustHaveBeenSignedToo) {
  Json::Value forged = readyStationInfo();
  forged["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = 0;
  writeSigned();
  writeUnsigned(forged);
  writeFile(kStationInfoPath, signed_);
  const Answer answer = checkSignature();
  EXPECT_TRUE(refused(answer));
  EXPECT_EQ(answer.text.rfind("Invalid Signature: the settings in use since the last session start "
                              "are not signed (",
                              0),
            0u)
      << answer.text;

  Json::Value other = readyStationInfo();
  other["ksinfo"]["STATION_ID"] = "OTHER";
  writeSigned();
  writeSignedStationFiles(other, sampleHealth(), "1");
  EXPECT_TRUE(is(checkSignature(), true, "Digital signature verified OK"));
}

TEST_F(StationSignatureTest, NoFailPolicyCanSoftenABadSignature) {
  Json::Value info = readyStationInfo();
  for (const char* name :
       {"BK_MSG_ERROR_INVALID_SIGNATURE", "BK_MSG_STATION_OUTLIERBK_MSG_ERROR_INVALID_SIGNATURE",
        "BK_MSG_CLASS_API_ERROR"}) {
    info["lifeline"][name] = 0;
  }
  writeSigned(info);
  tamper("ksinfo", 5);
  // Composed by hand: the library's own composer follows the policy.
  EXPECT_TRUE(answered(checkSignature(), false,
                       kStatusFailBit | (BK_MSG_CLASS_API_ERROR << 20) |
                           static_cast<unsigned>(BK_MSG_ERROR_INVALID_SIGNATURE),
                       kInvalid));
}

TEST_F(StationSignatureTest, VersionTwoCoversKestrelDayAloneAndNeedsStampOne) {
  writeSigned(readyStationInfo(), "2");
  EXPECT_TRUE(checkSignature().success);
  tamper("ksinfo", 9);
  EXPECT_TRUE(checkSignature().success) << "settings are not covered under version 2";
  tamper("kestrel_day", 3);
  EXPECT_TRUE(refused(checkSignature()));

  std::string text = signed_;
  const std::size_t stamp = text.find("\"event_timestamp\" : 1");
  ASSERT_NE(stamp, std::string::npos);
  text[stamp + 20] = '2';
  writeFile(kStationInfoPath, text);
  reload();
  EXPECT_TRUE(is(checkSignature(), false, kBadVersion));
  // An absent stamp reads "NOTFOUND", which is no number either.
  writeFile(kStationInfoPath, text.replace(stamp, 17, "\"other_timestamp\""));
  reload();
  EXPECT_TRUE(is(checkSignature(), false, kBadVersion));
  // Any other version, even the number 1, fails the same way.
  for (const Json::Value& version : {Json::Value("3"), Json::Value(1), Json::Value()}) {
    Json::Value info = readyStationInfo();
    info["ksinfo"]["SIGNATURE_VERSION"] = version;
    if (version.isNull()) info["ksinfo"].removeMember("SIGNATURE_VERSION");
    writeUnsigned(info);
    EXPECT_TRUE(is(checkSignature(), false, kBadVersion)) << version;
  }
}

TEST_F(StationSignatureTest, SignatureMustBe256DigitsAndDigestPresent) {
  writeSigned();
  std::size_t begin = 0;
  std::size_t end = 0;
  ASSERT_TRUE(FindStringValueSpan(signed_, "signature", begin, end));
  for (const std::string& replacement :
       {std::string(255, 'a'), std::string(257, 'a'), std::string()}) {
    writeFile(kStationInfoPath, std::string(signed_).replace(begin, end - begin, replacement));
    EXPECT_EQ(checkSignature().text,
              "Couldn't get sign|digest|siglen or NOT valid in the ks_station_info.json file, "
              "Signature [" +
                  replacement + "], length[" + std::to_string(replacement.size()) +
                  "] is less than 256");
  }
  std::string text = signed_;
  writeFile(kStationInfoPath, text.replace(text.find("\"digest\""), 8, "\"digesd\""));
  EXPECT_FALSE(checkSignature().success) << "a missing digest fails though nothing compares it";
  // Either case of hex digits verifies.
  std::string upper = signed_;
  for (std::size_t i = begin; i < end; ++i) upper[i] = static_cast<char>(toupper(upper[i]));
  writeFile(kStationInfoPath, upper);
  EXPECT_TRUE(checkSignature().success);
}

// A file shorter than 1024 bytes is taken for one being rewritten and read
// again; when the new one is bad, both reads are reported.
TEST_F(StationSignatureTest, ShortReadThenBadFileReportsBoth) {
  writeSigned();
  writeFile(kStationInfoPath, "{}");
  std::thread rewriter([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    tamper("lifeline", 5);
  });
  const Answer answer = checkSignature();
  rewriter.join();
  EXPECT_TRUE(is(answer, false, std::string("Length [2]\n{}") + kInvalid));
}

TEST_F(StationSignatureTest, ExpiryFollowsTheLoadedSettings) {
  Json::Value info = readyStationInfo();
  writeSigned(info);
  EXPECT_TRUE(is(checkSignature(BK_isSigExpOK), true, ""));
  // An expired signature under version 2 is not looked at.
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) - 100);

  info["ksinfo"]["SIGNATURE_VERSION"] = "2";
  writeUnsigned(info);
  EXPECT_TRUE(is(checkSignature(BK_isSigExpOK), true, "ks_station_info SIGNATURE_VERSION == 2"));

  // Without a readable expiration the signature does not count as unexpired.
  const char* unreadable =
      "[BK_isSigExpOK] ksinfo SIGNATURE_EXPIRATION missing or not a number of seconds";
  info["ksinfo"]["SIGNATURE_VERSION"] = Json::Value(Json::arrayValue);
  for (const Json::Value& expiration : {Json::Value("2099"), Json::Value()}) {
    info["ksinfo"]["SIGNATURE_EXPIRATION"] = expiration;
    if (expiration.isNull()) info["ksinfo"].removeMember("SIGNATURE_EXPIRATION");
    writeUnsigned(info);
    EXPECT_TRUE(is(checkSignature(BK_isSigExpOK), false, unreadable)) << expiration;
  }
}

}  // namespace
