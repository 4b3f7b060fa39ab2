// The SFC queries that stand ready beside the unit check: server version,
// unit history and the unit's record.  Nothing calls them yet.  Each runs
// detached, asks again at once for as long as the answer holds
// "1 SFC_ERROR", and writes an answer that says "0 SFC_OK" to /tmp/sfcstatus,
// the one file they share.  They log without a session.
#include "sfc/QueryThreads.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include <functional>
#include <memory>
#include <new>
#include <string>

#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "sfc/ClientBinding.h"
#include "sfc/ThreadSupport.h"
#include "sfc/UnitCheckThread.h"

// The record query's arguments: heap copies that belong to the thread.
struct THREAD_PARAM {
  std::string serialNumber;
  std::string keys;
};

void* threadRunSFCServerVersion(void* param);
void* threadRunSFCQueryHistory(void* param);
void* threadRunSFCQRStationName(void* param);
void* threadRunSFCQR(void* param);

namespace {

const char* const kRecordKeys = "mlbsn,iccid,mpn,region_code,imei";

// The common frame of these threads.  `ask` calls the client once.
void runReadyQuery(const std::function<char*()>& ask, const char* endText, const char* otherText) {
  BK_LOG(kBlankUID,
         "SFC_URL [" << sfcReadText("SFC_URL") << "] SFC_TIMEOUT [" << sfcReadTimeout() << "]");
  sigset_t alarmSet = sfcAlarmSet();
  pthread_sigmask(SIG_UNBLOCK, &alarmSet, nullptr);
  bool ok = false;
  char* answer = nullptr;
  for (;;) {
    answer = ask();
    if (answer == nullptr) {
      BK_LOG(kBlankUID, "Could not find function in libBKSFCPost.dylib");
      return;
    }
    if (strstr(answer, "1 SFC_ERROR") != nullptr) {
      FreeSFCBuffer(answer);
      continue;
    }
    if (strstr(answer, "0 SFC_OK") != nullptr) {
      ok = true;
    } else {
      BK_LOG(kBlankUID, otherText);
      // Handed back all the same: the client's buffer would otherwise leak.
      FreeSFCBuffer(answer);
    }
    break;
  }
  if (ok) {
    sfcWriteResponseFile(sfcstatusfilepath, answer);
    FreeSFCBuffer(answer);
  }
  BK_LOG(kBlankUID, endText);
}

// Ends a ready thread the way every SFC thread ends.
[[noreturn]] void endReadyThread() {
  sfcThreadsRunning.fetch_sub(1);
  pthread_exit(nullptr);
}

void runGuarded(const std::function<void()>& work) {
  try {
    work();
  } catch (...) {
    BK_LOG_ERROR("SFC query thread: Unhandled exception");
  }
}

// Starts `body` detached with SIGALRM blocked from its first instruction;
// the thread unblocks it itself before its first call to the client.  The
// caller's own signal mask is put back afterwards.
bool startReadyThread(void* (*body)(void*), void* param, pthread_t* id) {
  sigset_t alarmSet = sfcAlarmSet();
  sigset_t callerMask;
  pthread_sigmask(SIG_SETMASK, &alarmSet, &callerMask);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  sfcThreadsRunning.fetch_add(1);
  int result = pthread_create(id, &attributes, body, param);
  pthread_attr_destroy(&attributes);
  pthread_sigmask(SIG_SETMASK, &callerMask, nullptr);
  if (result != 0) sfcThreadsRunning.fetch_sub(1);
  return result == 0;
}

THREAD_PARAM* makeRecordParam(const std::string& serialNumber) {
  THREAD_PARAM* param = new (std::nothrow) THREAD_PARAM;
  if (param == nullptr) {
    fputs("MALLOC THREAD_PARAM ERROR\n", stderr);
    return nullptr;
  }
  param->serialNumber = serialNumber;
  param->keys = kRecordKeys;
  return param;
}

}  // namespace

void* threadRunSFCServerVersion(void*) {
  sfcMarkAlarmThread();
  runGuarded([] {
    runReadyQuery([] { return SFCServerVersion(); }, "End thread SFCServerVersion\n",
                  "We should never get here");
  });
  endReadyThread();
}

void* threadRunSFCQueryHistory(void* arg) {
  sfcMarkAlarmThread();
  runGuarded([arg] {
    std::unique_ptr<std::string> serialNumber(static_cast<std::string*>(arg));
    runReadyQuery([&] { return SFCQueryHistory(serialNumber->c_str()); },
                  "End thread threadRunSFCHistory\n", "We should never get here");
  });
  endReadyThread();
}

void* threadRunSFCQRStationName(void* arg) {
  sfcMarkAlarmThread();
  runGuarded([arg] {
    std::unique_ptr<THREAD_PARAM> param(static_cast<THREAD_PARAM*>(arg));
    std::string stationType = sfcReadText("STATION_TYPE");
    runReadyQuery(
        [&] {
          return SFCQueryRecordByStationName(param->serialNumber.c_str(), stationType.c_str(),
                                             param->keys.c_str());
        },
        "End thread threadRunSFCQRStationName\n", "Unrecognized response, never get here");
  });
  endReadyThread();
}

// No starter uses this one: the record queries go by station name.
void* threadRunSFCQR(void* arg) {
  sfcMarkAlarmThread();
  runGuarded([arg] {
    std::unique_ptr<THREAD_PARAM> param(static_cast<THREAD_PARAM*>(arg));
    BK_LOG(kBlankUID, "Begin thread threadRunSFCQR \n");
    runReadyQuery([&] { return SFCQueryRecord(param->serialNumber.c_str(), param->keys.c_str()); },
                  "End thread threadRunSFCQRStationName\n", "We should never get here");
  });
  endReadyThread();
}

bool startServerVersionQuery(pthread_t* id) {
  return startReadyThread(threadRunSFCServerVersion, nullptr, id);
}

bool startHistoryQuery(const std::string& serialNumber, pthread_t* id) {
  // A copy of its own: the argument does not outlive this call.
  std::string* copy = new std::string(serialNumber);
  if (startReadyThread(threadRunSFCQueryHistory, copy, id)) return true;
  delete copy;
  return false;
}

bool startStationNameQuery(const std::string& serialNumber, pthread_t* id, bool* attempted) {
  *attempted = false;
  THREAD_PARAM* param = makeRecordParam(serialNumber);
  if (param == nullptr) return false;
  *attempted = true;
  if (startReadyThread(threadRunSFCQRStationName, param, id)) return true;
  delete param;
  return false;
}
