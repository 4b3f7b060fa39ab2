#include "data/BlobCompression.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <zlib.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "foundation/Log.h"

const size_t kBlobCompressionBlockSize = 512 * 1024;
const size_t kBlobCompressionFlushInterval = 8192;
const int kBlobCompressionMemLevel = 9;

namespace {

// Deflate looks back at most this far: the dictionary of each block.
const size_t kWindowSize = 32 * 1024;
const unsigned kMaxThreads = 4;

// What gzopen writes: no name, no time, Unix.
const unsigned char kGzipHeader[10] = {0x1f, 0x8b, 8, 0, 0, 0, 0, 0, 0, 3};
// An empty fixed-code block with the final bit: the stream's end after the
// last sync flush left it on a byte boundary.
const unsigned char kFinalBlock[2] = {0x03, 0x00};

struct Block {
  std::vector<unsigned char> input;  // dictionary, then the block's own bytes
  size_t dictionary = 0;
  size_t length = 0;
  std::vector<unsigned char> output;
  size_t packed = 0;
  uLong crc = 0;
  bool ok = false;
  bool done = false;
};

// A raw deflate stream, reset for every block.  Raw, since the gzip frame
// is written once around all blocks.
class BlockDeflater {
 public:
  BlockDeflater() {
    ready_ = deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15,
                          kBlobCompressionMemLevel, Z_DEFAULT_STRATEGY) == Z_OK;
  }
  ~BlockDeflater() {
    if (ready_) deflateEnd(&stream_);
  }
  BlockDeflater(const BlockDeflater&) = delete;
  BlockDeflater& operator=(const BlockDeflater&) = delete;

  void compress(Block* block) {
    block->ok = ready_ && run(block);
    block->crc =
        crc32(0, block->input.data() + block->dictionary, static_cast<uInt>(block->length));
  }

 private:
  bool run(Block* block) {
    if (deflateReset(&stream_) != Z_OK) return false;
    if (block->dictionary > 0 &&
        deflateSetDictionary(&stream_, block->input.data(), static_cast<uInt>(block->dictionary)) !=
            Z_OK) {
      return false;
    }
    std::vector<unsigned char>& out = block->output;
    const size_t flushes = block->length / kBlobCompressionFlushInterval + 1;
    const size_t bound = deflateBound(&stream_, static_cast<uLong>(block->length)) + flushes * 8;
    if (out.size() < bound) out.resize(bound);
    size_t used = 0;
    const unsigned char* data = block->input.data() + block->dictionary;
    for (size_t at = 0; at < block->length; at += kBlobCompressionFlushInterval) {
      stream_.next_in = const_cast<unsigned char*>(data + at);
      stream_.avail_in =
          static_cast<uInt>(std::min(kBlobCompressionFlushInterval, block->length - at));
      do {
        if (used == out.size()) out.resize(out.size() * 2);
        stream_.next_out = out.data() + used;
        stream_.avail_out = static_cast<uInt>(out.size() - used);
        int rc = deflate(&stream_, Z_SYNC_FLUSH);
        used = out.size() - stream_.avail_out;
        if (rc != Z_OK && rc != Z_BUF_ERROR) return false;
      } while (stream_.avail_out == 0);
    }
    block->packed = used;
    return true;
  }

  z_stream stream_{};
  bool ready_ = false;
};

// Worker threads that compress blocks handed to them, in any order; the
// caller waits for each block in turn and writes it.
class CompressionPool {
 public:
  explicit CompressionPool(unsigned threads) {
    for (unsigned i = 0; i < threads; ++i) {
      try {
        threads_.emplace_back([this] { work(); });
      } catch (const std::system_error&) {
        break;  // fewer threads; with none the caller compresses itself
      }
    }
  }
  ~CompressionPool() {
    {
      std::lock_guard<std::mutex> hold(lock_);
      stopping_ = true;
    }
    wake_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }
  CompressionPool(const CompressionPool&) = delete;
  CompressionPool& operator=(const CompressionPool&) = delete;

  size_t size() const { return threads_.size(); }

  void submit(Block* block) {
    if (threads_.empty()) {
      own_.compress(block);
      block->done = true;
      return;
    }
    {
      std::lock_guard<std::mutex> hold(lock_);
      queue_.push_back(block);
    }
    wake_.notify_one();
  }

  bool isDone(const Block* block) {
    std::lock_guard<std::mutex> hold(lock_);
    return block->done;
  }

  void waitFor(const Block* block) {
    std::unique_lock<std::mutex> hold(lock_);
    finished_.wait(hold, [block] { return block->done; });
  }

 private:
  void work() {
    BlockDeflater deflater;
    std::unique_lock<std::mutex> hold(lock_);
    for (;;) {
      wake_.wait(hold, [this] { return stopping_ || !queue_.empty(); });
      if (stopping_) return;
      Block* block = queue_.front();
      queue_.pop_front();
      hold.unlock();
      deflater.compress(block);
      hold.lock();
      block->done = true;
      finished_.notify_all();
    }
  }

  std::mutex lock_;
  std::condition_variable wake_;
  std::condition_variable finished_;
  std::deque<Block*> queue_;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
  BlockDeflater own_;
};

unsigned poolThreads() {
  unsigned cores = std::thread::hardware_concurrency();
  return std::max(1u, std::min(cores, kMaxThreads));
}

void putLittleEndian32(unsigned char* at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<unsigned char>(value >> (8 * i));
}

enum class Failure { kNone, kRead, kWrite };

// Reads `in` block by block and writes one gzip member to `out`.  Blocks are
// written strictly in order as they finish, so the file on disk is always a
// readable prefix.
Failure compressStream(FILE* in, FILE* out) {
  if (fwrite(kGzipHeader, 1, sizeof(kGzipHeader), out) != sizeof(kGzipHeader)) {
    return Failure::kWrite;
  }
  std::deque<std::unique_ptr<Block>> inFlight;
  std::vector<std::unique_ptr<Block>> spare;
  // Declared after the blocks: its threads are joined before they go.
  std::unique_ptr<CompressionPool> pool;
  BlockDeflater own;
  size_t maxInFlight = 1;
  std::vector<unsigned char> window;
  uLong crc = crc32(0, nullptr, 0);
  uint64_t total = 0;

  auto writeFront = [&]() {
    Block* block = inFlight.front().get();
    if (pool) pool->waitFor(block);
    bool written =
        block->ok && fwrite(block->output.data(), 1, block->packed, out) == block->packed;
    crc = crc32_combine(crc, block->crc, static_cast<z_off_t>(block->length));
    total += block->length;
    spare.push_back(std::move(inFlight.front()));
    inFlight.pop_front();
    return written;
  };

  for (bool last = false; !last;) {
    std::unique_ptr<Block> block;
    if (spare.empty()) {
      block.reset(new Block);
    } else {
      block = std::move(spare.back());
      spare.pop_back();
    }
    block->input.resize(window.size() + kBlobCompressionBlockSize);
    if (!window.empty()) memcpy(block->input.data(), window.data(), window.size());
    block->dictionary = window.size();
    block->done = false;
    unsigned char* data = block->input.data() + block->dictionary;
    size_t got = fread(data, 1, kBlobCompressionBlockSize, in);
    if (got < kBlobCompressionBlockSize && ferror(in)) return Failure::kRead;
    if (got == kBlobCompressionBlockSize) {
      int next = getc(in);
      last = next == EOF;
      if (!last) ungetc(next, in);
      if (ferror(in)) return Failure::kRead;
    } else {
      last = true;
    }
    if (got == 0) break;
    block->length = got;

    if (got >= kWindowSize) {
      window.assign(data + got - kWindowSize, data + got);
    } else {
      window.insert(window.end(), data, data + got);
      if (window.size() > kWindowSize) {
        window.erase(window.begin(), window.end() - static_cast<ptrdiff_t>(kWindowSize));
      }
    }

    if (!pool && last) {
      // A blob of one block needs no threads.
      own.compress(block.get());
      block->done = true;
      inFlight.push_back(std::move(block));
    } else {
      if (!pool) {
        pool.reset(new CompressionPool(poolThreads()));
        // One block queued per thread beside the one it works on.
        maxInFlight = 2 * std::max<size_t>(1, pool->size());
      }
      pool->submit(block.get());
      inFlight.push_back(std::move(block));
    }
    while (!inFlight.empty() && (inFlight.size() >= maxInFlight ||
                                 (pool ? pool->isDone(inFlight.front().get()) : true))) {
      if (!writeFront()) return Failure::kWrite;
    }
  }
  while (!inFlight.empty()) {
    if (!writeFront()) return Failure::kWrite;
  }

  unsigned char trailer[sizeof(kFinalBlock) + 8];
  memcpy(trailer, kFinalBlock, sizeof(kFinalBlock));
  putLittleEndian32(trailer + 2, static_cast<uint32_t>(crc));
  putLittleEndian32(trailer + 6, static_cast<uint32_t>(total & 0xffffffffu));
  if (fwrite(trailer, 1, sizeof(trailer), out) != sizeof(trailer)) return Failure::kWrite;
  return Failure::kNone;
}

}  // namespace

bool Util_filecompress(const std::string& source, const std::string& target) {
  FILE* in = fopen(source.c_str(), "rb");
  if (in == nullptr) {
    BK_LOG_ERROR("Could not open file '" << source << "' .");
    return false;
  }
  const std::string output = target + ".gz";
  FILE* out = fopen(output.c_str(), "wb");
  if (out == nullptr) {
    fclose(in);
    BK_LOG_ERROR("Could not open file '" << target << "' .");
    return false;
  }
  Failure failure = compressStream(in, out);
  fclose(in);
  // A full disk may surface only when the last bytes are written.
  if (fclose(out) != 0 && failure == Failure::kNone) failure = Failure::kWrite;
  if (failure == Failure::kRead) {
    BK_LOG_ERROR("Error reading file '" << source << "' .");
    return false;
  }
  if (failure == Failure::kWrite) {
    BK_LOG_ERROR("Error writing file '" << source << "' .");
    return false;
  }
  BK_LOG(kBlankUID, "Done compressing the blob '" << source << "' to '" << target << ".gz' .");
  return true;
}
