// Plain output and input files: streams with their parent directories in
// place, and names that are safe in a file system.
#ifndef BRAMBLEKIT_FOUNDATION_OUTPUTFILE_H_
#define BRAMBLEKIT_FOUNDATION_OUTPUTFILE_H_

#include <fstream>
#include <string>

class COutputFile {
 public:
  // A new stream the caller deletes, open for output with truncation; ask
  // is_open() whether the open worked.
  static std::ofstream* open(const std::string& path);
  // Replaces ' " : * | \ / by '_'; the length stays.
  static std::string makeSafeFilename(const std::string& name);
};

class CInputFile {
 public:
  static std::ifstream* open(const std::string& path);
};

#endif  // BRAMBLEKIT_FOUNDATION_OUTPUTFILE_H_
