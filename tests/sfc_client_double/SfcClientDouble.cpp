// A stand-in for the station's shop-floor client, with the seven functions a
// real client exports.  Tests script it at run time and read back what it was
// asked; nothing of a real server is involved.
//
// Script: /tmp/sfc-double/script.json, read afresh at every call, e.g.
//   {"SFCQueryRecordUnitCheck": [{"answer": "1 SFC_ERROR busy"},
//                                {"answer": "Response=0 SFC_OK", "delay_ms": 3000},
//                                {"null": true}]}
// The n-th call of a function takes the n-th step of its list, the last step
// repeating.  A function without a script answers "0 SFC_OK".
//
// Calls: /tmp/sfc-double/calls.log gets one line per call, the function's
// name and its arguments separated by tabs.  "FreeSFCBuffer" lines carry the
// text handed back.  A delay cut short by a signal adds a line "signal\t"
// + name, and the delay then runs to its end.
#include <errno.h>
#include <fcntl.h>
#include <json/json.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

namespace {

const char* const kScriptPath = "/tmp/sfc-double/script.json";
const char* const kCallsPath = "/tmp/sfc-double/calls.log";

std::mutex callsLock;
std::map<std::string, unsigned> callCounts;

void record(const std::vector<std::string>& fields) {
  std::string line;
  for (size_t i = 0; i < fields.size(); ++i) line += (i ? "\t" : "") + fields[i];
  line += "\n";
  int fd = open(kCallsPath, O_WRONLY | O_CREAT | O_APPEND, 0644);
  if (fd < 0) return;
  ssize_t ignored = write(fd, line.data(), line.size());
  (void)ignored;
  close(fd);
}

Json::Value stepFor(const std::string& function) {
  unsigned index;
  {
    std::lock_guard<std::mutex> hold(callsLock);
    index = callCounts[function]++;
  }
  std::ifstream in(kScriptPath);
  Json::Value script;
  Json::CharReaderBuilder builder;
  std::string errors;
  if (!in.is_open() || !Json::parseFromStream(builder, in, &script, &errors)) {
    return Json::Value(Json::objectValue);
  }
  const Json::Value& steps = script[function];
  if (!steps.isArray() || steps.empty()) return Json::Value(Json::objectValue);
  return steps[std::min<unsigned>(index, steps.size() - 1)];
}

// Sleeps the whole delay; a signal is noted and the sleep goes on.
void delay(const std::string& function, int milliseconds) {
  struct timespec left {
    milliseconds / 1000, (milliseconds % 1000) * 1000000L
  };
  while (nanosleep(&left, &left) != 0 && errno == EINTR) record({"signal", function});
}

char* respond(const std::string& function, const std::vector<std::string>& arguments) {
  std::vector<std::string> fields{function};
  fields.insert(fields.end(), arguments.begin(), arguments.end());
  record(fields);
  Json::Value step = stepFor(function);
  if (step.isMember("delay_ms")) delay(function, step["delay_ms"].asInt());
  if (step.get("null", false).asBool()) return nullptr;
  std::string text = step.isMember("answer") ? step["answer"].asString() : "0 SFC_OK";
  return strdup(text.c_str());
}

}  // namespace

extern "C" {

#ifndef SFC_DOUBLE_WITHOUT_UNIT_CHECK
__attribute__((visibility("default"))) char* SFCQueryRecordUnitCheck(const char* serialNumber,
                                                                     const char* stationId) {
  return respond("SFCQueryRecordUnitCheck", {serialNumber, stationId});
}
#endif

__attribute__((visibility("default"))) char* SFCQueryRecord(const char* serialNumber,
                                                            const char* keys) {
  return respond("SFCQueryRecord", {serialNumber, keys});
}

__attribute__((visibility("default"))) char* SFCQueryRecordByStationName(const char* serialNumber,
                                                                         const char* stationName,
                                                                         const char* keys) {
  return respond("SFCQueryRecordByStationName", {serialNumber, stationName, keys});
}

__attribute__((visibility("default"))) char* SFCQueryHistory(const char* serialNumber) {
  return respond("SFCQueryHistory", {serialNumber});
}

__attribute__((visibility("default"))) char* SFCServerVersion() {
  return respond("SFCServerVersion", {});
}

__attribute__((visibility("default"))) char* SFCLibVersion() {
  return respond("SFCLibVersion", {});
}

__attribute__((visibility("default"))) void FreeSFCBuffer(char* buffer) {
  record({"FreeSFCBuffer", buffer != nullptr ? buffer : "(null)"});
  free(buffer);
}

}  // extern "C"
