// Storing a 256 MiB blob of mixed content (log text, random bytes, zero
// runs): BK_addBlob, which compresses on several threads, against zlib
// streaming the same file in one pass at its default level and against
// `gzip -6`, by the clock; its size against one zlib stream with the same
// sync flushes; and the process's peak memory above its baseline while the
// blob is stored.
//
// Writes to /vault and /tmp, so it runs only inside the test sandbox:
//   cmake --build <build-dir> --target run-bench-blob
// An optional argument sets the number of rounds (default 3); medians are
// reported.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <string>
#include <vector>

#include "interface/Bramblekit.h"
#include "session/UUT.h"
#include "support/TestSupport.h"

namespace {

const size_t kBlobSize = 256u << 20;
const size_t kSegment = 64u << 10;
const char* const kSource = "/tmp/blob-bench-source.bin";

uint64_t nextRandom(uint64_t* state) {
  *state ^= *state << 13;
  *state ^= *state >> 7;
  *state ^= *state << 17;
  return *state;
}

// Segments of 64 KiB: about half log text, a quarter random, a quarter zeros.
uLong writeMixedSource() {
  FILE* out = fopen(kSource, "wb");
  if (out == nullptr) return 0;
  std::vector<unsigned char> segment(kSegment);
  uint64_t state = 0x9e3779b97f4a7c15ull;
  uLong crc = crc32(0, nullptr, 0);
  unsigned long line = 0;
  for (size_t written = 0; written < kBlobSize; written += kSegment) {
    unsigned kind = nextRandom(&state) % 4;
    if (kind <= 1) {
      size_t at = 0;
      while (at < kSegment) {
        char text[160];
        int n = snprintf(text, sizeof(text),
                         "2010-09-22 05:55:%02lu.%06lu: [probe %lu] voltage=%lu.%03lu mV "
                         "current=%lu uA status=%s\n",
                         line % 60, (line * 7919) % 1000000, line % 17, nextRandom(&state) % 5000,
                         nextRandom(&state) % 1000, nextRandom(&state) % 900,
                         (line % 11) ? "ok" : "retry");
        size_t take = std::min(static_cast<size_t>(n), kSegment - at);
        memcpy(&segment[at], text, take);
        at += take;
        ++line;
      }
    } else if (kind == 2) {
      for (size_t i = 0; i < kSegment; i += 8) {
        uint64_t value = nextRandom(&state);
        memcpy(&segment[i], &value, 8);
      }
    } else {
      memset(segment.data(), 0, kSegment);
    }
    fwrite(segment.data(), 1, kSegment, out);
    crc = crc32(crc, segment.data(), kSegment);
  }
  fclose(out);
  return crc;
}

// Processor time (user and system) of this process or of its finished
// children.  Judged on this rather than on the clock: the machine is shared,
// and waiting for a core says nothing about the work.
double cpuSeconds(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
         (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

struct Clock {
  explicit Clock(int who = RUSAGE_SELF)
      : who(who), wall(std::chrono::steady_clock::now()), cpu(cpuSeconds(who)) {}
  double wallSeconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - wall).count();
  }
  double cpuSecondsSince() const { return cpuSeconds(who) - cpu; }
  int who;
  std::chrono::steady_clock::time_point wall;
  double cpu;
};

struct Timing {
  double wall;
  double cpu;
};

// zlib's own gzip stream over the whole file at the default level, no
// flushes: what a one-pass compression of this file costs.
Timing zlibFloor(long* size) {
  Clock clock;
  FILE* in = fopen(kSource, "rb");
  FILE* out = fopen("/vault/blob-bench-floor.gz", "wb");
  z_stream stream{};
  deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::vector<unsigned char> input(1 << 20), output(1 << 20);
  int flush = Z_NO_FLUSH;
  do {
    size_t got = fread(input.data(), 1, input.size(), in);
    flush = feof(in) ? Z_FINISH : Z_NO_FLUSH;
    stream.next_in = input.data();
    stream.avail_in = static_cast<uInt>(got);
    do {
      stream.next_out = output.data();
      stream.avail_out = static_cast<uInt>(output.size());
      deflate(&stream, flush);
      fwrite(output.data(), 1, output.size() - stream.avail_out, out);
    } while (stream.avail_out == 0);
  } while (flush != Z_FINISH);
  deflateEnd(&stream);
  fclose(in);
  *size = ftell(out);
  fclose(out);
  Timing elapsed{clock.wallSeconds(), clock.cpuSecondsSince()};
  remove("/vault/blob-bench-floor.gz");
  return elapsed;
}

// The size of one zlib stream at the default level with a sync flush per
// 8 KiB, as the store flushes: what the blocks' priming must come close to.
long singleStreamWithFlushes() {
  FILE* in = fopen(kSource, "rb");
  z_stream stream{};
  deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY);
  std::vector<unsigned char> input(8192), output(1 << 16);
  long size = 0;
  int flush = Z_SYNC_FLUSH;
  while (flush != Z_FINISH) {
    size_t got = fread(input.data(), 1, input.size(), in);
    flush = got == 0 ? Z_FINISH : Z_SYNC_FLUSH;
    stream.next_in = input.data();
    stream.avail_in = static_cast<uInt>(got);
    do {
      stream.next_out = output.data();
      stream.avail_out = static_cast<uInt>(output.size());
      deflate(&stream, flush);
      size += static_cast<long>(output.size() - stream.avail_out);
    } while (stream.avail_out == 0);
  }
  deflateEnd(&stream);
  fclose(in);
  return size;
}

Timing gzipSix(long* size) {
  Clock clock(RUSAGE_CHILDREN);
  int rc = system("gzip -6 -c /tmp/blob-bench-source.bin > /vault/blob-bench-gzip.gz");
  Timing elapsed{clock.wallSeconds(), clock.cpuSecondsSince()};
  std::ifstream packed("/vault/blob-bench-gzip.gz", std::ios::binary | std::ios::ate);
  *size = rc == 0 ? static_cast<long>(packed.tellg()) : -1;
  remove("/vault/blob-bench-gzip.gz");
  return elapsed;
}

long statusField(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, strlen(field), field) == 0) return atol(line.c_str() + strlen(field));
  }
  return -1;
}

// The last blob's file: its gzip trailer holds the CRC of what went in.
bool trailerMatches(const std::string& path, uLong crc) {
  std::ifstream in(path, std::ios::binary | std::ios::ate);
  long size = static_cast<long>(in.tellg());
  if (size < 8) return false;
  unsigned char trailer[8];
  in.seekg(size - 8);
  in.read(reinterpret_cast<char*>(trailer), 8);
  uLong stored =
      trailer[0] | (trailer[1] << 8) | (trailer[2] << 16) | (static_cast<uLong>(trailer[3]) << 24);
  uLong length =
      trailer[4] | (trailer[5] << 8) | (trailer[6] << 16) | (static_cast<uLong>(trailer[7]) << 24);
  return stored == crc && length == (kBlobSize & 0xffffffffu);
}

Timing median(std::vector<Timing> values) {
  std::vector<double> wall, cpu;
  for (const Timing& t : values) {
    wall.push_back(t.wall);
    cpu.push_back(t.cpu);
  }
  std::sort(wall.begin(), wall.end());
  std::sort(cpu.begin(), cpu.end());
  return {wall[wall.size() / 2], cpu[cpu.size() / 2]};
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 3;
  printf("generating %zu MiB of mixed content...\n", kBlobSize >> 20);
  uLong crc = writeMixedSource();

  bk_test::writeStationFiles();
  UUTHandle handle = nullptr;
  BK_reply_destroy(BK_UUTStart(&handle));
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_reply_destroy(BK_addAttribute(handle, "serialnumber", "C02XK0ABCDEF"));

  std::vector<Timing> store, floor, gzip;
  long storeSize = 0, floorSize = 0, gzipSize = 0, peakAbove = 0;
  bool intact = true;
  for (int round = 0; round < rounds; ++round) {
    // Resets the peak so that only the blob's own work counts.
    std::ofstream("/proc/self/clear_refs") << "5";
    long baseline = statusField("VmRSS:");
    Clock clock;
    BKReplyHandle reply = BK_addBlob(handle, "bench", kSource);
    store.push_back({clock.wallSeconds(), clock.cpuSecondsSince()});
    peakAbove = std::max(peakAbove, statusField("VmHWM:") - baseline);
    if (!BK_success(reply)) {
      fprintf(stderr, "BK_addBlob failed: %s\n", BK_reply_getError(reply));
      return 2;
    }
    BK_reply_destroy(reply);
    const Json::Value& record = uut->getRootJson()["blobs"][round];
    const std::string path = uut->getPath() + "blobs/" + record["file_name"].asString();
    storeSize = atol(record["file_size"].asCString());
    intact = intact && trailerMatches(path, crc);
    remove(path.c_str());

    floor.push_back(zlibFloor(&floorSize));
    gzip.push_back(gzipSix(&gzipSize));
  }
  BK_UID_destroy(handle);
  const long flushedSize = singleStreamWithFlushes();
  remove(kSource);

  // By the clock: the threads only shorten the station's wait.  The machine
  // may be shared, so the processor times are printed beside it.
  const Timing storeTime = median(store), floorTime = median(floor), gzipTime = median(gzip);
  const double ratio = storeTime.wall / floorTime.wall;
  const double againstGzip = storeTime.wall / gzipTime.wall;
  const double sizeRatio = static_cast<double>(storeSize) / flushedSize;
  const double peakMiB = peakAbove / 1024.0;
  printf("blob of %zu MiB, %d rounds, medians (processor s, wall s):\n", kBlobSize >> 20, rounds);
  printf("  BK_addBlob          %7.2f %7.2f  %10ld bytes  (crc and length %s)\n", storeTime.cpu,
         storeTime.wall, storeSize, intact ? "match" : "DIFFER");
  printf("  zlib one pass (6)   %7.2f %7.2f  %10ld bytes\n", floorTime.cpu, floorTime.wall,
         floorSize);
  printf("  gzip -6             %7.2f %7.2f  %10ld bytes\n", gzipTime.cpu, gzipTime.wall, gzipSize);
  printf("  zlib, 8 KiB flushes                  %10ld bytes\n", flushedSize);
  printf("  wall time vs zlib   %7.2fx  (target at most 0.6x on 2 cores; processor %.2fx)\n", ratio,
         storeTime.cpu / floorTime.cpu);
  printf("  wall time vs gzip -6 %6.2fx  (target below 1x)\n", againstGzip);
  printf("  size vs zlib with the same flushes %.4fx (target at most 1.01x); vs one pass %.4fx\n",
         sizeRatio, static_cast<double>(storeSize) / floorSize);
  printf("  peak memory above baseline: %.1f MiB (target under 64 MiB)\n", peakMiB);
  bool met = intact && ratio <= 0.6 && againstGzip < 1.0 && sizeRatio <= 1.01 && peakMiB < 64.0;
  printf("%s\n", met ? "targets met" : "TARGETS MISSED");
  return met ? 0 : 1;
}
