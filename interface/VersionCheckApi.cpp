// The exported version checks: the boundary around station/VersionChecks.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"
#include "station/VersionChecks.h"

bool BK_isStationSWVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return version::BK_isStationSWVersionOK(bkUIDOf(bkLiveSession(handle)),
                                            static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}

bool BK_isMartenVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return version::BK_isMartenVersionOK(bkUIDOf(bkLiveSession(handle)),
                                         static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}

bool BK_isOtterVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return version::BK_isOtterVersionOK(bkUIDOf(bkLiveSession(handle)),
                                        static_cast<CBKReply*>(bkLiveReply(reply)));
  });
}

bool BK_checkMartenVersion(std::string* read, std::string* libraryVersion, std::string* required) {
  return bkGuard(__func__, nullptr,
                 [&] { return version::BK_checkMartenVersion(read, libraryVersion, required); });
}
