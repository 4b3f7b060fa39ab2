// Serial number validation as the station calls it.  The number is checked as
// the caller wrote it: storing and upper-casing belong to the attribute intake.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_validateSerialNumber(UUTHandle handle, const char* serialNumber) {
  CBKReply* reply = new CBKReply();
  // The number is tested before the handle.
  BK_RETURN_IF_NULL(reply, serialNumber, "serialNumber");
  BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  if (!uut->validateSerialNumber(reply, std::string(serialNumber))) {
    BK_LOG(uut->getUID(), "ValidateSerialNumber check just failed for serial number '"
                              << serialNumber << "' because '" << BK_reply_getMessageID(reply)
                              << "'");
  }
  BK_LOG_EXIT(uut->getUID());
  return reply;
}

}  // namespace unguarded

BKReplyHandle BK_validateSerialNumber(UUTHandle handle, const char* serialNumber) {
  return bkGuard(__func__, [&] {
    return unguarded::BK_validateSerialNumber(bkLiveSession(handle), serialNumber);
  });
}
