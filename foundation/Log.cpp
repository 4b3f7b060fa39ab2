#include "foundation/Log.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <atomic>
#include <iomanip>
#include <iostream>
#include <mutex>

#include "foundation/Mutexes.h"

CBKLog* oneLog = nullptr;

CBKLog::CBKLog(const std::string& fileName) : fileName_(fileName), stream_(nullptr) {
  setupFileStream();
}

CBKLog::~CBKLog() {
  try {
    write("Logging service closing down");
    if (stream_ != nullptr) {
      stream_->close();
      delete stream_;
      stream_ = nullptr;
    }
  } catch (...) {
    std::cout << "ERROR writing or closing log stream in CBKLog destructor!" << std::endl;
  }
}

void CBKLog::setupFileStream() {
  if (fileName_.empty()) {
    std::cout << "ERROR: empty Log File name!" << std::endl;
    return;
  }
  if (stream_ != nullptr) {
    write("Attempt to re-init the log");
    return;
  }
  stream_ = new std::ofstream(fileName_.c_str(), std::ios::out | std::ios::app | std::ios::ate);
  if (!stream_->is_open()) {
    // The stream stays in place, unopened: from here on lines are dropped.
    std::cout << "ERROR opening filestream for Bramblekit log output!!" << std::endl;
    return;
  }
  std::string header = "\n\n\n\n\n\n" + Util_makeTimestamp(0) + ": Bramblekit-U library v-" +
                       bk::kLibraryVersion + " log starting\n";
  write(header.c_str());
}

// The SFC threads log beside the application's thread, and one stream may not
// be written by two threads at once.  The lock is held for the insertion and
// the flush only, with nothing else taken inside it.  It also guards the held
// lines.
static std::mutex logWriteLock;
// Whether the log holds lines: read without the lock by every entry point on
// its way out, so that holding nothing costs no lock.
static std::atomic<bool> linesHeld{false};

void CBKLog::put(const char* text, size_t length) {
  if (stream_ == nullptr || !stream_->is_open()) return;
  // A failed write (a full disk) leaves the stream in a failed state, which
  // would silence every later line: each line tries again.
  if (!stream_->good()) stream_->clear();
  stream_->write(text, static_cast<std::streamsize>(length));
  stream_->flush();
}

void CBKLog::writeHeld() {
  if (held_.empty()) return;
  put(held_.data(), held_.size());
  held_.clear();
  linesHeld.store(false, std::memory_order_release);
}

void CBKLog::write(const char* text) {
  std::lock_guard<std::mutex> hold(logWriteLock);
  writeHeld();
  put(text, strlen(text));
}

void CBKLog::write(const std::stringstream* text) { write(text->str().c_str()); }

void CBKLog::hold(const std::string& text) {
  std::lock_guard<std::mutex> guard(logWriteLock);
  held_.append(text);
  linesHeld.store(true, std::memory_order_release);
  if (held_.size() >= kHeldLimit) writeHeld();
}

void CBKLog::flush() {
  std::lock_guard<std::mutex> guard(logWriteLock);
  writeHeld();
}

namespace {

// A child made by fork would write its copy of the held lines a second time
// when it exits: it drops them, and its parent writes them.
void lockForFork() { logWriteLock.lock(); }
void unlockInParent() { logWriteLock.unlock(); }
void dropInChild() {
  if (oneLog != nullptr) oneLog->dropHeldInChild();
  linesHeld.store(false, std::memory_order_relaxed);
  logWriteLock.unlock();
}

}  // namespace

void CBKLog::dropHeldInChild() { held_.clear(); }

void bkLogFlush() noexcept {
  if (!linesHeld.load(std::memory_order_acquire)) return;
  try {
    if (oneLog != nullptr) oneLog->flush();
  } catch (...) {
    // The log never reports failure.
  }
}

// The first log line of the process comes from the application's thread,
// before any background thread exists, so creation needs no lock.
CBKLog* getLog() {
  if (oneLog == nullptr) {
    static std::once_flag forkHandlers;
    std::call_once(forkHandlers, [] { pthread_atfork(lockForFork, unlockInParent, dropInChild); });
    oneLog = new CBKLog(bramblekitLogFilePath);
  }
  return oneLog;
}

void destroyLog() {
  delete oneLog;
  oneLog = nullptr;
}

// A reading equal to the last one is moved on by a growing offset, so that
// calls within one microsecond differ.  Any other reading is taken as it is,
// earlier ones included: after the clock is set back, stamps follow it.
int timeofday_unique(struct timeval* tv, struct timezone* tz) {
  static long lastSeconds = 0;
  static long lastMicroseconds = 0;
  static long offset = 1;
  int rc = gettimeofday(tv, tz);
  MutexGuard guard(&mutex_lock_timeofday);
  if (tv->tv_sec == lastSeconds && tv->tv_usec == lastMicroseconds) {
    tv->tv_usec += offset++;
  } else {
    lastSeconds = tv->tv_sec;
    lastMicroseconds = tv->tv_usec;
    offset = 1;
  }
  return rc;
}

static std::string formatLocalTime(long when, const char* format) {
  time_t t = when == 0 ? time(nullptr) : static_cast<time_t>(when);
  struct tm local;
  localtime_r(&t, &local);
  char buffer[32];
  if (strftime(buffer, sizeof(buffer), format, &local) == 0) return "";
  return buffer;
}

namespace {

// Appends Util_makeTimestamp(when) to `out`.
void appendTimestamp(std::string& out, long when) {
  // The seconds come from time(), the fraction from the unique clock, also
  // for an explicit time: the fraction is what makes the stamp unique.
  struct timeval tv;
  timeofday_unique(&tv, nullptr);
  const long seconds = when == 0 ? static_cast<long>(time(nullptr)) : when;
  // Every log line makes a stamp, and its seconds change once a second:
  // each thread keeps the last one it formatted.
  thread_local bool cached = false;
  thread_local long cachedSeconds = 0;
  thread_local std::string cachedStamp;
  if (!cached || seconds != cachedSeconds) {
    cachedStamp = formatLocalTime(seconds, "%Y%m%d-%H%M%S");
    cachedSeconds = seconds;
    cached = true;
  }
  out.append(cachedStamp);
  // ".%06ld" by hand: at least six digits, more when the unique clock's
  // offset has carried the microseconds past a second.
  char digits[24];
  char* first = digits + sizeof(digits);
  unsigned long rest = static_cast<unsigned long>(tv.tv_usec);
  int count = 0;
  do {
    *--first = static_cast<char>('0' + rest % 10);
    rest /= 10;
    ++count;
  } while (rest != 0 || count < 6);
  *--first = '.';
  out.append(first, static_cast<size_t>(digits + sizeof(digits) - first));
}

}  // namespace

std::string Util_makeTimestamp(long when) {
  std::string stamp;
  appendTimestamp(stamp, when);
  return stamp;
}

std::string Util_makeTimestamp2(long when) { return formatLocalTime(when, "%Y-%m-%d %H:%M:%S"); }

namespace {

// Whether this thread has a batch open, and the lines it holds; the buffer
// keeps its capacity from one batch to the next.
thread_local bool batchOpen = false;
thread_local std::string heldLines;

}  // namespace

BKLogBatch::BKLogBatch(BKLogDelivery delivery) : outermost_(!batchOpen), delivery_(delivery) {
  batchOpen = true;
}

BKLogBatch::~BKLogBatch() {
  if (!outermost_) return;
  batchOpen = false;
  if (heldLines.empty()) return;
  if (delivery_ == BKLogDelivery::Hold) {
    getLog()->hold(heldLines);
  } else {
    getLog()->write(heldLines.c_str());
  }
  heldLines.clear();
}

void bkLogSessionLine(const std::string& uid, const char* function, const std::string& text) {
  // Joined as a plain string, straight into the batch when one is open: a
  // session writes a few lines per result, and a stream's set-up costs more
  // than the rest of the line.
  std::string single;
  std::string& line = batchOpen ? heldLines : single;
  const size_t start = line.size();
  appendTimestamp(line, 0);
  line.append(": [").append(uid).append(" - ").append(function).append("]: ");
  line.append(text).append("\n");
  // A line is handed over as a C text: a zero byte in it ends it there.
  const size_t zero = line.find('\0', start);
  if (zero != std::string::npos) line.resize(zero);
  if (!batchOpen) getLog()->write(line.c_str());
}

void bkLogErrorLine(const char* file, int lineNumber, const char* function,
                    const std::string& text) {
  std::stringstream line;
  line << Util_makeTimestamp(0) << ": " << file << "(" << lineNumber << ") " << function
       << ": ERROR: " << text << "\n";
  if (batchOpen) {
    heldLines.append(line.str().c_str());
  } else {
    getLog()->write(line.str().c_str());
  }
}
