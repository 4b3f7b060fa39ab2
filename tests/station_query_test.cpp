// BK_getKSStationInfo: the numbering of the keys and the two-call protocol.
#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include "interface/Bramblekit.h"
#include "interface/Reply.h"
#include "support/TestSupport.h"

namespace {

const unsigned kFailApiSyntax = 0x80100004u;

// The numbers stations use, as they have always been; 0 marks a gap.
const char* const kExpectedKeys[49] = {
    nullptr,
    "SITE",
    "PRODUCT",
    "BUILD_STAGE",
    "BUILD_SUBSTAGE",
    "REMOTE_ADDR",
    "LOCATION",
    "LINE_NUMBER",
    "STATION_NUMBER",
    "STATION_TYPE",
    "SCREEN_COLOR",
    "STATION_IP",
    "DCS_IP",
    "TRAX_IP",
    "HERON_IP",
    "MAGPIE_IP",
    "FUSING_IP",
    "DROPBOX_IP",
    "SFC_IP",
    "SFC_URL",
    "PROV_IP",
    "DATE_TIME",
    "STATION_ID",
    "KESTREL_IP",
    "MAC",
    "SAVE_BRICKS",
    "LOCAL_CSV",
    "REALTIME_PARAMETRIC",
    "SINGLE_CSV_UUT",
    "STATION_DISPLAY_NAME",
    "URI_CONFIG_PATH",
    "SFC_QUERY_UNIT_ON_OFF",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "STATION_SET_CONTROL_BIT_ON_OFF",
    "CONTROL_BITS_TO_CHECK_ON_OFF",
    "CONTROL_BITS_TO_CLEAR_ON_PASS_ON_OFF",
    "CONTROL_BITS_TO_CLEAR_ON_FAIL_ON_OFF",
    "ACTIVATION_IP",
    "LINE_MANAGER_IP",
    "GDADMIN",
    "SKIFF_LINE",
    "USB_STORAGE",
    "FIREWALL",
    "UNIT_PROCESS_REQUIRE_OCELOT",
    "KESTREL_STARTED",
    "LAST_RESTORED",
};

class StationQuery : public ::testing::Test {
 protected:
  void start(const Json::Value& info) {
    bk_test::writeStationFiles(info);
    BKReplyHandle reply = BK_UUTStart(&handle);
    ASSERT_TRUE(BK_success(reply));
    BK_reply_destroy(reply);
  }
  void TearDown() override {
    if (handle != nullptr) BK_UID_destroy(handle);
  }

  // Both calls as a station makes them; the text, or the first failure's.
  struct Answer {
    bool ok;
    std::string value;
    std::string text;
    unsigned status;
  };
  Answer query(int key) {
    unsigned long long length = 0;
    BKReplyHandle first = BK_getKSStationInfo(handle, key, nullptr, &length);
    Answer answer{BK_success(first), "", BK_reply_getError(first),
                  static_cast<CBKReply*>(first)->getStatus()};
    BK_reply_destroy(first);
    if (!answer.ok) return answer;
    std::string buffer(length + 1, '#');
    char* text = &buffer[0];
    BKReplyHandle second = BK_getKSStationInfo(handle, key, &text, &length);
    answer = {BK_success(second), "", BK_reply_getError(second),
              static_cast<CBKReply*>(second)->getStatus()};
    if (answer.ok) answer.value = buffer.c_str();
    BK_reply_destroy(second);
    return answer;
  }

  UUTHandle handle = nullptr;
};

TEST_F(StationQuery, EveryNumberReadsItsKey) {
  Json::Value info = bk_test::sampleStationInfo();
  for (int key = 1; key <= 48; ++key) {
    if (kExpectedKeys[key] != nullptr)
      info["ksinfo"][kExpectedKeys[key]] = "v" + std::to_string(key);
  }
  start(info);
  for (int key = 1; key <= 48; ++key) {
    if (kExpectedKeys[key] == nullptr) continue;
    Answer answer = query(key);
    EXPECT_TRUE(answer.ok) << key << ": " << answer.text;
    EXPECT_EQ(answer.value, "v" + std::to_string(key)) << kExpectedKeys[key];
    EXPECT_EQ(answer.text, std::string("Value obtained for KEY [") + kExpectedKeys[key] + "] = [v" +
                               std::to_string(key) + "] from ks_station_info.json file");
  }
}

TEST_F(StationQuery, FirstCallGivesTheLengthAndWritesNothing) {
  start(bk_test::sampleStationInfo());
  unsigned long long length = 99;
  BKReplyHandle reply = BK_getKSStationInfo(handle, 9, nullptr, &length);
  EXPECT_TRUE(BK_success(reply));
  EXPECT_EQ(static_cast<CBKReply*>(reply)->getStatus(), 0u);
  EXPECT_EQ(length, strlen("FUNCTIONAL-TEST"));
  EXPECT_STREQ(BK_reply_getError(reply),
               "First Call: Length of buffer = [15] required for key [STATION_TYPE] needs to be "
               "passed in the next call.");
  BK_reply_destroy(reply);
}

TEST_F(StationQuery, UnknownNumbersAnswerTheFirstCallAndFailTheSecond) {
  start(bk_test::sampleStationInfo());
  for (int key : {0, 32, 35, 49, -1}) {
    unsigned long long length = 0;
    BKReplyHandle first = BK_getKSStationInfo(handle, key, nullptr, &length);
    EXPECT_TRUE(BK_success(first)) << key;
    EXPECT_EQ(length, 8u) << key;  // the length of "NOTFOUND"
    BK_reply_destroy(first);
    Answer answer = query(key);
    EXPECT_FALSE(answer.ok) << key;
    EXPECT_EQ(answer.status, kFailApiSyntax);
    EXPECT_EQ(answer.text, "KEY does not exist in the ks_station_info.json.");
  }
  EXPECT_GE(bk_test::countLines(bk_test::readLog(), "Try to get invalid value"), 5u);
}

TEST_F(StationQuery, MissingEmptyAndNonTextValues) {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"].removeMember("SITE");
  info["ksinfo"]["PRODUCT"] = "";
  info["ksinfo"]["LOCATION"] = 7;
  start(info);

  Answer absent = query(1);
  EXPECT_TRUE(absent.ok);
  EXPECT_EQ(absent.value, "NOTFOUND");

  unsigned long long length = 5;
  BKReplyHandle empty = BK_getKSStationInfo(handle, 2, nullptr, &length);
  EXPECT_FALSE(BK_success(empty));
  EXPECT_EQ(length, 0u);
  EXPECT_STREQ(BK_reply_getError(empty), "KEY does not exist in the ks_station_info.json.");
  BK_reply_destroy(empty);

  Answer number = query(6);
  EXPECT_FALSE(number.ok);
  EXPECT_EQ(number.status, kFailApiSyntax);
  EXPECT_EQ(number.text,
            "Incorrect value TYPE found for key [LOCATION] in ks_station_info.json found, not a "
            "string TYPE");
}

TEST_F(StationQuery, BadSecondCallsLeaveTheBufferAlone) {
  start(bk_test::sampleStationInfo());
  const std::string expectedText = "API parameters did not get passed in correctly for key [SITE]";

  // A length other than the first call's.
  char buffer[16];
  memset(buffer, '#', sizeof(buffer));
  char* text = buffer;
  unsigned long long length = 3;
  BKReplyHandle reply = BK_getKSStationInfo(handle, 1, &text, &length);
  EXPECT_FALSE(BK_success(reply));
  EXPECT_EQ(static_cast<CBKReply*>(reply)->getStatus(), kFailApiSyntax);
  EXPECT_EQ(BK_reply_getError(reply), expectedText);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(std::string(buffer, sizeof(buffer)), std::string(sizeof(buffer), '#'));
  BK_reply_destroy(reply);

  // A value pointer whose target is NULL, and no length at all.
  char* nothing = nullptr;
  length = 4;
  reply = BK_getKSStationInfo(handle, 1, &nothing, &length);
  EXPECT_FALSE(BK_success(reply));
  EXPECT_EQ(BK_reply_getError(reply), expectedText);
  BK_reply_destroy(reply);
  reply = BK_getKSStationInfo(handle, 1, nullptr, nullptr);
  EXPECT_FALSE(BK_success(reply));
  BK_reply_destroy(reply);
}

TEST_F(StationQuery, NullHandle) {
  start(bk_test::sampleStationInfo());  // loads the fail policy
  unsigned long long length = 12;
  BKReplyHandle reply = BK_getKSStationInfo(nullptr, 1, nullptr, &length);
  EXPECT_FALSE(BK_success(reply));
  EXPECT_STREQ(BK_reply_getError(reply), "NULL ahKSStation handle passed as a parameter");
  EXPECT_EQ(length, 0u);
  BK_reply_destroy(reply);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Entering BK_getKSStationInfo"), 0u);
}

}  // namespace
