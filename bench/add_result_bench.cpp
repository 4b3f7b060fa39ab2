// Cost of one BK_addResult, log lines included, in a session that grows to
// 30,000 parametric results, against building the same record with the JSON
// library alone.
//
// Run it only inside the sandbox, since it writes to /vault:
//   cmake --build <build-dir> --target run-bench-results
// or by hand:
//   tests/launcher/bk-hermetic --keep "$PWD" -- <build-dir>/bench/add_result_bench
//
// Per call, each run reports the median over all calls and over the first
// and the last thousand (the duplicate test must not grow with the count),
// the heap and resident memory added per result, and the process's peak.
#include <benchmark/benchmark.h>
#include <json/json.h>
#include <malloc.h>
#include <stdio.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "interface/Bramblekit.h"

namespace {

const char* const kConfigDir = "/vault/data_collection/test_station_config/";

void writeStation() {
  Json::Value info(Json::objectValue);
  info["ksinfo"]["STATION_ID"] = "BENCH_L01_FCT_1";
  info["ksinfo"]["MAC"] = "ff:ff:ff:ff:ff:ff";
  info["ksinfo"]["STATION_TYPE"] = "FCT";
  info["ksinfo"]["SIGNATURE_VERSION"] = "1";
  for (const char* message : {"BK_MSG_ERROR_API_UNHANDLED", "BK_MSG_ERROR_API_SYNTAX",
                              "BK_MSG_ERROR_INVALID_DATA_FORMAT"}) {
    info["lifeline"][message] = 1;
  }
  std::filesystem::create_directories(kConfigDir);
  std::ofstream(std::string(kConfigDir) + "ks_station_info.json") << info;
  std::ofstream(std::string(kConfigDir) + "station_health_check.json") << "{}\n";
}

// The test a station sends as its i-th.
struct Names {
  std::string test, sub, subSub, value;
};
Names namesOf(int i) {
  char value[32];
  snprintf(value, sizeof(value), "%d.%03d", i % 97, i % 1000);
  return {"Test_" + std::to_string(i), "Rail", "Voltage", value};
}

struct Figures {
  double median = 0, first1k = 0, last1k = 0, mean = 0;
  double heapPerResult = 0, rssPerResult = 0;
};
std::map<std::string, Figures> figures;

double medianOf(std::vector<double> v) {
  std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
  return v[v.size() / 2];
}

long heapInUse() { return static_cast<long>(mallinfo2().uordblks); }

long residentBytes() {
  long pages = 0, resident = 0;
  FILE* statm = fopen("/proc/self/statm", "r");
  if (statm != nullptr) {
    if (fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
    fclose(statm);
  }
  return resident * sysconf(_SC_PAGESIZE);
}

long peakResidentKiB() {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Times `add(i)` for i in 0..n-1 and records the figures under `name`.
template <typename Add>
void measure(benchmark::State& state, const std::string& name, int n, Add add) {
  using Clock = std::chrono::steady_clock;
  std::vector<double> nanos(static_cast<size_t>(n));
  long heapBefore = heapInUse();
  long rssBefore = residentBytes();
  double total = 0;
  for (int i = 0; i < n; ++i) {
    Names names = namesOf(i);
    auto begin = Clock::now();
    add(names);
    auto end = Clock::now();
    nanos[static_cast<size_t>(i)] = std::chrono::duration<double, std::nano>(end - begin).count();
    total += nanos[static_cast<size_t>(i)];
  }
  Figures f;
  f.heapPerResult = static_cast<double>(heapInUse() - heapBefore) / n;
  f.rssPerResult = static_cast<double>(residentBytes() - rssBefore) / n;
  f.median = medianOf(nanos);
  size_t window = std::min<size_t>(1000, nanos.size());
  f.first1k = medianOf(std::vector<double>(nanos.begin(), nanos.begin() + window));
  f.last1k = medianOf(std::vector<double>(nanos.end() - window, nanos.end()));
  f.mean = total / n;
  figures[name + "/" + std::to_string(n)] = f;

  state.SetIterationTime(total / 1e9);
  state.counters["median_ns"] = f.median;
  state.counters["first1k_ns"] = f.first1k;
  state.counters["last1k_ns"] = f.last1k;
  state.counters["heap_B_per_result"] = f.heapPerResult;
  state.counters["rss_B_per_result"] = f.rssPerResult;
  state.counters["peak_rss_KiB"] = static_cast<double>(peakResidentKiB());
}

void BM_AddResult(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  for (auto _ : state) {
    UUTHandle uut = nullptr;
    BK_reply_destroy(BK_UUTStart(&uut));
    testSpecHandle spec = BK_testSpec_create();
    testResultHandle result = BK_testResult_create();
    BK_testSpec_setSubTestName(spec, "Rail", 4);
    BK_testSpec_setSubSubTestName(spec, "Voltage", 7);
    BK_testSpec_setLimits(spec, "0", 1, "100", 3);
    BK_testSpec_setUnits(spec, "V", 1);
    BK_testSpec_setPriority(spec, BK_TRAX_PRIORITY_P1);
    int failures = 0;
    measure(state, "library", n, [&](const Names& names) {
      // Filling the records is the station's work; only the call is timed.
      BK_testSpec_setTestName(spec, names.test.c_str(), names.test.size());
      BK_testResult_setValue(result, names.value.c_str(), names.value.size());
      BKReplyHandle reply = BK_addResult(uut, spec, result);
      if (!BK_success(reply)) ++failures;
      BK_reply_destroy(reply);
    });
    if (failures != 0) state.SkipWithError("BK_addResult refused a result");
    BK_testSpec_destroy(spec);
    BK_testResult_destroy(result);
    BK_reply_destroy(BK_UUTCancel(uut));
    BK_UID_destroy(uut);
  }
}

// The same record built and appended with the JSON library alone.
void BM_JsonBaseline(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  for (auto _ : state) {
    Json::Value root(Json::objectValue);
    root["results"] = Json::Value(Json::arrayValue);
    measure(state, "baseline", n, [&](const Names& names) {
      Json::Value record(Json::objectValue);
      record["test"] = names.test;
      record["sub_test"] = names.sub;
      record["sub_sub_test"] = names.subSub;
      record["parametric_key"] = names.test + " " + names.sub + " " + names.subSub;
      record["units"] = "V";
      record["priority"] = 1;
      record["value"] = names.value;
      record["lower_limit"] = "0";
      record["upper_limit"] = "100";
      record["result"] = "pass";
      root["results"].append(std::move(record));
    });
    benchmark::DoNotOptimize(root);
  }
}

// The library first, so that the baseline's freed memory cannot hide its
// growth.
BENCHMARK(BM_AddResult)
    ->Arg(30000)
    ->Arg(1000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_JsonBaseline)
    ->Arg(30000)
    ->Arg(1000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void printSummary() {
  const Figures& lib = figures["library/30000"];
  const Figures& base = figures["baseline/30000"];
  const Figures& lib1k = figures["library/1000"];
  const Figures& base1k = figures["baseline/1000"];
  printf("\nPer result, nanoseconds         library   baseline  ratio\n");
  printf("median of 30,000 calls        %9.0f %9.0f %6.2f\n", lib.median, base.median,
         lib.median / base.median);
  printf("median of calls 1..1,000      %9.0f %9.0f %6.2f\n", lib.first1k, base.first1k,
         lib.first1k / base.first1k);
  printf("median of calls 29,001..30,000%9.0f %9.0f %6.2f\n", lib.last1k, base.last1k,
         lib.last1k / base.last1k);
  printf("mean, session of 1,000        %9.0f %9.0f %6.2f\n", lib1k.mean, base1k.mean,
         lib1k.mean / base1k.mean);
  printf("mean, session of 30,000       %9.0f %9.0f %6.2f\n", lib.mean, base.mean,
         lib.mean / base.mean);
  printf("heap bytes per result         %9.0f %9.0f\n", lib.heapPerResult, base.heapPerResult);
  printf("resident bytes per result     %9.0f %9.0f\n", lib.rssPerResult, base.rssPerResult);
  printf("peak resident set of the process: %ld KiB\n", peakResidentKiB());
}

}  // namespace

int main(int argc, char** argv) {
  writeStation();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  if (figures.count("library/30000") != 0 && figures.count("baseline/30000") != 0 &&
      figures.count("library/1000") != 0 && figures.count("baseline/1000") != 0) {
    printSummary();
  }
  benchmark::Shutdown();
  return 0;
}
