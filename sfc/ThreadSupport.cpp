#include "sfc/ThreadSupport.h"

#include <fstream>

#include "foundation/StationFiles.h"
#include "sfc/UnitCheckThread.h"

void sfcInstallAlarmHandler() {
  struct sigaction action {};
  action.sa_handler = fnHandleSig;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;
  sigaction(SIGALRM, &action, nullptr);
}

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
