// The finished results document as a reply.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

namespace unguarded {

BKReplyHandle BK_getJsonResultsObj(UUTHandle handle) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "uutHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_RETURN_DELEGATED(reply, uut->getUID(), uut->getJsonResultsObj());
}

}  // namespace unguarded

BKReplyHandle BK_getJsonResultsObj(UUTHandle handle) {
  return bkGuard(__func__, [&] { return unguarded::BK_getJsonResultsObj(bkLiveSession(handle)); });
}
