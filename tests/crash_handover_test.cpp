// The hand-over under SIGKILL: a child process runs sessions and is killed at
// random moments while it is in done or commit.  Whatever the moment, every
// UID.commit that exists afterwards, and every direct copy under that name,
// holds a complete results file that verifies and carries both signatures.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <random>
#include <string>
#include <tuple>

#include "data/ResultsDocument.h"
#include "support/SessionRun.h"

using namespace bk_test;
namespace fs = std::filesystem;

namespace {

constexpr int kTrials = 300;
constexpr int kResultsPerSession = 60;
const char* const kHandOverRoots[] = {"/vault/data_collection/uut_data/",
                                      "/vault/data_collection/uut_data_ocelot/"};

// The child: sessions back to back, telling the parent on `ready` when the
// first reaches done and, after `sessions`, when it has finished.
[[noreturn]] void runSessions(int ready, int sessions) {
  for (int s = 0; s < sessions; ++s) {
    CUUT* uut = startSession();
    addAttributes(uut);
    for (int i = 0; i < kResultsPerSession; ++i) {
      addResult(uut, BK_PASS, "rail_" + std::to_string(i), "3.3");
    }
    BK_reply_destroy(BK_addBlobData(uut, "log.txt", "all well\n", 9));
    if (s == 0 && write(ready, "D", 1) != 1) _exit(3);
    BK_reply_destroy(BK_UUTDone(uut));
    BK_reply_destroy(BK_UUTCommit(uut, BK_PASS));
    BK_UID_destroy(uut);
    if (s == 0 && write(ready, "C", 1) != 1) _exit(3);
  }
  _exit(0);
}

// A child running `sessions` sessions; gives its pid and the read end of `ready`.
std::pair<pid_t, int> startChild(int sessions) {
  int fds[2];
  EXPECT_EQ(pipe(fds), 0);
  pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    runSessions(fds[1], sessions);
  }
  close(fds[1]);
  return {pid, fds[0]};
}

bool readMark(int fd, char expected) {
  char mark = 0;
  return read(fd, &mark, 1) == 1 && mark == expected;
}

// Checks and removes every committed directory; the session directories the
// kill left behind unfinished are removed too.  Returns the number checked.
int checkHandOvers(int trial) {
  int checked = 0;
  for (const char* root : kHandOverRoots) {
    std::error_code ignored;
    if (!fs::exists(root, ignored)) continue;
    for (const fs::directory_entry& entry : fs::directory_iterator(root)) {
      std::string path = entry.path().string();
      if (path.size() > 7 && path.compare(path.size() - 7, 7, ".commit") == 0) {
        const std::string results = path + "/results.Json";
        EXPECT_TRUE(fileExists(results) && Util_verify_results_json(results.c_str()) &&
                    verifyCommittedResults(results))
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
  auto [pid, ready] = startChild(1);
  ASSERT_TRUE(readMark(ready, 'D'));
  auto from = std::chrono::steady_clock::now();
  ASSERT_TRUE(readMark(ready, 'C'));
  long window =
      std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - from)
          .count();
  waitpid(pid, nullptr, 0);
  close(ready);
  ASSERT_EQ(checkHandOvers(-1), 2) << "the unkilled session must hand over twice";

  std::mt19937 random(static_cast<unsigned>(time(nullptr)));
  std::uniform_int_distribution<long> delay(0, window + window / 5);
  int committed = 0;
  int cut = 0;
  for (int trial = 0; trial < kTrials; ++trial) {
    std::tie(pid, ready) = startChild(3);
    ASSERT_TRUE(readMark(ready, 'D')) << "trial " << trial;
    usleep(static_cast<useconds_t>(delay(random)));
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    close(ready);
    const int found = checkHandOvers(trial);
    committed += found;
    cut += found == 0;
    if (HasFailure()) break;
  }
  printf("%d kills, window %ld us: %d hand-overs checked, %d kills before any hand-over\n", kTrials,
         window, committed, cut);
  // Both sides of the hand-over must have been hit for the test to mean anything.
  EXPECT_GT(committed, 0);
  EXPECT_GT(cut, 0);
}

}  // namespace
