// Helpers for the tests that run against the shop-floor client double: its
// script and call record (see SfcClientDouble.cpp), and a session whose unit
// check is started the way the attribute intake starts it.
#ifndef BRAMBLEKIT_TESTS_SFC_CLIENT_DOUBLE_SFCTESTSUPPORT_H_
#define BRAMBLEKIT_TESTS_SFC_CLIENT_DOUBLE_SFCTESTSUPPORT_H_

#include <errno.h>
#include <json/json.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "session/UUT.h"
#include "sfc/ClientBinding.h"
#include "sfc/UnitCheckThread.h"
#include "support/TestSupport.h"

namespace sfc_test {

inline constexpr const char* kScriptPath = "/tmp/sfc-double/script.json";
inline constexpr const char* kCallsPath = "/tmp/sfc-double/calls.log";
inline constexpr const char* kStationId = "TSTA_L07_FUNCTIONAL-TEST_1";

// One step of a function's script: an answer after an optional delay, or a
// NULL answer.
inline Json::Value answer(const std::string& text, int delayMs = 0) {
  Json::Value step(Json::objectValue);
  step["answer"] = text;
  if (delayMs > 0) step["delay_ms"] = delayMs;
  return step;
}
inline Json::Value nullAnswer() {
  Json::Value step(Json::objectValue);
  step["null"] = true;
  return step;
}

// Scripts one function; other functions keep their scripts.
inline void script(const std::string& function, const std::vector<Json::Value>& steps) {
  static Json::Value all(Json::objectValue);
  Json::Value& list = all[function] = Json::Value(Json::arrayValue);
  for (const Json::Value& step : steps) list.append(step);
  bk_test::writeFile(kScriptPath, Json::writeString(Json::StreamWriterBuilder(), all));
}

// The calls the double received, each as its tab-separated fields.
inline std::vector<std::vector<std::string>> calls(const std::string& function = "") {
  std::vector<std::vector<std::string>> result;
  if (!bk_test::fileExists(kCallsPath)) return result;
  std::istringstream lines(bk_test::readFile(kCallsPath));
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> fields;
    std::istringstream parts(line);
    for (std::string field; std::getline(parts, field, '\t');) fields.push_back(field);
    if (function.empty() || (!fields.empty() && fields[0] == function)) result.push_back(fields);
  }
  return result;
}

// Station files with the unit check switched on, then a new session.
inline CUUT* startSession(Json::Value info = bk_test::sampleStationInfo()) {
  info["ksinfo"]["SFC_QUERY_UNIT_ON_OFF"] = "ON";
  bk_test::writeStationFiles(info);
  UUTHandle handle = nullptr;
  BK_reply_destroy(BK_UUTStart(&handle));
  return static_cast<CUUT*>(handle);
}

// The serial number attribute starts the unit check, as a station's does.
inline bool startUnitCheck(CUUT* uut, const std::string& serialNumber) {
  BK_reply_destroy(BK_addAttribute(uut, "serialnumber", serialNumber.c_str()));
  return uut->wasSFCQueryUnitThreadCreated();
}

// Polls the condition every 10 ms for up to `seconds`.
template <typename Condition>
bool waitFor(Condition condition, int seconds = 20) {
  for (int polls = seconds * 100; !condition(); --polls) {
    if (polls == 0) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

inline bool waitForUnitCheckEnd(CUUT* uut) {
  return waitFor([uut] { return sfcUnitThreadProbe(uut) == ESRCH; });
}

// Every SFC thread of the process has ended; a test leaves none behind.
inline bool waitForAllSFCThreads() {
  return waitFor([] { return sfcThreadsRunning.load() == 0; });
}

inline std::string responsePath(CUUT* uut) { return "/tmp/" + uut->getUID(); }

}  // namespace sfc_test

#endif  // BRAMBLEKIT_TESTS_SFC_CLIENT_DOUBLE_SFCTESTSUPPORT_H_
