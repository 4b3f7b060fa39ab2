// Ending a session: done closes it to new data, commit hands it over.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"
#include "sfc/UnitCheckThread.h"

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_UUTDone(UUTHandle handle) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUThandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());

  BK_LOG(uut->getUID(),
         "reporting: cal=" << uut->getSubmittedCount(0) << " P0=" << uut->getSubmittedCount(1)
                           << " P1=" << uut->getSubmittedCount(2) << " P2="
                           << uut->getSubmittedCount(3) << " P3=" << uut->getSubmittedCount(4)
                           << " P4=" << uut->getSubmittedCount(5) << " ");
  uut->clearAllSubmittedCounts();

  if (!uut->wasAttributeSerialNumberCreated()) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "UUTDone() was called before a 'serial number' attribute was created or bad "
                  "serial number.");
  } else if (!uut->wasAttributeSoftwareNameCreated()) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "UUTDone() was called before a 'software name' attribute was created.");
  } else if (!uut->wasAttributeSoftwareVersionCreated()) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "UUTDone() was called before a 'software version' attribute was created.");
  } else if (!uut->wasAttributeLimitsVersionCreated()) {
    // The one attribute made up here: the limits follow the software.
    delete uut->createAttribute("limitsversion", uut->getStationSoftwareVersion());
  }
  // Under a policy that lowers message 4 the session goes on to done anyway.
  if (!BK_success(reply)) return reply;

  delete reply;
  CBKReply* done = uut->done();
  BK_LOG_EXIT(uut->getUID());
  return done;
}

BKReplyHandle BK_UUTCommit(UUTHandle handle, BK_PASSFAILRESULT result) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "inHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  // BK_NA counts as a claim of pass.
  BK_RETURN_DELEGATED(reply, uut->getUID(), uut->commit(result != BK_FAIL));
}

}  // namespace unguarded

BKReplyHandle BK_UUTDone(UUTHandle handle) {
  return bkGuard(__func__, [&] {
    CUUT* uut = static_cast<CUUT*>(bkLiveSession(handle));
    BKReplyHandle reply = unguarded::BK_UUTDone(uut);
    // A unit check that answers from now on answers too late: its file is
    // left to the thread to remove.
    if (uut != nullptr && uut->state != UUT_STATE_OPEN) sfcSessionEnded(uut->getUID());
    return reply;
  });
}

BKReplyHandle BK_UUTCommit(UUTHandle handle, BK_PASSFAILRESULT result) {
  return bkGuard(__func__, [&, raw = static_cast<int>(result)] {
    return unguarded::BK_UUTCommit(bkLiveSession(handle), static_cast<BK_PASSFAILRESULT>(raw));
  });
}
