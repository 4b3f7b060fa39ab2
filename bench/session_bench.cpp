// Session benchmarks.
//
// Large: one session of 30,000 parametric results; the time of done plus
// commit, against the JSON library alone rendering the same document once
// and parsing it once.  Commit renders twice and parses twice (its own write
// and verification, then the signing's parse and rewrite), so a ratio near 2
// is the floor; the target is at most 2.5.
//
// Small: four attributes, ten results, done and commit, start to end of
// commit; the target median is at most 5 ms.
//
//   session_bench [--large-runs N] [--small-runs N]
#include <json/json.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <string>
#include <vector>

#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/SignedStation.h"
#include "support/TestSupport.h"

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point from) {
  return std::chrono::duration<double, std::milli>(Clock::now() - from).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void check(BKReplyHandle reply, const char* what) {
  if (!BK_success(reply)) {
    fprintf(stderr, "%s failed: %s\n", what, BK_reply_getError(reply));
    exit(1);
  }
  BK_reply_destroy(reply);
}

UUTHandle startUnit() {
  UUTHandle unit = nullptr;
  check(BK_UUTStart(&unit), "start");
  check(BK_addAttribute(unit, "serialnumber", "C0212ABCDEF"), "serial number");
  check(BK_addAttribute(unit, "softwarename", "bench-station"), "software name");
  check(BK_addAttribute(unit, "softwareversion", "1.0"), "software version");
  check(BK_addAttribute(unit, "limitsversion", "L-1"), "limits version");
  return unit;
}

void addParametric(UUTHandle unit, testSpecHandle spec, testResultHandle result, int index) {
  char sub[32];
  char value[32];
  int subLength = snprintf(sub, sizeof(sub), "point_%d", index);
  int valueLength = snprintf(value, sizeof(value), "%.5f", 1.0 + index * 1e-5);
  BK_testSpec_setSubTestName(spec, sub, static_cast<size_t>(subLength));
  BK_testResult_setValue(result, value, static_cast<size_t>(valueLength));
  check(BK_addResult(unit, spec, result), "result");
}

void addResults(UUTHandle unit, int count) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, "sweep", 5);
  BK_testSpec_setLimits(spec, "0.5", 3, "1.5", 3);
  BK_testSpec_setUnits(spec, "V", 1);
  BK_testSpec_setPriority(spec, BK_TRAX_PRIORITY_P1);
  BK_testResult_setResult(result, BK_PASS);
  for (int i = 0; i < count; ++i) addParametric(unit, spec, result, i);
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
}

struct LargeRun {
  double doneCommit;
  double jsonAlone;
  double jsonWithoutRelease;
};

LargeRun runLarge() {
  UUTHandle unit = startUnit();
  addResults(unit, 30000);
  Clock::time_point from = Clock::now();
  check(BK_UUTDone(unit), "done");
  check(BK_UUTCommit(unit, BK_PASS), "commit");
  double doneCommit = msSince(from);

  // The same document, as commit rendered it: rendered once, parsed once.
  // The parsed value is released inside the timing, as commit's parses are
  // released inside its own; the figure without the release is kept too.
  Json::Value document = static_cast<CUUT*>(unit)->getRootJson();
  BK_UID_destroy(unit);
  double withoutRelease = 0;
  from = Clock::now();
  {
    std::ostringstream rendered;
    rendered << document;
    Json::Value parsed;
    Json::Reader reader;
    if (!reader.parse(rendered.str(), parsed)) exit(1);
    withoutRelease = msSince(from);
  }
  return LargeRun{doneCommit, msSince(from), withoutRelease};
}

// Processor time of this process, for a figure that a busy shared machine
// does not inflate.
double cpuMs() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

struct SmallRun {
  double wall;
  double cpu;
};

SmallRun runSmall() {
  double cpuFrom = cpuMs();
  Clock::time_point from = Clock::now();
  UUTHandle unit = startUnit();
  addResults(unit, 10);
  check(BK_UUTDone(unit), "done");
  check(BK_UUTCommit(unit, BK_PASS), "commit");
  SmallRun run{msSince(from), cpuMs() - cpuFrom};
  BK_UID_destroy(unit);
  return run;
}

int argument(int argc, char** argv, const char* name, int fallback) {
  for (int i = 1; i + 1 < argc; ++i) {
    if (strcmp(argv[i], name) == 0) return atoi(argv[i + 1]);
  }
  return fallback;
}

}  // namespace

int main(int argc, char** argv) {
  int largeRuns = std::max(1, argument(argc, argv, "--large-runs", 3));
  int smallRuns = std::max(1, argument(argc, argv, "--small-runs", 200));

  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 86400);
  bk_test::writeSignedStationFiles(info, bk_test::sampleHealth());

  std::vector<double> doneCommit;
  std::vector<double> ratios;
  std::vector<double> jsonAlone;
  std::vector<double> strictRatios;
  for (int i = 0; i < largeRuns; ++i) {
    LargeRun run = runLarge();
    doneCommit.push_back(run.doneCommit);
    ratios.push_back(run.doneCommit / run.jsonAlone);
    jsonAlone.push_back(run.jsonAlone);
    strictRatios.push_back(run.doneCommit / run.jsonWithoutRelease);
  }
  std::vector<double> small;
  std::vector<double> smallCpu;
  for (int i = 0; i < smallRuns; ++i) {
    SmallRun run = runSmall();
    small.push_back(run.wall);
    smallCpu.push_back(run.cpu);
  }

  double ratio = median(ratios);
  double smallMedian = median(small);
  printf(
      "large session, 30000 results: done+commit median %.1f ms, JSON render+parse %.1f ms, "
      "ratio %.2f (target <= 2.5) over %d runs; %.2f against render+parse without releasing "
      "the parsed value\n",
      median(doneCommit), median(jsonAlone), ratio, largeRuns, median(strictRatios));
  printf(
      "small session, 10 results: median %.2f ms start to end of commit (target <= 5), "
      "%.2f ms of processor time, %d runs\n",
      smallMedian, median(smallCpu), smallRuns);
  return ratio <= 2.5 && smallMedian <= 5.0 ? 0 : 1;
}
