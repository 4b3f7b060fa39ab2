// A white-box fixture for tests of one session on station files the test
// chooses: it restarts the session at will and reads the log written since a
// mark.
#ifndef BRAMBLEKIT_TESTS_SUPPORT_STATIONSESSION_H_
#define BRAMBLEKIT_TESTS_SUPPORT_STATIONSESSION_H_

#include <time.h>
#include <utime.h>

#include <string>

#include "support/SessionRun.h"

namespace bk_test {

class StationSession : public ::testing::Test {
 protected:
  void TearDown() override {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
  }
  // Writes info_ and health_ (the info file signed if signed_) and starts a
  // new session, which reads them.
  void start() {
    if (uut_ != nullptr) BK_UID_destroy(uut_);
    signed_ ? writeSignedStationFiles(info_, health_) : writeStationFiles(info_, health_);
    UUTHandle handle = nullptr;
    BK_reply_destroy(BK_UUTStart(&handle));
    uut_ = static_cast<CUUT*>(handle);
    ASSERT_NE(uut_, nullptr);
  }
  void markLog() { logMark_ = readLog().size(); }
  // Whether the log gained `text` since the last mark.
  bool logged(const std::string& text) const {
    return readLog().find(text, logMark_) != std::string::npos;
  }
  // As if the health agent had last written its file an hour ago.
  static void ageHealthFile() {
    const time_t old = time(nullptr) - 3600;
    struct utimbuf times = {old, old};
    ASSERT_EQ(utime(kHealthPath, &times), 0);
  }

  Json::Value info_ = sampleStationInfo();
  Json::Value health_ = sampleHealth();
  bool signed_ = false;
  CUUT* uut_ = nullptr;
  std::size_t logMark_ = 0;
};

}  // namespace bk_test

#endif  // BRAMBLEKIT_TESTS_SUPPORT_STATIONSESSION_H_
