// Session benchmarks.
//
// Large: one session of 30,000 parametric results; the time of done plus
// commit, against the JSON library alone rendering the committed document
// once and parsing it once (the parsed value's release not counted).  Commit
// renders once, writes, checks the document in memory against the bytes on
// disk, and signs by putting its three members into the rendered text, so a
// ratio below 1 is within reach; the target is at most 1.5.  Commit's steps
// are then timed one by one on the same document, with the ways they replace
// (verification by parsing the file, signing by parse and render) beside them.
// /vault is a tmpfs in the sandbox, so fsync costs next to nothing here.
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
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "data/ResultsDocument.h"
#include "foundation/Durability.h"
#include "foundation/FileBasics.h"
#include "foundation/FileUtilities.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "signature/ResultsSigning.h"
#include "support/SignedStation.h"
#include "support/TestSupport.h"

namespace {

using bk_bench::check;
using bk_bench::Clock;
using bk_bench::median;
using bk_bench::msSince;
using bk_bench::startUnit;

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

// Commit's steps, each timed alone on the committed document.
struct Steps {
  double render, write, verify, rename, sign, fsync, handOver;
  // Not part of commit here: one direct copy (off on this station), and the
  // ways verification and signing went before.
  double copy, verifyByParse, signByParse;
};

struct LargeRun {
  double done, commit;
  double render, parse;
  double fileMB;
  Steps steps;
};

template <typename Step>
double timed(Step step) {
  Clock::time_point from = Clock::now();
  step();
  return msSince(from);
}

void require(bool ok, const char* what) {
  if (ok) return;
  fprintf(stderr, "%s failed\n", what);
  exit(1);
}

Steps commitSteps(const Json::Value& document) {
  const std::string root = "/vault/data_collection/uut_data/bench-steps";
  const std::string did = root + ".did/";
  const std::string tmp = did + "results.tmp";
  const std::string results = did + "results.Json";
  Util_deletDirectory((root + ".commit").c_str());
  Util_createDirectories(did.c_str());
  Steps steps{};
  std::string text;
  steps.render = timed([&] { text = Util_renderResultsText(document); });
  steps.write = timed([&] {
    std::ofstream out(tmp.c_str(), std::ios::out | std::ios::trunc);
    out << text;
  });
  bool ok = false;
  steps.verify = timed([&] {
    ok = Util_resultsRenderRoundTrips(document, text) &&
         Util_verify_results_written(tmp.c_str(), text, &document);
  });
  require(ok, "verification");
  steps.verifyByParse = timed([&] { ok = Util_verify_results_json(tmp.c_str()); });
  require(ok, "verification by parse");
  steps.rename = timed([&] { ok = Util_fileRename(tmp.c_str(), results.c_str()); });
  require(ok, "rename");
  steps.sign = timed([&] { ok = signJsonResults(results, text, document); });
  require(ok, "signing");
  const std::string signedText = bk_test::readFile(results);
  bk_test::writeFile(results, text);
  steps.signByParse = timed([&] { ok = signJsonResults(results); });
  require(ok && bk_test::readFile(results) == signedText, "signing by parse and render");
  steps.fsync = timed([&] { ok = Util_syncDirectoryTree(did.c_str()); });
  require(ok, "fsync");
  const std::string copy = "/vault/data_collection/uut_data_ocelot/bench-steps.did/";
  steps.copy = timed([&] {
    ok = Util_directoryCopyRecursive(did.c_str(), copy.c_str(), true) &&
         Util_syncDirectoryTree(copy.c_str());
  });
  require(ok, "direct copy");
  Util_deletDirectory(copy.c_str());
  steps.handOver = timed([&] {
    ok = Util_fileRename(did.c_str(), (root + ".commit").c_str()) &&
         Util_syncDirectory("/vault/data_collection/uut_data/");
  });
  require(ok, "hand-over");
  return steps;
}

LargeRun runLarge() {
  UUTHandle unit = startUnit();
  addResults(unit, 30000);
  LargeRun run{};
  run.done = timed([&] { check(BK_UUTDone(unit), "done"); });
  run.commit = timed([&] { check(BK_UUTCommit(unit, BK_PASS), "commit"); });

  // The session's own document, as commit rendered it, through the JSON
  // library alone: the same values in the same memory.  Releasing the parsed
  // value is left out of the timing.
  const Json::Value& document = static_cast<CUUT*>(unit)->getRootJson();
  std::string rendered;
  run.render = timed([&] {
    std::ostringstream out;
    out << document;
    rendered = out.str();
  });
  {
    Json::Value parsed;
    run.parse = timed([&] { require(Json::Reader().parse(rendered, parsed), "parse"); });
  }
  run.fileMB = rendered.size() / 1e6;
  run.steps = commitSteps(document);
  BK_UID_destroy(unit);
  return run;
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

template <typename Field>
double medianOf(const std::vector<LargeRun>& runs, Field field) {
  std::vector<double> values;
  for (const LargeRun& run : runs) values.push_back(field(run));
  return median(values);
}

int main(int argc, char** argv) {
  int largeRuns = std::max(1, argument(argc, argv, "--large-runs", 3));
  int smallRuns = std::max(1, argument(argc, argv, "--small-runs", 200));

  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 86400);
  bk_test::writeSignedStationFiles(info, bk_test::sampleHealth());

  std::vector<LargeRun> large;
  for (int i = 0; i < largeRuns; ++i) large.push_back(runLarge());
  std::vector<double> small;
  std::vector<double> smallCpu;
  for (int i = 0; i < smallRuns; ++i) {
    SmallRun run = runSmall();
    small.push_back(run.wall);
    smallCpu.push_back(run.cpu);
  }

#define MEDIAN(expr) medianOf(large, [](const LargeRun& r) { return expr; })
  const double ratio = MEDIAN((r.done + r.commit) / (r.render + r.parse));
  printf(
      "large session, 30000 results, %.1f MB file: done+commit median %.1f ms (done %.1f, commit "
      "%.1f), JSON render+parse %.1f ms (render %.1f, parse %.1f), ratio %.2f (target <= 1.5) "
      "over %d runs\n",
      MEDIAN(r.fileMB), MEDIAN(r.done + r.commit), MEDIAN(r.done), MEDIAN(r.commit),
      MEDIAN(r.render + r.parse), MEDIAN(r.render), MEDIAN(r.parse), ratio, largeRuns);
  printf(
      "  commit's steps alone, medians in ms: render %.1f, write %.1f, verify %.1f, rename "
      "%.1f, sign %.1f, fsync %.1f, hand-over %.1f; sum %.1f\n",
      MEDIAN(r.steps.render), MEDIAN(r.steps.write), MEDIAN(r.steps.verify), MEDIAN(r.steps.rename),
      MEDIAN(r.steps.sign), MEDIAN(r.steps.fsync), MEDIAN(r.steps.handOver),
      MEDIAN(r.steps.render + r.steps.write + r.steps.verify + r.steps.rename + r.steps.sign +
             r.steps.fsync + r.steps.handOver));
  printf(
      "  beside them: one direct copy %.1f ms; verification by parsing the file %.1f ms, signing "
      "by parse and render %.1f ms\n",
      MEDIAN(r.steps.copy), MEDIAN(r.steps.verifyByParse), MEDIAN(r.steps.signByParse));
#undef MEDIAN
  const double smallMedian = median(small);
  printf(
      "small session, 10 results: median %.2f ms start to end of commit (target <= 5), "
      "%.2f ms of processor time, %d runs\n",
      smallMedian, median(smallCpu), smallRuns);
  return ratio <= 1.5 && smallMedian <= 5.0 ? 0 : 1;
}
