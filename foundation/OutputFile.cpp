#include "foundation/OutputFile.h"

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Log.h"

std::ofstream* COutputFile::open(const std::string& path) {
  // Only the parents are made: making the file's own name a directory would
  // leave every new file unopenable.
  size_t lastSeparator = path.find_last_of('/');
  if (lastSeparator != std::string::npos && lastSeparator > 0) {
    Util_createDirectories(path.substr(0, lastSeparator).c_str());
  }
  return new std::ofstream(path.c_str(), std::ios::out | std::ios::trunc);
}

std::ifstream* CInputFile::open(const std::string& path) { return new std::ifstream(path.c_str()); }

std::string COutputFile::makeSafeFilename(const std::string& name) {
  static const char kUnsafe[] = {'\'', '"', ':', '*', '|', '\\', '/'};
  std::string safe = name;
  for (char unsafe : kUnsafe) {
    for (char& c : safe) {
      if (c == unsafe) c = '_';
    }
  }
  BK_LOG(kBlankUID, "New string '" << safe << "'");
  return safe;
}
