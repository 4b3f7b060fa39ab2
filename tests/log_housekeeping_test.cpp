// Log rotation by size and pruning of old copies by age.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "foundation/LogHousekeeping.h"
#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

const char* const kRotated = "/vault/rotate-me.log";

std::vector<std::string> rotatedCopies() {
  std::vector<std::string> names;
  DIR* dir = opendir("/vault/");
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name.find("Bramblekit-") != std::string::npos) names.push_back(name);
  }
  closedir(dir);
  return names;
}

// Station settings as the library sees them after a session's start.
void useSettings(const Json::Value& rotateSize, const Json::Value& maximumAge) {
  Json::Value info = sampleStationInfo();
  if (!rotateSize.isNull()) info["ksinfo"]["ROTATE_OTTER_LOG_SIZE_OF"] = rotateSize;
  if (!maximumAge.isNull()) info["ksinfo"]["REMOVE_OTTER_LOG_OLDER_THAN"] = maximumAge;
  writeStationFiles(info);
  getKSInfo()->refresh();
}

void makeFileOfSize(const std::string& path, off_t size) {
  writeFile(path, "start of the log\n");
  ASSERT_EQ(truncate(path.c_str(), size), 0);
}

// A file of `name` under /vault/, last modified `seconds` ago.
void writeAged(const std::string& name, long seconds) {
  const std::string path = "/vault/" + name;
  writeFile(path, name);
  timeval times[2];
  gettimeofday(&times[0], nullptr);
  times[0].tv_sec -= seconds;
  times[1] = times[0];
  ASSERT_EQ(utimes(path.c_str(), times), 0);
}

TEST(LogRotation, AtTheLimitCopiedAndEmptiedOneByteLessLeftAlone) {
  useSettings(1000, Json::Value());
  makeFileOfSize(kRotated, 999);
  Util_rotateLog(kRotated);
  EXPECT_TRUE(rotatedCopies().empty());

  makeFileOfSize(kRotated, 1000);
  const std::string before = readFile(kRotated);
  Util_rotateLog(kRotated);
  std::vector<std::string> copies = rotatedCopies();
  ASSERT_EQ(copies.size(), 1u);
  // "Bramblekit-", a stamp of 8 digits, "-", 6 digits, ".", 6 digits, ".log".
  ASSERT_EQ(copies[0].size(), 37u) << copies[0];
  EXPECT_EQ(copies[0].substr(0, 11) + copies[0].substr(33), "Bramblekit-.log");
  const std::string stamp = copies[0].substr(11, 22);
  EXPECT_EQ(stamp.find_first_not_of("0123456789-."), std::string::npos) << stamp;
  EXPECT_TRUE(stamp[8] == '-' && stamp[15] == '.') << stamp;
  EXPECT_EQ(readFile("/vault/" + copies[0]), before);
  EXPECT_EQ(readFile(kRotated).size(), 0u);

  Util_rotateLog("/vault/absent.log");  // nothing to do, no lock left held
  makeFileOfSize(kRotated, 2000);
  Util_rotateLog(kRotated);
  EXPECT_EQ(rotatedCopies().size(), 2u);
}

TEST(LogRotation, DefaultOf50MiBForAWrongTypeOrNoStationFile) {
  for (bool withStationFile : {false, true}) {
    if (withStationFile) useSettings("1000", Json::Value());
    makeFileOfSize(kRotated, 52428799);
    Util_rotateLog(kRotated);
    EXPECT_TRUE(rotatedCopies().empty());
    makeFileOfSize(kRotated, 52428800);
    Util_rotateLog(kRotated);
    ASSERT_EQ(rotatedCopies().size(), 1u);
    unlink(("/vault/" + rotatedCopies()[0]).c_str());
  }
}

TEST(LogPruning, OldCopiesGoTheLiveLogAndNewOnesStay) {
  useSettings(Json::Value(), 100);
  writeAged("Bramblekit-old.log", 101);
  writeAged("x-Bramblekit-old.txt", 101);  // any name that holds it
  writeAged("Bramblekit-new.log", 50);
  writeAged("Bramblekit.log", 1000);
  Util_deleteLogs("/vault/");
  EXPECT_FALSE(fileExists("/vault/Bramblekit-old.log"));
  EXPECT_FALSE(fileExists("/vault/x-Bramblekit-old.txt"));
  EXPECT_TRUE(fileExists("/vault/Bramblekit-new.log"));
  EXPECT_TRUE(fileExists("/vault/Bramblekit.log"));
  Util_deleteLogs("/vault/absent/");  // no directory: nothing happens

  // A wrong type means 30 days.
  useSettings(Json::Value(), "100");
  writeAged("Bramblekit-a.log", 2592000 + 5);
  writeAged("Bramblekit-b.log", 2592000 - 100);
  Util_deleteLogs("/vault/");
  EXPECT_FALSE(fileExists("/vault/Bramblekit-a.log"));
  EXPECT_TRUE(fileExists("/vault/Bramblekit-b.log"));
  EXPECT_TRUE(fileExists("/vault/Bramblekit-new.log"));
}

TEST(LogHousekeeping, FreeingASessionRotatesAndPrunes) {
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["ROTATE_OTTER_LOG_SIZE_OF"] = 200;
  info["ksinfo"]["REMOVE_OTTER_LOG_OLDER_THAN"] = 100;
  writeStationFiles(info);
  writeAged("Bramblekit-stale.log", 500);
  UUTHandle handle = nullptr;
  BKReplyHandle reply = BK_UUTStart(&handle);
  ASSERT_TRUE(BK_success(reply));
  BK_reply_destroy(reply);
  ASSERT_GE(readLog().size(), 200u);  // the start alone logs more than that
  BK_UID_destroy(handle);
  EXPECT_FALSE(fileExists("/vault/Bramblekit-stale.log"));
  EXPECT_EQ(rotatedCopies().size(), 1u);
  EXPECT_LT(readLog().size(), 200u);
}

}  // namespace
