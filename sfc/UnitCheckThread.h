// The unit check: one detached thread per session asks shop-floor control
// whether the unit belongs on this station and leaves the answer in the
// response file /tmp/<UID>, which the unit process checks and CUUT::done read.
//
// The thread works on copies of the serial number and UID taken when it is
// started and never touches the session again, so it may outlive it.  Its
// progress is kept in the SFCThreadState that it shares with the session.
#ifndef BRAMBLEKIT_SFC_UNITCHECKTHREAD_H_
#define BRAMBLEKIT_SFC_UNITCHECKTHREAD_H_

#include <pthread.h>
#include <signal.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

// What a detached SFC thread shares with its session.  The thread may outlive
// the session, so both hold it; `ended` is set as the thread's last act.
struct SFCThreadState {
  std::atomic<bool> started{false};
  std::atomic<bool> ended{false};
  // Held while `ended` is set and while the thread is signalled, so that a
  // signal never goes to a thread that has passed its end.
  std::mutex endLock;
};

// Set by fnHandleSig on SIGALRM, read and cleared by the SFC threads.  One
// flag for the whole process.
extern std::atomic<bool> bSupposedToDie;

// What SIGALRM does in an SFC thread (see sfcInstallAlarmHandler).  Other
// signal numbers do nothing.
void fnHandleSig(int signal);

// The thread's body; the argument is the record startUnitCheckThread made.
void* threadRunSFCQRUnitCheck(void* param);

// Starts the unit check of `serialNumber` for session `uid`.  On success the
// thread's id and shared state are stored; on failure nothing is.
bool startUnitCheckThread(const std::string& serialNumber, const std::string& uid, pthread_t* idOut,
                          std::shared_ptr<SFCThreadState>* stateOut);

// For CUUT::done, which can only probe the detached thread and signal it:
//
// sfcUnitThreadProbe: 0 while the session's unit-check thread runs; ESRCH once
// it has ended, and also when none was ever started.  Unlike pthread_kill(id,
// 0) it never touches the id of a thread that has gone.
int sfcUnitThreadProbe(const std::shared_ptr<SFCThreadState>& state);

// sfcUnitThreadSignal: sends `signal` (SIGALRM in practice) to the unit-check
// thread if it is still running, with the thread held short of its end while
// the signal goes out.  0 when sent; ESRCH when the thread has ended or never
// started; otherwise the error of pthread_kill.  When the station has
// replaced the library's SIGALRM handler nothing is sent, a line says so, and
// the answer is 0: the caller goes on as after a delivered signal.  SIGALRM only wakes the
// thread if it is waiting in the client: the answer, when it comes, is
// handled as usual.
int sfcUnitThreadSignal(std::shared_ptr<SFCThreadState> state, pthread_t thread,
                        const std::string& uid, int signal);

// The session `uid` has ended (done, cancel or destroy): its response file
// is removed now, and a unit check still running removes the one it writes.
void sfcSessionEnded(const std::string& uid);

#endif  // BRAMBLEKIT_SFC_UNITCHECKTHREAD_H_
