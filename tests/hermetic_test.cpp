// The library writes to fixed paths, so a test process that starts outside
// the sandbox of bk-hermetic would scribble over the host's vault. These
// checks fail when the sandbox is missing or leaks.
#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "support/TestSupport.h"

namespace {

struct Mount {
  std::string source;
  std::string type;
  std::string propagation;  // optional fields, e.g. "shared:12"
};

// The mount that is visible at `point`: the last one listed for it.
Mount topmostMount(const std::string& point) {
  std::ifstream mountinfo("/proc/self/mountinfo");
  Mount found;
  for (std::string line; std::getline(mountinfo, line);) {
    std::istringstream fields(line);
    std::string id, parent, device, root, mountPoint, options;
    fields >> id >> parent >> device >> root >> mountPoint >> options;
    if (mountPoint != point) continue;
    Mount mount;
    for (std::string field; fields >> field && field != "-";) mount.propagation += field + " ";
    fields >> mount.type >> mount.source;
    found = mount;
  }
  return found;
}

}  // namespace

TEST(HermeticSandbox, LibraryPathsAreTheLaunchersOwnPrivateTmpfs) {
  const std::pair<const char*, const char*> expected[] = {
      {"/vault", "bk-vault"}, {"/tmp", "bk-tmp"}, {"/usr/local/lib", "bk-usr-local-lib"}};
  for (const auto& [path, source] : expected) {
    SCOPED_TRACE(path);
    struct statfs fs {};
    ASSERT_EQ(statfs(path, &fs), 0);
    EXPECT_EQ(fs.f_type, static_cast<decltype(fs.f_type)>(TMPFS_MAGIC));
    const Mount mount = topmostMount(path);
    EXPECT_EQ(mount.type, "tmpfs");
    EXPECT_EQ(mount.source, source);
    // A shared mount would have been propagated into the host's namespace.
    EXPECT_EQ(mount.propagation.find("shared:"), std::string::npos) << mount.propagation;
  }
}

// The sandbox starts without a shop-floor client, and temporary files of the
// test's own tools land in the private /tmp.
TEST(HermeticSandbox, StartsWithoutClientAndWithPrivateTemporaryDirectory) {
  EXPECT_FALSE(bk_test::fileExists("/usr/local/lib/libBKSFCPost.dylib"));
  EXPECT_STREQ(std::getenv("TMPDIR"), "/tmp");
}
