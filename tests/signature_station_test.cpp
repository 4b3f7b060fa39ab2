// The station info file's signature as the am-I-okay sequence and done see
// it: signed files pass, and any change to what the signature covers fails.
#include <gtest/gtest.h>
#include <json/json.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
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

constexpr const char* kVerified = "Digital signature verified OK";
constexpr const char* kInvalid = "Invalid Signature: signature could not be verified.";
constexpr const char* kBadVersion =
    "SIGNATURE_VERSION missing or SIGNATURE_VERSION[2] does not match with event_timeStamp[1] ";

// The check's verdict, status and text.
Answer checkSignature(bool (*check)(void*) = BK_isSignatureOK) {
  auto* reply = new CBKReply;
  const bool ok = check(reply);
  Answer answer = answerOf(reply);
  answer.success = ok;
  return answer;
}

// This verdict and text; a refusal also carries the fail bit.
::testing::AssertionResult is(const Answer& answer, bool ok, const std::string& text) {
  return answered(answer, ok, ok ? answer.status & ~kStatusFailBit : answer.status | kStatusFailBit,
                  text);
}

// Station files written as given; settings reloaded as a session start does.
void writeUnsigned(const Json::Value& info) {
  writeStationFiles(info);
  getKSInfo()->refresh();
}

// The offset of the raw object `key` in `text`, and its length.
std::pair<std::size_t, std::size_t> objectSpan(const std::string& text, const std::string& key) {
  std::string piece;
  EXPECT_TRUE(GetUnsortedObjFromJsonString(text, piece, key)) << key;
  return {text.find(piece), piece.size()};
}

std::string flipped(const std::string& text, std::size_t at) {
  std::string changed = text;
  changed[at] ^= 0x01;
  return changed;
}

class StationSignatureTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!hasDevelopmentStationKey()) GTEST_SKIP() << "deployment station key: cannot sign";
  }
  void writeSigned(const Json::Value& info = readyStationInfo(), const std::string& version = "1") {
    writeSignedStationFiles(info, sampleHealth(), version);
    getKSInfo()->refresh();
    signed_ = readFile(kStationInfoPath);
  }
  // Writes the signed text with the byte `offset` into object `key` flipped.
  void tamper(const char* key, std::size_t offset) {
    writeFile(kStationInfoPath, flipped(signed_, objectSpan(signed_, key).first + offset));
  }
  std::string signed_;
};

TEST_F(StationSignatureTest, EveryByteOfTheSignedObjectsIsGuarded) {
  writeSigned();
  EXPECT_TRUE(is(checkSignature(), true, kVerified));
  std::size_t tried = 0;
  for (const char* key : {"ksinfo", "lifeline", "controlbits"}) {
    const auto [first, length] = objectSpan(signed_, key);
    for (std::size_t at = first; at < first + length;
         at += std::max<std::size_t>(1, length / 110)) {
      writeFile(kStationInfoPath, flipped(signed_, at));
      EXPECT_TRUE(is(checkSignature(), false, kInvalid)) << key << " byte " << at;
      ++tried;
    }
  }
  EXPECT_GE(tried, 300u);
  // Re-indenting is a change too: the file's raw text is what is signed.
  std::string reindented = signed_;
  reindented.replace(reindented.find("\t\t", objectSpan(signed_, "ksinfo").first), 2, "\t    ");
  writeFile(kStationInfoPath, reindented);
  EXPECT_TRUE(is(checkSignature(), false, kInvalid));
  // The software versions are not covered.
  tamper("swversions", 5);
  EXPECT_TRUE(checkSignature().success);
}

TEST_F(StationSignatureTest, SignatureOfAnotherKeyIsRejected) {
  writeSigned();
  EVP_PKEY* key = EVP_RSA_gen(1024);
  FILE* file = fopen("/tmp/other-station-key.pem", "w");
  ASSERT_TRUE(key != nullptr && file != nullptr);
  PEM_write_PrivateKey(file, key, nullptr, nullptr, 0, nullptr, nullptr);
  fclose(file);
  EVP_PKEY_free(key);
  ASSERT_EQ(runStationInfoSigner("/tmp/other-station-key.pem", kStationInfoPath, "1"), 0);
  EXPECT_NE(readFile(kStationInfoPath), signed_);
  EXPECT_TRUE(is(checkSignature(), false, kInvalid));
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
  getKSInfo()->refresh();
  EXPECT_TRUE(is(checkSignature(), false, kBadVersion));
  // An absent stamp reads "NOTFOUND", which is no number: the caller gets it.
  writeFile(kStationInfoPath, text.replace(stamp, 17, "\"other_timestamp\""));
  getKSInfo()->refresh();
  EXPECT_THROW(checkSignature(), Json::LogicError);
}

TEST_F(StationSignatureTest, UnknownVersionsFail) {
  for (const Json::Value& version : {Json::Value("3"), Json::Value(1), Json::Value()}) {
    Json::Value info = readyStationInfo();
    writeSigned(info);
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

TEST_F(StationSignatureTest, ShortFileIsTakenForOneBeingRewritten) {
  Json::Value info(Json::objectValue);
  info["ksinfo"]["SIGNATURE_VERSION"] = "1";
  info["lifeline"]["BK_MSG_ERROR_API_SYNTAX"] = 1;
  info["controlbits"]["STATION_FAIL_COUNT_ALLOWED"] = 5;
  info["digest"] = "";
  writeSigned(info);
  ASSERT_LT(signed_.size(), 1023u);
  const std::string whole = signed_ + std::string(1024 - signed_.size(), '\n');
  writeFile(kStationInfoPath, whole);
  EXPECT_TRUE(checkSignature().success);

  writeFile(kStationInfoPath, whole.substr(0, 1023));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(is(checkSignature(), false,
                 "[BK_isSignatureOK]: can not open or extract the values from ks_station_info "
                 "file, bailing out"));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(2900));

  // A short read, then a bad file: both are reported.
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

  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) - 100);
  writeUnsigned(info);
  Answer answer = checkSignature(BK_isSigExpOK);
  EXPECT_TRUE(!answer.success && (answer.status & kStatusFailBit));
  EXPECT_EQ(answer.text.rfind("[BK_isSigExpOK] ksinfo signature expired, TimeNow =[", 0), 0u);

  info["ksinfo"]["SIGNATURE_VERSION"] = "2";
  writeUnsigned(info);
  EXPECT_TRUE(is(checkSignature(BK_isSigExpOK), true, "ks_station_info SIGNATURE_VERSION == 2"));

  // Without an expiration, or with a missing version, the read throws.
  info["ksinfo"].removeMember("SIGNATURE_EXPIRATION");
  info["ksinfo"].removeMember("SIGNATURE_VERSION");
  writeUnsigned(info);
  EXPECT_THROW(checkSignature(BK_isSigExpOK), Json::LogicError);
}

}  // namespace
