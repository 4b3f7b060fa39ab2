#include "foundation/LogHousekeeping.h"

#include <dirent.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "foundation/Durability.h"
#include "foundation/FileBasics.h"
#include "foundation/FileUtilities.h"
#include "foundation/Log.h"
#include "foundation/Mutexes.h"
#include "foundation/StationFiles.h"

static const long kDefaultRotateSize = 0x3200000;  // 50 MiB
static const long kDefaultMaximumAge = 0x278d00;   // 30 days

static long readIntegerSetting(const char* key, long fallback) {
  Json::Value value = getKSInfo()->getValueFor("ksinfo", key);
  return value.isInt() ? value.asInt() : fallback;
}

void Util_rotateLog(std::string path) {
  // Held lines belong to the copy about to be made, not to the emptied log.
  bkLogFlush();
  if (!Util_fileExists(path.c_str())) return;
  long limit = readIntegerSetting("ROTATE_OTTER_LOG_SIZE_OF", kDefaultRotateSize);
  MutexGuard guard(&mutex_lock_rotate);
  struct stat info;
  // The file vanished since the test above: nothing to rotate.
  if (stat(path.c_str(), &info) != 0) return;
  if (info.st_size < limit) return;
  std::string copy = std::string(vaultRootPath) + "Bramblekit-" + Util_makeTimestamp(0) + ".log";
  // The live log is cut only once its copy is on disk: a copy that failed
  // (a full disk) or a crash right after the cut would lose the lines.
  if (!Util_fileCopy(path.c_str(), copy.c_str(), true) || !Util_syncFile(copy.c_str())) {
    unlink(copy.c_str());
    return;
  }
  // Truncated in place: the log's stream is in append mode and goes on at
  // the new end.
  FILE* file = fopen(path.c_str(), "w");
  if (file != nullptr) fclose(file);
}

void Util_deleteLogs(std::string directory) {
  long maximumAge = readIntegerSetting("REMOVE_OTTER_LOG_OLDER_THAN", kDefaultMaximumAge);
  DIR* dir = opendir(directory.c_str());
  if (dir == nullptr) return;
  time_t oldest = time(nullptr) - maximumAge;
  while (struct dirent* entry = readdir(dir)) {
    // The live log is spared only because its name has no hyphen.
    if (strstr(entry->d_name, "Bramblekit-") == nullptr) continue;
    std::string path = directory + entry->d_name;
    struct stat info;
    if (stat(path.c_str(), &info) != 0) continue;
    if (info.st_mtime <= oldest) unlink(path.c_str());
  }
  closedir(dir);
}
