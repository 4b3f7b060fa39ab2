// Blob compression on several threads: the output must be one gzip member
// that any reader takes, holds exactly the input, is what a single stream
// would write and stays readable when cut at a sync flush.
#include <gtest/gtest.h>
#include <stdint.h>
#include <stdlib.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "data/BlobCompression.h"
#include "support/TestSupport.h"

using namespace bk_test;

namespace {

const size_t kBlock = kBlobCompressionBlockSize;
const std::string kSyncMarker("\0\0\xff\xff", 4);  // the empty stored block of a sync flush

// Log-like text, random bytes and zero runs in segments of 48 KiB, so that
// block edges fall inside each kind.
std::string mixedContent(size_t size) {
  std::string bytes;
  bytes.reserve(size);
  uint64_t state = 0x9e3779b97f4a7c15ull;
  auto next = [&state] {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
  };
  for (unsigned line = 0; bytes.size() < size; ++line) {
    const size_t end = std::min(size, bytes.size() + 48 * 1024);
    switch (next() % 3) {
      case 0:
        while (bytes.size() < end) {
          bytes += "probe " + std::to_string(line++ % 17) +
                   " voltage=" + std::to_string(next() % 5000) + " mV status=ok\n";
        }
        bytes.resize(end);
        break;
      case 1:
        while (bytes.size() < end) bytes += static_cast<char>(next());
        break;
      default:
        bytes.resize(end, '\0');
    }
  }
  return bytes;
}

// Inflates as much of a gzip stream as there is; a cut stream gives what it
// holds up to the cut.
std::string inflatePrefix(const std::string& packed) {
  z_stream stream{};
  inflateInit2(&stream, 15 + 16);
  std::string out;
  std::vector<unsigned char> buffer(1 << 16);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  stream.avail_in = static_cast<uInt>(packed.size());
  int rc = Z_OK;
  do {
    stream.next_out = buffer.data();
    stream.avail_out = static_cast<uInt>(buffer.size());
    rc = inflate(&stream, Z_SYNC_FLUSH);
    out.append(reinterpret_cast<char*>(buffer.data()), buffer.size() - stream.avail_out);
  } while (rc == Z_OK && (stream.avail_in > 0 || stream.avail_out == 0));
  inflateEnd(&stream);
  return out;
}

// One zlib stream at the default level, with the same memLevel and a sync
// flush per 8 KiB: what a single thread writes.  Each block's priming with the
// 32 KiB before it leaves deflate where the single stream would be, so the
// bytes are the same.
std::string singleStream(const std::string& input) {
  z_stream stream{};
  deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, kBlobCompressionMemLevel,
               Z_DEFAULT_STRATEGY);
  std::vector<unsigned char> out(deflateBound(&stream, input.size()) + input.size() / 1000 + 64);
  stream.next_out = out.data();
  stream.avail_out = static_cast<uInt>(out.size());
  for (size_t at = 0; at < input.size(); at += kBlobCompressionFlushInterval) {
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data() + at));
    stream.avail_in = static_cast<uInt>(std::min(kBlobCompressionFlushInterval, input.size() - at));
    deflate(&stream, Z_SYNC_FLUSH);
  }
  deflate(&stream, Z_FINISH);
  std::string packed(reinterpret_cast<char*>(out.data()), stream.total_out);
  deflateEnd(&stream);
  return packed;
}

TEST(BlobCompression, RoundTripsAtEveryBlockEdgeAsOneGzipMember) {
  const std::string all = mixedContent(4 * kBlock + 1);
  for (size_t size : {size_t{0}, size_t{1}, kBlobCompressionFlushInterval, kBlock - 1, kBlock,
                      kBlock + 1, 2 * kBlock - 1, 2 * kBlock, 3 * kBlock + 1, 4 * kBlock + 1}) {
    const std::string content = all.substr(0, size);
    writeFile("/tmp/in.bin", content);
    ASSERT_TRUE(Util_filecompress("/tmp/in.bin", "/tmp/out"));
    const std::string packed = readFile("/tmp/out.gz");
    EXPECT_EQ(inflatePrefix(packed), content) << size;
    // The trailer's CRC and length are checked by gzip itself.
    EXPECT_EQ(system("gzip -t /tmp/out.gz"), 0) << size;

    size_t markers = 0;
    for (size_t at = packed.find(kSyncMarker); at != std::string::npos;
         at = packed.find(kSyncMarker, at + 1)) {
      ++markers;
    }
    EXPECT_GE(markers, (size + kBlobCompressionFlushInterval - 1) / kBlobCompressionFlushInterval)
        << size;
    // Compared whole: a block primed wrongly or written out of order shows.
    EXPECT_TRUE(packed == singleStream(content)) << size;
  }
  // Bad paths fail cleanly.
  EXPECT_FALSE(Util_filecompress("/tmp/absent.bin", "/tmp/none"));
  EXPECT_FALSE(fileExists("/tmp/none.gz"));
  EXPECT_FALSE(Util_filecompress("/tmp/in.bin", "/tmp/no/such/dir/out"));
}

TEST(BlobCompression, FileCutAtAnySyncFlushGivesTheInputUpToIt) {
  const std::string content = mixedContent(2 * kBlock + 5000);
  writeFile("/tmp/in.bin", content);
  ASSERT_TRUE(Util_filecompress("/tmp/in.bin", "/tmp/out"));
  const std::string packed = readFile("/tmp/out.gz");
  size_t previous = 0, cuts = 0;
  for (size_t at = packed.find(kSyncMarker); at != std::string::npos;
       at = packed.find(kSyncMarker, at + 1)) {
    const std::string got = inflatePrefix(packed.substr(0, at + kSyncMarker.size()));
    ASSERT_EQ(got, content.substr(0, got.size())) << "cut at " << at;
    // Each flush ends a full interval of input, or the input itself.
    EXPECT_TRUE(got.size() % kBlobCompressionFlushInterval == 0 || got.size() == content.size())
        << got.size();
    EXPECT_GT(got.size(), previous);
    previous = got.size();
    ++cuts;
  }
  EXPECT_EQ(previous, content.size());
  EXPECT_EQ(cuts,
            (content.size() + kBlobCompressionFlushInterval - 1) / kBlobCompressionFlushInterval);
}

}  // namespace
