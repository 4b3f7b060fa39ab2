// BK_getKSStationInfo: the numbering of the keys and the two-call protocol.
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "interface/Bramblekit.h"
#include "interface/Reply.h"
#include "support/TestSupport.h"

namespace {

const unsigned kFailApiSyntax = 0x80100004u;

class StationQuery : public ::testing::Test {
 protected:
  void start(const Json::Value& info = bk_test::sampleStationInfo()) {
    bk_test::writeStationFiles(info);
    BKReplyHandle reply = BK_UUTStart(&handle);
    ASSERT_TRUE(BK_success(reply));
    BK_reply_destroy(reply);
  }
  void TearDown() override {
    if (handle != nullptr) BK_UID_destroy(handle);
  }

  struct Answer {
    bool ok;
    std::string value;
    std::string text;
    unsigned status;
  };
  Answer answerOf(BKReplyHandle reply) {
    Answer answer{BK_success(reply), "", BK_reply_getError(reply),
                  static_cast<CBKReply*>(reply)->getStatus()};
    BK_reply_destroy(reply);
    return answer;
  }
  // Both calls as a station makes them; the text, or the first failure's.
  Answer query(int key) {
    unsigned long long length = 0;
    Answer first = answerOf(BK_getKSStationInfo(handle, key, nullptr, &length));
    if (!first.ok) return first;
    std::string buffer(length + 1, '#');
    char* text = &buffer[0];
    Answer second = answerOf(BK_getKSStationInfo(handle, key, &text, &length));
    if (second.ok) second.value = buffer.c_str();
    return second;
  }

  UUTHandle handle = nullptr;
};

// The numbers stations have always used: the edges of the table and its gap.
TEST_F(StationQuery, NumbersReadTheirKeysAndGapsAreUnknown) {
  const std::pair<int, const char*> keys[] = {{1, "SITE"},
                                              {9, "STATION_TYPE"},
                                              {24, "MAC"},
                                              {31, "SFC_QUERY_UNIT_ON_OFF"},
                                              {36, "STATION_SET_CONTROL_BIT_ON_OFF"},
                                              {47, "KESTREL_STARTED"},
                                              {48, "LAST_RESTORED"}};
  Json::Value info = bk_test::sampleStationInfo();
  for (const auto& [key, name] : keys) info["ksinfo"][name] = "v" + std::to_string(key);
  start(info);
  for (const auto& [key, name] : keys) {
    Answer answer = query(key);
    EXPECT_TRUE(answer.ok) << key << ": " << answer.text;
    EXPECT_EQ(answer.value, "v" + std::to_string(key)) << name;
    EXPECT_EQ(answer.text, std::string("Value obtained for KEY [") + name + "] = [v" +
                               std::to_string(key) + "] from ks_station_info.json file");
  }

  // An unknown number passes the first call as "NOTFOUND" and fails the second.
  for (int key : {0, 32, 35, 49, -1}) {
    unsigned long long length = 0;
    EXPECT_TRUE(answerOf(BK_getKSStationInfo(handle, key, nullptr, &length)).ok) << key;
    EXPECT_EQ(length, 8u) << key;
    Answer answer = query(key);
    EXPECT_FALSE(answer.ok) << key;
    EXPECT_EQ(answer.status, kFailApiSyntax);
    EXPECT_EQ(answer.text, "KEY does not exist in the ks_station_info.json.");
  }
  EXPECT_GE(bk_test::countLines(bk_test::readLog(), "Try to get invalid value"), 5u);
}

TEST_F(StationQuery, FirstCallGivesTheLengthAndWritesNothing) {
  start();
  unsigned long long length = 99;
  Answer answer = answerOf(BK_getKSStationInfo(handle, 9, nullptr, &length));
  EXPECT_TRUE(answer.ok);
  EXPECT_EQ(answer.status, 0u);
  EXPECT_EQ(length, strlen("FUNCTIONAL-TEST"));
  EXPECT_EQ(answer.text,
            "First Call: Length of buffer = [15] required for key [STATION_TYPE] needs to be "
            "passed in the next call.");
}

TEST_F(StationQuery, MissingEmptyAndNonTextValues) {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"].removeMember("SITE");
  info["ksinfo"]["PRODUCT"] = "";
  info["ksinfo"]["LOCATION"] = 7;
  start(info);
  EXPECT_EQ(query(1).value, "NOTFOUND");

  unsigned long long length = 5;
  Answer empty = answerOf(BK_getKSStationInfo(handle, 2, nullptr, &length));
  EXPECT_FALSE(empty.ok);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(empty.text, "KEY does not exist in the ks_station_info.json.");

  Answer number = query(6);
  EXPECT_FALSE(number.ok);
  EXPECT_EQ(number.status, kFailApiSyntax);
  EXPECT_EQ(number.text,
            "Incorrect value TYPE found for key [LOCATION] in ks_station_info.json found, not a "
            "string TYPE");
}

TEST_F(StationQuery, BadCallsLeaveTheBufferAloneAndZeroTheLength) {
  start();  // loads the fail policy
  const std::string expectedText = "API parameters did not get passed in correctly for key [SITE]";

  // A length other than the first call's.
  char buffer[16];
  memset(buffer, '#', sizeof(buffer));
  char* text = buffer;
  unsigned long long length = 3;
  Answer wrong = answerOf(BK_getKSStationInfo(handle, 1, &text, &length));
  EXPECT_FALSE(wrong.ok);
  EXPECT_EQ(wrong.status, kFailApiSyntax);
  EXPECT_EQ(wrong.text, expectedText);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(std::string(buffer, sizeof(buffer)), std::string(sizeof(buffer), '#'));

  // A value pointer whose target is NULL, and no length at all.
  char* nothing = nullptr;
  length = 4;
  EXPECT_EQ(answerOf(BK_getKSStationInfo(handle, 1, &nothing, &length)).text, expectedText);
  EXPECT_FALSE(answerOf(BK_getKSStationInfo(handle, 1, nullptr, nullptr)).ok);

  const size_t entries = bk_test::countLines(bk_test::readLog(), "Entering BK_getKSStationInfo");
  length = 12;
  Answer noHandle = answerOf(BK_getKSStationInfo(nullptr, 1, nullptr, &length));
  EXPECT_FALSE(noHandle.ok);
  EXPECT_EQ(noHandle.text, "NULL ahKSStation handle passed as a parameter");
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Entering BK_getKSStationInfo"), entries);
}

}  // namespace
