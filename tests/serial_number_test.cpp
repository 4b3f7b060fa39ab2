// Serial number and version validation: every layout, the atoi reading of the
// date fields, the check character, and the fail policy's write into the
// session.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "foundation/StatusWord.h"
#include "foundation/TextError.h"
#include "foundation/TextScanners.h"
#include "support/SessionRun.h"

using namespace std::string_literals;

namespace {

std::string errorText(const std::string& rule, const std::string& sn) {
  return "Serial Number Error: " + rule + " [ " + sn + " ]";
}
std::string lengthText(const std::string& sn) {
  return errorText("Serial number is not 11, 12, 13, 16, 17 or 20 digits long (FG, MLB, FULL)", sn);
}

class SerialNumber : public bk_test::SessionTest {
 protected:
  void SetUp() override { start(); }
  // The reply's text for a number, "" when it is valid.
  std::string verdict(const std::string& sn) {
    CBKReply reply;
    if (uut_->validateSerialNumber(&reply, sn)) {
      EXPECT_EQ(reply.getStatus(), 0u) << sn;
      return "";
    }
    EXPECT_EQ(reply.getStatus(), kStatusFailBit | (BK_MSG_CLASS_PROCESS_CONTROL << 20) |
                                     BK_MSG_ERROR_INVALID_SERIAL_NUMBER)
        << sn;
    return reply.getData();
  }
};

TEST_F(SerialNumber, LayoutsByLengthAndPositionRules) {
  for (const std::string& sn : {"C0213ABCDEF"s, "C0213ABCD1234"s, "ABCDEFGH1234"s,
                                "ABC2134ABCD1234X"s, "ABC2134ABCD1234XW"s, "C0213ABCDEF-MPN/RGN"s,
                                "C0213ABCDEFMPN123/A+"s, "C0213ABCDEF" + std::string(289, '#')}) {
    EXPECT_EQ(verdict(sn), "") << sn;
  }
  for (size_t length : {0, 10, 14, 15, 18}) {
    std::string sn(length, '1');
    EXPECT_EQ(verdict(sn), lengthText(sn)) << length;
  }
  const std::pair<std::string, const char*> cases[] = {
      // Chunk texts count from 0, the plant and year texts from 1.
      {"-0213ABCDEF", "Plant code position 1 is not alpha-numeric"},
      {"C0213-BCDEF", "position 5 is not alphanumeric"},
      {"C0213AB\xE9"
       "DEF",
       "position 7 is not alphanumeric"},  // a high-bit byte
      {"C0213AB\0DEF"s, "position 7 is not alphanumeric"},
  };
  for (const auto& [sn, rule] : cases) {
    // A reply's text is a C string: it ends at a NUL within the number.
    EXPECT_EQ(verdict(sn), errorText(rule, sn).c_str()) << sn;
  }
}

// Year, week and day are what atoi makes of them.
TEST_F(SerialNumber, NumericFieldsFollowAtoi) {
  const std::string week = "Week is not between 1 and 53";
  EXPECT_EQ(verdict("C0X13ABCDEF"), "");  // letter year reads 0
  for (const char* field : {"01", "53", "5X", " 7", "+7"}) {
    EXPECT_EQ(verdict("C02"s + field + "ABCDEF"), "") << field;
    EXPECT_EQ(verdict("ABC2"s + field + "4ABCD1234X"), "") << field;
  }
  for (const char* field : {"00", "54", "X7", "-1"}) {
    for (std::string sn : {"C02"s + field + "ABCDEF", "ABC2"s + field + "4ABCD1234X"}) {
      EXPECT_EQ(verdict(sn), errorText(week, sn));
    }
  }
  EXPECT_EQ(verdict("ABC213AABCD1234X"),
            errorText("Day is not between 1 and 9", "ABC213AABCD1234X"));
}

TEST_F(SerialNumber, CheckCharacterIsAWeightedSumOverTheWholeNumber) {
  // Weights 1, 3, 1, ... from the last character back; the sum must be a
  // multiple of 34.
  EXPECT_TRUE(uut_->ValidateSerialNumberChecksum("0000000000000001X"));   // 3 + 31 = 34
  EXPECT_TRUE(uut_->ValidateSerialNumberChecksum("000000000000000CY"));   // 36 + 32 = 68
  EXPECT_FALSE(uut_->ValidateSerialNumberChecksum("0000000000000000Z"));  // 33
  EXPECT_FALSE(uut_->ValidateSerialNumberChecksum("000000000000000OX"));  // O is not in it
  // Position rules take lower case and I or O; the check character does not.
  for (const char* sn : {"ABC2134ABCD1234XV", "abc2134abcd1234xw", "ABC2134ABCD1234OW"}) {
    EXPECT_EQ(verdict(sn), errorText("Bad Checksum for the serial number", sn));
  }
}

TEST_F(SerialNumber, PolicyDecidesThePendingFailureOnly) {
  const std::string active = "ACTIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER";
  const std::string passive = "PASSIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER";
  // A missing entry is passive; one that is no integer is active.
  const std::pair<Json::Value, bool> cases[] = {
      {1, true}, {0, false}, {Json::Value(), false}, {"0", true}, {2, true}};
  for (const auto& [entry, pending] : cases) {
    SCOPED_TRACE(entry.toStyledString());
    info_["lifeline"]["BK_MSG_ERROR_INVALID_SERIAL_NUMBER"] = entry;
    if (entry.isNull()) info_["lifeline"].removeMember("BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
    info_["lifeline"]["BK_MSG_ERROR_ETHERNET_NOT_RESPONDING"] = 0;
    start();
    // An earlier PASSIVE failure, which a PASSIVE verdict takes back.
    unplugEthernet();
    ASSERT_TRUE(amIOkay().success);
    ASSERT_TRUE(uut_->pendingFailure.failed());
    CBKReply reply;
    EXPECT_FALSE(uut_->validateSerialNumber(&reply, "C02"));
    EXPECT_EQ(uut_->pendingFailure.failed(), pending);
    EXPECT_EQ(uut_->pendingFailure.name(), pending ? active : passive);
    EXPECT_FALSE(uut_->pendingFailure.active());
  }
  // A good number leaves both fields as they are.
  CBKReply reply;
  EXPECT_TRUE(uut_->validateSerialNumber(&reply, "C0213ABCDEF"));
  EXPECT_TRUE(uut_->pendingFailure.failed());
  EXPECT_EQ(uut_->pendingFailure.name(), active);
}

TEST_F(SerialNumber, VersionsAndTheEntryPointCheckWithoutStoring) {
  EXPECT_TRUE(uut_->validateSerialNumber(nullptr, "bad"));
  EXPECT_TRUE(uut_->validateVersion(nullptr, "bad version"));
  EXPECT_FALSE(uut_->pendingFailure.failed());
  CBKReply version;  // letters, digits, period, underscore and hyphen; counted from 1
  EXPECT_TRUE(uut_->validateVersion(&version, "1.2_3-b"));
  EXPECT_FALSE(uut_->validateVersion(&version, "1.2.3/"));
  EXPECT_STREQ(version.getData(),
               "Illegal characters in version attribute @position 6 is not alphanumeric or '.' ");
  BKReplyHandle reply = BK_validateSerialNumber(uut_, "c0213abcdef");
  EXPECT_TRUE(BK_success(reply));
  BK_reply_destroy(reply);
  EXPECT_TRUE(uut_->getSN().empty());
  reply = BK_validateSerialNumber(uut_, "C02");
  EXPECT_STREQ(BK_reply_getError(reply), lengthText("C02").c_str());
  BK_reply_destroy(reply);
}

// An empty text scanned to the largest position stops at its terminator.
TEST(TextScanners, StopAtTheEndOfTheText) {
  try {
    verifyChunkIsAscii("", 0, ULONG_MAX);
    FAIL() << "no exception";
  } catch (BK_SNException_badFormat* e) {
    EXPECT_EQ(e->getErrorMessage(), std::string("position 0 is not an acceptable character"));
    delete e;
  }
}

}  // namespace
