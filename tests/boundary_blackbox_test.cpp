// What a careless or unlucky station gets at the boundary: handles it has
// already given back, handles of the wrong kind, texts without a terminator,
// and a fault inside the library.  Each is an answer, never a crash; run under
// AddressSanitizer a single read through a freed handle or past a buffer
// fails the test.
#include <gtest/gtest.h>
#include <json/json.h>
#include <string.h>
#include <time.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

#include "interface/Bramblekit.h"
#include "support/SignedStation.h"
#include "support/TestSupport.h"

using namespace bk_test;

// The library's allocations come here too: armed, the next one fails once,
// the way a station short of memory would see it.
static std::atomic<bool> g_failNextAllocation{false};

void* operator new(std::size_t size) {
  if (g_failNextAllocation.exchange(false)) throw std::bad_alloc();
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size == 0 ? 1 : size);
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
// The pair above and below is malloc's, which the compiler cannot see.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
#pragma GCC diagnostic pop

namespace {

// The reply's text, or "ok"; the reply is freed.
std::string answer(BKReplyHandle reply) {
  std::string text = BK_success(reply) ? "ok" : BK_reply_getError(reply);
  BK_reply_destroy(reply);
  return text;
}

UUTHandle startUnit() {
  UUTHandle unit = nullptr;
  EXPECT_EQ(answer(BK_UUTStart(&unit)), "ok");
  return unit;
}

const std::string kNullSession = "NULL UUTHandle handle passed as a parameter";

TEST(Boundary, HandlesNoLongerOrNeverGivenOutAreAnsweredLikeNull) {
  writeStationFiles();
  UUTHandle unit = startUnit();
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, "voltage", 7);

  // A record of the other kind, or a session in a record's place.
  EXPECT_EQ(answer(BK_addResult(unit, result, result)),
            "NULL testSpecHandle handle passed as a parameter");
  EXPECT_EQ(answer(BK_addResult(unit, spec, spec)),
            "NULL testResultHandle handle passed as a parameter");
  EXPECT_EQ(answer(BK_addAttribute(spec, "station", "x")), kNullSession);
  EXPECT_FALSE(BK_testResult_setValue(spec, "1", 1));
  EXPECT_FALSE(BK_isSignatureOK(spec));

  // Used and destroyed again after destroy.
  BK_testSpec_destroy(spec);
  BK_testSpec_destroy(spec);
  EXPECT_FALSE(BK_testSpec_setTestName(spec, "again", 5));
  BK_testResult_destroy(result);
  BK_testResult_destroy(result);
  BK_UID_destroy(unit);
  BK_UID_destroy(unit);
  EXPECT_EQ(answer(BK_addAttribute(unit, "station", "x")), kNullSession);
  EXPECT_EQ(answer(BK_UUTDone(unit)), "NULL UUThandle handle passed as a parameter");
  EXPECT_EQ(answer(BK_UUTCancel(unit)), kNullSession);

  // A reply read and freed after it was freed.  BK_success of a reply the
  // library does not know is false.
  BKReplyHandle reply = BK_UUTCancel(nullptr);
  BK_reply_destroy(reply);
  EXPECT_FALSE(BK_success(reply));
  EXPECT_EQ(BK_reply_getMessageID(reply), 0xffffffffu);
  EXPECT_EQ(BK_reply_getClass(reply), 0u);
  EXPECT_STREQ(BK_reply_getError(reply), "");
  BK_reply_destroy(reply);
}

TEST(Boundary, CountedTextsAreReadNoFurtherThanTheirLength) {
  writeStationFiles();
  UUTHandle unit = startUnit();
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  // Exactly `length` bytes, no terminator anywhere.
  auto unterminated = [](const std::string& text) {
    std::unique_ptr<char[]> buffer(new char[text.size()]);
    memcpy(buffer.get(), text.data(), text.size());
    return buffer;
  };
  auto name = unterminated(std::string(49, 'n'));
  auto low = unterminated("1"), high = unterminated("5"), units = unterminated("V");
  auto value = unterminated("3.3"), message = unterminated("ok");
  EXPECT_TRUE(BK_testSpec_setTestName(spec, name.get(), 49));
  EXPECT_TRUE(BK_testSpec_setSubTestName(spec, name.get(), 3));
  EXPECT_TRUE(BK_testSpec_setSubSubTestName(spec, name.get(), 3));
  EXPECT_TRUE(BK_testSpec_setLimits(spec, low.get(), 1, high.get(), 1));
  EXPECT_TRUE(BK_testSpec_setUnits(spec, units.get(), 1));
  EXPECT_TRUE(BK_testResult_setValue(result, value.get(), 3));
  EXPECT_TRUE(BK_testResult_setMessage(result, message.get(), 2));
  // The stored name is the 49 bytes given, one too many for the intake.
  EXPECT_EQ(answer(BK_addResult(unit, spec, result)),
            "TestName=[" + std::string(49, 'n') +
                "], length=[49] exceeds the allowable length of [48] or empty.");
  // A zero byte inside the length ends the text; the length check then fails.
  EXPECT_FALSE(BK_testSpec_setTestName(spec, "A\0B", 3));
  BK_testSpec_setTestName(spec, name.get(), 48);
  EXPECT_EQ(answer(BK_addResult(unit, spec, result)), "ok");
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
  BK_UID_destroy(unit);
}

TEST(Boundary, AnExceptionInsideIsAFailedAnswerAndAnErrorLine) {
  Json::Value info = sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 3600);
  writeSignedStationFiles(info, sampleHealth());
  UUTHandle unit = startUnit();

  BKReplyHandle reply = BK_UUTCancel(nullptr);
  g_failNextAllocation = true;
  EXPECT_FALSE(BK_isMartenRunning(unit, reply));
  EXPECT_STREQ(BK_reply_getError(reply), "BK_isMartenRunning WHOOPS! unhandled exception!");
  EXPECT_EQ(BK_reply_getMessageID(reply), 0u);
  EXPECT_FALSE(BK_success(reply));
  BK_reply_destroy(reply);

  // Without the policy's say: a fault that nothing handled is no success.
  g_failNextAllocation = true;
  reply = BK_amIOkay(unit, nullptr);
  EXPECT_FALSE(BK_success(reply));
  EXPECT_STREQ(BK_reply_getError(reply), "BK_amIOkay WHOOPS! unhandled exception!");
  BK_reply_destroy(reply);
  EXPECT_EQ(countLines(readLog(), ": ERROR: BK_amIOkay WHOOPS! unhandled exception!"), 1u);
  BK_UID_destroy(unit);
}

}  // namespace
