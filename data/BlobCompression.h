// Gzip compression of a blob file.
#ifndef BRAMBLEKIT_DATA_BLOBCOMPRESSION_H_
#define BRAMBLEKIT_DATA_BLOBCOMPRESSION_H_

#include <stddef.h>

#include <string>

// Input bytes per block that one thread compresses.
extern const size_t kBlobCompressionBlockSize;
// Input bytes between two sync flushes.
extern const size_t kBlobCompressionFlushInterval;
// zlib's memLevel for the blocks: the largest hash table costs less time per
// byte, and with a flush every 8 KiB the larger symbol buffer moves no block end.
extern const int kBlobCompressionMemLevel;

// Compresses `source` into `target` + ".gz" at zlib's default level, as one
// gzip member.  Blocks are compressed on up to four threads, each primed with
// the 32 KiB before it, so the ratio stays that of one stream.  A sync flush
// follows every 8192 bytes of input and the blocks are written in order, so
// a partly written file is still readable up to its last flush.  Memory is
// bounded by the blocks in flight, not by the file.
bool Util_filecompress(const std::string& source, const std::string& target);

#endif  // BRAMBLEKIT_DATA_BLOBCOMPRESSION_H_
