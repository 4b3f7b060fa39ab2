// Attribute intake: the reserved names, the serial number under each policy,
// the size cuts, and the replies and document members a station sees.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "data/AttributeBrick.h"
#include "foundation/StationFiles.h"
#include "support/SessionRun.h"

namespace {

const unsigned kFailBit = 1u << 31;
const unsigned kBadCall = kFailBit | (1u << 20) | BK_MSG_ERROR_API_SYNTAX;
const std::string kBadSerialText =
    "Serial Number Error: Serial number is not 11, 12, 13, 16, 17 or 20 digits long (FG, MLB, "
    "FULL) [ 123 ]";

class Attributes : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!bk_test::hasDevelopmentStationKey()) GTEST_SKIP() << "no development station key";
    info_ = bk_test::readyStationInfo();
  }
  void TearDown() override {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
  }
  void start() {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    bk_test::writeReadyStation(info_);
    uut_ = bk_test::startSession();
    ASSERT_NE(uut_, nullptr);
  }
  // Adds one attribute and keeps what the log gained meanwhile.
  bk_test::Answer add(const char* name, const char* value, bool nullHandle = false) {
    const size_t logBefore = bk_test::readLog().size();
    bk_test::Answer answer =
        bk_test::answerOf(BK_addAttribute(nullHandle ? nullptr : uut_, name, value));
    log_ = bk_test::readLog().substr(logBefore);
    return answer;
  }
  bool logged(const std::string& text) const { return log_.find(text) != std::string::npos; }
  const Json::Value& doc() { return uut_->getRootJson(); }
  const Json::Value& station() { return doc()["test_station_attributes"]; }
  const Json::Value& dev() { return doc()["uut_attributes"]; }

  Json::Value info_;
  CUUT* uut_ = nullptr;
  std::string log_;
};

TEST_F(Attributes, BadCallsAreRefusedBeforeAnythingIsStored) {
  start();
  // A NULL handle gets the common frame: the error line and no entry line.
  bk_test::Answer answer = add("serialnumber", "x", /*nullHandle=*/true);
  EXPECT_EQ(answer.text, "NULL UUTHandle handle passed as a parameter");
  EXPECT_EQ(answer.status, kBadCall);
  EXPECT_TRUE(logged("ERROR: NULL UUTHandle handle passed as a parameter"));
  EXPECT_FALSE(logged("Entering BK_addAttribute"));

  EXPECT_EQ(add("serialnumber", nullptr).text, "NULL acpValue handle passed as a parameter");
  for (const char* name : {"serialnumber", "STATION_IDENTIFIER", "free"}) {
    answer = add(name, "");
    EXPECT_EQ(answer.text, "0 size string passed as a parameter");
    EXPECT_EQ(answer.status, kBadCall);
  }
  EXPECT_EQ(add(nullptr, "x").status, kBadCall);
  EXPECT_FALSE(uut_->wasAttributeSerialNumberCreated());
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
    bk_test::Answer answer = add(name, value.c_str());
    EXPECT_EQ(answer.status, 0u) << name;
    EXPECT_EQ(answer.text, "") << name;
    if (std::string(name) == "limitsversion") {
      EXPECT_TRUE(
          logged("Limiting the size of Limits Version to 48 characters [" + limits48 + "]."));
    }
    if (std::string(name) == "notes") {
      EXPECT_TRUE(logged("Limiting the size of dev attributes Version to 256 characters ["));
    }
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

TEST_F(Attributes, IllegalAndRepeatedValuesAreRefused) {
  start();
  bk_test::Answer answer = add("softwareversion", "1.2 3");
  EXPECT_EQ(answer.text, "Invalid or Station Version [1.2 3] or exceeds 48 characters");
  EXPECT_EQ(answer.status, kBadCall);
  EXPECT_FALSE(station().isMember("software_version"));
  answer = add("fixture", "slot\t4");
  EXPECT_EQ(answer.text,
            "Illegal character in developer's added attribute [slot\t4] caught in "
            "createAttribute");
  EXPECT_EQ(add("fixture", "caf\xc3\xa9").status, kBadCall);
  EXPECT_FALSE(doc().isMember("uut_attributes"));

  // Refused values leave the name free; a stored one cannot change.
  EXPECT_EQ(add("fixture", "A").status, 0u);
  answer = add("fixture", "B");
  EXPECT_EQ(answer.text, "Attribtue [fixture] has already been created as [A].");
  EXPECT_EQ(answer.status, kBadCall);
  EXPECT_EQ(dev()["fixture"], "A");

  // Except where the look-up never finds it: a value of NOTFOUND, and the
  // sub-station, whose look-up reads a member nothing writes.
  add("probe", "NOTFOUND");
  EXPECT_EQ(add("probe", "real").status, 0u);
  EXPECT_EQ(dev()["probe"], "real");
  add("STATION_SUB_IDENTIFIER", "one");
  EXPECT_EQ(add("STATION_SUB_IDENTIFIER", "two").status, 0u);
  EXPECT_EQ(dev()["STATION_SUB_IDENTIFIER"], "two");
}

TEST_F(Attributes, StationIdentifierComesFromTheStationFile) {
  start();
  Json::Value before = doc();
  EXPECT_EQ(add("STATION_IDENTIFIER", "other-station").status, 0u);
  EXPECT_TRUE(
      logged("Attribtue [STATION_IDENTIFIER] has already been created as "
             "[TSTA_L07_FUNCTIONAL-TEST_1]. Do not add stationID, Bramblekit does for "
             "you."));
  EXPECT_EQ(doc(), before);
  EXPECT_EQ(uut_->stationIdentifier, "");

  // Without one in the station file the station's own is kept, outside the document.
  info_["ksinfo"].removeMember("STATION_ID");
  start();
  before = doc();
  EXPECT_EQ(add("STATION_IDENTIFIER", "own-id").status, 0u);
  EXPECT_TRUE(logged("Caught Station ID creation [own-id]"));
  EXPECT_EQ(uut_->stationIdentifier, "own-id");
  EXPECT_EQ(doc(), before);
}

TEST_F(Attributes, GoodSerialNumberIsStoredInUpperCaseOnce) {
  start();
  EXPECT_EQ(add("serialnumber", "c0212abcdef").status, 0u);
  EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], "C0212ABCDEF");
  EXPECT_TRUE(logged("Either SFC QUERY FEATURE OFF or bad serial number NOT executing SFC QUERY"));
  EXPECT_TRUE(logged("Called wihtout the serial number"));  // station checks ran without it
  EXPECT_FALSE(uut_->pendingFailure);
  // The name counts, not the number: any second one is refused.
  bk_test::Answer answer = add("serialnumber", "C0212ABCDEF");
  EXPECT_EQ(answer.text, "Attribtue [serialnumber] has already been created as [C0212ABCDEF].");
  EXPECT_EQ(answer.status, kBadCall);

  info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  start();
  EXPECT_EQ(add("serialnumber", bk_test::kSerial).status, 0u);
  EXPECT_TRUE(logged(" SFC_QueryRecordUnitCheck returned true [" + uut_->getUID() + "]"));
  EXPECT_TRUE(uut_->wasSFCQueryUnitThreadCreated());
  add("serialnumber", bk_test::kSerial);
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
  EXPECT_TRUE(uut_->pendingFailureActive);
  EXPECT_EQ(uut_->pendingFailureName, "SERIAL_NUMBER_NOT_OK [ACTIVE]:");
  EXPECT_EQ(uut_->pendingFailureDetail, kBadSerialText + kBadSerialText);
  EXPECT_EQ(uut_->pendingFailureMessage, kBadSerialText + kBadSerialText);
  EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], "123");
  EXPECT_FALSE(uut_->wasSFCQueryUnitThreadCreated());

  for (const Json::Value& policy : {Json::Value(0), Json::Value()}) {
    SCOPED_TRACE(policy.toStyledString());
    info_["lifeline"]["BK_MSG_ERROR_INVALID_SERIAL_NUMBER"] = policy;
    if (policy.isNull()) info_["lifeline"].removeMember("BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
    start();
    answer = add("serialnumber", "abc");
    // The station sees a plain success; the text still tells.
    EXPECT_EQ(answer.status, 0u);
    EXPECT_EQ(answer.text, "createAttribute: Invalid Serial Number passed");
    EXPECT_TRUE(uut_->pendingFailure);
    EXPECT_FALSE(uut_->pendingFailureActive);
    EXPECT_EQ(uut_->pendingFailureName, "SERIAL_NUMBER_NOT_OK [PASSIVE]:");
    EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], "ABC");
  }
}

TEST_F(Attributes, AcceptedWhileTheDirectoryOfTheCurrentStateExists) {
  info_["lifeline"]["BK_MSG_ERROR_UNIT_ID_INVALID"] = 1;
  start();
  uut_->state = UUT_STATE_DONE;  // as if done had not renamed the directory yet
  bk_test::Answer answer = add("late", "x");
  EXPECT_EQ(answer.status, kFailBit | (1u << 20) | BK_MSG_ERROR_UNIT_ID_INVALID);
  EXPECT_EQ(answer.text.find("UUTHandle passed to BK_addAttribute '0x"), 0u) << answer.text;
  EXPECT_NE(answer.text.find("' refers to an invalid directory (it does not exist)"),
            std::string::npos);
  std::filesystem::rename(bk_test::dirOf(uut_, ""), bk_test::dirOf(uut_, ".done"));
  EXPECT_EQ(add("late", "x").status, 0u);
  EXPECT_EQ(dev()["late"], "x");
}

TEST(AttributeBrick, WritesOneFilePerAttributeAndCannotRead) {
  Json::Value info = bk_test::sampleStationInfo();
  info["lifeline"]["BK_MSG_ERROR_UNIMPLEMENTED"] = 1;
  bk_test::writeStationFiles(info);
  getKSInfo()->refresh();
  delete CAttributeBrick::create("/vault/brick/", "fix:ture/1", "slot 4");
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/vault/brick/attributes")) {
    ++files;
    EXPECT_EQ(entry.path().filename().string().rfind("fix_ture_1_", 0), 0u);
    EXPECT_EQ(bk_test::readFile(entry.path()), "fix:ture/1=slot 4\n");
  }
  EXPECT_EQ(files, 1);
  std::string value;
  CBKReply* reply = CAttributeBrick::read("/vault/brick/", "fix:ture/1", &value);
  EXPECT_STREQ(reply->getData(), "NOT IMPLEMENTED");
  EXPECT_EQ(reply->getStatus(), kFailBit | (1u << 20) | BK_MSG_ERROR_UNIMPLEMENTED);
  delete reply;
}

}  // namespace
