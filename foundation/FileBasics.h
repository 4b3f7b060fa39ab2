// Plain tests and operations on files and directories.
#ifndef BRAMBLEKIT_FOUNDATION_FILEBASICS_H_
#define BRAMBLEKIT_FOUNDATION_FILEBASICS_H_

#include <time.h>

#include <string>

// True when the path can be opened for reading; a readable directory counts.
bool Util_fileExists(const char* path);
bool Util_directoryExists(const char* path);
// The caller must know that the file exists; a missing file gives 0.
time_t Util_fileModificationTime(const char* path);
// Deletes a directory tree.  Always 0: callers look at the disk to learn
// whether it worked.
int Util_deletDirectory(const char* path);
// Makes every component of the path a directory.  True when the last one had
// to be made, false when it was there already; it says nothing of success.
bool Util_createDirectories(const char* path);
void Util_sleep(unsigned int milliseconds);
// A random UUID in its 36-character text form.
std::string newUUID();

#endif  // BRAMBLEKIT_FOUNDATION_FILEBASICS_H_
