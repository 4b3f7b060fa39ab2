// Plain output and input files: streams with their parent directories in
// place, key=value lines, and names that are safe in a file system.
#ifndef BRAMBLEKIT_FOUNDATION_OUTPUTFILE_H_
#define BRAMBLEKIT_FOUNDATION_OUTPUTFILE_H_

#include <fstream>
#include <string>

class COutputFile {
 public:
  static std::string getVaultPath();
  static std::string getNativeSeparator();
  // A new stream the caller deletes, open for output with truncation; ask
  // is_open() whether the open worked.
  static std::ofstream* open(const std::string& path);
  // Writes "key=value" and a line end.  `length` only tells an intended empty
  // value from a missing one.
  static void writeValueToStream(std::ofstream* stream, const std::string& key,
                                 const std::string& value, unsigned long length);
  static void writeToStream(std::ofstream* stream, const std::string& text);
  // Replaces ' " : * | \ / by '_'; the length stays.
  static std::string makeSafeFilename(const std::string& name);
};

class CInputFile {
 public:
  static std::ifstream* open(const std::string& path);
};

// An empty file whose existence is its message.
class CSemaphoreFile : public COutputFile {
 public:
  CSemaphoreFile(const std::string& directory, const std::string& name);
  static bool create(const std::string& directory, const std::string& name);

 private:
  std::string name_;
  std::string path_;
};

#endif  // BRAMBLEKIT_FOUNDATION_OUTPUTFILE_H_
