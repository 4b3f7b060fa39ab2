// A client that lacks SFCQueryRecordUnitCheck: only that query comes back
// empty; the client's other functions still answer.
#include <gtest/gtest.h>

#include <cstdlib>

#include "sfc_client_double/SfcTestSupport.h"

using namespace sfc_test;

TEST(SfcClientWithoutUnitCheck, UnitCheckEndsWithoutFileWhileOtherFunctionsWork) {
  ASSERT_NE(libSFCPostHandle, nullptr);
  EXPECT_EQ(SFCQueryRecordUnitCheck("C02XK0TMJGH5", kStationId), nullptr);

  script("SFCServerVersion", {answer("0 SFC_OK server 4.2")});
  char* version = SFCServerVersion();
  ASSERT_NE(version, nullptr);
  EXPECT_STREQ(version, "0 SFC_OK server 4.2");
  FreeSFCBuffer(version);
  EXPECT_EQ(calls("FreeSFCBuffer").size(), 1u);

  CUUT* uut = startSession();
  ASSERT_TRUE(startUnitCheck(uut, "C02XK0TMJGH5"));
  ASSERT_TRUE(waitForUnitCheckEnd(uut));
  ASSERT_TRUE(waitForAllSFCThreads());
  EXPECT_FALSE(bk_test::fileExists(responsePath(uut)));
  EXPECT_EQ(
      bk_test::countLines(bk_test::readLog(), "Could not find function in libBKSFCPost.dylib"), 1u);
  EXPECT_TRUE(calls("SFCQueryRecordUnitCheck").empty());
  BK_UID_destroy(uut);
}
