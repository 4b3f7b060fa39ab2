// Serial number and version validation: every layout, the exact texts a
// station sees, the check character, and the fail policy's write into the
// session.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "identity/Exceptions.h"
#include "identity/TextScanners.h"
#include "interface/Status.h"
#include "session/UUT.h"
#include "support/TestSupport.h"

using namespace std::string_literals;

namespace {

const unsigned kInvalidSerialStatus =
    kStatusFailBit | (BK_MSG_CLASS_PROCESS_CONTROL << 20) | BK_MSG_ERROR_INVALID_SERIAL_NUMBER;

std::string lengthText(const std::string& sn) {
  return "Serial Number Error: Serial number is not 11, 12, 13, 16, 17 or 20 digits long (FG, "
         "MLB, FULL) [ " +
         sn + " ]";
}

std::string formatText(const std::string& rule, const std::string& sn) {
  return "Serial Number Error: " + rule + " [ " + sn + " ]";
}

class SerialNumber : public ::testing::Test {
 protected:
  void SetUp() override { start(bk_test::sampleStationInfo()); }
  void TearDown() override { BK_UID_destroy(uut_); }

  void start(const Json::Value& info) {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    bk_test::writeStationFiles(info);
    UUTHandle handle = nullptr;
    BK_reply_destroy(BK_UUTStart(&handle));
    uut_ = static_cast<CUUT*>(handle);
    ASSERT_NE(uut_, nullptr);
  }

  void startWithPolicy(const Json::Value& entry) {
    Json::Value info = bk_test::sampleStationInfo();
    if (entry.isNull()) {
      info["lifeline"].removeMember("BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
    } else {
      info["lifeline"]["BK_MSG_ERROR_INVALID_SERIAL_NUMBER"] = entry;
    }
    start(info);
  }

  // The reply's text for a number, "" when it is valid.
  std::string verdict(const std::string& sn) {
    CBKReply reply;
    bool valid = uut_->validateSerialNumber(&reply, sn);
    if (valid) {
      EXPECT_EQ(reply.getStatus(), 0u) << sn;
      return "";
    }
    EXPECT_EQ(reply.getStatus(), kInvalidSerialStatus) << sn;
    return reply.getData();
  }

  CUUT* uut_ = nullptr;
};

TEST_F(SerialNumber, EveryLayoutHasAValidForm) {
  for (const char* sn : {
           "C0213ABCDEF",           // 11 FG
           "C0213ABCD1234",         // 13 MLB
           "ABCDEFGH1234",          // 12, new FG
           "ABC2134ABCD1234X",      // 16, new FG
           "ABC2134ABCD1234XW",     // 17, with check character
           "C0213ABCDEF-MPN/RGN",   // 19: the FULL layout
           "C0213ABCDEFMPN123/A+",  // 20
       }) {
    EXPECT_EQ(verdict(sn), "") << sn;
  }
  EXPECT_EQ(verdict("C0213ABCDEF" + std::string(289, '#')), "");  // no upper bound
  EXPECT_FALSE(uut_->pendingFailure);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Valid Serial number"), 8u);
}

TEST_F(SerialNumber, RefusedLengths) {
  for (size_t length : {0, 1, 10, 14, 15, 18}) {
    std::string sn(length, '1');
    EXPECT_EQ(verdict(sn), lengthText(sn)) << length;
  }
}

TEST_F(SerialNumber, LogNamesTheLayout) {
  verdict("C0213ABCDEF");
  verdict("C0213ABCD1234");
  verdict("ABCDEFGH1234");
  verdict("ABC2134ABCD1234X");
  verdict("ABC2134ABCD1234XW");
  verdict("C0213ABCDEF-MPN/RGN");
  std::string log = bk_test::readLog();
  for (const char* line : {
           "FG serial number: [C0213ABCDEF]",
           "MLB serial number: [C0213ABCD1234]",
           "New 12 digit FG serial number: [ABCDEFGH1234]",
           "New 16 digit FG serial number without Checksum: [ABC2134ABCD1234X]",
           "SubAssembly 17 digit serial number with Checksum: [ABC2134ABCD1234XW]",
           "(probably) a FULL serial number with MPN and RGN (len <= 19): [C0213ABCDEF-MPN/RGN]",
       }) {
    EXPECT_EQ(bk_test::countLines(log, line), 1u) << line;
  }
}

// Year, week and day are what atoi makes of them.
TEST_F(SerialNumber, NumericFieldsFollowAtoi) {
  const std::string week = "Week is not between 1 and 53";
  EXPECT_EQ(verdict("C0X13ABCDEF"), "");  // letter year reads 0
  for (const char* field : {"01", "53", "5X", " 7", "+7"}) {
    EXPECT_EQ(verdict(std::string("C02") + field + "ABCDEF"), "") << field;
    EXPECT_EQ(verdict(std::string("ABC2") + field + "4ABCD1234X"), "") << field;
  }
  for (const char* field : {"00", "54", "X7", "-1"}) {
    std::string old = std::string("C02") + field + "ABCDEF";
    EXPECT_EQ(verdict(old), formatText(week, old)) << field;
    std::string fresh = std::string("ABC2") + field + "4ABCD1234X";
    EXPECT_EQ(verdict(fresh), formatText(week, fresh)) << field;
  }
  for (const char* sn : {"ABC2130ABCD1234X", "ABC213AABCD1234X"}) {
    EXPECT_EQ(verdict(sn), formatText("Day is not between 1 and 9", sn));
  }
}

TEST_F(SerialNumber, PositionRulesAndTheirTexts) {
  struct Case {
    std::string sn;
    const char* rule;
  } cases[] = {
      {"-0213ABCDEF"s, "Plant code position 1 is not alpha-numeric"},
      {"C-213ABCDEF"s, "Plant code position 2 is not alpha-numeric"},
      {"AB-DEFGH1234"s, "Plant code position 3 is not alpha-numeric"},
      {"ABC1EFGH1234"s, "Year code position 4 is not alpha"},
      {"ABCD-FGH1234"s, "Week code position 1 is not alpha-numeric"},
      // Chunk texts count from 0, the plant and year texts from 1.
      {"C0213-BCDEF"s, "position 5 is not alphanumeric"},
      {"C0213ABC.EF"s, "position 8 is not alphanumeric"},
      {"C0213ABCD123-"s, "position 12 is not alphanumeric"},
      {"ABCDEFGH12_4"s, "position 10 is not alphanumeric"},
      {"ABC2134ABCD1234-"s, "position 15 is not alphanumeric"},
      {"ABC2134ABCD1234X "s, "position 16 is not alphanumeric"},
      {"C0213AB\xE9"
       "DEF"s,
       "position 7 is not alphanumeric"},  // a high-bit byte
      {"C0213AB\0DEF"s, "position 7 is not alphanumeric"},
  };
  for (const Case& c : cases) {
    // A reply's text is a C string: it ends at a NUL within the number.
    EXPECT_EQ(verdict(c.sn), formatText(c.rule, c.sn).c_str()) << c.sn;
  }
}

TEST_F(SerialNumber, CheckCharacterIsAWeightedSumOverTheWholeNumber) {
  // Weights 1, 3, 1, ... from the last character back; the sum must be a
  // multiple of 34.
  EXPECT_TRUE(uut_->ValidateSerialNumberChecksum("0000000000000001X"));   // 3 + 31 = 34
  EXPECT_TRUE(uut_->ValidateSerialNumberChecksum("000000000000000CY"));   // 36 + 32 = 68
  EXPECT_FALSE(uut_->ValidateSerialNumberChecksum("0000000000000000Z"));  // 33
  EXPECT_FALSE(uut_->ValidateSerialNumberChecksum("000000000000000OX"));  // O is not in it

  const std::string checksum = "Bad Checksum for the serial number";
  EXPECT_EQ(verdict("ABC2134ABCD1234XV"), formatText(checksum, "ABC2134ABCD1234XV"));
  // Position rules take lower case and I or O; the check character does not.
  EXPECT_EQ(verdict("abc2134abcd1234xw"), formatText(checksum, "abc2134abcd1234xw"));
  EXPECT_EQ(verdict("ABC2134ABCD1234OW"), formatText(checksum, "ABC2134ABCD1234OW"));
}

TEST_F(SerialNumber, PolicyDecidesThePendingFailureOnly) {
  struct Case {
    Json::Value entry;
    bool pending;
    const char* name;
  } cases[] = {
      {1, true, "ACTIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER"},
      {0, false, "PASSIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER"},
      {Json::Value(), false, "PASSIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER"},  // missing
      {"1", false, "PASSIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER"},            // text
      {2, true, "ACTIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.entry.toStyledString());
    startWithPolicy(c.entry);
    uut_->pendingFailure = true;  // a PASSIVE verdict takes an earlier one back
    CBKReply reply;
    EXPECT_FALSE(uut_->validateSerialNumber(&reply, "C02"));
    EXPECT_EQ(uut_->pendingFailure, c.pending);
    EXPECT_EQ(uut_->pendingFailureName, c.name);
    EXPECT_FALSE(uut_->pendingFailureActive);
  }
  // A good number leaves both fields as they are.
  CBKReply reply;
  EXPECT_TRUE(uut_->validateSerialNumber(&reply, "C0213ABCDEF"));
  EXPECT_TRUE(uut_->pendingFailure);
  EXPECT_EQ(uut_->pendingFailureName, "ACTIVE: BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
}

TEST_F(SerialNumber, NullReplyIsAGuardThatAnswersTrue) {
  EXPECT_TRUE(uut_->validateSerialNumber(nullptr, "bad"));
  EXPECT_TRUE(uut_->validateVersion(nullptr, "bad version"));
  std::string log = bk_test::readLog();
  EXPECT_EQ(bk_test::countLines(log, "ERROR: NULL apoReply handle passed as a parameter"), 1u);
  EXPECT_EQ(bk_test::countLines(log, "ERROR: NULL passedInReply handle passed as a parameter"), 1u);
  EXPECT_FALSE(uut_->pendingFailure);
}

TEST_F(SerialNumber, EntryPoint) {
  BKReplyHandle reply = BK_validateSerialNumber(nullptr, nullptr);
  EXPECT_STREQ(BK_reply_getError(reply), "NULL serialNumber handle passed as a parameter");
  EXPECT_EQ(BK_reply_getMessageID(reply), static_cast<unsigned>(BK_MSG_ERROR_API_SYNTAX));
  BK_reply_destroy(reply);

  reply = BK_validateSerialNumber(nullptr, "C0213ABCDEF");
  EXPECT_STREQ(BK_reply_getError(reply), "NULL UUTHandle handle passed as a parameter");
  BK_reply_destroy(reply);

  reply = BK_validateSerialNumber(uut_, "c0213abcdef");
  EXPECT_TRUE(BK_success(reply));
  BK_reply_destroy(reply);
  EXPECT_TRUE(uut_->getSN().empty());  // checked, not stored

  reply = BK_validateSerialNumber(uut_, "C02");
  EXPECT_FALSE(BK_success(reply));
  EXPECT_STREQ(BK_reply_getError(reply), lengthText("C02").c_str());
  BK_reply_destroy(reply);
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(),
                                "ValidateSerialNumber check just failed for serial number 'C02' "
                                "because '9'"),
            1u);
}

TEST_F(SerialNumber, VersionTakesLettersDigitsPeriodUnderscoreHyphen) {
  CBKReply reply;
  EXPECT_TRUE(uut_->validateVersion(&reply, "1.2_3-b"));
  EXPECT_EQ(reply.getStatus(), 0u);

  const unsigned badVersion =
      kStatusFailBit | (BK_MSG_CLASS_API_ERROR << 20) | BK_MSG_ERROR_INVALID_SW_VERSION;
  struct Case {
    const char* version;
    const char* text;
  } cases[] = {
      {"1.2 3", "Illegal characters in version attribute @position 4 is not alphanumeric or '.' "},
      {"1.2.3/", "Illegal characters in version attribute @position 6 is not alphanumeric or '.' "},
      {"", "Illegal characters in version attribute @position 1 is not alphanumeric or '.' "},
  };
  Json::Value info = bk_test::sampleStationInfo();
  info["lifeline"]["BK_MSG_ERROR_INVALID_SW_VERSION"] = 1;
  start(info);
  for (const Case& c : cases) {
    CBKReply failed;
    EXPECT_FALSE(uut_->validateVersion(&failed, c.version)) << c.version;
    EXPECT_STREQ(failed.getData(), c.text);
    EXPECT_EQ(failed.getStatus(), badVersion);
  }
  EXPECT_EQ(bk_test::countLines(bk_test::readLog(), "Software version Number:1.2 3"), 1u);
}

// The scanners nobody calls yet, and the one for developer attributes.
TEST(TextScanners, ClassesAndMessages) {
  auto message = [](void (*scanner)(std::string, unsigned long, unsigned long),
                    const std::string& text, unsigned long first, unsigned long last) {
    try {
      scanner(text, first, last);
    } catch (BK_SNException_badFormat* e) {
      std::string text = e->getErrorMessage();
      delete e;
      return text;
    }
    return std::string();
  };
  EXPECT_EQ(message(verifyChunkIsNumericOnly, "12a4", 0, 3), "position 2 is not a number");
  EXPECT_EQ(message(verifyChunkIsNumericOnly, "12a4", 0, 1), "");  // last is inclusive
  EXPECT_EQ(message(verifyChunkIsAlphaOnly, "ab1", 0, 2), "position 2 is not a letter");
  EXPECT_EQ(message(verifyChunkIsAlphaNumeric, "ab-", 2, 2), "position 2 is not alphanumeric");
  EXPECT_EQ(message(verifyChunkIsAscii, "a\tb", 0, 2), "position 1 is not an acceptable character");
  EXPECT_EQ(message(verifyChunkIsAscii, "a b~", 0, 3), "");
  // An empty text scanned to the largest position stops at its terminator.
  EXPECT_EQ(message(verifyChunkIsAscii, "", 0, ULONG_MAX),
            "position 0 is not an acceptable character");
}

}  // namespace
