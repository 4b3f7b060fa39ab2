// Copying and renaming files and directories, and a few small helpers.
#ifndef BRAMBLEKIT_FOUNDATION_FILEUTILITIES_H_
#define BRAMBLEKIT_FOUNDATION_FILEUTILITIES_H_

#include <string>

// The file's size in bytes; 0 when it is absent or empty.
long Util_fileSize(const char* path);
// Copies a file as large as it is when the copy starts, and checks the copy's
// size against that.  With overwrite false an existing destination is still
// truncated; the flag only decides whether it is removed first.
bool Util_fileCopy(const char* source, const char* destination, bool overwrite);
// True when the file opens for reading and writing and holds exactly
// `bytes`: what a writer checks instead of reading its own output back through
// a parser.
bool Util_fileHoldsExactly(const char* path, const std::string& bytes);
// Renames with three retries 500 ms apart for a busy file; after the fourth
// failure throws the const char* "Can not rename the file after 3 tries".
bool Util_fileRename(const char* source, const char* destination);
// Copies a tree of regular files; links and other kinds are skipped.  False
// when any file or directory could not be copied; the rest is still copied.
bool Util_directoryCopyRecursive(const char* source, const char* destination, bool overwrite);

#endif  // BRAMBLEKIT_FOUNDATION_FILEUTILITIES_H_
