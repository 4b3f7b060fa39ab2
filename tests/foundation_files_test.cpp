// The log's time stamps, the station file objects, and the file utilities.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <set>
#include <thread>

#include "foundation/FileBasics.h"
#include "foundation/FileUtilities.h"
#include "foundation/Log.h"
#include "foundation/OutputFile.h"
#include "foundation/StationFiles.h"
#include "support/TestSupport.h"

namespace {

TEST(Timestamps, AreShapedLikeTheUIDPrefix) {
  EXPECT_EQ(Util_makeTimestamp(0).size(), 22u);
  EXPECT_EQ(Util_makeTimestamp2(0).size(), 19u);
}

TEST(StationFiles, MissingKeysSectionsAndBrokenFiles) {
  bk_test::writeFile(bk_test::kStationInfoPath,
                     "{\"ksinfo\": {\"A\": \"1\",\n \"B\": 2}, \"lifeline\": {\"X\": ");
  CBKKSInfo* info = getKSInfo();
  info->refresh();
  // What came before the break is kept; what did not arrive reads "NOTFOUND".
  EXPECT_EQ(info->getValueFor("ksinfo", "A"), "1");
  EXPECT_EQ(info->getValueFor("ksinfo", "B"), 2);
  EXPECT_EQ(info->getValueFor("lifeline", "Y"), "NOTFOUND");
  EXPECT_EQ(info->getValueFor("nosuchsection", "A"), "NOTFOUND");
  bk_test::writeFile(bk_test::kStationInfoPath, "{\"ksinfo\": {\"A\": \"new\"}}");
  info->refresh();
  unlink(bk_test::kStationInfoPath);
  info->refresh();  // a vanished file keeps the last good contents
  EXPECT_EQ(info->getValueFor("ksinfo", "A"), "new");
}

// Runs after every static object of the process is gone, as late as a
// still-running SFC thread could read a station file.
bool readStationFileAtExit = false;
__attribute__((destructor)) void stationFileReadAfterExit() {
  if (readStationFileAtExit && getKSInfo()->getValueFor("ksinfo", "A") != "late") _exit(3);
}

TEST(StationFiles, StayReadableWhileTheProcessExits) {
  EXPECT_EXIT(
      {
        bk_test::writeFile(bk_test::kStationInfoPath, "{\"ksinfo\": {\"A\": \"late\"}}");
        getKSInfo()->refresh();
        readStationFileAtExit = true;
        exit(0);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(Directories, CreateReportsWhatItMadeAndDeleteLeavesLinksAndFiles) {
  EXPECT_TRUE(Util_createDirectories("/tmp/a/b/c/"));
  EXPECT_FALSE(Util_createDirectories("/tmp/a/b/c"));
  bk_test::writeFile("/tmp/a/b/file", "x");
  ASSERT_EQ(symlink("/tmp/a/b/file", "/tmp/a/b/c/link"), 0);
  EXPECT_EQ(Util_deletDirectory("/tmp/a"), 0);
  EXPECT_FALSE(bk_test::fileExists("/tmp/a/b/file"));
  EXPECT_TRUE(Util_directoryExists("/tmp/a/b/c"));  // held up by the link
  // Not a directory: nothing is touched.
  bk_test::writeFile("/tmp/plain", "x");
  EXPECT_EQ(Util_deletDirectory("/tmp/plain"), 0);
  EXPECT_TRUE(bk_test::fileExists("/tmp/plain"));
}

TEST(FileCopies, CheckSizesRefuseSelfCopiesAndSkipLinks) {
  std::string content(3 * 1024 * 1024 + 17, 'q');
  bk_test::writeFile("/tmp/src", content);
  EXPECT_FALSE(Util_fileCopy("/tmp/src", "/tmp/src", true));
  EXPECT_FALSE(Util_fileCopy("/tmp/nosuch", "/tmp/dst", true));
  EXPECT_FALSE(Util_fileCopy("/tmp/src", "/tmp/nodir/dst", true));
  bk_test::writeFile("/tmp/dst", std::string(10 * 1024 * 1024, 'z'));
  EXPECT_TRUE(Util_fileCopy("/tmp/src", "/tmp/dst", false));  // truncated all the same
  EXPECT_EQ(bk_test::readFile("/tmp/dst"), content);

  bk_test::writeFile("/tmp/tree/sub/b", "22");
  ASSERT_EQ(symlink("/tmp/tree/sub/b", "/tmp/tree/link"), 0);
  EXPECT_TRUE(Util_directoryCopyRecursive("/tmp/tree", "/tmp/copy", true));
  EXPECT_EQ(bk_test::readFile("/tmp/copy/sub/b"), "22");
  EXPECT_FALSE(bk_test::fileExists("/tmp/copy/link"));
  EXPECT_FALSE(Util_directoryCopyRecursive("/tmp/tree", "/tmp/tree", true));
}

TEST(FileCopies, GrowingSourceIsCopiedAsItWasWhenTheCopyBegan) {
  // A log still being written.
  const std::string start(32 * 1024 * 1024, 'l');
  bk_test::writeFile("/tmp/live.log", start);
  std::atomic<bool> stop{false};
  std::atomic<int> lines{0};
  std::thread writer([&] {
    std::ofstream out("/tmp/live.log", std::ios::app | std::ios::binary);
    const std::string line(4096, 'n');
    while (!stop) {
      out << line << std::flush;
      ++lines;
    }
  });
  while (lines < 8) std::this_thread::yield();
  const bool copied = Util_fileCopy("/tmp/live.log", "/tmp/live.copy", true);
  stop = true;
  writer.join();
  EXPECT_TRUE(copied);
  const std::string copy = bk_test::readFile("/tmp/live.copy");
  const std::string grown = bk_test::readFile("/tmp/live.log");
  EXPECT_GT(copy.size(), start.size());
  EXPECT_LT(copy.size(), grown.size());
  EXPECT_EQ(grown.compare(0, copy.size(), copy), 0);
}

TEST(OutputFiles, OpenMakesParentsAndTruncates) {
  std::ofstream* out = COutputFile::open("/tmp/x/y/z.txt");
  ASSERT_TRUE(out->is_open());
  *out << "old text";
  delete out;
  EXPECT_EQ(bk_test::readFile("/tmp/x/y/z.txt"), "old text");
  delete COutputFile::open("/tmp/x/y/z.txt");
  EXPECT_EQ(bk_test::readFile("/tmp/x/y/z.txt"), "");
  EXPECT_EQ(COutputFile::makeSafeFilename("a:b/c\\d'e\"f*g|h .-"), "a_b_c_d_e_f_g_h .-");
}

}  // namespace
