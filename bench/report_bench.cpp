// Report benchmark: bramblekit-report on a committed session of 30,000
// results (about 7 MB of results file), signatures verified, against one
// jsoncpp parse of the same file in this process.  The report's time is the
// whole program run, start to page in place.  Target: under one second.
//
//   report_bench [--runs N]
#include <json/json.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "BenchSupport.h"
#include "DevelopmentKeys.h"
#include "interface/Bramblekit.h"
#include "support/SignedStation.h"
#include "support/TestSupport.h"

namespace {

using bk_bench::check;
using bk_bench::Clock;
using bk_bench::median;
using bk_bench::msSince;

// 30 tests of 1,000 points each; every 997th point fails, and the values
// sweep the band so that marginal and outside points occur too.
std::string commitLargeSession() {
  Json::Value info = bk_test::sampleStationInfo();
  info["ksinfo"]["SIGNATURE_EXPIRATION"] = static_cast<Json::Int64>(time(nullptr) + 3600);
  bk_test::writeSignedStationFiles(info, bk_test::sampleHealth());
  UUTHandle unit = bk_bench::startUnit();
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setLimits(spec, "0.5", 3, "1.5", 3);
  BK_testSpec_setUnits(spec, "V", 1);
  for (int i = 0; i < 30000; ++i) {
    char test[32];
    char sub[32];
    char value[32];
    int testLength = snprintf(test, sizeof(test), "rail_%02d", i / 1000);
    int subLength = snprintf(sub, sizeof(sub), "point_%d", i % 1000);
    int valueLength = snprintf(value, sizeof(value), "%.5f", 0.45 + (i % 1000) * 0.0011);
    const bool fails = i % 997 == 0;
    BK_testSpec_setTestName(spec, test, static_cast<size_t>(testLength));
    BK_testSpec_setSubTestName(spec, sub, static_cast<size_t>(subLength));
    BK_testResult_setValue(result, value, static_cast<size_t>(valueLength));
    BK_testResult_setResult(result, fails ? BK_FAIL : BK_PASS);
    if (fails) BK_testResult_setMessage(result, "out of band", 11);
    check(BK_addResult(unit, spec, result), "result");
  }
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
  check(BK_UUTDone(unit), "done");
  check(BK_UUTCommit(unit, BK_FAIL), "commit");
  BK_UID_destroy(unit);
  for (const auto& entry : std::filesystem::directory_iterator("/vault/data_collection/uut_data")) {
    return entry.path().string();
  }
  fprintf(stderr, "no committed session\n");
  exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 5;
  if (argc == 3 && strcmp(argv[1], "--runs") == 0) runs = std::max(1, atoi(argv[2]));
  const std::string session = commitLargeSession();
  const std::string results = session + "/results.Json";
  const std::string page = "/tmp/report-bench.html";
  const std::string command = std::string("'") + BK_REPORT_TOOL + "' '" + session + "' -o " + page +
                              " --public-key '" + BK_DEV_RESULTS_PUBLIC_KEY + "' >/dev/null";

  std::vector<double> parse;
  std::vector<double> report;
  for (int run = 0; run < runs; ++run) {
    Clock::time_point from = Clock::now();
    {
      std::string text = bk_test::readFile(results);
      Json::CharReaderBuilder builder;
      std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
      Json::Value parsed;
      if (!reader->parse(text.data(), text.data() + text.size(), &parsed, nullptr)) exit(1);
    }
    parse.push_back(msSince(from));

    from = Clock::now();
    const int status = system(command.c_str());
    report.push_back(msSince(from));
    if (status == -1 || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      fprintf(stderr, "bramblekit-report failed\n");
      return 1;
    }
  }
  const std::string html = bk_test::readFile(page);
  if (html.find("sig-ok") == std::string::npos) {
    fprintf(stderr, "the page does not show verified signatures\n");
    return 1;
  }
  const double reportMs = median(report);
  const double parseMs = median(parse);
  printf("results file %.1f MB, page %.1f MB, median of %d runs\n",
         bk_test::readFile(results).size() / 1e6, html.size() / 1e6, runs);
  printf("jsoncpp parse of the file:      %8.1f ms\n", parseMs);
  printf("bramblekit-report (whole run):  %8.1f ms   ratio %.2f   target < 1000 ms: %s\n", reportMs,
         reportMs / parseMs, reportMs < 1000 ? "met" : "MISSED");
  return 0;
}
