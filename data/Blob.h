// CBlob: takes a station's file or memory block into a session's "blobs"
// directory under a staged name.  No state; every operation is static and
// answers with a new reply the caller owns.
#ifndef BRAMBLEKIT_DATA_BLOB_H_
#define BRAMBLEKIT_DATA_BLOB_H_

#include <string>

#include "foundation/Reply.h"

class CBlob {
 public:
  static CBKReply* createDirs(const std::string& directory);
  // Copies `source` to base/blobs/<safeName><extension of source>.
  static CBKReply* copy(const std::string& base, const std::string& safeName,
                        const std::string& source);
  // Writes `length` bytes to base/blobs/<safeName>.
  static CBKReply* copyFromMemory(const std::string& base, const std::string& safeName,
                                  const void* data, long length);
  // The text from the last period of `path` on, or "" without a period.
  static std::string extensionOf(const std::string& path);
};

// Fails `reply` for a blob that was not stored, with the fail bit whatever the
// station's policy: a success would tell the station that its file was kept.
// The text is logged as an error at the given position.
void bkBlobFailure(CBKReply* reply, unsigned message, const std::string& text, const char* file,
                   int line, const char* function);

#define BK_BLOB_FAILURE(reply, message, text) \
  bkBlobFailure((reply), (message), (text), __FILE__, __LINE__, __FUNCTION__)

#endif  // BRAMBLEKIT_DATA_BLOB_H_
