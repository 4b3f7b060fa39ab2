// Log rotation by size and pruning of old copies by age.
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "foundation/Log.h"
#include "foundation/LogHousekeeping.h"
#include "foundation/StationFiles.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

const char* const kRotated = "/vault/rotate-me.log";

std::vector<std::string> rotatedCopies() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator("/vault/")) {
    std::string name = entry.path().filename();
    if (name.find("Bramblekit-") != std::string::npos) names.push_back(name);
  }
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

// Rotates a log of `size` bytes; gives the number of copies afterwards.
size_t rotateOfSize(off_t size) {
  writeFile(kRotated, "start of the log\n");
  EXPECT_EQ(truncate(kRotated, size), 0);
  Util_rotateLog(kRotated);
  return rotatedCopies().size();
}

// A file of `name` under /vault/, last modified `seconds` ago.
void writeAged(const std::string& name, long seconds) {
  writeFile("/vault/" + name, name);
  std::filesystem::last_write_time("/vault/" + name, std::filesystem::file_time_type::clock::now() -
                                                         std::chrono::seconds(seconds));
}

TEST(LogRotation, AtTheLimitCopiedAndEmptiedOneByteLessLeftAlone) {
  useSettings(1000, Json::Value());
  EXPECT_EQ(rotateOfSize(999), 0u);
  ASSERT_EQ(rotateOfSize(1000), 1u);
  const std::string copy = rotatedCopies()[0];
  std::string shape = copy;  // "Bramblekit-", a stamp of digits, ".log"
  std::replace_if(shape.begin(), shape.end(), ::isdigit, '9');
  EXPECT_EQ(shape, "Bramblekit-99999999-999999.999999.log");
  EXPECT_EQ(readFile("/vault/" + copy), std::string("start of the log\n") + std::string(983, '\0'));
  EXPECT_EQ(readFile(kRotated).size(), 0u);

  Util_rotateLog("/vault/absent.log");  // nothing to do, no lock left held
  EXPECT_EQ(rotateOfSize(2000), 2u);
}

TEST(LogRotation, DefaultOf50MiBForAWrongTypeOrNoStationFile) {
  for (bool withStationFile : {false, true}) {
    if (withStationFile) useSettings("1000", Json::Value());
    EXPECT_EQ(rotateOfSize(52428799), 0u);
    ASSERT_EQ(rotateOfSize(52428800), 1u);
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
  Util_deleteLogs("/vault/absent/");  // no directory: nothing happens
  EXPECT_FALSE(fileExists("/vault/Bramblekit-old.log") ||
               fileExists("/vault/x-Bramblekit-old.txt"));
  EXPECT_TRUE(fileExists("/vault/Bramblekit-new.log") && fileExists("/vault/Bramblekit.log"));

  // A wrong type means 30 days.
  useSettings(Json::Value(), "100");
  writeAged("Bramblekit-a.log", 2592000 + 5);
  writeAged("Bramblekit-b.log", 2592000 - 100);
  Util_deleteLogs("/vault/");
  EXPECT_FALSE(fileExists("/vault/Bramblekit-a.log"));
  EXPECT_TRUE(fileExists("/vault/Bramblekit-b.log") && fileExists("/vault/Bramblekit-new.log"));
}

TEST(LogHousekeeping, FreeingASessionRotatesAndPrunes) {
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["ROTATE_OTTER_LOG_SIZE_OF"] = 200;
  info["ksinfo"]["REMOVE_OTTER_LOG_OLDER_THAN"] = 100;
  writeStationFiles(info);
  writeAged("Bramblekit-stale.log", 500);
  CUUT* uut = startSession();
  ASSERT_GE(readLog().size(), 200u);  // the start alone logs more than that
  BK_UID_destroy(uut);
  EXPECT_FALSE(fileExists("/vault/Bramblekit-stale.log"));
  EXPECT_EQ(rotatedCopies().size(), 1u);
  EXPECT_LT(readLog().size(), 200u);
}

// A vault that fills up: the log keeps what it has and writes again as soon
// as there is room.
TEST(LogOnAFullDisk, KeepsItsLinesAndWritesAgainOnceThereIsRoom) {
  ASSERT_EQ(mount("tmpfs", "/vault", "tmpfs", 0, "size=64k"), 0) << strerror(errno);
  destroyLog();  // the next line opens the log on the small vault
  useSettings(100, Json::Value());
  const std::string log = "/vault/Bramblekit.log";
  BK_LOG(kBlankUID, "written before the disk filled");
  {
    std::ofstream filler("/vault/filler", std::ios::binary);
    const std::string block(4096, 'f');
    while (filler.write(block.data(), block.size()) && filler.flush()) {
    }
  }
  const std::string before = readFile(log);

  // The copy cannot be made, so the log is not cut.
  Util_rotateLog(log);
  EXPECT_EQ(readFile(log).substr(0, before.size()), before);
  EXPECT_TRUE(rotatedCopies().empty());

  BK_LOG(kBlankUID, std::string(8192, 'x'));  // does not fit
  unlink("/vault/filler");
  BK_LOG(kBlankUID, "written once there was room again");
  EXPECT_EQ(countLines(readFile(log), "written once there was room again"), 1u);
  EXPECT_EQ(countLines(readFile(log), "written before the disk filled"), 1u);
  destroyLog();
  umount("/vault");
}

}  // namespace
