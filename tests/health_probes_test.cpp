// Station health as judged from the health file, its age, the station info
// file and the forwarding agent's version file.
#include <gtest/gtest.h>
#include <sys/time.h>
#include <time.h>
#include <utime.h>

#include <string>

#include "interface/Bramblekit.h"
#include "interface/Reply.h"
#include "support/TestSupport.h"

namespace {

unsigned failStatus(unsigned message) { return (1u << 31) | (32u << 20) | message; }

// `prefix`, a number of seconds, `suffix`; the number, or -1 if the text has
// another form.
long secondsIn(const std::string& text, const std::string& prefix, const std::string& suffix) {
  if (text.size() <= prefix.size() + suffix.size() || text.compare(0, prefix.size(), prefix) ||
      text.compare(text.size() - suffix.size(), suffix.size(), suffix)) {
    return -1;
  }
  const std::string digits =
      text.substr(prefix.size(), text.size() - prefix.size() - suffix.size());
  if (digits.find_first_not_of("0123456789") != std::string::npos) return -1;
  return std::stol(digits);
}

class HealthProbes : public ::testing::Test {
 protected:
  void SetUp() override {
    info_ = bk_test::sampleStationInfo();
    health_ = bk_test::sampleHealth();
  }
  void TearDown() override {
    if (reply_ != nullptr) BK_reply_destroy(reply_);
    if (uut_ != nullptr) BK_UID_destroy(uut_);
  }

  // The station info file is read only when a session starts, so the files
  // are written first and a session opened on them.
  void start() {
    bk_test::writeStationFiles(info_, health_);
    BKReplyHandle started = BK_UUTStart(&uut_);
    ASSERT_TRUE(BK_success(started));
    BK_reply_destroy(started);
    reply_ = new CBKReply();
  }
  void rewriteHealth() { bk_test::writeStationFiles(info_, health_); }

  CBKReply* reply() { return static_cast<CBKReply*>(reply_); }
  unsigned status() { return reply()->getStatus(); }
  std::string text() { return reply()->hasData() ? reply()->getData() : "<none>"; }

  Json::Value info_;
  Json::Value health_;
  UUTHandle uut_ = nullptr;
  BKReplyHandle reply_ = nullptr;
};

TEST_F(HealthProbes, FreshHealthFilePassesEveryProbe) {
  info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = 60;
  info_["ksinfo"]["MARTEN_NOT_RUNNING_TIMEOUT"] = 60;
  start();
  EXPECT_TRUE(BK_isEtherNetOK(uut_, reply_));
  // The Ethernet probe leaves the caller's reply alone when it passes.
  EXPECT_FALSE(reply()->hasData());
  reply()->setStatus(0x1234);
  EXPECT_TRUE(BK_isNetWorkOK(uut_, reply_));
  EXPECT_EQ(status(), 0u);
  reply()->setStatus(0x1234);
  EXPECT_TRUE(BK_isKestrelOK(uut_, reply_));
  EXPECT_EQ(status(), 0u);
  reply()->setStatus(0x1234);
  EXPECT_TRUE(BK_isMartenRunning(uut_, reply_));
  EXPECT_EQ(status(), 0u);
  EXPECT_FALSE(reply()->hasData());
}

TEST_F(HealthProbes, MissingHealthFileFailsEachProbeWithItsOwnText) {
  info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = -1;  // the file test comes first
  start();
  remove(bk_test::kHealthPath);

  EXPECT_FALSE(BK_isEtherNetOK(uut_, reply_));
  EXPECT_EQ(text(), "Station_health_check.json file does not exist.");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_ETHERNET_NOT_RESPONDING));
  EXPECT_FALSE(BK_isNetWorkOK(uut_, reply_));
  EXPECT_EQ(text(), "Station_health_check.json file does not exist.");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_NETWORK_NOT_RESPONDING));
  EXPECT_FALSE(BK_isKestrelOK(uut_, reply_));
  EXPECT_EQ(text(), "Station_health_check.json file does not exist");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_KESTREL_NOT_RESPONDING));
  EXPECT_FALSE(BK_isMartenRunning(uut_, reply_));
  EXPECT_EQ(text(), "[Station_Health_Check.json not found]");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_MARTEN_NOT_RUNNING));

  // Without a reply the verdict and the error line remain.
  EXPECT_FALSE(BK_isMartenRunning(uut_, nullptr));
  EXPECT_NE(bk_test::readLog().find("ERROR: [Station_Health_Check.json not found]"),
            std::string::npos);
}

TEST_F(HealthProbes, EthernetReadsOnlyAnIntegerFlag) {
  start();
  health_["ethernet_ok"] = 0;
  rewriteHealth();
  EXPECT_FALSE(BK_isEtherNetOK(uut_, reply_));
  EXPECT_EQ(text(), "Value found in station_health_check_file [0]");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_ETHERNET_NOT_RESPONDING));

  // An unreadable flag is reported in the reply but passes.
  delete reply();
  reply_ = new CBKReply();
  health_["ethernet_ok"] = "1";
  rewriteHealth();
  EXPECT_TRUE(BK_isEtherNetOK(uut_, reply_));
  EXPECT_EQ(text(), "Can't interpret ethernet_ok value from station_health_check.json file");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_ETHERNET_NOT_RESPONDING));

  // Without a reply the flag is converted anyway: a missing key throws.
  health_.removeMember("ethernet_ok");
  rewriteHealth();
  EXPECT_ANY_THROW(BK_isEtherNetOK(uut_, nullptr));
}

TEST_F(HealthProbes, PassivePolicyKeepsTheFalseVerdict) {
  info_["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = 0;
  health_["ethernet_ok"] = 0;
  start();
  EXPECT_FALSE(BK_isEtherNetOK(uut_, reply_));
  EXPECT_TRUE(BK_success(reply_));
  EXPECT_EQ(status(), (32u << 20) | BK_MSG_ERROR_ETHERNET_NOT_RESPONDING);
}

TEST_F(HealthProbes, NetworkTimeoutFromTheStationFile) {
  const Json::Int64 now = time(nullptr);
  struct Case {
    Json::Value timeout;
    Json::Int64 lastCheck;
    bool ok;
  } cases[] = {
      {-1, now - 365 * 24 * 3600, true},  // switched off
      {60, now - 30, true},
      {60, now - 3600, false},
      {60, now + 3600, true},           // a stamp from the future counts as fresh
      {Json::Value(), now - 5, false},  // no key: a time-out of 0
      {"600", now - 5, false},          // not an integer: also 0
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.timeout.toStyledString() + std::to_string(now - c.lastCheck));
    if (c.timeout.isNull()) {
      info_["ksinfo"].removeMember("NETWORK_NOT_OK_TIMEOUT");
    } else {
      info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = c.timeout;
    }
    health_["network_last_successful_check_int"] = c.lastCheck;
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    delete reply();
    start();
    EXPECT_EQ(BK_isNetWorkOK(uut_, reply_), c.ok);
    if (c.ok) {
      EXPECT_EQ(status(), 0u);
    } else {
      EXPECT_GT(secondsIn(text(), "Total time elapsed in secs. [", "]"), 0) << text();
      EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_NETWORK_NOT_RESPONDING));
    }
  }
}

TEST_F(HealthProbes, NetworkStampThatIsNoIntegerPassesWithAReport) {
  info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = 60;
  // The agent's own sample writes the key without the second s.
  health_.removeMember("network_last_successful_check_int");
  start();
  EXPECT_TRUE(BK_isNetWorkOK(uut_, reply_));
  EXPECT_EQ(text(), "Can't interpret network_last_successful_check_int value");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_NETWORK_NOT_RESPONDING));
  EXPECT_ANY_THROW(BK_isNetWorkOK(uut_, nullptr));
}

TEST_F(HealthProbes, KestrelWantsAStampWithAFraction) {
  health_["kssi_last_successful_check"] = Json::Int64(1294998733);
  start();
  EXPECT_TRUE(BK_isKestrelOK(uut_, reply_));
  EXPECT_EQ(text(), "Can not interpret kssi_last_successful_check value");
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_KESTREL_NOT_RESPONDING));

  // The same stamp with a fraction is read, and is long stale.
  delete reply();
  reply_ = new CBKReply();
  health_["kssi_last_successful_check"] = 1294998733.5;
  rewriteHealth();
  EXPECT_FALSE(BK_isKestrelOK(uut_, reply_));
  EXPECT_GT(secondsIn(text(), "KESTREL_NOT_OK: total time elapsed [", "]"), 0) << text();
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_KESTREL_NOT_RESPONDING));
}

TEST_F(HealthProbes, MartenJudgesTheAgeOfTheHealthFile) {
  info_["ksinfo"]["MARTEN_NOT_RUNNING_TIMEOUT"] = 600;
  start();
  // The contents do not matter, only when the agent last wrote the file.
  bk_test::writeFile(bk_test::kHealthPath, "not json at all");
  EXPECT_TRUE(BK_isMartenRunning(uut_, reply_));

  const time_t old = time(nullptr) - 3600;
  struct utimbuf times = {old, old};
  ASSERT_EQ(utime(bk_test::kHealthPath, &times), 0);
  EXPECT_FALSE(BK_isMartenRunning(uut_, reply_));
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
  const time_t old = time(nullptr) - 3600;
  struct utimbuf times = {old, old};
  ASSERT_EQ(utime(bk_test::kHealthPath, &times), 0);
  reply()->setStatus(0x1234);
  EXPECT_TRUE(BK_isKestrelOK(uut_, reply_));
  EXPECT_TRUE(BK_isMartenRunning(uut_, reply_));
  EXPECT_EQ(status(), 0x1234u);
  EXPECT_FALSE(reply()->hasData());

  BK_UID_destroy(uut_);
  info_["ksinfo"].removeMember("KSSI_LASTUPDATE_TIMEOUT");
  info_["ksinfo"].removeMember("MARTEN_NOT_RUNNING_TIMEOUT");
  delete reply();
  start();
  EXPECT_ANY_THROW(BK_isKestrelOK(uut_, reply_));
  EXPECT_ANY_THROW(BK_isMartenRunning(uut_, reply_));
}

TEST(VersionStubs, PassWithAnEmptyText) {
  for (auto probe : {BK_isStationSWVersionOK, BK_isMartenVersionOK, BK_isOtterVersionOK}) {
    CBKReply reply;
    reply.setData("old");
    reply.setStatus(0x80000001u);
    EXPECT_TRUE(probe(nullptr, &reply));
    EXPECT_STREQ(reply.getData(), "");
    EXPECT_EQ(reply.getStatus(), 0u);
    EXPECT_TRUE(probe(nullptr, nullptr));
  }
}

TEST(MartenVersion, ComparesDigitStringsByValue) {
  struct Case {
    const char* file;
    bool ok;
  } cases[] = {
      {"3.0.0.0", true},   {"3.0.0.1", true},
      {"2.9.9.9", false},  {"3.1", false},  // 301000 < 3000000
      {"2.9.9.9\n", true},                  // the read after the line feed leaves nothing
      {"", true},          {"1.0\n3.0.0.0", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    bk_test::writeFile("/tmp/bramble_version", c.file);
    std::string read, library = "lib:", required = "req:";
    EXPECT_EQ(BK_checkMartenVersion(&read, &library, &required), c.ok);
    if (read.empty()) {
      EXPECT_EQ(library, "lib:");
    } else {
      EXPECT_EQ(library, std::string("lib:") + BK_getVersion());
      EXPECT_EQ(required, "req:3.0.0.0");
    }
  }
}

TEST(MartenVersion, MissingFileIsTakenAsRecentEnough) {
  remove("/tmp/bramble_version");
  std::string read = "r", library = "l", required = "q";
  EXPECT_TRUE(BK_checkMartenVersion(&read, &library, &required));
  EXPECT_EQ(read + library + required, "rlq");
  EXPECT_TRUE(BK_checkMartenVersion(nullptr, nullptr, nullptr));
}

}  // namespace
