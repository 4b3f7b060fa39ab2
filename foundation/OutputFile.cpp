#include "foundation/OutputFile.h"

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Log.h"

std::string COutputFile::getVaultPath() { return vaultRootPath; }

std::string COutputFile::getNativeSeparator() { return platformPathSeparator; }

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

void COutputFile::writeValueToStream(std::ofstream* stream, const std::string& key,
                                     const std::string& value, unsigned long length) {
  if (key.empty()) {
    BK_LOG_ERROR("Key length was <= 0, nothing written to file");
    return;
  }
  *stream << key << "=";
  if (!value.empty() || length != 0) {
    *stream << value;
  } else {
    BK_LOG(kBlankUID, "value length was <=0");
  }
  *stream << "\n";
  stream->flush();
}

void COutputFile::writeToStream(std::ofstream* stream, const std::string& text) {
  if (text.empty()) {
    BK_LOG(kBlankUID, "length to write was 0");
    return;
  }
  *stream << text;
}

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

CSemaphoreFile::CSemaphoreFile(const std::string& directory, const std::string& name)
    : name_(name), path_(directory + makeSafeFilename(name)) {}

bool CSemaphoreFile::create(const std::string& directory, const std::string& name) {
  std::string path = directory + name;
  std::ofstream* stream = COutputFile::open(path);
  bool created = stream->is_open();
  if (created) {
    stream->close();
    BK_LOG(kBlankUID, "Created sempahore file called '" << path << "'");
  } else {
    BK_LOG_ERROR("Could not create sempahore file called '" << path << "'");
  }
  delete stream;
  return created;
}
