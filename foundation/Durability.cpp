#include "foundation/Durability.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "foundation/Log.h"

namespace {

bool syncPath(const char* path, int flags) {
  int fd;
  do {
    fd = open(path, flags | O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) {
    BK_LOG_ERROR("Can not open '" << path << "' to flush it: " << strerror(errno));
    return false;
  }
  bool synced = true;
  if (fsync(fd) != 0) {
    // EINVAL: the file system has nothing to flush (a pipe, some special
    // mounts); the data is as durable as that file system makes it.
    if (errno != EINVAL) {
      BK_LOG_ERROR("Can not flush '" << path << "' to disk: " << strerror(errno));
      synced = false;
    }
  }
  close(fd);
  return synced;
}

}  // namespace

bool Util_syncFile(const char* path) { return syncPath(path, O_RDONLY); }

bool Util_syncDirectory(const char* path) { return syncPath(path, O_RDONLY | O_DIRECTORY); }

bool Util_syncDirectoryTree(const char* path) {
  DIR* dir = opendir(path);
  if (dir == nullptr) {
    BK_LOG_ERROR("Can not open directory '" << path << "' to flush it: " << strerror(errno));
    return false;
  }
  std::string base = path;
  if (base.empty() || base.back() != '/') base += "/";
  bool synced = true;
  while (struct dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::string child = base + name;
    unsigned char type = entry->d_type;
    if (type == DT_UNKNOWN) {
      struct stat info;
      if (lstat(child.c_str(), &info) == 0) {
        type = S_ISDIR(info.st_mode) ? DT_DIR : S_ISREG(info.st_mode) ? DT_REG : DT_UNKNOWN;
      }
    }
    if (type == DT_REG) {
      synced = Util_syncFile(child.c_str()) && synced;
    } else if (type == DT_DIR) {
      synced = Util_syncDirectoryTree(child.c_str()) && synced;
    }
  }
  closedir(dir);
  return Util_syncDirectory(path) && synced;
}
