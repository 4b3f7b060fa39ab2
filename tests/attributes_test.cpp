// Attribute intake: the reserved names, the serial number under each policy,
// the size cuts, and the replies and document members a station sees.
#include <gtest/gtest.h>
#include <stdio.h>
#include <time.h>

#include <filesystem>
#include <string>

#include "data/AttributeBrick.h"
#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/SessionRun.h"

namespace {

const unsigned kFailBit = 1u << 31;
const unsigned kBadCall = kFailBit | (1u << 20) | BK_MSG_ERROR_API_SYNTAX;
const char* kBadSerial = "123";
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
    bk_test::writeReadyStation(info_);
    uut_ = bk_test::startSession();
    ASSERT_NE(uut_, nullptr);
  }

  bk_test::Answer add(const char* name, const char* value) {
    const size_t logBefore = bk_test::readLog().size();
    bk_test::Answer answer = bk_test::answerOf(BK_addAttribute(uut_, name, value));
    log_ = bk_test::readLog().substr(logBefore);
    return answer;
  }
  bool logged(const std::string& text) const { return log_.find(text) != std::string::npos; }

  const Json::Value& doc() { return uut_->getRootJson(); }
  const Json::Value& station() { return doc()["test_station_attributes"]; }
  const Json::Value& devAttributes() { return doc()["uut_attributes"]; }

  Json::Value info_;
  CUUT* uut_ = nullptr;
  std::string log_;
};

TEST_F(Attributes, BadCallsAreRefusedBeforeAnythingIsStored) {
  start();
  const size_t logBefore = bk_test::readLog().size();
  bk_test::Answer answer = bk_test::answerOf(BK_addAttribute(nullptr, "serialnumber", "x"));
  EXPECT_EQ(answer.text, "NULL UUTHandle handle passed as a parameter");
  EXPECT_EQ(answer.status, kBadCall);
  // A NULL handle gets the common frame: the error line and no entry line.
  const std::string log = bk_test::readLog().substr(logBefore);
  EXPECT_NE(log.find("ERROR: NULL UUTHandle handle passed as a parameter"), std::string::npos);
  EXPECT_EQ(log.find("Entering BK_addAttribute"), std::string::npos);

  answer = add("serialnumber", nullptr);
  EXPECT_EQ(answer.text, "NULL acpValue handle passed as a parameter");
  EXPECT_EQ(answer.status, kBadCall);
  for (const char* name : {"serialnumber", "limitsversion", "STATION_IDENTIFIER", "free"}) {
    answer = add(name, "");
    EXPECT_EQ(answer.text, "0 size string passed as a parameter");
    EXPECT_EQ(answer.status, kBadCall);
  }
  answer = add(nullptr, "x");
  EXPECT_EQ(answer.status, kBadCall);
  EXPECT_FALSE(uut_->wasAttributeSerialNumberCreated());
  EXPECT_FALSE(doc().isMember("uut_attributes"));
}

TEST_F(Attributes, ReservedNamesLandInTheirMembers) {
  start();
  for (const auto& [name, value] : {std::pair{"limitsversion", "L-9"},
                                    {"softwarename", "station sw: any text"},
                                    {"softwareversion", "1.2_3-b"},
                                    {"STATION_SUB_IDENTIFIER", "head-2"}}) {
    bk_test::Answer answer = add(name, value);
    EXPECT_EQ(answer.status, 0u) << name;
    EXPECT_EQ(answer.text, "") << name;
  }
  EXPECT_EQ(station()["limits_version"], "L-9");
  EXPECT_EQ(station()["software_name"], "station sw: any text");
  EXPECT_EQ(station()["software_version"], "1.2_3-b");
  EXPECT_EQ(devAttributes()["STATION_SUB_IDENTIFIER"], "head-2");
  EXPECT_EQ(uut_->limitsVersion, "L-9");
  EXPECT_EQ(uut_->getStationSoftwareVersion(), "1.2_3-b");
  EXPECT_EQ(uut_->subStationIdentifier, "head-2");
  EXPECT_TRUE(uut_->wasAttributeLimitsVersionCreated());
  EXPECT_TRUE(uut_->wasAttributeSoftwareNameCreated());
  EXPECT_TRUE(uut_->wasAttributeSoftwareVersionCreated());

  // A free attribute may bear a document key without touching that member.
  const Json::Value stationId = station()["station_id"];
  EXPECT_EQ(add("station_id", "mine").status, 0u);
  EXPECT_EQ(devAttributes()["station_id"], "mine");
  EXPECT_EQ(station()["station_id"], stationId);
}

TEST_F(Attributes, VersionsAreCutTo48AndFreeAttributesTo256) {
  start();
  const std::string limits48(48, 'L');
  const std::string text256(256, 'a');
  add("exact", text256.c_str());  // exactly at the limit: kept, nothing logged
  EXPECT_EQ(devAttributes()["exact"], text256);
  EXPECT_FALSE(logged("Limiting the size"));
  EXPECT_EQ(add("limitsversion", (limits48 + "X").c_str()).status, 0u);
  EXPECT_EQ(station()["limits_version"], limits48);
  EXPECT_TRUE(logged("Limiting the size of Limits Version to 48 characters [" + limits48 + "]."));

  // The cut comes before the check, so a long version is never refused for
  // its length.
  const std::string version48 = "1." + std::string(46, '9');
  EXPECT_EQ(add("softwareversion", (version48 + ".77").c_str()).status, 0u);
  EXPECT_EQ(station()["software_version"], version48);

  EXPECT_EQ(add("notes", (text256 + std::string(44, 'b')).c_str()).status, 0u);
  EXPECT_EQ(devAttributes()["notes"], text256);
  EXPECT_TRUE(logged("Limiting the size of dev attributes Version to 256 characters ["));
  // A byte outside ASCII beyond the cut goes with it.
  EXPECT_EQ(add("tail", (text256 + "\xc3\xa9").c_str()).status, 0u);
  EXPECT_EQ(devAttributes()["tail"], text256);
}

TEST_F(Attributes, IllegalValuesAreRefusedAndNotStored) {
  start();
  bk_test::Answer answer = add("softwareversion", "1.2 3");
  EXPECT_EQ(answer.text, "Invalid or Station Version [1.2 3] or exceeds 48 characters");
  EXPECT_EQ(answer.status, kBadCall);
  EXPECT_FALSE(station().isMember("software_version"));
  EXPECT_FALSE(uut_->wasAttributeSoftwareVersionCreated());

  answer = add("fixture", "slot\t4");
  EXPECT_EQ(answer.text,
            "Illegal character in developer's added attribute [slot\t4] caught in "
            "createAttribute");
  EXPECT_EQ(answer.status, kBadCall);
  answer = add("fixture", "caf\xc3\xa9");
  EXPECT_EQ(answer.status, kBadCall);
  EXPECT_FALSE(doc().isMember("uut_attributes"));
  // Refused values leave the name free.
  EXPECT_EQ(add("fixture", "slot 4").status, 0u);
}

TEST_F(Attributes, AnAttributeCannotBeChanged) {
  start();
  add("fixture", "A");
  bk_test::Answer answer = add("fixture", "B");
  EXPECT_EQ(answer.text, "Attribtue [fixture] has already been created as [A].");
  EXPECT_EQ(answer.status, kBadCall);
  EXPECT_EQ(devAttributes()["fixture"], "A");

  // Except where the look-up never finds it: a value of NOTFOUND, and the
  // sub-station, whose look-up reads a member nothing writes.
  add("probe", "NOTFOUND");
  EXPECT_EQ(add("probe", "real").status, 0u);
  EXPECT_EQ(devAttributes()["probe"], "real");
  add("STATION_SUB_IDENTIFIER", "one");
  EXPECT_EQ(add("STATION_SUB_IDENTIFIER", "two").status, 0u);
  EXPECT_EQ(devAttributes()["STATION_SUB_IDENTIFIER"], "two");
  std::string value = "stale";
  EXPECT_FALSE(uut_->getAttribute("STATION_SUB_IDENTIFIER", &value));
  EXPECT_EQ(value, "");
}

TEST_F(Attributes, StationIdentifierComesFromTheStationFile) {
  start();
  const Json::Value before = doc();
  bk_test::Answer answer = add("STATION_IDENTIFIER", "other-station");
  EXPECT_EQ(answer.status, 0u);
  EXPECT_EQ(answer.text, "");
  EXPECT_TRUE(
      logged("Attribtue [STATION_IDENTIFIER] has already been created as "
             "[TSTA_L07_FUNCTIONAL-TEST_1]. Do not add stationID, Bramblekit does for "
             "you."));
  EXPECT_EQ(doc(), before);
  EXPECT_EQ(uut_->stationIdentifier, "");
  EXPECT_TRUE(uut_->attributeStationIdentifierCreated);
}

TEST_F(Attributes, StationIdentifierWithoutOneInTheStationFile) {
  info_["ksinfo"].removeMember("STATION_ID");
  start();
  const Json::Value before = doc();
  bk_test::Answer answer = add("STATION_IDENTIFIER", "own-id");
  EXPECT_EQ(answer.status, 0u);
  EXPECT_TRUE(logged("Caught Station ID creation [own-id]"));
  EXPECT_EQ(uut_->stationIdentifier, "own-id");
  EXPECT_EQ(doc(), before);
}

TEST_F(Attributes, GoodSerialNumberIsStoredInUpperCaseOnce) {
  start();
  bk_test::Answer answer = add("serialnumber", "c0212abcdef");
  EXPECT_EQ(answer.status, 0u);
  EXPECT_EQ(answer.text, "");
  EXPECT_EQ(uut_->getSN(), "C0212ABCDEF");
  EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], "C0212ABCDEF");
  EXPECT_TRUE(uut_->wasAttributeSerialNumberCreated());
  EXPECT_TRUE(logged("Either SFC QUERY FEATURE OFF or bad serial number NOT executing SFC QUERY"));
  // The station checks ran without a serial number.
  EXPECT_TRUE(logged("Called wihtout the serial number"));
  EXPECT_FALSE(uut_->pendingFailure);

  // The name counts, not the number: any second one is refused.
  answer = add("serialnumber", "C0212ABCDEF");
  EXPECT_EQ(answer.text, "Attribtue [serialnumber] has already been created as [C0212ABCDEF].");
  EXPECT_EQ(answer.status, kBadCall);
}

TEST_F(Attributes, GoodSerialNumberStartsTheUnitCheckWhenTheFeatureIsOn) {
  info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  start();
  const time_t before = time(nullptr);
  EXPECT_EQ(add("serialnumber", bk_test::kSerial).status, 0u);
  EXPECT_TRUE(logged("SFC QUERY FEATURE ON"));
  EXPECT_TRUE(logged(" SFC_QueryRecordUnitCheck returned true [" + uut_->getUID() + "]"));
  EXPECT_TRUE(uut_->wasSFCQueryUnitThreadCreated());
  EXPECT_GE(uut_->getTimeWhenSFCThreadCreated(), before);
  EXPECT_LE(uut_->getTimeWhenSFCThreadCreated(), time(nullptr));

  add("serialnumber", bk_test::kSerial);
  EXPECT_FALSE(logged("SFC_QueryRecordUnitCheck"));
}

// A bad serial number stands in the document all the same; the policy decides
// whether the station's call fails.
TEST_F(Attributes, BadSerialNumberUnderActivePolicy) {
  info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  start();
  bk_test::Answer answer = add("serialnumber", kBadSerial);
  EXPECT_EQ(answer.text, "createAttribute: Invalid Serial Number passed");
  EXPECT_EQ(answer.status, kFailBit | (32u << 20) | BK_MSG_ERROR_INVALID_SERIAL_NUMBER);
  EXPECT_TRUE(uut_->pendingFailure);
  EXPECT_TRUE(uut_->pendingFailureActive);
  EXPECT_EQ(uut_->pendingFailureName, "SERIAL_NUMBER_NOT_OK [ACTIVE]:");
  EXPECT_EQ(uut_->pendingFailureDetail, kBadSerialText + kBadSerialText);
  EXPECT_EQ(uut_->pendingFailureMessage, kBadSerialText + kBadSerialText);
  EXPECT_EQ(doc()["test_attributes"]["unit_serial_number"], kBadSerial);
  EXPECT_TRUE(uut_->wasAttributeSerialNumberCreated());
  EXPECT_FALSE(uut_->wasSFCQueryUnitThreadCreated());
  EXPECT_TRUE(logged("Either SFC QUERY FEATURE OFF or bad serial number NOT executing SFC QUERY"));
}

TEST_F(Attributes, BadSerialNumberUnderPassivePolicy) {
  for (const Json::Value& policy : {Json::Value(0), Json::Value()}) {
    SCOPED_TRACE(policy.toStyledString());
    if (policy.isNull()) {
      info_["lifeline"].removeMember("BK_MSG_ERROR_INVALID_SERIAL_NUMBER");
    } else {
      info_["lifeline"]["BK_MSG_ERROR_INVALID_SERIAL_NUMBER"] = policy;
    }
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    start();
    bk_test::Answer answer = add("serialnumber", "abc");
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
  namespace fs = std::filesystem;
  uut_->state = UUT_STATE_DONE;  // as if done had not renamed the directory yet
  bk_test::Answer answer = add("late", "x");
  EXPECT_EQ(answer.status, kFailBit | (1u << 20) | BK_MSG_ERROR_UNIT_ID_INVALID);
  EXPECT_EQ(answer.text.find("UUTHandle passed to BK_addAttribute '0x"), 0u) << answer.text;
  EXPECT_NE(answer.text.find("' refers to an invalid directory (it does not exist)"),
            std::string::npos);

  fs::rename(bk_test::dirOf(uut_, ""), bk_test::dirOf(uut_, ".done"));
  EXPECT_EQ(add("late", "x").status, 0u);
  EXPECT_EQ(devAttributes()["late"], "x");
}

TEST(AttributeBrick, WritesOneFilePerAttributeAndCannotRead) {
  Json::Value info = bk_test::sampleStationInfo();
  info["lifeline"]["BK_MSG_ERROR_UNIMPLEMENTED"] = 1;
  bk_test::writeStationFiles(info);
  getKSInfo()->refresh();
  const std::string directory = "/vault/brick/";
  CBKReply* reply = CAttributeBrick::create(directory, "fix:ture/1", "slot 4");
  EXPECT_EQ(reply->getStatus(), 0u);
  delete reply;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory + "attributes")) {
    ++files;
    EXPECT_EQ(entry.path().filename().string().rfind("fix_ture_1_", 0), 0u);
    EXPECT_EQ(bk_test::readFile(entry.path()), "fix:ture/1=slot 4\n");
  }
  EXPECT_EQ(files, 1);

  std::string value;
  reply = CAttributeBrick::read(directory, "fix:ture/1", &value);
  EXPECT_STREQ(reply->getData(), "NOT IMPLEMENTED");
  EXPECT_EQ(reply->getStatus(), kFailBit | (1u << 20) | BK_MSG_ERROR_UNIMPLEMENTED);
  delete reply;
}

}  // namespace
