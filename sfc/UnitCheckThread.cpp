// The unit-check thread.
//
// The client is asked for the unit with the station's id.  An answer holding
// "1 SFC_ERROR" is asked again at once, at most 11 calls in all, each error
// written to the response file as it comes; the last answer, whatever it is,
// is written under mutex1 so that CUUT::done never reads a half-written file.
#include "sfc/UnitCheckThread.h"

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <unistd.h>

#include <map>
#include <memory>
#include <set>
#include <string>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Log.h"
#include "foundation/Mutexes.h"
#include "sfc/ClientBinding.h"
#include "sfc/ThreadSupport.h"

std::atomic<bool> bSupposedToDie{false};

void fnHandleSig(int signal) {
  if (signal == SIGALRM) bSupposedToDie.store(true);
}

namespace {

// What the thread needs, copied when it is started: the session may be gone
// before the thread ends.
struct UnitCheckParam {
  std::string serialNumber;
  std::string uid;
  std::shared_ptr<SFCThreadState> state;
};

const int kMaxRetries = 10;  // after the first call

// Sessions by UID, under mutex1: how many unit checks of each still run, and
// which of those sessions have ended.  A thread that ends after its session
// removes the response file it leaves: nobody would read it any more.
std::map<std::string, int>& runningChecks() {
  static auto* running = new std::map<std::string, int>();
  return *running;
}
std::set<std::string>& endedSessions() {
  static auto* ended = new std::set<std::string>();
  return *ended;
}

std::string responsePath(const std::string& uid) { return std::string(tempFilesPath) + uid; }

void unitCheckStarts(const std::string& uid) {
  MutexGuard guard(&mutex1);
  ++runningChecks()[uid];
}

void unitCheckEnds(const std::string& uid) {
  MutexGuard guard(&mutex1);
  auto running = runningChecks().find(uid);
  if (running != runningChecks().end() && --running->second <= 0) runningChecks().erase(running);
  if (endedSessions().count(uid) == 0) return;
  std::string path = responsePath(uid);
  if (unlink(path.c_str()) == 0) {
    BK_LOG(uid, "deleting server response file written after the session ended [" << path << "]");
  }
  if (runningChecks().count(uid) == 0) endedSessions().erase(uid);
}

// The thread's work; returns where the thread is to end.
void runUnitCheck(const std::string& sn, const std::string& uid) {
  BK_LOG(uid, "Begin Thread for [" << sn << "] sfc-threadid=[" << pthread_self() << "]");
  std::string url = sfcReadText("SFC_URL");
  int timeout = sfcReadTimeout();
  std::string stationId = sfcReadText("STATION_ID");

  std::string path = std::string(tempFilesPath) + uid;
  if (Util_fileExists(path.c_str())) {
    unlink(path.c_str());
    BK_LOG(uid,
           "Deleting file [" << path
                             << "] **** [beginning of thread-we should never get here-file not get "
                                "cleaned last time] ****");
  }
  // The time limit is enforced by the readers of the file; here it is only
  // reported.
  BK_LOG(uid, "SFC_URL [" << url << "] SFC_TIMEOUT [" << timeout << "]");

  bool retry = true;
  int attempts = 0;
  bool forced = false;
  char* answer = nullptr;
  sigset_t alarmSet = sfcAlarmSet();
  // SIGALRM may now reach this thread while it waits in the client.
  pthread_sigmask(SIG_UNBLOCK, &alarmSet, nullptr);
  while (retry) {
    answer = SFCQueryRecordUnitCheck(sn.c_str(), stationId.c_str());
    if (answer == nullptr) {
      BK_LOG(uid, "Could not find function in libBKSFCPost.dylib");
      return;
    }
    // The signal only wakes the client; the answer is handled as usual.
    if (bSupposedToDie.exchange(false)) forced = true;
    if (strstr(answer, "1 SFC_ERROR") != nullptr && attempts <= kMaxRetries - 1) {
      ++attempts;
      sfcWriteResponseFile(path, answer);
      FreeSFCBuffer(answer);
      continue;
    }
    if (strstr(answer, "0 SFC_OK") != nullptr) {
      BK_LOG(uid, answer);
    } else {
      BK_LOG(uid, "Invalid SFC server response: [" << answer << "] for SN# [" << sn << "].");
    }
    retry = false;
    if (forced && answer == nullptr) {
      BK_LOG(uid, "Forced Thread Exit for [" << sn << "]");
      return;
    }
  }

  {
    MutexGuard guard(&mutex1);
    sfcWriteResponseFile(path, answer);
    BK_LOG(uid, answer);
    FreeSFCBuffer(answer);
  }
  BK_LOG(uid, "Normal Thread End for [" << sn << "] sfc-threadid=[" << pthread_self() << "]");
}

}  // namespace

void* threadRunSFCQRUnitCheck(void* arg) {
  sfcMarkAlarmThread();
  std::unique_ptr<UnitCheckParam> param(static_cast<UnitCheckParam*>(arg));
  std::shared_ptr<SFCThreadState> state = param->state;
  try {
    runUnitCheck(param->serialNumber, param->uid);
  } catch (...) {
    // Nothing may leave this thread: it would take the station's process down.
    BK_LOG_ERROR("threadRunSFCQRUnitCheck: Unhandled exception");
  }
  unitCheckEnds(param->uid);
  param.reset();
  {
    std::lock_guard<std::mutex> hold(state->endLock);
    state->ended.store(true);
  }
  state.reset();
  sfcThreadsRunning.fetch_sub(1);
  pthread_exit(nullptr);
}

bool startUnitCheckThread(const std::string& serialNumber, const std::string& uid, pthread_t* idOut,
                          std::shared_ptr<SFCThreadState>* stateOut) {
  auto* param = new UnitCheckParam{serialNumber, uid, std::make_shared<SFCThreadState>()};
  std::shared_ptr<SFCThreadState> state = param->state;
  state->started.store(true);

  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t id;
  sfcThreadsRunning.fetch_add(1);
  unitCheckStarts(uid);
  // The thread starts with SIGALRM blocked, so that a signal sent at once
  // waits until the thread has marked itself and unblocks it.
  sigset_t alarmSet = sfcAlarmSet();
  sigset_t callerMask;
  pthread_sigmask(SIG_BLOCK, &alarmSet, &callerMask);
  int result = pthread_create(&id, &attributes, threadRunSFCQRUnitCheck, param);
  pthread_sigmask(SIG_SETMASK, &callerMask, nullptr);
  pthread_attr_destroy(&attributes);
  if (result != 0) {
    unitCheckEnds(uid);
    sfcThreadsRunning.fetch_sub(1);
    delete param;
    return false;
  }
  *idOut = id;
  *stateOut = state;
  return true;
}

int sfcUnitThreadProbe(const std::shared_ptr<SFCThreadState>& state) {
  if (!state || !state->started.load() || state->ended.load()) return ESRCH;
  return 0;
}

int sfcUnitThreadSignal(std::shared_ptr<SFCThreadState> state, pthread_t thread,
                        const std::string& uid, int signal) {
  if (!state || !state->started.load()) return ESRCH;
  std::lock_guard<std::mutex> hold(state->endLock);
  if (state->ended.load()) return ESRCH;
  if (signal == SIGALRM && !sfcAlarmHandlerInstalled()) {
    // The station has taken SIGALRM over: the signal would run its handler,
    // or end its process.  The thread is left to its answer.
    BK_LOG(uid, "SIGALRM not sent to sfc-threadid=["
                    << thread << "]: the station replaced the library's handler");
    return 0;
  }
  return pthread_kill(thread, signal);
}

void sfcSessionEnded(const std::string& uid) {
  MutexGuard guard(&mutex1);
  std::string path = responsePath(uid);
  if (unlink(path.c_str()) == 0) {
    BK_LOG(uid, "deleting server response file, the session has ended [" << path << "]");
  }
  if (runningChecks().count(uid) != 0) endedSessions().insert(uid);
}
