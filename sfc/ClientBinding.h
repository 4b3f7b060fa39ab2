// The shop-floor client, a closed library opened by path when this library is
// loaded.  It is never linked: each wrapper below looks its function up by
// name on every call, so a station without the client (or with a client that
// lacks a function) still runs and its queries simply come back NULL.
//
// Every text a query returns belongs to the client and goes back through
// FreeSFCBuffer, never free().
#ifndef BRAMBLEKIT_SFC_CLIENTBINDING_H_
#define BRAMBLEKIT_SFC_CLIENTBINDING_H_

#include <atomic>

// The dlopen handle; NULL when the client could not be opened.  Written once
// at load, before any thread of this library exists.
extern void* libSFCPostHandle;

// SFC threads that have been started and not yet ended.  While any is left,
// unload keeps the client mapped and the log in place: such a thread may
// still be inside the client or about to log.
extern std::atomic<int> sfcThreadsRunning;

// Run once when the library is loaded and once when it is unloaded (see
// interface/LibraryLoad.cpp): the client is opened, the log files are
// rotated, and at unload the client is closed unless an SFC thread still
// runs.
void LoadlibBKSFCPost();
void unLoadlibBKSFCPost();

// Wrappers with the client's names and arguments.  NULL when the client or
// the function is missing, or when the client answered NULL.
char* SFCQueryRecordUnitCheck(const char* serialNumber, const char* stationId);
char* SFCQueryRecord(const char* serialNumber, const char* keys);
char* SFCQueryRecordByStationName(const char* serialNumber, const char* stationName,
                                  const char* keys);
char* SFCQueryHistory(const char* serialNumber);
char* SFCServerVersion();
char* SFCLibVersion();
// Does nothing when the client or the function is missing.
void FreeSFCBuffer(char* buffer);

#endif  // BRAMBLEKIT_SFC_CLIENTBINDING_H_
