#include "sfc/ClientBinding.h"

#include <dlfcn.h>
#include <stdio.h>

#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "foundation/LogHousekeeping.h"

void* libSFCPostHandle = nullptr;
std::atomic<int> sfcThreadsRunning{0};

static const char* const kClientPath = "/usr/local/lib/libBKSFCPost.dylib";

void LoadlibBKSFCPost() {
  libSFCPostHandle = dlopen(kClientPath, RTLD_LAZY | RTLD_LOCAL);
  // Once per process and before any session can start, client or not.
  Util_rotateLog(bramblekitLogFilePath);
  Util_deleteLogs(vaultRootPath);
  if (libSFCPostHandle != nullptr) {
    puts("libBKSFCPost opened successfully");
  } else {
    puts("Unable to load libBKSFCPost");
    const char* error = dlerror();
    printf("Error loading the libBKSFCPost.dylib:%s\n", error != nullptr ? error : "");
  }
}

void unLoadlibBKSFCPost() {
  if (sfcThreadsRunning.load() > 0) {
    // A thread still in the client would run into unmapped code, and one
    // about to log into a deleted log: the process is ending, so both stay.
    BK_LOG(kBlankUID, "libBKSFCPost left loaded: an SFC thread is still running");
    return;
  }
  if (oneLog != nullptr) destroyLog();
  if (libSFCPostHandle != nullptr) {
    if (dlclose(libSFCPostHandle) == 0) {
      puts("libBKSFCPost unloaded successfully");
    } else {
      puts("Unable to unload libBKSFCPost");
      const char* error = dlerror();
      printf("Error unloading the libBKSFCPost.dylib:%s\n", error != nullptr ? error : "");
    }
  }
}

namespace {

// The handle is tested first: with a NULL handle dlsym may search the global
// scope and find these very wrappers.
template <typename Function>
Function lookUp(const char* name) {
  if (libSFCPostHandle == nullptr) return nullptr;
  return reinterpret_cast<Function>(dlsym(libSFCPostHandle, name));
}

}  // namespace

char* SFCQueryRecordUnitCheck(const char* serialNumber, const char* stationId) {
  auto function = lookUp<char* (*)(const char*, const char*)>("SFCQueryRecordUnitCheck");
  return function != nullptr ? function(serialNumber, stationId) : nullptr;
}

char* SFCQueryRecord(const char* serialNumber, const char* keys) {
  auto function = lookUp<char* (*)(const char*, const char*)>("SFCQueryRecord");
  return function != nullptr ? function(serialNumber, keys) : nullptr;
}

char* SFCQueryRecordByStationName(const char* serialNumber, const char* stationName,
                                  const char* keys) {
  auto function =
      lookUp<char* (*)(const char*, const char*, const char*)>("SFCQueryRecordByStationName");
  return function != nullptr ? function(serialNumber, stationName, keys) : nullptr;
}

char* SFCQueryHistory(const char* serialNumber) {
  auto function = lookUp<char* (*)(const char*)>("SFCQueryHistory");
  return function != nullptr ? function(serialNumber) : nullptr;
}

char* SFCServerVersion() {
  auto function = lookUp<char* (*)()>("SFCServerVersion");
  return function != nullptr ? function() : nullptr;
}

char* SFCLibVersion() {
  auto function = lookUp<char* (*)()>("SFCLibVersion");
  return function != nullptr ? function() : nullptr;
}

void FreeSFCBuffer(char* buffer) {
  auto function = lookUp<void (*)(char*)>("FreeSFCBuffer");
  if (function != nullptr) function(buffer);
}
