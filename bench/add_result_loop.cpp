// add_result_loop: the C++ side of the Python binding's benchmark.  Adds N
// parametric results to one session as a station linking the shared library
// does (a fresh spec and result per call, the reply read and freed) and
// prints the nanoseconds per call.  The station files must exist already.
//
//   add_result_loop N
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <chrono>
#include <string>

#include "interface/Bramblekit.h"

namespace {

void setText(bool (*setter)(void*, const char*, size_t), void* record, const std::string& text) {
  setter(record, text.c_str(), text.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: add_result_loop N\n");
    return 2;
  }
  const long count = strtol(argv[1], nullptr, 10);
  UUTHandle unit = nullptr;
  BKReplyHandle started = BK_UUTStart(&unit);
  const bool ok = BK_success(started);
  BK_reply_destroy(started);
  if (!ok || unit == nullptr) {
    fprintf(stderr, "add_result_loop: no session\n");
    return 1;
  }
  long failures = 0;
  const auto begin = std::chrono::steady_clock::now();
  for (long i = 0; i < count; ++i) {
    testSpecHandle spec = BK_testSpec_create();
    testResultHandle result = BK_testResult_create();
    char value[32];
    snprintf(value, sizeof(value), "%.17g", 3.3 + (i % 17) * 0.001);
    setText(BK_testSpec_setTestName, spec, "Rail");
    setText(BK_testSpec_setSubTestName, spec, std::to_string(i));
    setText(BK_testSpec_setUnits, spec, "V");
    BK_testSpec_setLimits(spec, "3.1", 3, "3.5", 3);
    BK_testSpec_setPriority(spec, BK_TRAX_PRIORITY_P1);
    setText(BK_testResult_setValue, result, value);
    BK_testResult_setResult(result, BK_PASS);
    BKReplyHandle reply = BK_addResult(unit, spec, result);
    if (BK_reply_getStatus(reply) != 0 || BK_reply_getText(reply)[0] != '\0') ++failures;
    BK_reply_destroy(reply);
    BK_testResult_destroy(result);
    BK_testSpec_destroy(spec);
  }
  const auto elapsed = std::chrono::steady_clock::now() - begin;
  BK_reply_destroy(BK_UUTCancel(unit));
  BK_UID_destroy(unit);
  if (failures != 0) {
    fprintf(stderr, "add_result_loop: %ld results refused\n", failures);
    return 1;
  }
  printf("%.0f\n", std::chrono::duration<double, std::nano>(elapsed).count() / count);
  return 0;
}
