#include "foundation/Mutexes.h"

pthread_mutex_t mutex1 = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutexSig = PTHREAD_MUTEX_INITIALIZER;
// Statically initialised: the log rotation at library load and the time
// stamps written before the first session must lock a valid mutex.
pthread_mutex_t mutex_lock_configfile = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutex_lock_timeofday = PTHREAD_MUTEX_INITIALIZER;
pthread_mutex_t mutex_lock_rotate = PTHREAD_MUTEX_INITIALIZER;

int MUTEX_LOCK(pthread_mutex_t* mutex) { return pthread_mutex_lock(mutex); }
int MUTEX_UNLOCK(pthread_mutex_t* mutex) { return pthread_mutex_unlock(mutex); }
