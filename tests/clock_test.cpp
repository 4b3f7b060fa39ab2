// Time stamps against a clock the test sets: this program supplies the
// process's gettimeofday and time, which the library calls.
#include <gtest/gtest.h>
#include <sys/time.h>
#include <time.h>

#include <atomic>
#include <string>

#include "foundation/Log.h"

namespace {

std::atomic<bool> clockSet{false};
std::atomic<long> setSeconds{0};
std::atomic<long> setMicroseconds{0};

void setClock(long seconds, long microseconds) {
  setSeconds = seconds;
  setMicroseconds = microseconds;
  clockSet = true;
}

std::string localSeconds(time_t when) {
  struct tm local;
  localtime_r(&when, &local);
  char text[32];
  strftime(text, sizeof(text), "%Y%m%d-%H%M%S", &local);
  return text;
}

}  // namespace

extern "C" int gettimeofday(struct timeval* __restrict tv, void* __restrict) noexcept {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  tv->tv_sec = clockSet ? setSeconds.load() : now.tv_sec;
  tv->tv_usec = clockSet ? setMicroseconds.load() : now.tv_nsec / 1000;
  return 0;
}

extern "C" time_t time(time_t* result) noexcept {
  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  time_t seconds = clockSet ? setSeconds.load() : now.tv_sec;
  if (result != nullptr) *result = seconds;
  return seconds;
}

namespace {

TEST(Timestamps, EqualReadingsAreToldApartAndAClockSetBackIsFollowed) {
  const long later = 1700000000;
  setClock(later, 999998);
  EXPECT_EQ(Util_makeTimestamp(0), localSeconds(later) + ".999998");
  // The same reading again: the fraction moves on, past six digits if it
  // must, and the seconds stay.
  EXPECT_EQ(Util_makeTimestamp(0), localSeconds(later) + ".999999");
  EXPECT_EQ(Util_makeTimestamp(0), localSeconds(later) + ".1000000");

  // Set back by an hour: stamps follow the clock instead of staying after
  // the last one given out.
  setClock(later - 3600, 10);
  EXPECT_EQ(Util_makeTimestamp(0), localSeconds(later - 3600) + ".000010");
  setClock(later - 3600, 11);
  EXPECT_EQ(Util_makeTimestamp(0), localSeconds(later - 3600) + ".000011");
  clockSet = false;
}

}  // namespace
