#include "sfc/ThreadSupport.h"

#include <fstream>

#include "foundation/StationFiles.h"
#include "sfc/UnitCheckThread.h"

namespace {

// Written once at load, before any thread; read only by the handler.
struct sigaction stationAlarmAction;

// Async-signal-safe: initial-exec TLS needs no allocation in the handler.
__thread bool alarmThread __attribute__((tls_model("initial-exec"))) = false;

void libraryAlarmHandler(int signal, siginfo_t* info, void* context) {
  if (alarmThread) {
    fnHandleSig(signal);
    return;
  }
  const struct sigaction& station = stationAlarmAction;
  if ((station.sa_flags & SA_SIGINFO) != 0) {
    if (station.sa_sigaction != nullptr) station.sa_sigaction(signal, info, context);
  } else if (station.sa_handler == SIG_DFL) {
    // The station never asked for the signal: it ends the process as it
    // would without this library.  Raised again, it is delivered once this
    // handler returns.
    struct sigaction fallback {};
    fallback.sa_handler = SIG_DFL;
    sigemptyset(&fallback.sa_mask);
    sigaction(SIGALRM, &fallback, nullptr);
    raise(SIGALRM);
  } else if (station.sa_handler != SIG_IGN) {
    station.sa_handler(signal);
  }
}

}  // namespace

void sfcInstallAlarmHandler() {
  if (sfcAlarmHandlerInstalled()) return;
  struct sigaction action {};
  action.sa_sigaction = libraryAlarmHandler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGALRM, &action, &stationAlarmAction);
}

bool sfcAlarmHandlerInstalled() {
  struct sigaction current {};
  if (sigaction(SIGALRM, nullptr, &current) != 0) return false;
  return (current.sa_flags & SA_SIGINFO) != 0 && current.sa_sigaction == libraryAlarmHandler;
}

void sfcMarkAlarmThread() { alarmThread = true; }

sigset_t sfcAlarmSet() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGALRM);
  return set;
}

std::string sfcReadText(const char* key) {
  try {
    Json::Value value = getKSInfo()->getValueFor("ksinfo", key);
    return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
  } catch (...) {
    return std::string();
  }
}

int sfcReadTimeout() {
  int timeout = 0;
  try {
    Json::Value value = getKSInfo()->getValueFor("ksinfo", "SFC_TIMEOUT");
    if (value.isInt()) timeout = value.asInt();
  } catch (...) {
    timeout = 0;
  }
  return timeout <= 0 ? 15 : timeout;
}

void sfcWriteResponseFile(const std::string& path, const char* text) {
  std::ofstream out(path.c_str(), std::ios::out | std::ios::trunc | std::ios::binary);
  if (!out.is_open()) return;
  out << text;
  out.close();
}
