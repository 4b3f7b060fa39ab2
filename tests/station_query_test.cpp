// BK_getKSStationInfo: the numbering of the keys and the two-call protocol.
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <utility>
#include <vector>

#include "support/SessionRun.h"

using namespace bk_test;

namespace {

const unsigned kFailApiSyntax = 0x80100004u;
const char* const kNoKey = "KEY does not exist in the ks_station_info.json.";

class StationQuery : public ::testing::Test {
 protected:
  void start(const Json::Value& info = sampleStationInfo()) {
    writeStationFiles(info);
    uut = startSession();
  }
  void TearDown() override { BK_UID_destroy(uut); }

  // The first call alone: it gives the length and writes nothing.
  Answer firstCall(int key, unsigned long long& length) {
    return answerOf(BK_getKSStationInfo(uut, key, nullptr, &length));
  }
  // Both calls as a station makes them: the value read, or the first failure.
  Answer query(int key) {
    unsigned long long length = 0;
    Answer first = firstCall(key, length);
    if (!first.success) return first;
    std::string buffer(length + 1, '#');
    char* text = &buffer[0];
    Answer second = answerOf(BK_getKSStationInfo(uut, key, &text, &length));
    if (second.success) second.text = buffer.c_str();
    return second;
  }

  CUUT* uut = nullptr;
};

// The numbers stations have always used: the edges of the table and its gap.
TEST_F(StationQuery, NumbersReadTheirKeysAndGapsAreUnknown) {
  const std::pair<int, const char*> keys[] = {{1, "SITE"},
                                              {9, "STATION_TYPE"},
                                              {24, "MAC"},
                                              {31, "SFC_QUERY_UNIT_ON_OFF"},
                                              {47, "KESTREL_STARTED"},
                                              {48, "LAST_RESTORED"},
                                              {36, "STATION_SET_CONTROL_BIT_ON_OFF"}};
  Json::Value info = sampleStationInfo();
  for (const auto& [key, name] : keys) info["ksinfo"][name] = "v" + std::to_string(key);
  start(info);
  for (const auto& [key, name] : keys) {
    EXPECT_TRUE(answered(query(key), true, 0, "v" + std::to_string(key))) << name;
  }
  unsigned long long length = 99;
  EXPECT_TRUE(firstCall(24, length).success);
  EXPECT_EQ(length, 3u);

  // An unknown number passes the first call as "NOTFOUND" and fails the second.
  for (int key : {0, 32, 35, 49, -1}) {
    EXPECT_TRUE(firstCall(key, length).success) << key;
    EXPECT_EQ(length, 8u) << key;
    EXPECT_TRUE(answered(query(key), false, kFailApiSyntax, kNoKey)) << key;
  }
}

// Every BK_KS_ constant of the public header reads the key it is named after.
TEST_F(StationQuery, HeaderKeyConstantsReadTheirKeys) {
  const std::string header = readFile(BK_PUBLIC_HEADER);
  std::vector<std::pair<int, std::string>> keys;
  const std::string prefix = "  BK_KS_";  // an enumerator line: "  BK_KS_<KEY> = <number>"
  for (size_t at = header.find(prefix); at != std::string::npos; at = header.find(prefix, at + 1)) {
    const size_t name = at + prefix.size();
    const size_t equals = header.find(" = ", name);
    keys.emplace_back(std::stoi(header.substr(equals + 3)), header.substr(name, equals - name));
  }
  ASSERT_EQ(keys.size(), 44u);
  Json::Value info = sampleStationInfo();
  for (const auto& [key, name] : keys) info["ksinfo"][name] = "v" + name;
  start(info);
  for (const auto& [key, name] : keys) {
    EXPECT_TRUE(answered(query(key), true, 0, "v" + name)) << name;
  }
}

TEST_F(StationQuery, MissingEmptyAndNonTextValues) {
  Json::Value info = sampleStationInfo();
  info["ksinfo"].removeMember("SITE");
  info["ksinfo"]["PRODUCT"] = "";
  info["ksinfo"]["LOCATION"] = 7;
  start(info);
  EXPECT_EQ(query(1).text, "NOTFOUND");
  unsigned long long length = 5;
  EXPECT_TRUE(answered(firstCall(2, length), false, kFailApiSyntax, kNoKey));
  EXPECT_EQ(length, 0u);
  EXPECT_TRUE(answered(query(6), false, kFailApiSyntax,
                       "Incorrect value TYPE found for key [LOCATION] in ks_station_info.json "
                       "found, not a string TYPE"));
}

TEST_F(StationQuery, BadCallsLeaveTheBufferAloneAndZeroTheLength) {
  start();  // loads the fail policy
  // A length other than the first call's.
  char buffer[16];
  memset(buffer, '#', sizeof(buffer));
  char* text = buffer;
  unsigned long long length = 3;
  Answer wrong = answerOf(BK_getKSStationInfo(uut, 1, &text, &length));
  EXPECT_FALSE(wrong.success);
  EXPECT_EQ(wrong.status, kFailApiSyntax);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(std::string(buffer, sizeof(buffer)), std::string(sizeof(buffer), '#'));

  // A value pointer whose target is NULL, no length at all, or no handle.
  char* nothing = nullptr;
  length = 4;
  EXPECT_FALSE(answerOf(BK_getKSStationInfo(uut, 1, &nothing, &length)).success);
  EXPECT_FALSE(answerOf(BK_getKSStationInfo(uut, 1, nullptr, nullptr)).success);
  length = 12;
  Answer noHandle = answerOf(BK_getKSStationInfo(nullptr, 1, nullptr, &length));
  EXPECT_EQ(noHandle.text, "NULL ahKSStation handle passed as a parameter");
  EXPECT_EQ(length, 0u);
}

}  // namespace
