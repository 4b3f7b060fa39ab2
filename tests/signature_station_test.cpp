// The station info file's signature as the am-I-okay sequence and done see
// it: signed files pass, and any change to what the signature covers fails.
#include <gtest/gtest.h>
#include <json/json.h>
#include <time.h>

#include <chrono>
#include <string>
#include <thread>

#include "foundation/StationFiles.h"
#include "interface/Reply.h"
#include "interface/Status.h"
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
      EXPECT_TRUE(is(checkSignature(), false, kInvalid)) << key << " byte " << at;
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
  EXPECT_TRUE(is(checkSignature(), false, kInvalid));

  std::string text = signed_;
  const std::size_t stamp = text.find("\"event_timestamp\" : 1");
  ASSERT_NE(stamp, std::string::npos);
  text[stamp + 20] = '2';
  writeFile(kStationInfoPath, text);
  reload();
  EXPECT_TRUE(is(checkSignature(), false, kBadVersion));
  // An absent stamp reads "NOTFOUND", which is no number: the check fails at
  // the boundary instead of throwing.
  writeFile(kStationInfoPath, text.replace(stamp, 17, "\"other_timestamp\""));
  reload();
  EXPECT_TRUE(is(checkSignature(), false, "BK_isSignatureOK WHOOPS! unhandled exception!"));
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
    tamper("lifeline", 0);
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

  // Without an expiration, or with a missing version, the read throws and
  // the boundary answers a failure.
  info["ksinfo"].removeMember("SIGNATURE_EXPIRATION");
  info["ksinfo"].removeMember("SIGNATURE_VERSION");
  writeUnsigned(info);
  EXPECT_TRUE(
      is(checkSignature(BK_isSigExpOK), false, "BK_isSigExpOK WHOOPS! unhandled exception!"));
}

}  // namespace
