// The SFC queries that stand ready beside the unit check: server version,
// unit history and the unit's record.  Each starts one detached thread and
// answers whether it started.
#ifndef BRAMBLEKIT_SFC_QUERYTHREADS_H_
#define BRAMBLEKIT_SFC_QUERYTHREADS_H_

#include <pthread.h>

#include <string>

bool startServerVersionQuery(pthread_t* id);
bool startHistoryQuery(const std::string& serialNumber, pthread_t* id);
// The record by station name, also for a plain record query.  `*attempted`
// is false when no thread could even be tried (no memory for its arguments).
bool startStationNameQuery(const std::string& serialNumber, pthread_t* id, bool* attempted);

#endif  // BRAMBLEKIT_SFC_QUERYTHREADS_H_
