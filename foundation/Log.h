// The one process-wide log, /vault/Bramblekit.log.  Lines are composed whole
// by the caller and written with one insertion and a flush, so lines of
// several sessions and threads interleave but never mix.  The lines of the
// per-result calls may be held in memory for a while (see hold): every other
// write puts them in the file first, so the file keeps the order in which
// lines were handed over.
#ifndef BRAMBLEKIT_FOUNDATION_LOG_H_
#define BRAMBLEKIT_FOUNDATION_LOG_H_

#include <sys/time.h>

#include <fstream>
#include <sstream>
#include <string>

#include "foundation/Constants.h"

class CBKLog {
 public:
  explicit CBKLog(const std::string& fileName);
  ~CBKLog();
  CBKLog(const CBKLog&) = delete;
  CBKLog& operator=(const CBKLog&) = delete;

  void setupFileStream();
  // Writes the held lines and then `text`.
  void write(const char* text);
  void write(const std::stringstream* text);
  // Keeps `text` behind the lines already held, until the next write or
  // flush, or until kHeldLimit bytes have gathered.
  void hold(const std::string& text);
  // Writes the held lines.
  void flush();
  // In a child made by fork, with the write lock held: forgets the held
  // lines, which are the parent's to write.
  void dropHeldInChild();

  static constexpr size_t kHeldLimit = 64 * 1024;

 private:
  // Both with the write lock held.
  void writeHeld();
  void put(const char* text, size_t length);

  std::string fileName_;
  std::ofstream* stream_;
  std::string held_;
};

extern CBKLog* oneLog;

// The process-wide log, created by the first call.
CBKLog* getLog();
// Destroys the log object at unload; nothing may log afterwards.
void destroyLog();
// Writes the lines the log holds, if any; cheap when it holds none.  Never
// throws.
void bkLogFlush() noexcept;

// Like gettimeofday, but a reading equal to the last one is moved on by a
// growing number of microseconds (not carried into the seconds).  Not
// monotonic: it follows the clock back.
int timeofday_unique(struct timeval* tv, struct timezone* tz);
// "%Y%m%d-%H%M%S" of `when` (0: time()) and ".uuuuuu" of timeofday_unique.
std::string Util_makeTimestamp(long when);
// "%Y-%m-%d %H:%M:%S", the form of times in the results document.
std::string Util_makeTimestamp2(long when);

// The two shapes of a log line.
void bkLogSessionLine(const std::string& uid, const char* function, const std::string& text);
void bkLogErrorLine(const char* file, int line, const char* function, const std::string& text);

// How a batch hands its lines to the log when it ends: written at once, or
// held with the log's other held lines (for the calls a station makes once
// per result, where a write per call would cost more than the call).
enum class BKLogDelivery { Write, Hold };

// While one of these lives, the lines this thread logs are gathered and
// handed to the log in one piece when it ends: an entry point that logs
// several lines pays for one write at most.  A batch opened inside another
// joins the outer one, and the outer one's delivery counts.
class BKLogBatch {
 public:
  explicit BKLogBatch(BKLogDelivery delivery = BKLogDelivery::Write);
  ~BKLogBatch();
  BKLogBatch(const BKLogBatch&) = delete;
  BKLogBatch& operator=(const BKLogBatch&) = delete;

 private:
  bool outermost_;
  BKLogDelivery delivery_;
};

// Stream-style helpers: BK_LOG(uid, "a" << b) and BK_LOG_ERROR("a" << b).
#define BK_LOG(uid, expr)                                      \
  do {                                                         \
    std::ostringstream bk_log_text_;                           \
    bk_log_text_ << expr;                                      \
    bkLogSessionLine((uid), __FUNCTION__, bk_log_text_.str()); \
  } while (0)

// The entry and exit lines of a function that stations see by name.
#define BK_LOG_ENTRY(uid) BK_LOG((uid), "Entering " << __FUNCTION__)
#define BK_LOG_EXIT(uid) BK_LOG((uid), "Exiting " << __FUNCTION__)

#define BK_LOG_ERROR(expr)                                                \
  do {                                                                    \
    std::ostringstream bk_log_text_;                                      \
    bk_log_text_ << expr;                                                 \
    bkLogErrorLine(__FILE__, __LINE__, __FUNCTION__, bk_log_text_.str()); \
  } while (0)

#endif  // BRAMBLEKIT_FOUNDATION_LOG_H_
