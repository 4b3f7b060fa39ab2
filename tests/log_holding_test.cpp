// The lines of accepted results may wait in memory; they reach the file
// whole, once, and in the order they were logged: before any other entry
// point returns, with a refusal, behind nothing another thread wrote later,
// never more than the bound at a time, and never twice through a fork.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "support/SessionRun.h"

using namespace bk_test;

namespace {

// The file as it is, without writing what the log holds (unlike readLog).
std::string logOnDisk() { return fileExists(kLogPath) ? readFile(kLogPath) : std::string(); }

BKReplyHandle add(CUUT* uut, const std::string& name) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, name.c_str(), name.size());
  BK_testResult_setResult(result, BK_PASS);
  BKReplyHandle reply = BK_addResult(uut, spec, result);
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
  return reply;
}

// Where `needle` is in `text`, failing the test when it is missing or there
// twice.
size_t onlyPlaceOf(const std::string& text, const std::string& needle) {
  const size_t at = text.find(needle);
  EXPECT_NE(at, std::string::npos) << needle;
  EXPECT_EQ(text.find(needle, at + 1), std::string::npos) << needle << " written twice";
  return at;
}

class LogHolding : public ::testing::Test {
 protected:
  void SetUp() override {
    writeReadyStation();
    uut_ = startSession();
  }
  void TearDown() override {
    BK_reply_destroy(BK_UUTCancel(uut_));
    BK_UID_destroy(uut_);
  }
  CUUT* uut_ = nullptr;
};

TEST_F(LogHolding, HeldLinesAreWrittenInOrderByOtherCallsRefusalsAndThreads) {
  const std::string before = logOnDisk();
  BK_reply_destroy(add(uut_, "first"));
  BK_reply_destroy(add(uut_, "second"));
  EXPECT_EQ(logOnDisk(), before) << "lines of accepted results are held";

  // Another thread's line goes behind the held ones.
  std::thread([] { bkLogSessionLine(kBlankUID, "probe", "from another thread"); }).join();
  std::string log = logOnDisk();
  const size_t second = onlyPlaceOf(log, "BK_PASS result [2 total]");
  EXPECT_LT(onlyPlaceOf(log, "BK_PASS result [1 total]"), second);
  EXPECT_LT(second, onlyPlaceOf(log, "from another thread"));

  // A refusal is in the file when the station reads it.
  BK_reply_destroy(add(uut_, "third"));
  BKReplyHandle refused = add(uut_, "");
  EXPECT_FALSE(BK_success(refused));
  BK_reply_destroy(refused);
  log = logOnDisk();
  EXPECT_LT(onlyPlaceOf(log, "BK_PASS result [3 total]"),
            onlyPlaceOf(log, "Can not submit empty strings"));

  // Any entry point outside the per-result calls writes what is held.
  BK_reply_destroy(add(uut_, "fourth"));
  EXPECT_EQ(logOnDisk().find("BK_PASS result [4 total]"), std::string::npos);
  BK_getVersion();
  onlyPlaceOf(logOnDisk(), "BK_PASS result [4 total]");
}

TEST_F(LogHolding, NoMoreThanTheBoundIsHeldAndAForkedChildWritesNoneOfIt) {
  const size_t start = logOnDisk().size();
  for (int i = 0; i < 1000; ++i) BK_reply_destroy(add(uut_, "r" + std::to_string(i)));
  const size_t whileHeld = logOnDisk().size();
  BK_getVersion();
  const size_t written = logOnDisk().size();
  EXPECT_GT(written - start, 2 * CBKLog::kHeldLimit) << "the test must log more than the bound";
  EXPECT_LE(written - whileHeld, CBKLog::kHeldLimit);

  BK_reply_destroy(add(uut_, "held across the fork"));
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) exit(0);  // runs the library's unload
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  BK_getVersion();
  onlyPlaceOf(logOnDisk(), "BK_PASS result [1001 total]");
}

}  // namespace
