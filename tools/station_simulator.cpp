// station_simulator: a small test station.  For each unit it runs what a real
// station does: start, the four attributes, parametric and pass/fail results,
// a blob, am-I-okay, done and commit; then it reports what the library said.
//
//   station_simulator [--units N] [--results N] [--passfail N] [--fail]
//                     [--no-blob] [--serial-base N] [--quiet]
//
// --results: parametric results per unit (default 24); --passfail: pass/fail
// results per unit (default 8); --fail: the last pass/fail test fails and the
// unit is committed as a failure.  Exit status 0 when every unit committed.
// Only the public header is used, as on a station.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "interface/Bramblekit.h"

namespace {

struct Options {
  unsigned units = 1;
  unsigned parametric = 24;
  unsigned passFail = 8;
  unsigned serialBase = 1;
  bool failOne = false;
  bool blob = true;
  bool quiet = false;
};

struct UnitOutcome {
  std::string serial;
  bool committed = false;
  std::string problem;
  double milliseconds = 0;
};

constexpr const char kUsage[] =
    "usage: bramblekit-station-simulator [--units N] [--results N] [--passfail N] [--fail]\n"
    "                                    [--no-blob] [--serial-base N] [--quiet]\n";

void usage() {
  fputs(kUsage, stderr);
  exit(2);
}

void help() {
  fputs(kUsage, stdout);
  fputs(
      "\n"
      "Runs units through a whole session (start, attributes, results, a blob,\n"
      "am-I-okay, done, commit) against signed station files already under /vault,\n"
      "and reports what the library said.  Writes to /vault: run it in a sandbox.\n"
      "  --units N        units to run (default 1)\n"
      "  --results N      parametric results per unit (default 24)\n"
      "  --passfail N     pass/fail results per unit (default 8)\n"
      "  --fail           the last pass/fail test fails; the unit commits as a failure\n"
      "  --no-blob        add no blob\n"
      "  --serial-base N  number of the first unit's serial number (default 1)\n"
      "  --quiet          print only the summary\n"
      "Exit status 0 when every unit committed.\n",
      stdout);
  exit(0);
}

unsigned numberArgument(int argc, char** argv, int* i) {
  if (*i + 1 >= argc) usage();
  char* end = nullptr;
  unsigned long value = strtoul(argv[++*i], &end, 10);
  if (end == nullptr || *end != '\0') usage();
  return static_cast<unsigned>(value);
}

Options parseOptions(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "--units") {
      options.units = numberArgument(argc, argv, &i);
    } else if (arg == "--results") {
      options.parametric = numberArgument(argc, argv, &i);
    } else if (arg == "--passfail") {
      options.passFail = numberArgument(argc, argv, &i);
    } else if (arg == "--serial-base") {
      options.serialBase = numberArgument(argc, argv, &i);
    } else if (arg == "--fail") {
      options.failOne = true;
    } else if (arg == "--no-blob") {
      options.blob = false;
    } else if (arg == "--quiet") {
      options.quiet = true;
    } else if (arg == "--help" || arg == "-h") {
      help();
    } else {
      usage();
    }
  }
  return options;
}

// An 11-character serial number of the FG layout: plant "C0", year 2,
// week 12, then six letters and digits that count the units.
std::string serialFor(unsigned index) {
  static const char kAlphabet[] = "0123456789ABCDEFGHJKLMNPQRSTUVWXYZ";
  std::string tail(6, '0');
  for (int i = 5; i >= 0 && index != 0; --i, index /= 34) tail[i] = kAlphabet[index % 34];
  return "C0212" + tail;
}

// Takes a reply, frees it, and tells whether it succeeded; a failure's text
// goes to `problem` with the step's name.
bool settle(BKReplyHandle reply, const char* step, std::string* problem) {
  bool ok = BK_success(reply);
  if (!ok && problem->empty()) {
    *problem = std::string(step) + ": " + BK_reply_getError(reply);
  }
  BK_reply_destroy(reply);
  return ok;
}

void addParametric(UUTHandle unit, unsigned index, std::string* problem) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  std::string sub = "rail_" + std::to_string(index);
  char value[32];
  snprintf(value, sizeof(value), "%.4f", 3.3 + (index % 17) * 0.001);
  BK_testSpec_setTestName(spec, "power", 5);
  BK_testSpec_setSubTestName(spec, sub.c_str(), sub.size());
  BK_testSpec_setLimits(spec, "3.1", 3, "3.5", 3);
  BK_testSpec_setUnits(spec, "V", 1);
  BK_testSpec_setPriority(spec, BK_TRAX_PRIORITY_P1);
  BK_testResult_setResult(result, BK_PASS);
  BK_testResult_setValue(result, value, strlen(value));
  settle(BK_addResult(unit, spec, result), "parametric result", problem);
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
}

void addPassFail(UUTHandle unit, unsigned index, bool fails, std::string* problem) {
  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  std::string sub = "check_" + std::to_string(index);
  BK_testSpec_setTestName(spec, "function", 8);
  BK_testSpec_setSubTestName(spec, sub.c_str(), sub.size());
  BK_testSpec_setPriority(spec, BK_TRAX_PRIORITY_P2);
  BK_testResult_setResult(result, fails ? BK_FAIL : BK_PASS);
  if (fails) BK_testResult_setMessage(result, "button stuck", 12);
  settle(BK_addResult(unit, spec, result), "pass/fail result", problem);
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);
}

UnitOutcome runUnit(const Options& options, unsigned index) {
  UnitOutcome outcome;
  outcome.serial = serialFor(index);
  std::string& problem = outcome.problem;
  auto started = std::chrono::steady_clock::now();

  UUTHandle unit = nullptr;
  if (!settle(BK_UUTStart(&unit), "start", &problem) || unit == nullptr) {
    BK_UID_destroy(unit);
    return outcome;
  }
  settle(BK_addAttribute(unit, "serialnumber", outcome.serial.c_str()), "serial number", &problem);
  settle(BK_addAttribute(unit, "softwarename", "simulated-station"), "software name", &problem);
  settle(BK_addAttribute(unit, "softwareversion", "2.4.1"), "software version", &problem);
  settle(BK_addAttribute(unit, "limitsversion", "L-17"), "limits version", &problem);

  for (unsigned i = 0; i < options.parametric; ++i) addParametric(unit, i, &problem);
  for (unsigned i = 0; i < options.passFail; ++i) {
    addPassFail(unit, i, options.failOne && i + 1 == options.passFail, &problem);
  }
  if (options.blob) {
    std::string log = "unit " + outcome.serial + ": all rails within limits\n";
    settle(BK_addBlobData(unit, "station_log.txt", log.data(), static_cast<long>(log.size())),
           "blob", &problem);
  }
  settle(BK_amIOkay(unit, outcome.serial.c_str()), "am I okay", &problem);
  settle(BK_UUTDone(unit), "done", &problem);
  outcome.committed =
      settle(BK_UUTCommit(unit, options.failOne ? BK_FAIL : BK_PASS), "commit", &problem);
  BK_UID_destroy(unit);

  outcome.milliseconds =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
  return outcome;
}

}  // namespace

int main(int argc, char** argv) {
  Options options = parseOptions(argc, argv);
  std::vector<double> times;
  unsigned committed = 0;
  for (unsigned u = 0; u < options.units; ++u) {
    UnitOutcome outcome = runUnit(options, options.serialBase + u);
    times.push_back(outcome.milliseconds);
    if (outcome.committed) ++committed;
    if (!options.quiet || !outcome.committed) {
      printf("unit %s: %s, %u parametric and %u pass/fail results%s, %.1f ms%s%s\n",
             outcome.serial.c_str(), outcome.committed ? "committed" : "NOT committed",
             options.parametric, options.passFail, options.blob ? ", 1 blob" : "",
             outcome.milliseconds,
             outcome.problem.empty() ? "" : "; first problem: ", outcome.problem.c_str());
    }
  }
  if (options.units > 1) {
    std::sort(times.begin(), times.end());
    printf("%u of %u units committed; median %.2f ms per unit\n", committed, options.units,
           times[times.size() / 2]);
  }
  return committed == options.units ? 0 : 1;
}
