// A station written in C++: one unit from start to commit.
//
// usage: cxx_station            exit 0 when the unit committed
#include <bramblekit/Bramblekit.h>

#include <cstdio>
#include <string>

namespace {

int failures = 0;

void settle(BKReplyHandle reply, const char* step) {
  if (!BK_success(reply)) {
    std::fprintf(stderr, "cxx station: %s: %s\n", step, BK_reply_getError(reply));
    ++failures;
  }
  BK_reply_destroy(reply);
}

}  // namespace

int main() {
  if (std::string(BK_getVersion()) != BK_VERSION_STRING) return 1;
  UUTHandle unit = nullptr;
  settle(BK_UUTStart(&unit), "start");
  if (unit == nullptr) return 1;
  settle(BK_addAttribute(unit, "serialnumber", "C0212000002"), "serial number");
  settle(BK_addAttribute(unit, "softwarename", "cxx-station"), "software name");
  settle(BK_addAttribute(unit, "softwareversion", "1.0.0"), "software version");
  settle(BK_addAttribute(unit, "limitsversion", "L-1"), "limits version");

  testSpecHandle spec = BK_testSpec_create();
  testResultHandle result = BK_testResult_create();
  BK_testSpec_setTestName(spec, "button", 6);
  BK_testResult_setResult(result, BK_PASS);
  settle(BK_addResult(unit, spec, result), "result");
  BK_testSpec_destroy(spec);
  BK_testResult_destroy(result);

  // A C++-linkage function, so the mangled names are exercised too.
  if (BK_buildStatus(BK_PASS, 0, 0) != 0) ++failures;

  settle(BK_UUTDone(unit), "done");
  settle(BK_UUTCommit(unit, BK_PASS), "commit");
  BK_UID_destroy(unit);
  return failures == 0 ? 0 : 1;
}
