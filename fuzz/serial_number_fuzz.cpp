// libFuzzer target: serial number validation on any bytes.  Besides the
// sanitizers' own checks it holds the validator to what stations rely on: a
// verdict for every input, a reply that agrees with it, and a check
// character that is never accepted outside its alphabet.
//
// Build and run with scripts/fuzz-serial (inside bk-hermetic: the library
// writes its log and a session directory under /vault).
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "foundation/Reply.h"
#include "foundation/TextScanners.h"
#include "interface/Bramblekit.h"
#include "session/UUT.h"

namespace {

CUUT* uut = nullptr;
unsigned long runs = 0;

void require(bool condition, const char* what) {
  if (condition) return;
  fprintf(stderr, "serial_number_fuzz: %s\n", what);
  __builtin_trap();
}

bool acceptedLength(size_t length) {
  return length == 11 || length == 12 || length == 13 || length == 16 || length == 17 ||
         length > 18;
}

void writeStationFile(const char* path, const char* text) {
  std::ofstream out(path, std::ios::trunc);
  out << text;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  mkdir("/vault/data_collection", 0755);
  mkdir("/vault/data_collection/test_station_config", 0755);
  writeStationFile("/vault/data_collection/test_station_config/ks_station_info.json",
                   "{\"ksinfo\": {\"STATION_ID\": \"FUZZ_1\"},"
                   " \"lifeline\": {\"BK_MSG_ERROR_INVALID_SERIAL_NUMBER\": 1}}\n");
  writeStationFile("/vault/data_collection/test_station_config/station_health_check.json", "{}\n");
  UUTHandle handle = nullptr;
  BK_reply_destroy(BK_UUTStart(&handle));
  uut = static_cast<CUUT*>(handle);
  require(uut != nullptr, "no session");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The log would fill the sandbox's memory over a long run.
  if (++runs % 4096 == 0) truncate("/vault/Bramblekit.log", 0);

  std::string sn(reinterpret_cast<const char*>(data), size);
  CBKReply reply;
  bool valid = uut->validateSerialNumber(&reply, sn);
  if (valid) {
    require(acceptedLength(size), "valid number of a refused length");
    require(reply.getStatus() == 0, "valid number with a failing status");
    require(!reply.hasData(), "valid number with a text");
  } else {
    require(reply.getStatus() != 0, "invalid number with a passing status");
    require(strncmp(reply.getData(), "Serial Number Error: ", 21) == 0, "unexpected error text");
    require(uut->pendingFailure.failed(), "ACTIVE policy without a pending failure");
  }
  if (valid && size == 17) {
    for (char c : sn)
      require(bkIsDigit(c) || (c >= 'A' && c <= 'Z' && c != 'I' && c != 'O'),
              "check character over a character outside the alphabet");
  }
  uut->pendingFailure = PendingFailure();

  // The entry point sees the number up to its first NUL.
  BK_reply_destroy(BK_validateSerialNumber(uut, sn.c_str()));
  return 0;
}
