// Attribute intake: the reserved names, the serial number under each policy,
// the size cuts, and the replies and document members a station sees.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/SessionRun.h"

namespace {

const unsigned kFailBit = 1u << 31;
const unsigned kBadCall = kFailBit | (1u << 20) | BK_MSG_ERROR_API_SYNTAX;
const std::string kBadSerialText =
    "Serial Number Error: Serial number is not 11, 12, 13, 16, 17 or 20 digits long (FG, MLB, "
    "FULL) [ 123 ]";

class Attributes : public bk_test::SessionTest {
 protected:
  void SetUp() override {
    if (!bk_test::hasDevelopmentStationKey()) GTEST_SKIP() << "no development station key";
  }
  bk_test::Answer add(const char* name, const char* value, bool nullHandle = false) {
    markLog();
    return bk_test::answerOf(BK_addAttribute(nullHandle ? nullptr : uut_, name, value));
  }
  const Json::Value& doc() { return uut_->getRootJson(); }
  const Json::Value& station() { return doc()["test_station_attributes"]; }
  const Json::Value& dev() { return doc()["uut_attributes"]; }
};

TEST_F(Attributes, BadCallsAreRefusedBeforeAnythingIsStored) {
  start();
  // A NULL handle gets the common frame: the error line and no entry line.
  EXPECT_TRUE(bk_test::answered(add("serialnumber", "x", /*nullHandle=*/true), false, kBadCall,
                                "NULL UUTHandle handle passed as a parameter"));
  EXPECT_TRUE(logged("ERROR: NULL UUTHandle handle passed as a parameter"));
  EXPECT_FALSE(logged("Entering BK_addAttribute"));
  for (const auto& [name, value] : {std::pair{"serialnumber", ""},
                                    {"free", ""},
                                    {nullptr, "x"},
                                    {"softwareversion", "1.2 3"},
                                    {"fixture", "slot\t4"},
                                    {"fixture", "caf\xc3\xa9"}}) {
    EXPECT_EQ(add(name, value).status, kBadCall) << (name ? name : "NULL") << " " << value;
  }
  EXPECT_FALSE(uut_->wasAttributeSerialNumberCreated());
  EXPECT_FALSE(station().isMember("software_version"));
  EXPECT_FALSE(doc().isMember("uut_attributes"));
}

TEST_F(Attributes, ReservedNamesLandInTheirMembersAndAreCut) {
  start();
  const std::string limits48(48, 'L'), text256(256, 'a');
  // The cut comes before the check, so a long version is never refused.
  const std::string version48 = "1." + std::string(46, '9');
  for (const auto& [name, value] : {std::pair{"limitsversion", limits48 + "X"},
                                    {"softwarename", std::string("station sw: any text")},
                                    {"softwareversion", version48 + ".77"},
                                    {"STATION_SUB_IDENTIFIER", std::string("head-2")},
                                    {"notes", text256 + "\xc3\xa9"},
                                    {"station_id", std::string("mine")}}) {
    EXPECT_TRUE(bk_test::answered(add(name, value.c_str()), true, 0u, "")) << name;
  }
  EXPECT_EQ(station()["limits_version"], limits48);
  EXPECT_EQ(station()["software_name"], "station sw: any text");
  EXPECT_EQ(station()["software_version"], version48);
  EXPECT_EQ(dev()["STATION_SUB_IDENTIFIER"], "head-2");
  EXPECT_EQ(dev()["notes"], text256);  // the non-ASCII tail went with the cut
  // A free attribute may bear a document key without touching that member.
  EXPECT_EQ(dev()["station_id"], "mine");
  EXPECT_EQ(station()["station_id"], "TSTA_L07_FUNCTIONAL-TEST_1");
}

TEST_F(Attributes, RepeatedNamesAreRefusedUnlessTheLookUpMissesThem) {
  start();
  EXPECT_EQ(add("fixture", "A").status, 0u);
  EXPECT_TRUE(bk_test::answered(add("fixture", "B"), false, kBadCall,
                                "Attribtue [fixture] has already been created as [A]."));
  EXPECT_EQ(dev()["fixture"], "A");
  // A value of NOTFOUND, and the sub-station, whose look-up reads a member
  // nothing writes, can be replaced.
  add("probe", "NOTFOUND");
  add("STATION_SUB_IDENTIFIER", "one");
  EXPECT_EQ(add("probe", "real").status, 0u);
  EXPECT_EQ(add("STATION_SUB_IDENTIFIER", "two").status, 0u);
  EXPECT_EQ(dev()["probe"], "real");
  EXPECT_EQ(dev()["STATION_SUB_IDENTIFIER"], "two");
}

TEST_F(Attributes, StationIdentifierComesFromTheStationFile) {
  start();
  const Json::Value before = doc();
  EXPECT_EQ(add("STATION_IDENTIFIER", "other-station").status, 0u);
  EXPECT_EQ(doc(), before);
  EXPECT_TRUE(
      logged("Attribtue [STATION_IDENTIFIER] has already been created as "
             "[TSTA_L07_FUNCTIONAL-TEST_1]. Do not add stationID, Bramblekit does for "
             "you."));
  EXPECT_EQ(uut_->stationIdentifier, "");
  // Without one in the station file the station's own is kept, outside the document.
  info_["ksinfo"].removeMember("STATION_ID");
  start();
  EXPECT_EQ(add("STATION_IDENTIFIER", "own-id").status, 0u);
  EXPECT_EQ(uut_->stationIdentifier, "own-id");
  EXPECT_FALSE(doc().isMember("uut_attributes"));
}

TEST_F(Attributes, GoodSerialNumberIsStoredInUpperCaseOnceAndQueriedOnce) {
  info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  start();
  EXPECT_EQ(add("serialnumber", "c0212abcdef").status, 0u);
  EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], "C0212ABCDEF");
  EXPECT_FALSE(uut_->pendingFailure.failed());
  EXPECT_TRUE(uut_->wasSFCQueryUnitThreadCreated());
  // The name counts, not the number: any second one is refused, unqueried.
  EXPECT_TRUE(
      bk_test::answered(add("serialnumber", "C0212ABCDEF"), false, kBadCall,
                        "Attribtue [serialnumber] has already been created as [C0212ABCDEF]."));
  EXPECT_FALSE(logged("SFC_QueryRecordUnitCheck"));
}

// A bad serial number stands in the document all the same; the policy decides
// whether the station's call fails.
TEST_F(Attributes, BadSerialNumberUnderEachPolicy) {
  info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  start();
  bk_test::Answer answer = add("serialnumber", "123");
  EXPECT_EQ(answer.text, "createAttribute: Invalid Serial Number passed");
  EXPECT_EQ(answer.status, kFailBit | (32u << 20) | BK_MSG_ERROR_INVALID_SERIAL_NUMBER);
  EXPECT_TRUE(uut_->pendingFailure.active());
  EXPECT_EQ(uut_->pendingFailure.name(), "SERIAL_NUMBER_NOT_OK [ACTIVE]:");
  EXPECT_EQ(uut_->pendingFailure.detail(), kBadSerialText + kBadSerialText);
  EXPECT_EQ(uut_->pendingFailure.message(), kBadSerialText + kBadSerialText);
  EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], "123");
  EXPECT_FALSE(uut_->wasSFCQueryUnitThreadCreated());

  for (const Json::Value& policy : {Json::Value(0), Json::Value()}) {
    SCOPED_TRACE(policy.toStyledString());
    info_["lifeline"]["BK_MSG_ERROR_INVALID_SERIAL_NUMBER"] = policy;
    if (policy.isNull()) info_["lifeline"].removeMember("BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
    start();
    // The station sees a plain success; the text still tells.
    EXPECT_TRUE(bk_test::answered(add("serialnumber", "abc"), true, 0u,
                                  "createAttribute: Invalid Serial Number passed"));
    EXPECT_TRUE(uut_->pendingFailure.failed());
    EXPECT_FALSE(uut_->pendingFailure.active());
    EXPECT_EQ(uut_->pendingFailure.name(), "SERIAL_NUMBER_NOT_OK [PASSIVE]:");
    EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], "ABC");
  }
}

TEST_F(Attributes, AcceptedWhileTheDirectoryOfTheCurrentStateExists) {
  start();
  bk_test::addAttributes(uut_);
  bk_test::addResult(uut_, BK_PASS, "t");
  ASSERT_TRUE(done().success);
  std::filesystem::rename(bk_test::dirOf(uut_, ".did"), "/vault/elsewhere");
  bk_test::Answer answer = add("late", "x");
  EXPECT_EQ(answer.status, kFailBit | (1u << 20) | BK_MSG_ERROR_UNIT_ID_INVALID);
  EXPECT_EQ(answer.text.find("UUTHandle passed to BK_addAttribute '0x"), 0u) << answer.text;
  std::filesystem::rename("/vault/elsewhere", bk_test::dirOf(uut_, ".did"));
  EXPECT_EQ(add("late", "x").status, 0u);
  EXPECT_EQ(dev()["late"], "x");
}

}  // namespace
