// The station info file's signature as the am-I-okay sequence and done see
// it: signed files pass, and any change to what the signature covers fails.
#include <gtest/gtest.h>
#include <json/json.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <time.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"
#include "interface/Reply.h"
#include "interface/Status.h"
#include "signature/RawTextCutters.h"
#include "support/SignedStation.h"
#include "support/TestSupport.h"

namespace {

using namespace bk_test;

constexpr const char* kVerified = "Digital signature verified OK";
constexpr const char* kInvalid = "Invalid Signature: signature could not be verified.";
constexpr const char* kBadVersion =
    "SIGNATURE_VERSION missing or SIGNATURE_VERSION[2] does not match with event_timeStamp[1] ";

struct Outcome {
  bool ok;
  std::string text;
  unsigned status;
};

Outcome checkSignature(bool (*check)(void*) = BK_isSignatureOK) {
  CBKReply reply;
  const bool ok = check(&reply);
  return {ok, reply.hasData() ? reply.getData() : "", reply.getStatus()};
}

// An outcome with this verdict and text; a refusal also carries the fail bit.
::testing::AssertionResult is(const Outcome& outcome, bool ok, const std::string& text) {
  if (outcome.ok == ok && outcome.text == text && ((outcome.status & kStatusFailBit) != 0) == !ok) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure()
         << (outcome.ok ? "ok " : "refused ") << outcome.status << " \"" << outcome.text << '"';
}

// What a session start does: the rule and settings come from this view.
void loadSettings() { getKSInfo()->refresh(); }

Json::Value stationInfo() {
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 3600);
  return info;
}

// [first, last] of the raw object `key` in `text`.
std::pair<std::size_t, std::size_t> objectSpan(const std::string& text, const std::string& key) {
  std::string piece;
  EXPECT_TRUE(GetUnsortedObjFromJsonString(text, piece, key)) << key;
  const std::size_t first = text.find(piece);
  return {first, first + piece.size() - 1};
}

// About `count` positions spread over the span, both ends included.
std::vector<std::size_t> positionsIn(std::pair<std::size_t, std::size_t> span, std::size_t count) {
  std::vector<std::size_t> positions;
  const std::size_t length = span.second - span.first + 1;
  const std::size_t stride = std::max<std::size_t>(1, length / count);
  for (std::size_t at = span.first; at <= span.second; at += stride) positions.push_back(at);
  positions.push_back(span.second);
  return positions;
}

std::string flipped(const std::string& text, std::size_t at) {
  std::string changed = text;
  changed[at] = static_cast<char>(changed[at] ^ 0x01);
  return changed;
}

class StationSignatureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!hasDevelopmentStationKey()) GTEST_SKIP() << "deployment station key: cannot sign";
  }
  void writeSigned(const Json::Value& info, const std::string& version = "1") {
    writeSignedStationFiles(info, sampleHealth(), version);
    loadSettings();
    signedText_ = readFile(kStationInfoPath);
  }
  std::string signedText_;
};

TEST_F(StationSignatureTest, EveryByteOfTheSignedObjectsIsGuarded) {
  writeSigned(stationInfo());
  EXPECT_TRUE(is(checkSignature(), true, kVerified));
  EXPECT_EQ(countLines(readLog(), "ks_station_info file open-ii"), 0u);
  std::size_t tried = 0;
  for (const char* key : {"ksinfo", "lifeline", "controlbits"}) {
    for (std::size_t at : positionsIn(objectSpan(signedText_, key), 110)) {
      writeFile(kStationInfoPath, flipped(signedText_, at));
      EXPECT_TRUE(is(checkSignature(), false, kInvalid)) << key << " byte " << at;
      ++tried;
    }
  }
  EXPECT_GE(tried, 300u);
  // Re-indenting is a change too: the file's raw text is what is signed.
  std::string reindented = signedText_;
  const std::size_t tab = reindented.find("\t\t", objectSpan(signedText_, "ksinfo").first);
  reindented.replace(tab, 2, "\t    ");
  writeFile(kStationInfoPath, reindented);
  EXPECT_TRUE(is(checkSignature(), false, kInvalid));
}

TEST_F(StationSignatureTest, SoftwareVersionsAreNotCovered) {
  writeSigned(stationInfo());
  for (std::size_t at : positionsIn(objectSpan(signedText_, "swversions"), 60)) {
    writeFile(kStationInfoPath, flipped(signedText_, at));
    EXPECT_TRUE(checkSignature().ok) << "swversions byte " << at;
  }
}

TEST_F(StationSignatureTest, SignatureOfAnotherKeyIsRejected) {
  writeSigned(stationInfo());
  const std::string otherKey = "/tmp/other-station-key.pem";
  EVP_PKEY* key = EVP_RSA_gen(1024);
  ASSERT_NE(key, nullptr);
  FILE* file = fopen(otherKey.c_str(), "w");
  ASSERT_NE(file, nullptr);
  PEM_write_PrivateKey(file, key, nullptr, nullptr, 0, nullptr, nullptr);
  fclose(file);
  EVP_PKEY_free(key);
  ASSERT_EQ(runStationInfoSigner(otherKey, kStationInfoPath, "1"), 0);
  EXPECT_NE(readFile(kStationInfoPath), signedText_);
  EXPECT_TRUE(is(checkSignature(), false, kInvalid));
}

TEST_F(StationSignatureTest, NoFailPolicyCanSoftenABadSignature) {
  Json::Value info = stationInfo();
  for (const char* name :
       {"BK_MSG_ERROR_INVALID_SIGNATURE", "BK_MSG_STATION_OUTLIERBK_MSG_ERROR_INVALID_SIGNATURE",
        "BK_MSG_CLASS_API_ERROR"}) {
    info["lifeline"][name] = 0;
  }
  writeSigned(info);
  writeFile(kStationInfoPath, flipped(signedText_, objectSpan(signedText_, "ksinfo").first + 5));
  const Outcome outcome = checkSignature();
  EXPECT_TRUE(is(outcome, false, kInvalid));
  // Composed by hand: the library's own composer follows the policy.
  EXPECT_EQ(outcome.status, kStatusFailBit | (BK_MSG_CLASS_API_ERROR << 20) |
                                static_cast<unsigned>(BK_MSG_ERROR_INVALID_SIGNATURE));
}

TEST_F(StationSignatureTest, VersionTwoCoversKestrelDayAlone) {
  writeSigned(stationInfo(), "2");
  EXPECT_TRUE(checkSignature().ok);

  writeFile(kStationInfoPath, flipped(signedText_, objectSpan(signedText_, "ksinfo").first + 9));
  EXPECT_TRUE(checkSignature().ok) << "settings are not covered under version 2";

  writeFile(kStationInfoPath,
            flipped(signedText_, objectSpan(signedText_, "kestrel_day").first + 3));
  EXPECT_TRUE(is(checkSignature(), false, kInvalid));
}

TEST_F(StationSignatureTest, VersionTwoNeedsEventTimestampOne) {
  writeSigned(stationInfo(), "2");
  std::string text = signedText_;
  const std::size_t stamp = text.find("\"event_timestamp\" : 1");
  ASSERT_NE(stamp, std::string::npos);
  text[stamp + 20] = '2';
  writeFile(kStationInfoPath, text);
  loadSettings();
  EXPECT_TRUE(is(checkSignature(), false, kBadVersion));

  text.replace(stamp, 17, "\"other_timestamp\"");
  writeFile(kStationInfoPath, text);
  loadSettings();
  // An absent stamp reads "NOTFOUND", which is no number: the caller gets it.
  EXPECT_THROW(checkSignature(), Json::LogicError);
}

TEST_F(StationSignatureTest, UnknownVersionsFail) {
  for (const Json::Value& version : {Json::Value("3"), Json::Value(1), Json::Value()}) {
    Json::Value info = stationInfo();
    writeSigned(info);
    if (version.isNull()) {
      info["ksinfo"].removeMember("SIGNATURE_VERSION");
    } else {
      info["ksinfo"]["SIGNATURE_VERSION"] = version;
    }
    writeStationFiles(info);
    loadSettings();
    EXPECT_TRUE(is(checkSignature(), false, kBadVersion)) << version;
  }
}

TEST_F(StationSignatureTest, SignatureMustBe256DigitsAndDigestPresent) {
  writeSigned(stationInfo());
  std::size_t begin = 0;
  std::size_t end = 0;
  ASSERT_TRUE(FindStringValueSpan(signedText_, "signature", begin, end));
  for (const std::string& replacement :
       {std::string(255, 'a'), std::string(257, 'a'), std::string()}) {
    std::string text = signedText_;
    text.replace(begin, end - begin, replacement);
    writeFile(kStationInfoPath, text);
    EXPECT_EQ(checkSignature().text,
              "Couldn't get sign|digest|siglen or NOT valid in the ks_station_info.json file, "
              "Signature [" +
                  replacement + "], length[" + std::to_string(replacement.size()) +
                  "] is less than 256");
  }
  std::string text = signedText_;
  text.replace(text.find("\"digest\""), 8, "\"digesd\"");
  writeFile(kStationInfoPath, text);
  EXPECT_FALSE(checkSignature().ok) << "a missing digest fails though nothing compares it";

  // Either case of hex digits verifies.
  std::string upper = signedText_;
  for (std::size_t i = begin; i < end; ++i) upper[i] = static_cast<char>(toupper(upper[i]));
  writeFile(kStationInfoPath, upper);
  EXPECT_TRUE(checkSignature().ok);
}

TEST_F(StationSignatureTest, ShortFileIsTakenForOneBeingRewritten) {
  Json::Value info(Json::objectValue);
  info["ksinfo"]["SIGNATURE_VERSION"] = "1";
  info["lifeline"]["BK_MSG_ERROR_API_SYNTAX"] = 1;
  info["controlbits"]["STATION_FAIL_COUNT_ALLOWED"] = 5;
  info["digest"] = "";
  writeSigned(info);
  ASSERT_LT(signedText_.size(), 1023u);
  const std::string whole = signedText_ + std::string(1024 - signedText_.size(), '\n');
  writeFile(kStationInfoPath, whole);
  EXPECT_TRUE(checkSignature().ok);

  const std::size_t logBefore = readLog().size();
  writeFile(kStationInfoPath, whole.substr(0, 1023));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(is(checkSignature(), false,
                 "[BK_isSignatureOK]: can not open or extract the values from ks_station_info "
                 "file, bailing out"));
  const auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(2900));
  const std::string log = readLog().substr(logBefore);
  EXPECT_EQ(countLines(log, "ks_station_info file len-iii: "), 3u);
  EXPECT_EQ(countLines(log, "ks_station_info file open-iii"), 1u);
}

TEST_F(StationSignatureTest, ShortReadThenBadFileReportsBoth) {
  writeSigned(stationInfo());
  writeFile(kStationInfoPath, "{}");
  std::thread rewriter([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    writeFile(kStationInfoPath, flipped(signedText_, objectSpan(signedText_, "lifeline").first));
  });
  const Outcome outcome = checkSignature();
  rewriter.join();
  EXPECT_TRUE(is(outcome, false, std::string("Length [2]\n{}") + kInvalid));
}

TEST_F(StationSignatureTest, ExpiryFollowsTheLoadedSettings) {
  Json::Value info = stationInfo();
  writeSigned(info);
  EXPECT_TRUE(is(checkSignature(BK_isSigExpOK), true, ""));
  EXPECT_FALSE(BK_isSignatureOK(nullptr));  // no reply to fill: false
  EXPECT_FALSE(BK_isSigExpOK(nullptr));

  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) - 100);
  writeStationFiles(info);
  loadSettings();
  Outcome outcome = checkSignature(BK_isSigExpOK);
  EXPECT_TRUE(!outcome.ok && (outcome.status & kStatusFailBit));
  EXPECT_EQ(outcome.text.rfind("[BK_isSigExpOK] ksinfo signature expired, TimeNow =[", 0), 0u);

  info["ksinfo"]["SIGNATURE_VERSION"] = "2";
  writeStationFiles(info);
  loadSettings();
  EXPECT_TRUE(is(checkSignature(BK_isSigExpOK), true, "ks_station_info SIGNATURE_VERSION == 2"));

  // Without an expiration, or with a missing version, the read throws.
  info["ksinfo"].removeMember("SIGNATURE_EXPIRATION");
  info["ksinfo"].removeMember("SIGNATURE_VERSION");
  writeStationFiles(info);
  loadSettings();
  EXPECT_THROW(checkSignature(BK_isSigExpOK), Json::LogicError);
}

}  // namespace
