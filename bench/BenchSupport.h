// Timing and reply helpers shared by the benchmark programs.
#ifndef BRAMBLEKIT_BENCH_BENCHSUPPORT_H_
#define BRAMBLEKIT_BENCH_BENCHSUPPORT_H_

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <vector>

#include "interface/Bramblekit.h"

namespace bk_bench {

using Clock = std::chrono::steady_clock;

inline double msSince(Clock::time_point from) {
  return std::chrono::duration<double, std::milli>(Clock::now() - from).count();
}

inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// A benchmark measures only sessions that work: any failed reply ends it.
inline void check(BKReplyHandle reply, const char* what) {
  if (!BK_success(reply)) {
    fprintf(stderr, "%s failed: %s\n", what, BK_reply_getError(reply));
    exit(1);
  }
  BK_reply_destroy(reply);
}

// An open session with the four attributes done needs.
inline UUTHandle startUnit() {
  UUTHandle unit = nullptr;
  check(BK_UUTStart(&unit), "start");
  check(BK_addAttribute(unit, "serialnumber", "C0212ABCDEF"), "serial number");
  check(BK_addAttribute(unit, "softwarename", "bench-station"), "software name");
  check(BK_addAttribute(unit, "softwareversion", "1.0"), "software version");
  check(BK_addAttribute(unit, "limitsversion", "L-1"), "limits version");
  return unit;
}

}  // namespace bk_bench

#endif  // BRAMBLEKIT_BENCH_BENCHSUPPORT_H_
