// White-box helpers for tests that take a session to its end: a station that
// passes every check of done, and sessions filled with results.
#ifndef BRAMBLEKIT_TESTS_SUPPORT_SESSIONRUN_H_
#define BRAMBLEKIT_TESTS_SUPPORT_SESSIONRUN_H_

#include <gtest/gtest.h>
#include <json/json.h>
#include <string.h>
#include <time.h>
#include <utime.h>

#include <string>

#include "DevelopmentKeys.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/SignedStation.h"
#include "support/TestSupport.h"
#include "tools/ResultsVerifier.h"

namespace bk_test {

inline constexpr const char* kUutData = "/vault/data_collection/uut_data/";
inline constexpr const char* kSerial = "C0212ABCDEF";

// A station whose signature is good and does not expire for a day.
inline Json::Value readyStationInfo() {
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 86400);
  return info;
}

inline void writeReadyStation(const Json::Value& info = readyStationInfo(),
                              const Json::Value& health = sampleHealth()) {
  writeSignedStationFiles(info, health);
}

inline CUUT* startSession() {
  UUTHandle handle = nullptr;
  BKReplyHandle reply = BK_UUTStart(&handle);
  EXPECT_TRUE(BK_success(reply)) << BK_reply_getError(reply);
  BK_reply_destroy(reply);
  return static_cast<CUUT*>(handle);
}

inline void expectSuccess(BKReplyHandle reply, const char* what) {
  EXPECT_TRUE(BK_success(reply)) << what << ": " << BK_reply_getError(reply);
  BK_reply_destroy(reply);
}

inline void addAttributes(CUUT* uut, bool withLimits = true) {
  expectSuccess(BK_addAttribute(uut, "serialnumber", kSerial), "serialnumber");
  expectSuccess(BK_addAttribute(uut, "softwarename", "station-sw"), "softwarename");
  expectSuccess(BK_addAttribute(uut, "softwareversion", "4.2.0"), "softwareversion");
  if (withLimits) expectSuccess(BK_addAttribute(uut, "limitsversion", "L-9"), "limitsversion");
}

inline void addResult(CUUT* uut, BK_PASSFAILRESULT verdict, const std::string& name,
                      const char* value = nullptr) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, name.c_str(), name.size());
  BK_testSpec_setPriority(spec, BK_TRAX_PRIORITY_P1);
  if (value != nullptr) {
    BK_testSpec_setLimits(spec, "0", 1, "10", 2);
    BK_testResult_setValue(result, value, strlen(value));
  }
  BK_testResult_setResult(result, verdict);
  if (verdict == BK_FAIL) BK_testResult_setMessage(result, "out of range", 12);
  expectSuccess(BK_addResult(uut, spec, result), "result");
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
}

inline void addResults(CUUT* uut, int passes, int failures, int nas) {
  for (int i = 0; i < passes; ++i) addResult(uut, BK_PASS, "pass_" + std::to_string(i));
  for (int i = 0; i < failures; ++i) addResult(uut, BK_FAIL, "fail_" + std::to_string(i));
  for (int i = 0; i < nas; ++i) addResult(uut, BK_NA, "na_" + std::to_string(i));
}

// Status and text of a reply, which is then freed.
struct Answer {
  bool success;
  unsigned status;
  std::string text;
};

inline Answer answerOf(CBKReply* reply) {
  Answer answer{BK_success(reply), reply->getStatus(), reply->hasData() ? reply->getData() : ""};
  delete reply;
  return answer;
}

inline Answer answerOf(BKReplyHandle reply) { return answerOf(static_cast<CBKReply*>(reply)); }

// Whether an answer is exactly the given one.
inline ::testing::AssertionResult answered(const Answer& answer, bool success, unsigned status,
                                           const std::string& text) {
  if (answer.success == success && answer.status == status && answer.text == text) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << "answer " << (answer.success ? "pass" : "fail") << " "
                                       << answer.status << " \"" << answer.text << '"';
}

// The fixture of the session tests: one session at a time, on a ready station
// (signed, every fault ACTIVE) unless the test chooses other station files.
// It reaches every state through the exported calls.
class SessionTest : public ::testing::Test {
 protected:
  void SetUp() override { writeReadyStation(); }
  void TearDown() override { replace(nullptr); }
  // Makes `uut` the test's session, destroying the previous one.
  CUUT* replace(CUUT* uut) {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    return uut_ = uut;
  }
  // Writes info_ and health_ (the info file signed if signed_) and starts a
  // new session, which reads them.
  CUUT* start() {
    signed_ ? writeSignedStationFiles(info_, health_) : writeStationFiles(info_, health_);
    replace(startSession());
    EXPECT_NE(uut_, nullptr);
    return uut_;
  }
  // A new session with all its attributes and the given results.
  CUUT* filled(int passes, int failures = 0, int nas = 0, bool withLimits = true) {
    replace(startSession());
    addAttributes(uut_, withLimits);
    addResults(uut_, passes, failures, nas);
    return uut_;
  }
  // As filled, and taken through done, which moved it to UID.did.
  CUUT* doneSession(int passes, int failures = 0, int nas = 0) {
    filled(passes, failures, nas);
    done();
    EXPECT_TRUE(fileExists(std::string(kUutData) + uut_->getUID() + ".did"));
    return uut_;
  }
  Answer done() { return answerOf(BK_UUTDone(uut_)); }
  Answer commit(BK_PASSFAILRESULT claim = BK_PASS) { return answerOf(BK_UUTCommit(uut_, claim)); }
  Answer amIOkay(const char* serialNumber = nullptr) {
    return answerOf(BK_amIOkay(uut_, serialNumber));
  }
  // The health agent reports the ethernet down from now on: am-I-okay and
  // done fail on it, ACTIVE or PASSIVE by the station's policy.
  void unplugEthernet() {
    health_["ethernet_ok"] = 0;
    writeFile(kHealthPath, health_.toStyledString());
  }

  void markLog() { logMark_ = readLog().size(); }
  // Whether the log gained `text` since the last mark.
  bool logged(const std::string& text) const {
    return readLog().find(text, logMark_) != std::string::npos;
  }
  // As if the health agent had last written its file an hour ago.
  static void ageHealthFile() {
    const time_t old = time(nullptr) - 3600;
    struct utimbuf times = {old, old};
    ASSERT_EQ(utime(kHealthPath, &times), 0);
  }

  Json::Value info_ = readyStationInfo();
  Json::Value health_ = sampleHealth();
  bool signed_ = true;
  CUUT* uut_ = nullptr;
  std::size_t logMark_ = 0;
};

inline std::string dirOf(CUUT* uut, const char* suffix) {
  return std::string(kUutData) + uut->getUID() + suffix;
}

inline Json::Value parseFile(const std::string& path) {
  Json::Value root;
  Json::Reader reader;
  EXPECT_TRUE(reader.parse(readFile(path), root)) << path;
  return root;
}

// Both signatures of a committed results file hold, as its consumers check
// them, with the development results key.
inline ::testing::AssertionResult verifyCommittedResults(const std::string& path) {
  std::string reason;
  if (verifySignedResults(BK_DEV_RESULTS_PUBLIC_KEY, readFile(path), reason)) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure() << reason;
}

}  // namespace bk_test

#endif  // BRAMBLEKIT_TESTS_SUPPORT_SESSIONRUN_H_
