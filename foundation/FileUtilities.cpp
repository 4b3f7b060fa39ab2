#include "foundation/FileUtilities.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <vector>

#include "foundation/FileBasics.h"
#include "foundation/Log.h"

long Util_fileSize(const char* path) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  if (!in.is_open()) return 0;
  long size = static_cast<long>(in.tellg());
  return size > 0 ? size : 0;
}

namespace {

// Copies `size` bytes of `in` to `out`, and no more: a file that grows
// meanwhile (a log still being written) is copied as it was measured.  The
// kernel copies where it can, without passing the bytes through this process;
// otherwise fixed-size chunks keep memory flat, since blobs may be a gigabyte.
// A short copy shows in the size check of the caller.
void copyContents(int in, int out, long size) {
  off_t left = size;
  while (left > 0) {
    ssize_t copied = copy_file_range(in, nullptr, out, nullptr, static_cast<size_t>(left), 0);
    if (copied > 0) {
      left -= copied;
      continue;
    }
    if (copied == 0) return;  // the source shrank
    if (errno == EINTR) continue;
    break;  // not supported between these files: copy by hand
  }
  std::vector<char> buffer(1 << 20);
  while (left > 0) {
    ssize_t got = read(in, buffer.data(), static_cast<size_t>(std::min<off_t>(left, 1 << 20)));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return;
    for (ssize_t written = 0; written < got;) {
      ssize_t put = write(out, buffer.data() + written, static_cast<size_t>(got - written));
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) return;
      written += put;
    }
    left -= got;
  }
}

}  // namespace

bool Util_fileCopy(const char* source, const char* destination, bool overwrite) {
  if (source[0] == '\0' || destination[0] == '\0') return false;
  if (strcmp(source, destination) == 0) return false;
  if (!Util_fileExists(source)) return false;
  if (overwrite && Util_fileExists(destination)) remove(destination);

  const int in = open(source, O_RDONLY);
  const int out = open(destination, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (in < 0 || out < 0) {
    if (in >= 0) close(in);
    if (out >= 0) close(out);
    BK_LOG_ERROR("Could not open either source '" << source << "' or destination '" << destination
                                                  << "' for copy.");
    return false;
  }
  struct stat info;
  const long sourceSize = fstat(in, &info) == 0 ? static_cast<long>(info.st_size) : 0;
  copyContents(in, out, sourceSize);
  close(in);
  // Some file systems report a full disk only when the file is closed.
  if (close(out) != 0) {
    BK_LOG_ERROR("Could not finish writing destination file '" << destination << "'.");
    return false;
  }

  if (!Util_fileExists(destination)) {
    BK_LOG_ERROR("Destination file '" << destination
                                      << "' did not exist after attempting to copy.");
    return false;
  }
  std::ifstream check(destination, std::ios::binary | std::ios::ate);
  if (!check.is_open()) {
    BK_LOG_ERROR("Could not open destination file '" << destination << "' for read after copying.");
    return false;
  }
  long destinationSize = static_cast<long>(check.tellg());
  if (destinationSize != sourceSize) {
    BK_LOG_ERROR("Source File " << sourceSize << " bytes, destination was " << destinationSize
                                << " (mismatch)");
    return false;
  }
  return true;
}

bool Util_fileHoldsExactly(const char* path, const std::string& bytes) {
  const int fd = open(path, O_RDWR | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat info;
  bool same = fstat(fd, &info) == 0 && static_cast<size_t>(info.st_size) == bytes.size();
  std::vector<char> buffer(same ? std::min<size_t>(bytes.size(), 1 << 20) : 0);
  for (size_t at = 0; same && at < bytes.size();) {
    const ssize_t got = read(fd, buffer.data(), std::min(buffer.size(), bytes.size() - at));
    if (got < 0 && errno == EINTR) continue;
    same = got > 0 && memcmp(buffer.data(), bytes.data() + at, static_cast<size_t>(got)) == 0;
    if (same) at += static_cast<size_t>(got);
  }
  close(fd);
  return same;
}

// The session field of the rename and copy lines.  Log readers align these
// columns: keep the widths (24 and 23 characters).  Plain arrays, since the
// log rotation at library load may run before any constructor here.
constexpr const char kRenameLogBlank[] = "        -        .      ";
constexpr const char kCopyLogBlank[] = "        -       .      ";

bool Util_fileRename(const char* source, const char* destination) {
  BK_LOG(kRenameLogBlank, "'" << source << "' to '" << destination << "'");
  int retries = 0;
  for (;;) {
    try {
      if (rename(source, destination) == -1) throw "Dir not renamed";
      return true;
    } catch (const char*) {
      if (retries <= 2) {
        BK_LOG(kRenameLogBlank, "retrying, in case of temporary file-busy error!");
        retries++;
        Util_sleep(500);
        continue;
      }
      BK_LOG(kRenameLogBlank, "caught filesystem error");
      throw "Can not rename the file after 3 tries";
    }
  }
}

bool Util_directoryCopyRecursive(const char* source, const char* destination, bool overwrite) {
  if (source[0] == '\0' || destination[0] == '\0') return false;
  if (strcmp(source, destination) == 0) return false;
  if (!Util_fileExists(source)) return false;
  std::string from = source;
  std::string to = destination;
  if (from.back() != '/') from += "/";
  if (to.back() != '/') to += "/";
  if (overwrite && Util_fileExists(to.c_str())) remove(to.c_str());
  if (!Util_fileExists(to.c_str())) Util_createDirectories(to.c_str());

  DIR* dir = opendir(from.c_str());
  if (dir == nullptr) return false;
  // A file that fails does not stop the walk, but the copy is then not whole.
  bool whole = true;
  while (struct dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (entry->d_type == DT_REG) {
      whole = Util_fileCopy((from + name).c_str(), (to + name).c_str(), true) && whole;
    } else if (entry->d_type == DT_DIR && name != "." && name != "..") {
      whole = Util_directoryCopyRecursive((from + name + "/").c_str(), (to + name + "/").c_str(),
                                          true) &&
              whole;
    }
  }
  if (closedir(dir) != 0) BK_LOG(kCopyLogBlank, "Error with closedir");
  return whole;
}
