// The two unit process checks read a response file that the test writes
// itself; no thread and no client are involved.
#include <gtest/gtest.h>
#include <time.h>

#include <string>

#include "foundation/StatusWord.h"
#include "sfc/UnitProcessChecks.h"
#include "support/SessionRun.h"

namespace {

class UnitProcessChecks : public bk_test::SessionTest {
 protected:
  void SetUp() override { restart(); }
  void restart(const std::string& feature = "ON", const Json::Value& timeout = 15) {
    info_["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = feature;
    info_["ksinfo"]["SFC_TIMEOUT"] = timeout;
    start();
    view_ = {uut_->getUID()};
  }
  // As after the attribute intake started the thread `age` seconds ago.
  void threadStarted(time_t age) { view_ = {uut_->getUID(), true, true, time(nullptr) - age}; }
  void respond(const std::string& text) { bk_test::writeFile("/tmp/" + uut_->getUID(), text); }
  bool queryOK() { return unitcheck::BK_isSFCQueryUnitOK(view_, &reply_); }
  bool outOfProcess() { return unitcheck::BK_isUnitOutOfProcess(uut_->getUID(), &reply_); }
  std::string text() { return reply_.getData(); }

  UnitCheckView view_;  // the session as the checks see it
  CBKReply reply_;
};

// Feature off, no serial number, no thread, a timeout that is not an integer:
// all pass, and nothing is out of process.
TEST_F(UnitProcessChecks, EarlyCallsPass) {
  EXPECT_TRUE(queryOK());
  view_.serialNumberAdded = true;
  EXPECT_TRUE(queryOK());
  EXPECT_FALSE(outOfProcess());
  restart("OFF");
  EXPECT_TRUE(queryOK());
  EXPECT_FALSE(outOfProcess());
  restart("ON", "15");
  threadStarted(100);
  respond("No response from SFC");
  EXPECT_TRUE(queryOK());
}

TEST_F(UnitProcessChecks, WithoutFileTheTimeoutDecides) {
  threadStarted(0);
  EXPECT_TRUE(queryOK());
  threadStarted(20);
  time_t created = view_.startedAt;
  EXPECT_FALSE(queryOK());
  EXPECT_EQ(text(), "BK_AMIOkay/BK_isSFCQueryUnitOK: SFC_QUERY_UNIT: timeNow[" +
                        std::to_string(created + 20) + "] - timeWhenSFCThreadCreated [" +
                        std::to_string(created) +
                        "] = [20] > SFC_TIMEOUT [15] and response file does not exist");
  EXPECT_EQ(reply_.getStatus(),
            kStatusFailBit | (BK_MSG_CLASS_PROCESS_CONTROL << 20) | BK_MSG_ERROR_SFC_QUERY_UNIT);
  // A limit of 0 is not replaced here: one second on, the check fails.
  restart("ON", 0);
  threadStarted(1);
  EXPECT_FALSE(queryOK());
}

TEST_F(UnitProcessChecks, FileFirstLineDecidesWhateverItsAge) {
  threadStarted(1000);
  respond("Response=0 SFC_OK unit_process_check=OK,\nsecond line");
  EXPECT_TRUE(queryOK());
  EXPECT_EQ(text(), "Response=0 SFC_OK unit_process_check=OK,");
  EXPECT_FALSE(outOfProcess());
  for (const char* answer : {"1 SFC_ERROR busy", ""}) {
    respond(answer);
    EXPECT_TRUE(queryOK()) << answer;
    EXPECT_EQ(text(), answer);
    EXPECT_FALSE(outOfProcess()) << answer;
  }
  respond("Response=1 No response from SFC,");
  EXPECT_FALSE(queryOK());
}

TEST_F(UnitProcessChecks, OutOfProcessLineIsCutByPositionPlus17) {
  respond("Response=0 SFC_OK UNIT OUT OF PROCESS: go to FCT-2,");
  EXPECT_TRUE(outOfProcess());
  EXPECT_EQ(text(), " UNIT OUT OF PROCESS: go to FCT-2,");
  EXPECT_EQ(reply_.getStatus(), kStatusFailBit | (BK_MSG_CLASS_PROCESS_CONTROL << 20) |
                                    BK_MSG_ERROR_UNIT_OUT_OF_PROCESS);
  // Found at 3, the cut removes 3 + 17 characters from there.
  respond("ab Response=0 SFC_OK UNIT_OUT_OF_PROCESS go to FCT-2,");
  EXPECT_TRUE(outOfProcess());
  EXPECT_EQ(text(), "ab IT_OUT_OF_PROCESS go to FCT-2,");
  respond("UNIT_OUT_OF_PROCESS without the usual prefix");
  EXPECT_TRUE(outOfProcess());
  EXPECT_EQ(text(), "UNIT_OUT_OF_PROCESS without the usual prefix");
}

}  // namespace
