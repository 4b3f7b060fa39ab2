// Station health as judged from the health file, its age, the station info
// file and the forwarding agent's version file.
#include <gtest/gtest.h>

#include <string>

#include "support/SessionRun.h"

namespace {

unsigned failStatus(unsigned message) { return (1u << 31) | (32u << 20) | message; }

class HealthProbes : public bk_test::SessionTest {
 protected:
  unsigned status() { return reply_.getStatus(); }
  std::string text() { return reply_.hasData() ? reply_.getData() : "<none>"; }
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
  for (const auto& [probe, missingText, message] : probes) EXPECT_TRUE(probe(uut_, &reply_));
  remove(bk_test::kHealthPath);
  for (const auto& [probe, missingText, message] : probes) {
    EXPECT_FALSE(probe(uut_, &reply_)) << message;
    EXPECT_EQ(text(), missingText);
    EXPECT_EQ(status(), failStatus(message));
  }
  EXPECT_FALSE(BK_isMartenRunning(uut_, nullptr));
}

// Unreadable values pass with a report in the reply, and pass without one.
TEST_F(HealthProbes, UnreadableValuesPassWithAReport) {
  health_["ethernet_ok"] = "1";                               // only an integer flag is read
  health_.removeMember("network_last_successful_check_int");  // as the agent's sample spells it
  health_["kssi_last_successful_check"] = Json::Int64(1294998733);  // no fraction
  info_["ksinfo"]["NETWORK_NOT_OK_TIMEOUT"] = 60;
  start();
  const std::tuple<Probe, const char*, unsigned> probes[] = {
      {BK_isEtherNetOK, "Can't interpret ethernet_ok value from station_health_check.json file",
       BK_MSG_ERROR_ETHERNET_NOT_RESPONDING},
      {BK_isNetWorkOK, "Can't interpret network_last_successful_check_int value",
       BK_MSG_ERROR_NETWORK_NOT_RESPONDING},
      {BK_isKestrelOK, "Can not interpret kssi_last_successful_check value",
       BK_MSG_ERROR_KESTREL_NOT_RESPONDING}};
  for (const auto& [probe, report, message] : probes) {
    EXPECT_TRUE(probe(uut_, &reply_)) << report;
    EXPECT_EQ(text(), report);
    EXPECT_EQ(status(), failStatus(message));
  }
  for (const auto& [probe, report, message] : probes) EXPECT_TRUE(probe(uut_, nullptr)) << report;
}

// A stamp with a fraction is read, and this one is long stale.
TEST_F(HealthProbes, StaleKestrelStampFails) {
  health_["kssi_last_successful_check"] = 1294998733.5;
  start();
  EXPECT_FALSE(BK_isKestrelOK(uut_, &reply_));
  EXPECT_EQ(status(), failStatus(BK_MSG_ERROR_KESTREL_NOT_RESPONDING));
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
    EXPECT_EQ(status(), ok ? 0u : failStatus(BK_MSG_ERROR_NETWORK_NOT_RESPONDING));
  }
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
    std::string read, library, required;
    EXPECT_EQ(BK_checkMartenVersion(&read, &library, &required), ok);
  }
}

}  // namespace
