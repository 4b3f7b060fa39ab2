#include "foundation/Mutexes.h"

pthread_mutex_t mutex1 = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutexSig = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutexSHA1 = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutexInit = PTHREAD_MUTEX_INITIALIZER;
// These three belong to the one-time set-up of MUTEX_THREAD_INIT, but they are
// statically initialised too: the log rotation at library load and the time
// stamps written before the first session must lock a valid mutex.
pthread_mutex_t mutex_lock_configfile = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutex_lock_timeofday = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutex_lock_rotate = PTHREAD_MUTEX_INITIALIZER;

static pthread_once_t mutex_thread_once = PTHREAD_ONCE_INIT;

int MUTEX_INIT(pthread_mutex_t* mutex) { return pthread_mutex_init(mutex, nullptr); }
int MUTEX_LOCK(pthread_mutex_t* mutex) { return pthread_mutex_lock(mutex); }
int MUTEX_UNLOCK(pthread_mutex_t* mutex) { return pthread_mutex_unlock(mutex); }

// Initialising a mutex a second time is undefined once it may be in use, and
// the static initialiser above has already made these ready; the set-up
// functions therefore leave them as they are.
void mutex_init_cbkconfigfile() {}
void mutex_init_timeofday() {}
void mutex_init_rotatelogs() {}

static void mutex_init_once() {
  static bool done = false;
  if (done) return;
  done = true;
  mutex_init_cbkconfigfile();
  mutex_init_timeofday();
  mutex_init_rotatelogs();
}

int MUTEX_THREAD_INIT() {
  pthread_once(&mutex_thread_once, mutex_init_once);
  return 0;
}
