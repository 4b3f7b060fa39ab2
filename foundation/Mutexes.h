// The library's process-wide locks.  mutex_lock_timeofday is the innermost:
// every log line takes it for its time stamp, whatever else is held.
#ifndef BRAMBLEKIT_FOUNDATION_MUTEXES_H_
#define BRAMBLEKIT_FOUNDATION_MUTEXES_H_

#include <pthread.h>

extern pthread_mutex_t mutex1;    // the unit check's response file against CUUT::done
extern pthread_mutex_t mutexSig;  // signing and digest state
extern pthread_mutex_t mutex_lock_configfile;
extern pthread_mutex_t mutex_lock_timeofday;
extern pthread_mutex_t mutex_lock_rotate;

int MUTEX_LOCK(pthread_mutex_t* mutex);
int MUTEX_UNLOCK(pthread_mutex_t* mutex);
// Holds a lock for a scope.
class MutexGuard {
 public:
  explicit MutexGuard(pthread_mutex_t* mutex) : mutex_(mutex) { MUTEX_LOCK(mutex_); }
  ~MutexGuard() { MUTEX_UNLOCK(mutex_); }
  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

 private:
  pthread_mutex_t* mutex_;
};

#endif  // BRAMBLEKIT_FOUNDATION_MUTEXES_H_
