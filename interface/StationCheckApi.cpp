// BK_amIOkay: the boundary around the session's am-I-okay sequence.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_amIOkay(UUTHandle handle, const char* serialNumber) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  delete reply;
  // A NULL serial number means the same as an empty one: station checks only.
  CBKReply* result = uut->checkAMIOK(serialNumber != nullptr ? serialNumber : "");
  BK_LOG(uut->getUID(), "Leaving BK_amIOkay");
  return result;
}

}  // namespace unguarded

BKReplyHandle BK_amIOkay(UUTHandle handle, const char* serialNumber) {
  return bkGuard(__func__,
                 [&] { return unguarded::BK_amIOkay(bkLiveSession(handle), serialNumber); });
}
