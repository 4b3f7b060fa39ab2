// Keeping the log in bounds: rotation by size, pruning of old copies by age.
#ifndef BRAMBLEKIT_FOUNDATION_LOGHOUSEKEEPING_H_
#define BRAMBLEKIT_FOUNDATION_LOGHOUSEKEEPING_H_

#include <string>

// Copies the log to /vault/Bramblekit-<stamp>.log and empties it in place once
// it reaches ROTATE_OTTER_LOG_SIZE_OF bytes (50 MiB by default).
void Util_rotateLog(std::string path);
// Removes the copies older than REMOVE_OTTER_LOG_OLDER_THAN seconds (30 days
// by default).  The directory must end in a slash.
void Util_deleteLogs(std::string directory);

#endif  // BRAMBLEKIT_FOUNDATION_LOGHOUSEKEEPING_H_
