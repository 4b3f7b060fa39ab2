#include "signature/StationInfoSignature.h"

#include <time.h>

#include <fstream>
#include <vector>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Log.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "foundation/StrictJson.h"
#include "interface/Bramblekit.h"
#include "signature/RawTextCutters.h"
#include "signature/SignedTexts.h"
#include "signature/SigningPrimitives.h"

// Lines name the entry point whose check they belong to, whichever helper
// writes them.
#define BK_SIGNATURE_LOG(function, expr)                                           \
  do {                                                                             \
    std::ostringstream bk_signature_text_;                                         \
    bk_signature_text_ << expr;                                                    \
    bkLogSessionLine(kStationSignatureLogTag, function, bk_signature_text_.str()); \
  } while (0)

namespace {

constexpr const char* kSignatureCheck = "BK_isSignatureOK";
constexpr const char* kExpiryCheck = "BK_isSigExpOK";

// A station info file is never this short unless the station-management agent
// is in the middle of rewriting it.
constexpr std::size_t kShortestWholeFile = 1024;
constexpr std::size_t kSignatureHexLength = 256;

unsigned signatureFailure() {
  return bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_INVALID_SIGNATURE);
}

void fail(CBKReply* reply, const std::string& text) {
  reply->setData(text);
  reply->setStatus(signatureFailure());
}

void pass(CBKReply* reply, const std::string& text) {
  reply->setData(text);
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
}

// Up to three reads, 1 s and then 2 s apart, while the file is missing or
// short.  A short read leaves its length and text in `message`.
bool readStationInfo(std::string& text, std::ostringstream& message) {
  static const char* const kOpenWords[] = {"ks_station_info file open-i",
                                           "ks_station_info file open-ii",
                                           "ks_station_info file open-iii"};
  static const unsigned kPauseMs[] = {1000, 2000, 0};
  for (int attempt = 0; attempt < 3; ++attempt) {
    std::ifstream in(ksstationinfoFilePath, std::ios::in | std::ios::binary);
    if (!in.is_open()) {
      BK_SIGNATURE_LOG(kSignatureCheck, "can not open ks_station_info file.");
    } else {
      BK_SIGNATURE_LOG(kSignatureCheck, kOpenWords[attempt]);
      text.clear();
      std::getline(in, text, static_cast<char>(0xFF));
      if (text.size() >= kShortestWholeFile) return true;
      BK_SIGNATURE_LOG(kSignatureCheck, "ks_station_info file len-iii: ");
      message << "Length [" << text.size() << "]\n" << text;
    }
    if (kPauseMs[attempt] != 0) Util_sleep(kPauseMs[attempt]);
  }
  return false;
}

}  // namespace

namespace {

bool checkText(const std::string& fileText, std::ostringstream& message, CBKReply* reply,
               bool settingsToo);

// The settings in use were parsed at the last session start.  When the signed
// objects have changed in the file since, the text those settings came from
// must hold a good signature too: a forged file swapped for a signed one
// after the start must not pass.
bool settingsInUseAreSigned(const Json::Value& parsed, const std::string& version,
                            std::ostringstream& message, CBKReply* reply) {
  bool unchanged = true;
  for (const std::string& key : stationInfoSignedKeys(version)) {
    Json::Value inUse;
    getKSInfo()->findValueFor("", key, inUse);
    const Json::Value* now = parsed.find(key.data(), key.data() + key.size());
    if (now == nullptr || !(*now == inUse)) unchanged = false;
  }
  if (unchanged) return true;
  BK_SIGNATURE_LOG(kSignatureCheck, "ks_station_info changed since the settings were loaded");
  std::ostringstream innerMessage;
  CBKReply innerReply;
  if (checkText(getKSInfo()->getText(), innerMessage, &innerReply, false)) return true;
  message << "Invalid Signature: the settings in use since the last session start are not signed ("
          << (innerReply.hasData() ? innerReply.getData() : "") << ")";
  BK_SIGNATURE_LOG(kSignatureCheck, message.str());
  fail(reply, message.str());
  return false;
}

}  // namespace

bool checkStationInfoText(const std::string& fileText, std::ostringstream& message,
                          CBKReply* reply) {
  return checkText(fileText, message, reply, true);
}

namespace {

bool checkText(const std::string& fileText, std::ostringstream& message, CBKReply* reply,
               bool settingsToo) {
  // The signed text is cut by searching for keys, the settings come from a
  // parser; only a strict file lets both see the same objects.
  Json::Value parsed;
  StrictJsonProblem problem;
  if (!parseStrictJson(fileText, parsed, problem)) {
    message << "Invalid Signature: ks_station_info.json holds " << problem.describe();
    BK_SIGNATURE_LOG(kSignatureCheck, message.str());
    fail(reply, message.str());
    return false;
  }

  // The rule comes from the settings loaded at session start, the text from
  // the file as it is now.
  const Json::Value versionValue = getKSInfo()->getValueFor("ksinfo", "SIGNATURE_VERSION");
  const std::string version = versionValue.isString() ? versionValue.asString() : "";
  int eventTimestamp = 0;

  std::string signedText;
  if (version == "1") {
    BK_SIGNATURE_LOG(kSignatureCheck, "ks_station_info SIGNATURE_VERSION == 1");
    std::vector<std::string> missing;
    signedText = stationInfoSignedText(fileText, version, &missing);
    // A missing piece only makes the verification below fail.
    for (const std::string& key : missing) {
      BK_SIGNATURE_LOG(kSignatureCheck, key << " object is missing from the file ");
    }
  } else if (version == "2" &&
             readStationInt(getKSInfo()->getValueFor("kestrel_day", "event_timestamp"),
                            eventTimestamp) &&
             eventTimestamp == 1) {
    BK_SIGNATURE_LOG(kSignatureCheck, "[BK_isSignatureOK] ks_station_info SIGNATURE_VERSION == 2");
    signedText = stationInfoSignedText(fileText, version, nullptr);
  } else {
    message << "SIGNATURE_VERSION missing or SIGNATURE_VERSION[2] does not match with "
               "event_timeStamp[1] ";
    fail(reply, message.str());
    return false;
  }

  // Each signed object must be the top-level member of its name that the
  // settings are read from, whole: not a like-named text earlier in the file,
  // not a cut that a brace inside a string ended early.
  for (const std::string& key : stationInfoSignedKeys(version)) {
    std::size_t begin = 0;
    std::size_t end = 0;
    if (!FindUnsortedObjSpan(fileText, key, begin, end)) continue;  // fails verification below
    const Json::Value* member = parsed.find(key.data(), key.data() + key.size());
    if (member == nullptr || !member->isObject() ||
        static_cast<std::size_t>(member->getOffsetStart()) != begin ||
        static_cast<std::size_t>(member->getOffsetLimit()) != end) {
      message << "Invalid Signature: the text signed as \"" << key
              << "\" in ks_station_info.json is not its top-level " << key << " object";
      BK_SIGNATURE_LOG(kSignatureCheck, message.str());
      fail(reply, message.str());
      return false;
    }
  }

  std::string signature;
  std::string digest;
  const bool found = GetStringFromString(fileText, signature, "signature") &&
                     GetStringFromString(fileText, digest, "digest");
  if (!found || signature.length() != kSignatureHexLength) {
    message << "Couldn't get sign|digest|siglen or NOT valid in the ks_station_info.json file, "
               "Signature ["
            << signature << "], length[" << signature.length() << "] is less than 256";
    fail(reply, message.str());
    return false;
  }
  // Logged for the record only: nothing compares it.
  BK_SIGNATURE_LOG(kSignatureCheck, "DIGEST FROM ksinfo FILE BELOW");
  BK_SIGNATURE_LOG(kSignatureCheck, digest);

  // The second try is kept: it can only differ if OpenSSL's process state did.
  if (verifySig(signedText, signature, "") || verifySig(signedText, signature, "")) {
    if (settingsToo && !settingsInUseAreSigned(parsed, version, message, reply)) return false;
    pass(reply, "Digital signature verified OK");
    return true;
  }
  BK_SIGNATURE_LOG(kSignatureCheck, "DEBUG FOR ks_station_info  starts");
  BK_SIGNATURE_LOG(kSignatureCheck, signedText);
  BK_SIGNATURE_LOG(kSignatureCheck, digest);
  BK_SIGNATURE_LOG(kSignatureCheck, signature);
  BK_SIGNATURE_LOG(kSignatureCheck, " DEBUG FOR ks_station_info  ends");
  message << "Invalid Signature: signature could not be verified.";
  fail(reply, message.str());
  return false;
}

}  // namespace

namespace signaturecheck {

bool BK_isSignatureOK(CBKReply* reply) {
  if (reply == nullptr) {
    BK_LOG_ERROR("NULL reply handle passed as a parameter");
    return false;
  }
  // All working state is local to the call, so concurrent checks need no lock.
  std::ostringstream message;
  std::string text;
  if (!readStationInfo(text, message)) {
    BK_SIGNATURE_LOG(kSignatureCheck,
                     "can not open or extract the values from ks_station_info file, bailing out.");
    fail(reply,
         "[BK_isSignatureOK]: can not open or extract the values from ks_station_info file, "
         "bailing out");
    return false;
  }
  return checkStationInfoText(text, message, reply);
}

bool BK_isSigExpOK(CBKReply* reply) {
  if (reply == nullptr) {
    BK_LOG_ERROR("NULL reply handle passed as a parameter");
    return false;
  }
  // Read as text without a type test: a number is its digits.
  const std::string version = getKSInfo()->getTextFor("ksinfo", "SIGNATURE_VERSION");
  if (version == "2") {
    BK_SIGNATURE_LOG(kExpiryCheck, "ks_station_info SIGNATURE_VERSION == 2");
    pass(reply, "ks_station_info SIGNATURE_VERSION == 2");
    return true;
  }
  // 64 bits, so that an expiry after 2038 still reads as a number.
  Json::Int64 expiration = 0;
  if (!readStationInt64(getKSInfo()->getValueFor("ksinfo", "SIGNATURE_EXPIRATION"), expiration)) {
    // Without a readable expiry the signature cannot count as unexpired.
    const std::string text =
        "[BK_isSigExpOK] ksinfo SIGNATURE_EXPIRATION missing or not a number of seconds";
    BK_SIGNATURE_LOG(kExpiryCheck, text);
    fail(reply, text);
    return false;
  }
  const Json::Int64 now = static_cast<Json::Int64>(time(nullptr));
  if (expiration < now) {
    std::ostringstream text;
    text << "[BK_isSigExpOK] ksinfo signature expired, TimeNow =[" << now
         << "] - SIGNATURE_EXPIRATION time [" << expiration << "] = [" << now - expiration << "]";
    BK_SIGNATURE_LOG(kExpiryCheck, text.str());
    fail(reply, text.str());
    return false;
  }
  return true;
}

}  // namespace signaturecheck
