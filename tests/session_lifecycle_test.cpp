// Opening, cancelling and freeing sessions.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "foundation/StatusWord.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/SessionRun.h"

namespace {

// '9' stands for a digit and 'X' for an upper-case hex digit; everything else
// must match as it stands.
bool hasShape(const std::string& text, const std::string& shape) {
  if (text.size() != shape.size()) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (shape[i] == '9'   ? !isdigit(static_cast<unsigned char>(c))
        : shape[i] == 'X' ? !(isdigit(static_cast<unsigned char>(c)) || (c >= 'A' && c <= 'F'))
                          : c != shape[i]) {
      return false;
    }
  }
  return true;
}

const std::string kUutData = "/vault/data_collection/uut_data/";

bool isDirectory(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Station files as given, then a new session.
CUUT* start(const Json::Value& info = bk_test::sampleStationInfo()) {
  bk_test::writeStationFiles(info);
  UUTHandle handle = nullptr;
  BK_reply_destroy(BK_UUTStart(&handle));
  return static_cast<CUUT*>(handle);
}

TEST(SessionStart, RefusedWithoutEitherStationFile) {
  for (const char* missing : {bk_test::kStationInfoPath, bk_test::kHealthPath}) {
    bk_test::writeStationFiles();
    remove(missing);
    UUTHandle handle = reinterpret_cast<UUTHandle>(0x1);
    BKReplyHandle reply = BK_UUTStart(&handle);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(static_cast<CBKReply*>(reply)->getStatus(), 0x80000000u);
    BK_reply_destroy(reply);
    EXPECT_FALSE(isDirectory(kUutData));
  }
}

TEST(SessionStart, MakesDirectoryDocumentAndVersionFile) {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"].removeMember("MAC");
  CUUT* uut = start(info);
  ASSERT_NE(uut, nullptr);
  const std::string uid = uut->getUID();
  EXPECT_TRUE(hasShape(uid, "99999999-999999.999999-XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX")) << uid;
  EXPECT_TRUE(isDirectory(kUutData + uid));
  EXPECT_EQ(uut->getPath(UUT_STATE_DID), kUutData + uid + ".did/");
  EXPECT_EQ(uut->getPath(static_cast<UUTState>(7)), kUutData + uid + ".BAD_UUT_STATE/");

  const Json::Value& doc = uut->getRootJson();
  EXPECT_TRUE(doc["blobs"].isArray() && doc["blobs"].empty());
  EXPECT_TRUE(doc["results"].isArray() && doc["results"].empty());
  EXPECT_EQ(doc["test_station_attributes"]["bk_version"], "1.1.71");
  EXPECT_EQ(doc["test_station_attributes"]["station_id"], info["ksinfo"]["STATION_ID"]);
  EXPECT_EQ(doc["test_station_attributes"]["mac_addr"], "NOTFOUND");
  EXPECT_EQ(doc["test_station_attributes"]["station_name"], info["ksinfo"]["STATION_TYPE"]);
  EXPECT_TRUE(hasShape(doc["test_attributes"]["uut_start"].asString(), "9999-99-99 99:99:99"));
  EXPECT_FALSE(doc["test_attributes"].isMember("uut_stop"));
  EXPECT_EQ(doc["test_attributes"]["pdata_not_sent_to_trax"],
            info["ksinfo"].get("PDATA_TO_SEND_TO_TRAX", "NOTFOUND"));
  EXPECT_EQ(bk_test::readFile("/tmp/bk_version"), "1.1.71");

  // Station file changes reach only later sessions; freeing leaves the directory.
  info["ksinfo"]["STATION_ID"] = "second";
  CUUT* second = start(info);
  EXPECT_EQ(second->getRootJson()["test_station_attributes"]["station_id"], "second");
  EXPECT_EQ(doc["test_station_attributes"]["station_id"], "TSTA_L07_FUNCTIONAL-TEST_1");
  BK_UID_destroy(second);

  // Station keys go in as texts: a number as its digits, an array or object,
  // which has no text, as the empty text.
  info["ksinfo"]["STATION_ID"] = 42;
  info["ksinfo"]["MAC"] = Json::Value(Json::arrayValue);
  info["ksinfo"]["STATION_TYPE"] = Json::Value(Json::objectValue);
  info["ksinfo"]["SIGNATURE_VERSION"] = 2;
  CUUT* third = start(info);
  ASSERT_NE(third, nullptr);
  const Json::Value& station = third->getRootJson()["test_station_attributes"];
  EXPECT_EQ(station["station_id"], "42");
  EXPECT_EQ(station["mac_addr"], "");
  EXPECT_EQ(station["station_name"], "");
  EXPECT_EQ(third->getRootJson()["test_attributes"]["signature_version"], "2");
  BK_UID_destroy(third);
  BK_UID_destroy(uut);
  EXPECT_TRUE(isDirectory(kUutData + uid));
}

// A second cancel answers pass at once: the directory is gone, nothing to do.
TEST(SessionCancel, RemovesTheDirectoryOfTheCurrentStateAndAnswersPassTwice) {
  CUUT* uut = start();
  const std::string dir = uut->getPath();
  bk_test::writeFile(dir + "blobs/a.gz", "x");
  for (int round = 0; round < 2; ++round) {
    BKReplyHandle reply = BK_UUTCancel(uut);
    EXPECT_EQ(static_cast<CBKReply*>(reply)->getStatus(), 0u);
    BK_reply_destroy(reply);
    EXPECT_FALSE(isDirectory(dir));
    EXPECT_FALSE(uut->isUIDValid());
  }
  BK_UID_destroy(uut);

  uut = start();
  bk_test::addAttributes(uut);
  bk_test::addResult(uut, BK_PASS, "t");
  BK_reply_destroy(BK_UUTDone(uut));
  BK_reply_destroy(BK_UUTCommit(uut, BK_PASS));
  ASSERT_TRUE(isDirectory(uut->getPath(UUT_STATE_COMMIT)));
  BK_reply_destroy(BK_UUTCancel(uut));
  EXPECT_FALSE(isDirectory(uut->getPath(UUT_STATE_COMMIT)));
  BK_UID_destroy(uut);
}

// The common frame of every entry point: the bad-call reply, an error line
// with its source position, and no entry line.
TEST(EntryFrame, NullHandleGetsTheBadCallReplyAndNoEntryLine) {
  CUUT* uut = start();  // loads the policy: message 4 is ACTIVE
  BKReplyHandle reply = BK_UUTCancel(nullptr);
  EXPECT_EQ(static_cast<CBKReply*>(reply)->getStatus(), kStatusFailBit | (1u << 20) | 4);
  EXPECT_STREQ(BK_reply_getError(reply), "NULL UUTHandle handle passed as a parameter");
  BK_reply_destroy(reply);

  const std::string log = bk_test::readLog();
  EXPECT_EQ(bk_test::countLines(log, "Entering BK_UUTCancel"), 0u);
  // An error line: stamp, ": ", source path, "(line) ", function, ": ERROR: ", text.
  const std::string tail = ") BK_UUTCancel: ERROR: NULL UUTHandle handle passed as a parameter\n";
  const size_t end = log.find(tail);
  ASSERT_NE(end, std::string::npos);
  const size_t start = log.rfind('\n', end) + 1;
  const std::string line = log.substr(start, end + tail.size() - start);
  EXPECT_TRUE(hasShape(line.substr(0, 24), "99999999-999999.999999: ")) << line;
  EXPECT_NE(line.find("/interface/SessionApi.cpp("), std::string::npos) << line;
  BK_UID_destroy(uut);
}

TEST(SessionDestroy, RemovesTheSharedStatusFile) {
  bk_test::writeFile("/tmp/sfcstatus", "1 SFC_OK");
  BK_UID_destroy(nullptr);
  EXPECT_FALSE(bk_test::fileExists("/tmp/sfcstatus"));
}

}  // namespace
