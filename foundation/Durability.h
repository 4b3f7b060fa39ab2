// Flushing to stable storage.  A session directory is handed to the
// forwarding agent by one rename; what it holds must be on disk before that
// rename can be, or a power cut could leave the agent a torn directory.
#ifndef BRAMBLEKIT_FOUNDATION_DURABILITY_H_
#define BRAMBLEKIT_FOUNDATION_DURABILITY_H_

// fsync of one file.  False, and an error line, when it could not be done.
bool Util_syncFile(const char* path);
// fsync of a directory: makes its entries (creations, renames) durable.
bool Util_syncDirectory(const char* path);
// Every regular file below `path`, then each directory, deepest first, so
// that a directory is synced after what it names.  False when anything failed;
// the rest is still synced.
bool Util_syncDirectoryTree(const char* path);

#endif  // BRAMBLEKIT_FOUNDATION_DURABILITY_H_
