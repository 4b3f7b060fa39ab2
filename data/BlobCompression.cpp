#include "data/BlobCompression.h"

#include <stdio.h>
#include <zlib.h>

#include "foundation/Log.h"

namespace {

const size_t kChunkSize = 8192;

}  // namespace

bool Util_filecompress(const std::string& source, const std::string& target) {
  FILE* in = fopen(source.c_str(), "rb");
  if (in == nullptr) {
    BK_LOG_ERROR("Could not open file '" << source << "' .");
    return false;
  }
  const std::string output = target + ".gz";
  gzFile out = gzopen(output.c_str(), "wb");
  if (out == nullptr) {
    fclose(in);
    BK_LOG_ERROR("Could not open file '" << target << "' .");
    return false;
  }

  // A larger buffer than zlib's default: each sync flush then costs one
  // write of the compressed bytes, not several.
  gzbuffer(out, 128 * 1024);
  char chunk[kChunkSize];
  for (;;) {
    size_t got = fread(chunk, 1, sizeof(chunk), in);
    if (got < sizeof(chunk) && ferror(in)) {
      fclose(in);
      gzclose(out);
      BK_LOG_ERROR("Error reading file '" << source << "' .");
      return false;
    }
    if (got > 0) {
      if (gzwrite(out, chunk, static_cast<unsigned>(got)) == 0) {
        fclose(in);
        gzclose(out);
        BK_LOG_ERROR("Error writing file '" << source << "' .");
        return false;
      }
      // Kept after every chunk: a blob cut short stays readable.
      gzflush(out, Z_SYNC_FLUSH);
    }
    if (feof(in)) break;
  }
  fclose(in);
  gzflush(out, Z_SYNC_FLUSH);
  // A full disk surfaces when the last data and the trailer are written.
  if (gzclose(out) != Z_OK) {
    BK_LOG_ERROR("Error writing file '" << source << "' .");
    return false;
  }
  BK_LOG(kBlankUID, "Done compressing the blob '" << source << "' to '" << target << ".gz' .");
  return true;
}
