// Gzip compression of a blob file.
#ifndef BRAMBLEKIT_DATA_BLOBCOMPRESSION_H_
#define BRAMBLEKIT_DATA_BLOBCOMPRESSION_H_

#include <string>

// Compresses `source` into `target` + ".gz" at zlib's default level.  Streams
// in chunks of 8192 bytes with a sync flush after each, so that a partly
// written file is still readable up to its last chunk.  Memory does not grow
// with the file.
bool Util_filecompress(const std::string& source, const std::string& target);

#endif  // BRAMBLEKIT_DATA_BLOBCOMPRESSION_H_
