// Station health as judged from the health file, its age, the station info
// file and the forwarding agent's version file.
#include <gtest/gtest.h>
#include <time.h>
#include <utime.h>

#include <string>

#include "interface/Bramblekit.h"
#include "interface/Reply.h"
#include "support/TestSupport.h"

namespace {

unsigned failStatus(unsigned message) { return (1u << 31) | (32u << 20) | message; }

// The number of seconds between `prefix` and `suffix`, or -1 if the text has
// another form.
long secondsIn(const std::string& text, const std::string& prefix, const std::string& suffix) {
  if (text.size() <= prefix.size() + suffix.size() || text.compare(0, prefix.size(), prefix) ||
      text.compare(text.size() - suffix.size(), suffix.size(), suffix)) {
    return -1;
  }
  const std::string digits =
      text.substr(prefix.size(), text.size() - prefix.size() - suffix.size());
  return digits.find_first_not_of("0123456789") == std::string::npos ? std::stol(digits) : -1;
}

void ageHealthFile() {
  const time_t old = time(nullptr) - 3600;
  struct utimbuf times = {old, old};
  ASSERT_EQ(utime(bk_test::kHealthPath, &times), 0);
}

class HealthProbes : public ::testing::Test {
 protected:
  void SetUp() override {
    info_ = bk_test::sampleStationInfo();
    health_ = bk_test::sampleHealth();
  }
  void TearDown() override {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
  }
  // The station info file is read only when a session starts.
  void start() {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    bk_test::writeStationFiles(info_, health_);
    BKReplyHandle started = BK_UUTStart(&uut_);
    ASSERT_TRUE(BK_success(started));
    BK_reply_destroy(started);
    reply_ = CBKReply();
  }
  void rewriteHealth() {
    bk_test::writeStationFiles(info_, health_);
    reply_ = CBKReply();
  }
  unsigned status() { return reply_.getStatus(); }
  std::string text() { return reply_.hasData() ? reply_.getData() : "<none>"; }

  Json::Value info_;
  Json::Value health_;
  UUTHandle uut_ = nullptr;
  CBKReply reply_;
};

using Probe = bool (*)(UUTHandle, BKReplyHandle);

TEST_F(HealthProbes, FreshHealthFilePassesAndMissingFileFailsEachProbe) {
  info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = 60;
  info_["ksinfo"]["MARTEN_NOT_RUNNING_TIMEOUT"] = 60;
  start();
  const std::tuple<Probe, const char*, unsigned> probes[] = {
      {BK_isEtherNetOK, "Station_health_check.json file does not exist.",
       BK_MSG_ERROR_ETHERNET_NOT_RESPONDING},
      {BK_isNetWorkOK, "Station_health_check.json file does not exist.",
       BK_MSG_ERROR_NETWORK_NOT_RESPONDING},
      {BK_isKestrelOK, "Station_health_check.json file does not exist",
       BK_MSG_ERROR_KESTREL_NOT_RESPONDING},
      {BK_isMartenRunning, "[Station_Health_Check.json not found]",
       BK_MSG_ERROR_MARTEN_NOT_RUNNING},
  };
  for (const auto& [probe, missingText, message] : probes) {
    reply_.setStatus(0x1234);
    EXPECT_TRUE(probe(uut_, &reply_)) << message;
    // Ethernet leaves the caller's reply alone when it passes; the others clear it.
    EXPECT_EQ(status(), probe == BK_isEtherNetOK ? 0x1234u : 0u) << message;
    EXPECT_FALSE(reply_.hasData()) << message;
  }
  remove(bk_test::kHealthPath);
  for (const auto& [probe, missingText, message] : probes) {
    EXPECT_FALSE(probe(uut_, &reply_)) << message;
    EXPECT_EQ(text(), missingText);
    EXPECT_EQ(status(), failStatus(message));
  }
  // Without a reply the verdict and the error line remain.
  EXPECT_FALSE(BK_isMartenRunning(uut_, nullptr));
  EXPECT_NE(bk_test::readLog().find("ERROR: [Station_Health_Check.json not found]"),
            std::string::npos);
}

TEST_F(HealthProbes, EthernetReadsOnlyAnIntegerFlag) {
  health_["ethernet_ok"] = 0;
  start();
  EXPECT_FALSE(BK_isEtherNetOK(uut_, &reply_));
  EXPECT_EQ(text(), "Value found in station_health_check_file [0]");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_ETHERNET_NOT_RESPONDING));

  // An unreadable flag is reported in the reply but passes.
  health_["ethernet_ok"] = "1";
  rewriteHealth();
  EXPECT_TRUE(BK_isEtherNetOK(uut_, &reply_));
  EXPECT_EQ(text(), "Can't interpret ethernet_ok value from station_health_check.json file");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_ETHERNET_NOT_RESPONDING));

  // Without a reply the flag is converted anyway: a missing key throws.
  health_.removeMember("ethernet_ok");
  rewriteHealth();
  EXPECT_ANY_THROW(BK_isEtherNetOK(uut_, nullptr));

  // A passive policy keeps the false verdict but not the fail bit.
  info_["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = 0;
  health_["ethernet_ok"] = 0;
  start();
  EXPECT_FALSE(BK_isEtherNetOK(uut_, &reply_));
  EXPECT_EQ(status(), (32u << 20) | BK_MSG_ERROR_ETHERNET_NOT_RESPONDING);
}

TEST_F(HealthProbes, NetworkTimeoutFromTheStationFile) {
  const Json::Int64 now = time(nullptr);
  const std::tuple<Json::Value, Json::Int64, bool> cases[] = {
      {-1, now - 365 * 24 * 3600, true},  // switched off
      {60, now - 30, true},
      {60, now - 3600, false},
      {60, now + 3600, true},           // a stamp from the future counts as fresh
      {Json::Value(), now - 5, false},  // no key: a time-out of 0
      {"600", now - 5, false},          // not an integer: also 0
  };
  for (const auto& [timeout, lastCheck, ok] : cases) {
    SCOPED_TRACE(timeout.toStyledString() + std::to_string(now - lastCheck));
    info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = timeout;
    if (timeout.isNull()) info_["ksinfo"].removeMember("NETWORK_NOT_OK_TIMEOUT");
    health_["network_last_successful_check_int"] = lastCheck;
    start();
    EXPECT_EQ(BK_isNetWorkOK(uut_, &reply_), ok);
    if (ok) {
      EXPECT_EQ(status(), 0u);
    } else {
      EXPECT_GT(secondsIn(text(), "Total time elapsed in secs. [", "]"), 0) << text();
      EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_NETWORK_NOT_RESPONDING));
    }
  }
  // The agent's own sample writes the key without the second s: it passes
  // with a report, and throws without a reply.
  info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = 60;
  health_.removeMember("network_last_successful_check_int");
  start();
  EXPECT_TRUE(BK_isNetWorkOK(uut_, &reply_));
  EXPECT_EQ(text(), "Can't interpret network_last_successful_check_int value");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_NETWORK_NOT_RESPONDING));
  EXPECT_ANY_THROW(BK_isNetWorkOK(uut_, nullptr));
}

TEST_F(HealthProbes, KestrelWantsAStampWithAFraction) {
  health_["kssi_last_successful_check"] = Json::Int64(1294998733);
  start();
  EXPECT_TRUE(BK_isKestrelOK(uut_, &reply_));
  EXPECT_EQ(text(), "Can not interpret kssi_last_successful_check value");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_KESTREL_NOT_RESPONDING));

  // The same stamp with a fraction is read, and is long stale.
  health_["kssi_last_successful_check"] = 1294998733.5;
  rewriteHealth();
  EXPECT_FALSE(BK_isKestrelOK(uut_, &reply_));
  EXPECT_GT(secondsIn(text(), "KESTREL_NOT_OK: total time elapsed [", "]"), 0) << text();
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_KESTREL_NOT_RESPONDING));
}

TEST_F(HealthProbes, MartenJudgesTheAgeOfTheHealthFile) {
  info_["ksinfo"]["MARTEN_NOT_RUNNING_TIMEOUT"] = 600;
  start();
  // The contents do not matter, only when the agent last wrote the file.
  bk_test::writeFile(bk_test::kHealthPath, "not json at all");
  EXPECT_TRUE(BK_isMartenRunning(uut_, &reply_));
  ageHealthFile();
  EXPECT_FALSE(BK_isMartenRunning(uut_, &reply_));
  const long age = secondsIn(text(), "[Station_Health_Check file is [", "] secs. old]");
  EXPECT_GE(age, 3600) << text();
  EXPECT_LE(age, 3609) << text();
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_MARTEN_NOT_RUNNING));
}

// A negative time-out switches the check off, reply untouched, however stale
// the report; a missing one is converted all the same and throws.
TEST_F(HealthProbes, KestrelAndMartenTimeoutsOffOrMissing) {
  info_["ksinfo"]["KSSI_LASTUPDATE_TIMEOUT"] = -1;
  info_["ksinfo"]["MARTEN_NOT_RUNNING_TIMEOUT"] = -1;
  health_["kssi_last_successful_check"] = 1294998733.5;
  start();
  ageHealthFile();
  reply_.setStatus(0x1234);
  EXPECT_TRUE(BK_isKestrelOK(uut_, &reply_));
  EXPECT_TRUE(BK_isMartenRunning(uut_, &reply_));
  EXPECT_EQ(status(), 0x1234u);
  EXPECT_FALSE(reply_.hasData());

  info_["ksinfo"].removeMember("KSSI_LASTUPDATE_TIMEOUT");
  info_["ksinfo"].removeMember("MARTEN_NOT_RUNNING_TIMEOUT");
  start();
  EXPECT_ANY_THROW(BK_isKestrelOK(uut_, &reply_));
  EXPECT_ANY_THROW(BK_isMartenRunning(uut_, &reply_));
}

TEST(MartenVersion, ComparesDigitStringsByValue) {
  const std::pair<const char*, bool> cases[] = {
      {"3.0.0.0", true},   {"3.0.0.1", true},
      {"2.9.9.9", false},  {"3.1", false},  // 301000 < 3000000
      {"2.9.9.9\n", true},                  // the read after the line feed leaves nothing
      {"", true},          {"1.0\n3.0.0.0", true},
  };
  for (const auto& [file, ok] : cases) {
    SCOPED_TRACE(file);
    bk_test::writeFile("/tmp/bramble_version", file);
    std::string read, library = "lib:", required = "req:";
    EXPECT_EQ(BK_checkMartenVersion(&read, &library, &required), ok);
    EXPECT_EQ(library, read.empty() ? "lib:" : std::string("lib:") + BK_getVersion());
    EXPECT_EQ(required, read.empty() ? "req:" : "req:3.0.0.0");
  }
  // A missing file is taken as recent enough, and nothing is written.
  remove("/tmp/bramble_version");
  std::string read = "r", library = "l", required = "q";
  EXPECT_TRUE(BK_checkMartenVersion(&read, &library, &required));
  EXPECT_EQ(read + library + required, "rlq");
  EXPECT_TRUE(BK_checkMartenVersion(nullptr, nullptr, nullptr));
}

}  // namespace
