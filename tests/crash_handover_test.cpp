// The hand-over under SIGKILL: a child process runs sessions and is killed at
// random moments while one of them, not always the first, is in done or
// commit.  Whatever the moment, every UID.commit that exists afterwards, and
// every direct copy under that name, holds a complete results file that
// verifies and carries both signatures, and every blob it records, whole.
// The seed is printed; BK_CRASH_SEED replays a run.
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <string>

#include "data/ResultsDocument.h"
#include "support/SessionRun.h"

using namespace bk_test;
namespace fs = std::filesystem;

namespace {

// A child running `sessions` sessions back to back; it writes 'D' when session
// `marked` reaches done and 'C' when that one has finished.  Gives its pid and
// the read end of that pipe.
std::pair<pid_t, int> startChild(int sessions, int marked) {
  int fds[2];
  EXPECT_EQ(pipe(fds), 0);
  const pid_t pid = fork();
  if (pid == 0) {
    writeFile("/tmp/station.log", std::string(20000, 's'));
    for (int s = 0; s < sessions; ++s) {
      CUUT* uut = startSession();
      addAttributes(uut);
      for (int i = 0; i < 60; ++i) addResult(uut, BK_PASS, "rail_" + std::to_string(i), "3.3");
      BK_reply_destroy(BK_addBlobData(uut, "log.txt", "all well\n", 9));
      BK_reply_destroy(BK_addBlob(uut, "station", "/tmp/station.log"));
      if (s == marked && write(fds[1], "D", 1) != 1) _exit(3);
      BK_reply_destroy(BK_UUTDone(uut));
      BK_reply_destroy(BK_UUTCommit(uut, BK_PASS));
      BK_UID_destroy(uut);
      if (s == marked && write(fds[1], "C", 1) != 1) _exit(3);
    }
    _exit(0);
  }
  close(fds[1]);
  return {pid, fds[0]};
}

// Whether every blob that a results file records lies beside it, whole.
bool blobsWhole(const fs::path& directory, const Json::Value& results) {
  const Json::Value& blobs = results["blobs"];
  if (blobs.size() != 2) return false;
  for (const Json::Value& blob : blobs) {
    const fs::path file = directory / "blobs" / blob["file_name"].asString();
    std::error_code error;
    const auto size = fs::file_size(file, error);
    if (error || std::to_string(size) != blob["file_size"].asString()) return false;
  }
  return true;
}

bool readMark(int fd, char expected) {
  char mark = 0;
  return read(fd, &mark, 1) == 1 && mark == expected;
}

// Checks every committed directory and removes all sessions' directories.
// Returns the number checked.
int checkHandOvers(int trial) {
  int checked = 0;
  for (const char* root :
       {"/vault/data_collection/uut_data/", "/vault/data_collection/uut_data_ocelot/"}) {
    std::error_code ignored;
    for (const fs::directory_entry& entry : fs::directory_iterator(root, ignored)) {
      const std::string results = entry.path().string() + "/results.Json";
      if (entry.path().extension() == ".commit") {
        EXPECT_TRUE(fileExists(results) && Util_verify_results_json(results.c_str()) &&
                    verifyCommittedResults(results) && blobsWhole(entry.path(), parseFile(results)))
            << "trial " << trial << ": " << results;
        ++checked;
      }
      fs::remove_all(entry.path(), ignored);
    }
  }
  return checked;
}

TEST(CrashHandoverTest, KilledSessionsNeverLeaveATornHandOver) {
  Json::Value info = readyStationInfo();
  info["ksinfo"]["OCELOT_DIRECT"] = "ON";
  writeReadyStation(info);

  // How long done and commit take here, so that the kills fall inside them.
  auto [pid, ready] = startChild(1, 0);
  ASSERT_TRUE(readMark(ready, 'D'));
  const auto from = std::chrono::steady_clock::now();
  ASSERT_TRUE(readMark(ready, 'C'));
  const long window =
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - from)
          .count();
  waitpid(pid, nullptr, 0);
  close(ready);
  ASSERT_EQ(checkHandOvers(-1), 2) << "the unkilled session must hand over twice";

  const char* replay = getenv("BK_CRASH_SEED");
  const unsigned seed = replay != nullptr ? static_cast<unsigned>(strtoul(replay, nullptr, 10))
                                          : std::random_device()();
  printf("seed %u (BK_CRASH_SEED=%u replays it)\n", seed, seed);
  std::mt19937 random(seed);
  std::uniform_int_distribution<long> delay(0, window + window / 5);
  std::uniform_int_distribution<int> session(0, 2);
  int committed = 0;
  int cut = 0;
  for (int trial = 0; trial < 300 && !HasFailure(); ++trial) {
    const int marked = session(random);
    std::tie(pid, ready) = startChild(3, marked);
    ASSERT_TRUE(readMark(ready, 'D')) << "trial " << trial;
    usleep(static_cast<useconds_t>(delay(random)));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    close(ready);
    // The sessions before the marked one have handed over, twice each.
    const int found = checkHandOvers(trial);
    EXPECT_GE(found, 2 * marked) << "trial " << trial;
    committed += found;
    cut += found == 2 * marked;
  }
  printf("300 kills, window %ld us, seed %u: %d hand-overs checked, %d before the marked one's\n",
         window, seed, committed, cut);
  // Both sides of the hand-over must have been hit for the test to mean anything.
  EXPECT_GT(committed, 0);
  EXPECT_GT(cut, 0);
}

}  // namespace
