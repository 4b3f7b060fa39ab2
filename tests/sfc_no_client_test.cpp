// A station without the shop-floor client: the library loads all the same,
// every query comes back NULL, and the unit check ends without a file.
#include <gtest/gtest.h>

#include "sfc_client_double/SfcTestSupport.h"

using namespace sfc_test;

TEST(SfcWithoutClient, EveryWrapperAnswersNullAndFreeDoesNothing) {
  EXPECT_EQ(libSFCPostHandle, nullptr);
  EXPECT_EQ(SFCQueryRecordUnitCheck("C02XK0TMJGH5", kStationId), nullptr);
  EXPECT_EQ(SFCQueryRecord("C02XK0TMJGH5", "mlbsn"), nullptr);
  EXPECT_EQ(SFCQueryRecordByStationName("C02XK0TMJGH5", "FCT", "mlbsn"), nullptr);
  EXPECT_EQ(SFCQueryHistory("C02XK0TMJGH5"), nullptr);
  EXPECT_EQ(SFCServerVersion(), nullptr);
  EXPECT_EQ(SFCLibVersion(), nullptr);
  char buffer[] = "not the client's";
  FreeSFCBuffer(buffer);
  FreeSFCBuffer(nullptr);
}

TEST(SfcWithoutClient, UnitCheckEndsWithoutFileAndTheCheckWaitsForTheTimeout) {
  CUUT* uut = startSession();
  ASSERT_TRUE(startUnitCheck(uut, "C02XK0TMJGH5"));
  ASSERT_TRUE(waitForUnitCheckEnd(uut));
  ASSERT_TRUE(waitForAllSFCThreads());
  EXPECT_FALSE(bk_test::fileExists(responsePath(uut)));
  EXPECT_EQ(
      bk_test::countLines(bk_test::readLog(), "Could not find function in libBKSFCPost.dylib"), 1u);
  CBKReply reply;
  EXPECT_TRUE(BK_isSFCQueryUnitOK(uut, &reply, nullptr));
  EXPECT_STREQ(reply.getData(),
               "BK_AMIOkay/BK_isSFCQueryUnitOK: No action, still within the SFC_TIME_OUT");
  BK_UID_destroy(uut);
}
