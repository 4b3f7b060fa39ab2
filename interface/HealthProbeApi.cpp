// The exported health probes: the boundary around station/HealthProbes.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"
#include "station/HealthProbes.h"

bool BK_isEtherNetOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return probe::BK_isEtherNetOK(bkUIDOf(bkLiveSession(handle)),
                                  static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}

bool BK_isNetWorkOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return probe::BK_isNetWorkOK(bkUIDOf(bkLiveSession(handle)),
                                 static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}

bool BK_isKestrelOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return probe::BK_isKestrelOK(bkUIDOf(bkLiveSession(handle)),
                                 static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}

bool BK_isMartenRunning(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return probe::BK_isMartenRunning(bkUIDOf(bkLiveSession(handle)),
                                     static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}
