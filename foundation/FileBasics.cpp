#include "foundation/FileBasics.h"

#include <dirent.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <fstream>

bool Util_fileExists(const char* path) {
  std::ifstream in(path);
  return in.is_open();
}

bool Util_directoryExists(const char* path) {
  struct stat info;
  if (stat(path, &info) != 0) {
    perror("direxist");
    return false;
  }
  return S_ISDIR(info.st_mode);
}

time_t Util_fileModificationTime(const char* path) {
  struct stat info;
  if (stat(path, &info) != 0) return 0;
  return info.st_mtime;
}

int Util_deletDirectory(const char* path) {
  // Not a directory (already gone, say): nothing to do, and a second cancel
  // must find it that way at once.
  DIR* dir = opendir(path);
  if (dir == nullptr) return 0;
  std::string base = path;
  while (struct dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    std::string child = base + "/" + name;
    if (entry->d_type == DT_REG) {
      unlink(child.c_str());
    } else if (entry->d_type == DT_DIR) {
      Util_deletDirectory(child.c_str());
    }
    // Other kinds (links, sockets) stay, and make the rmdir below fail.
  }
  if (closedir(dir) != 0) printf("        -       .      %s", "Error with closedir");
  rmdir(path);
  return 0;
}

static bool makeIfMissing(const std::string& path) {
  if (access(path.c_str(), F_OK) == 0) return false;
  mkdir(path.c_str(), 0777);
  return true;
}

bool Util_createDirectories(const char* path) {
  // Only the first 255 characters are looked at: the forwarding agent's paths
  // stay below that.
  std::string buffer(path);
  if (buffer.size() > 255) buffer.resize(255);
  if (!buffer.empty() && buffer.back() == '/') buffer.pop_back();
  for (size_t i = 0; i < buffer.size(); ++i) {
    if (buffer[i] == '/') makeIfMissing(buffer.substr(0, i));
  }
  return makeIfMissing(buffer);
}

void Util_sleep(unsigned int milliseconds) { usleep(milliseconds * 1000); }

std::string newUUID() {
  uuid_t uuid;
  uuid_generate_random(uuid);
  char text[37];
  // Upper case: the session ids the servers know carry upper-case UUIDs.
  uuid_unparse_upper(uuid, text);
  return text;
}
