#include "foundation/Log.h"

#include <stdio.h>
#include <string.h>
#include <time.h>

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
// the flush only, with nothing else taken inside it.
static std::mutex logWriteLock;

void CBKLog::write(const char* text) {
  std::lock_guard<std::mutex> hold(logWriteLock);
  if (stream_ == nullptr || !stream_->is_open()) return;
  // A failed write (a full disk) leaves the stream in a failed state, which
  // would silence every later line: each line tries again.
  if (!stream_->good()) stream_->clear();
  *stream_ << text;
  stream_->flush();
}

void CBKLog::write(const std::stringstream* text) { write(text->str().c_str()); }

// The first log line of the process comes from the application's thread,
// before any background thread exists, so creation needs no lock.
CBKLog* getLog() {
  if (oneLog == nullptr) oneLog = new CBKLog(bramblekitLogFilePath);
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

std::string Util_makeTimestamp(long when) {
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
  char fraction[16];
  snprintf(fraction, sizeof(fraction), ".%06ld", static_cast<long>(tv.tv_usec));
  return cachedStamp + fraction;
}

std::string Util_makeTimestamp2(long when) { return formatLocalTime(when, "%Y-%m-%d %H:%M:%S"); }

namespace {

// Whether this thread has a batch open, and the lines it holds; the buffer
// keeps its capacity from one batch to the next.
thread_local bool batchOpen = false;
thread_local std::string heldLines;

void writeLine(const char* line) {
  if (batchOpen) {
    heldLines.append(line);
    return;
  }
  getLog()->write(line);
}

}  // namespace

BKLogBatch::BKLogBatch() : outermost_(!batchOpen) { batchOpen = true; }

BKLogBatch::~BKLogBatch() {
  if (!outermost_) return;
  batchOpen = false;
  if (heldLines.empty()) return;
  getLog()->write(heldLines.c_str());
  heldLines.clear();
}

void bkLogSessionLine(const std::string& uid, const char* function, const std::string& text) {
  // Joined as a plain string: a session writes a few lines per result, and a
  // stream's set-up costs more than the rest of the line.
  std::string line = Util_makeTimestamp(0);
  line.reserve(line.size() + uid.size() + strlen(function) + text.size() + 9);
  line.append(": [").append(uid).append(" - ").append(function).append("]: ");
  line.append(text).append("\n");
  writeLine(line.c_str());
}

void bkLogErrorLine(const char* file, int lineNumber, const char* function,
                    const std::string& text) {
  std::stringstream line;
  line << Util_makeTimestamp(0) << ": " << file << "(" << lineNumber << ") " << function
       << ": ERROR: " << text << "\n";
  writeLine(line.str().c_str());
}
