// Status words under the station's fail policy, and the reply accessors.
#include <gtest/gtest.h>

#include "foundation/Reply.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "interface/Bramblekit.h"
#include "support/TestSupport.h"

namespace {

// Installs a station info file whose lifeline holds `key` (if any) and reloads it.
void usePolicy(const char* key = nullptr, const Json::Value& value = Json::Value()) {
  Json::Value info = bk_test::sampleStationInfo();
  info["lifeline"] = Json::Value(Json::objectValue);
  if (key != nullptr) info["lifeline"][key] = value;
  bk_test::writeStationFiles(info);
  getKSInfo()->refresh();
}

TEST(FailPolicy, NothingIsReadBeforeTheFirstRefresh) {
  // No station file has been loaded in this process: every entry is missing.
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 4), 0u);
  EXPECT_TRUE(BK_isLifelineMessageOFF(1, 4));
}

TEST(FailPolicy, EntryDecidesActivePassiveOrOff) {
  const unsigned word = (1u << 20) | 4;
  usePolicy("BK_MSG_ERROR_API_SYNTAX", 1);
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 4), kStatusFailBit | word);
  usePolicy("BK_MSG_ERROR_API_SYNTAX", 0);
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 4), word);
  // Another integer, or no entry, switches the fault off, a pass too.
  usePolicy("BK_MSG_ERROR_API_SYNTAX", 2);
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 4), 0u);
  EXPECT_EQ(BK_buildStatus(BK_PASS, 1, 4), 0u);
  usePolicy();
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 4), 0u);
  // An entry that is there but no integer cannot soften the fault.
  for (const Json::Value& unreadable : {Json::Value(true), Json::Value("0"), Json::Value(0.5),
                                        Json::Value(Json::arrayValue), Json::Value()}) {
    usePolicy("BK_MSG_ERROR_API_SYNTAX", unreadable);
    EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 4), kStatusFailBit | word) << unreadable;
    EXPECT_FALSE(BK_isFailPassive(1, 4));
  }
  // A pass under an active entry keeps class and message, without the fail bit.
  usePolicy("BK_MSG_ERROR_SFC_QUERY_UNIT", 1);
  EXPECT_EQ(BK_buildStatus(BK_PASS, 32, 33), (32u << 20) | 33);
}

TEST(FailPolicy, SignatureAndVersionMessagesCannotBeSoftened) {
  // Message 31 fails even with no entry, or a passive one.
  usePolicy();
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 32, 31), kStatusFailBit | (32u << 20) | 31);
  usePolicy("BK_MSG_STATION_OUTLIERBK_MSG_ERROR_INVALID_SIGNATURE", 0);
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 32, 31), kStatusFailBit | (32u << 20) | 31);
  EXPECT_FALSE(BK_isLifelineMessageOFF(0, 31));
  // Message 3 is never passive, but still switches off without an entry.
  usePolicy("BK_MSG_ERROR_API_VERSION", 0);
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 3), kStatusFailBit | (1u << 20) | 3);
  usePolicy();
  EXPECT_EQ(BK_buildStatus(BK_FAIL, 1, 3), 0u);
}

TEST(FailPolicy, ClassEntriesDecideWhenTheMessageEntryIsOff) {
  Json::Value info = bk_test::sampleStationInfo();
  Json::Value& lifeline = info["lifeline"] = Json::Value(Json::objectValue);
  lifeline["BK_MSG_ERROR_FILESYSTEM"] = 2;  // numeric, but OFF
  lifeline["BK_MSG_CLASS_API_ERROR"] = 1;
  lifeline["BK_MSG_CLASS_QUERY"] = 1;
  lifeline["BK_MSG_CLASS_QUERY_RESPONSE"] = 0;
  lifeline["BK_MSG_CLASS_PROCESS_CONTROL"] = 1;
  bk_test::writeStationFiles(info);
  getKSInfo()->refresh();
  EXPECT_FALSE(BK_isLifelineClassOFF(1, 7));
  EXPECT_TRUE(BK_isLifelineClassOFF(2, 7));
  EXPECT_FALSE(BK_isFailPassive(1, 7));
  // The OFF test finds class 4 by its bit position (BK_MSG_CLASS_QUERY), the
  // active test by its value (index 4, BK_MSG_CLASS_QUERY_RESPONSE = 0).
  EXPECT_TRUE(BK_isFailPassive(4, 7));
  // Index 32 holds no name: "NOTFOUND" reads as active.
  EXPECT_FALSE(BK_isFailPassive(32, 7));
  // With neither a message nor a class entry the fault is passive.
  EXPECT_TRUE(BK_isFailPassive(2, 7));
  // A message without an entry goes by its class's entry.
  EXPECT_FALSE(BK_isFailPassive(1, 4));
  EXPECT_TRUE(BK_isFailPassive(4, 4));
}

TEST(Replies, AccessorsReadTheStatusWordAsStations) {
  CBKReply reply;
  reply.setStatus(kStatusFailBit | (1u << 20) | 4);
  EXPECT_FALSE(BK_success(&reply));
  // The class is read from bit 26: a failure reads as 32, whatever its class.
  EXPECT_EQ(BK_reply_getClass(&reply), 32u);
  EXPECT_FALSE(BK_reply_isOfClass(&reply, 1));
  EXPECT_EQ(BK_reply_getMessageID(&reply), 4u);
  reply.setStatus((32u << 20) | 33);
  EXPECT_TRUE(BK_success(&reply));
  EXPECT_EQ(BK_reply_getClass(&reply), 0u);
  EXPECT_EQ(BK_reply_getMessageID(nullptr), 0xffffffffu);
  EXPECT_STREQ(BK_reply_getError(nullptr), "");
  EXPECT_STREQ(BK_getVersion(), "1.1.71");
}

TEST(MessageTables, KeepTheirExactNames) {
  EXPECT_STREQ(BKMessageNumberNames[22], "STR_BK_MSG_ERROR_INVALID_SIGNATURE");
  EXPECT_STREQ(BKMessageNumberNames[31], "BK_MSG_STATION_OUTLIERBK_MSG_ERROR_INVALID_SIGNATURE");
  EXPECT_STREQ(BKMessageNumberNames[34], "BK_MSG_ERROR_CANOPY_AMIOKAY");
  EXPECT_STREQ(BKMessageNumberNames[35], "");
  EXPECT_STREQ(bkClassName(4), "BK_MSG_CLASS_QUERY");
}

}  // namespace
