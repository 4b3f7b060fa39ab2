// A vault that fills up or turns read-only under a session: whatever fails,
// nothing torn, unsigned or unrecorded is handed over, no failure answers
// success, and the session can go on once the disk is back.  Each test mounts
// a small tmpfs of its own inside the test's private mount namespace.
#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <filesystem>
#include <random>
#include <sstream>
#include <string>

#include "data/ResultsDocument.h"
#include "foundation/StatusWord.h"
#include "support/SessionRun.h"

using namespace bk_test;
namespace fs = std::filesystem;

namespace {

const long kPage = 4096;
const unsigned kFailFilesystem = 0x80100007u;
const unsigned kFailApiSyntax = 0x80100004u;

// A tmpfs over `path` for the test's lifetime.
class SmallDisk {
 public:
  SmallDisk(const std::string& path, const std::string& options) : path_(path) {
    fs::create_directories(path);
    mounted_ = mount("bk-small", path.c_str(), "tmpfs", 0, options.c_str()) == 0;
    EXPECT_TRUE(mounted_) << path << ": " << strerror(errno);
  }
  ~SmallDisk() {
    if (mounted_) umount2(path_.c_str(), MNT_DETACH);
  }
  void setReadOnly(bool readOnly) {
    const unsigned long flags = MS_REMOUNT | (readOnly ? MS_RDONLY : 0);
    ASSERT_EQ(mount(nullptr, path_.c_str(), nullptr, flags, nullptr), 0) << strerror(errno);
  }
  // Fills the disk until `keep` bytes (whole pages) are left.
  void fillLeaving(long keep) {
    struct statvfs info;
    ASSERT_EQ(statvfs(path_.c_str(), &info), 0);
    const long free = static_cast<long>(info.f_bavail * info.f_bsize);
    ASSERT_GE(free, keep);
    writeFile(filler(), std::string(static_cast<size_t>(free - keep), 'f'));
  }
  void empty() { fs::remove(filler()); }

 private:
  std::string filler() const { return path_ + "/.filler"; }
  std::string path_;
  bool mounted_ = false;
};

std::string randomBytes(size_t size) {
  std::mt19937 random(7);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

// A handed-over results file that carries both signatures.
bool handedOverSigned(CUUT* uut) {
  const std::string path = dirOf(uut, ".commit/results.Json");
  if (!fileExists(path)) return false;
  const Json::Value attributes = parseFile(path)["test_attributes"];
  return !attributes["otter_signature"].asString().empty() &&
         !attributes["ocelot_signature"].asString().empty();
}

size_t filesIn(const std::string& directory) {
  std::error_code error;
  auto files = fs::directory_iterator(directory, error);
  return error ? 0 : std::distance(begin(files), end(files));
}

class FullDisk : public SessionTest {
 protected:
  // Station whose policy lets every file-system and bad-call error pass: the
  // failures below must fail all the same.
  static Json::Value lenientStation() {
    Json::Value info = readyStationInfo();
    info["lifeline"].removeMember("BK_MSG_ERROR_FILESYSTEM");
    info["lifeline"].removeMember("BK_MSG_ERROR_API_SYNTAX");
    return info;
  }
};

TEST_F(FullDisk, StartHandsBackNoSessionWithoutItsDirectory) {
  for (const char* options : {"size=64k", "size=64k,nr_inodes=2"}) {
    SmallDisk vault(kUutData, options);
    const bool readOnly = std::string(options).find("inodes") == std::string::npos;
    if (readOnly) {
      vault.setReadOnly(true);
    } else {
      writeFile(std::string(kUutData) + "taken", "");  // the last inode
    }
    UUTHandle handle = reinterpret_cast<UUTHandle>(1);
    const Answer answer = answerOf(BK_UUTStart(&handle));
    EXPECT_EQ(handle, nullptr) << options;
    EXPECT_EQ(answer.status, kFailFilesystem) << options;
    EXPECT_EQ(answer.text.rfind("From BK_UUTStart: Could not create the UUT directory '", 0), 0u)
        << answer.text;
    EXPECT_EQ(filesIn(kUutData), readOnly ? 0u : 1u) << options;
  }
}

TEST_F(FullDisk, DoneOnAReadOnlyVaultKeepsTheSessionOpenUntilItCanMove) {
  SmallDisk vault(kUutData, "size=1m");
  CUUT* uut = filled(2);
  vault.setReadOnly(true);
  EXPECT_TRUE(answered(done(), false, kFailFilesystem,
                       "Could not rename the UUT directory '" + dirOf(uut, "/") + "' to '" +
                           dirOf(uut, ".done/") + "'"));
  EXPECT_EQ(uut->state, UUT_STATE_OPEN);
  EXPECT_TRUE(fileExists(dirOf(uut, "")));

  vault.setReadOnly(false);
  EXPECT_TRUE(done().success);
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(commit().success);
  EXPECT_TRUE(handedOverSigned(uut));
}

TEST_F(FullDisk, SigningThatFailsHoldsBackTheCommitUntilItCanSign) {
  writeReadyStation(lenientStation());
  SmallDisk vault(kUutData, "size=1m");
  CUUT* uut = filled(80);
  ASSERT_TRUE(done().success);
  // Room for the results file as commit first writes it, not for the signed
  // copy that signing writes beside it.
  Json::Value document = uut->getRootJson();
  document["test_attributes"]["test_result"] = "PASS";
  std::ostringstream rendered;
  Util_renderResultsJson(rendered, document);
  const long size = static_cast<long>(rendered.str().size());
  ASSERT_GT(size, 2 * kPage);
  vault.fillLeaving((size + 64 + kPage - 1) / kPage * kPage);

  EXPECT_TRUE(answered(commit(), false, kFailApiSyntax,
                       "Can not sign the test results, NOT committing the test results."));
  EXPECT_EQ(uut->state, UUT_STATE_DID);
  EXPECT_TRUE(fileExists(dirOf(uut, ".did/results.Json")));
  EXPECT_FALSE(fileExists(dirOf(uut, ".commit")));

  vault.empty();
  EXPECT_TRUE(commit().success);
  EXPECT_TRUE(handedOverSigned(uut));
}

TEST_F(FullDisk, BlobsThatDoNotFitLeaveNoFileAndNoRecord) {
  writeReadyStation(lenientStation());
  const std::string content = randomBytes(16 * kPage);  // does not compress
  writeFile("/tmp/trace.bin", content);
  struct Row {
    const char* what;
    bool fromMemory;
    long room;  // the copy fails with less than the blob, compression with less than twice
  };
  const Row rows[] = {{"file, copy", false, 4 * kPage},
                      {"file, compression", false, 18 * kPage},
                      {"memory, write", true, 4 * kPage},
                      {"memory, compression", true, 18 * kPage}};
  for (const Row& row : rows) {
    SmallDisk vault(kUutData, "size=1m");
    CUUT* uut = filled(1);
    vault.fillLeaving(row.room);
    const Answer answer =
        answerOf(row.fromMemory ? BK_addBlobData(uut, "trace", content.data(), content.size())
                                : BK_addBlob(uut, "trace", "/tmp/trace.bin"));
    EXPECT_FALSE(answer.success) << row.what;
    EXPECT_TRUE(answer.status & kStatusFailBit) << row.what;
    EXPECT_EQ(filesIn(dirOf(uut, "/blobs")), 0u) << row.what;
    EXPECT_TRUE(uut->getRootJson()["blobs"].empty()) << row.what;
    replace(nullptr);
  }
}

TEST_F(FullDisk, DirectCopyThatIsNotWholeIsNotHandedOver) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["OCELOT_DIRECT"] = "ON";
  writeReadyStation(info);
  SmallDisk ocelot("/vault/data_collection/uut_data_ocelot", "size=4k");
  CUUT* uut = filled(80);
  ASSERT_TRUE(done().success);
  const size_t mark = readLog().size();
  EXPECT_TRUE(commit().success);
  EXPECT_TRUE(handedOverSigned(uut));
  EXPECT_FALSE(fileExists("/vault/data_collection/uut_data_ocelot/" + uut->getUID() + ".commit"));
  EXPECT_NE(readLog().find("copy not committed", mark), std::string::npos);
}

}  // namespace
