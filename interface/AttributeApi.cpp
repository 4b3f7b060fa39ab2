// Attribute intake at the boundary.
#include <stdint.h>

#include <sstream>

#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_addAttribute(UUTHandle handle, const char* name, const char* value) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  if (value == nullptr) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "NULL acpValue handle passed as a parameter");
    BK_LOG_EXIT(uut->getUID());
    return reply;
  }
  if (value[0] == '\0') {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "0 size string passed as a parameter");
    BK_LOG_EXIT(uut->getUID());
    return reply;
  }
  // A NULL name was never a defined call; it is refused like a NULL value
  // rather than read.
  if (name == nullptr) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "NULL acpName handle passed as a parameter");
    BK_LOG_EXIT(uut->getUID());
    return reply;
  }
  BK_LOG(uut->getUID(), "Trying to add attribute [" << name << "] = [" << value << "]");
  // Any state takes attributes, as long as the session's directory is there
  // under the name of that state.
  if (!uut->isUIDValid()) {
    std::ostringstream text;
    text << "UUTHandle passed to BK_addAttribute '0x" << std::hex
         << reinterpret_cast<uintptr_t>(handle)
         << "' refers to an invalid directory (it does not exist)";
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_UNIT_ID_INVALID, text.str());
    BK_LOG_EXIT(uut->getUID());
    return reply;
  }
  delete reply;
  CBKReply* result = uut->createAttribute(name, value);
  // A fault the policy made passive reaches the station as a plain success;
  // the text still tells what happened.
  if (BK_success(result)) result->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  BK_LOG_EXIT(uut->getUID());
  return result;
}

}  // namespace unguarded

BKReplyHandle BK_addAttribute(UUTHandle handle, const char* name, const char* value) {
  return bkGuard(__func__,
                 [&] { return unguarded::BK_addAttribute(bkLiveSession(handle), name, value); });
}
