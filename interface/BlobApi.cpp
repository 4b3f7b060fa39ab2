// Blob entry points: a file or a memory block becomes part of the session's
// results.  None of them looks at the session's state.
#include "foundation/FileUtilities.h"
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

namespace {

// The retention, in days, that the servers keep for each policy.
bool retentionFor(BK_BKBLOBPOLICY policy, unsigned* days) {
  static const unsigned kDays[8] = {0, 0, 30, 60, 90, 180, 270, 360};
  int index = static_cast<int>(policy);
  if (index < BK_BLOB_KEEP_0 || index > BK_BLOB_KEEP_360) return false;
  *days = kDays[index];
  return true;
}

}  // namespace

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_addBlob(UUTHandle handle, const char* name, const char* path) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "inHandle");
  BK_RETURN_IF_NULL(reply, name, "inBlobName");
  BK_RETURN_IF_NULL(reply, path, "inPathToBlobFile");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_RETURN_DELEGATED(reply, uut->getUID(), uut->copyBlob(name, path));
}

BKReplyHandle BK_addBlobWithPolicy(UUTHandle handle, BK_BKBLOBPOLICY policy, const char* name,
                                   const char* path) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "inHandle");
  BK_RETURN_IF_NULL(reply, name, "kcpBlobName");
  BK_RETURN_IF_NULL(reply, path, "kcpPathToBlobFile");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  unsigned days = 0;
  if (!retentionFor(policy, &days)) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "Invalid BK_BKBLOBPOLICY enum value passed, blob not copied ");
    BK_LOG_EXIT(uut->getUID());
    return reply;
  }
  // The policy sticks for the session's later blobs, whatever this one's fate.
  uut->setRetensionPol(days);
  long size = Util_fileSize(path);
  delete reply;
  CBKReply* stored = uut->copyBlob(name, path);
  BK_LOG(uut->getUID(),
         name << " : " << size << (BK_success(stored) ? " blob added" : " blob failed"));
  BK_LOG_EXIT(uut->getUID());
  return stored;
}

BKReplyHandle BK_addBlobData(UUTHandle handle, const char* name, const void* data, long length) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "inHandle");
  BK_RETURN_IF_NULL(reply, name, "inBlobName");
  BK_RETURN_IF_NULL(reply, data, "inBlobPointer");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  delete reply;
  CBKReply* stored = uut->copyBlobFromMemory(name, data, length);
  // Spelled as the log readers on the stations expect it.
  BK_LOG(uut->getUID(), "Exitiing BK_addBlobData");
  return stored;
}

BKReplyHandle BK_addBlobDataWithPolicy(UUTHandle handle, BK_BKBLOBPOLICY policy, const char* name,
                                       const void* data, long length) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "inHandle");
  BK_RETURN_IF_NULL(reply, name, "kcpBlobName");
  BK_RETURN_IF_NULL(reply, data, "kpBlobPointer");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_LOG_ENTRY(uut->getUID());
  unsigned days = 0;
  if (!retentionFor(policy, &days) || length <= 0) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "Invalid BK_BKBLOBPOLICY enum value passed ");
    BK_LOG_EXIT(uut->getUID());
    return reply;
  }
  uut->setRetensionPol(days);
  delete reply;
  CBKReply* stored = uut->copyBlobFromMemory(name, data, length);
  BK_LOG(uut->getUID(), name << " : " << length
                             << (BK_success(stored) ? " blob data added" : " blob data not added"));
  BK_LOG_EXIT(uut->getUID());
  return stored;
}

}  // namespace unguarded

BKReplyHandle BK_addBlob(UUTHandle handle, const char* name, const char* path) {
  return bkGuard(__func__,
                 [&] { return unguarded::BK_addBlob(bkLiveSession(handle), name, path); });
}

BKReplyHandle BK_addBlobWithPolicy(UUTHandle handle, BK_BKBLOBPOLICY policy, const char* name,
                                   const char* path) {
  return bkGuard(__func__, [&, raw = static_cast<int>(policy)] {
    return unguarded::BK_addBlobWithPolicy(bkLiveSession(handle), static_cast<BK_BKBLOBPOLICY>(raw),
                                           name, path);
  });
}

BKReplyHandle BK_addBlobData(UUTHandle handle, const char* name, const void* data, long length) {
  return bkGuard(__func__, [&] {
    return unguarded::BK_addBlobData(bkLiveSession(handle), name, data, length);
  });
}

BKReplyHandle BK_addBlobDataWithPolicy(UUTHandle handle, BK_BKBLOBPOLICY policy, const char* name,
                                       const void* data, long length) {
  return bkGuard(__func__, [&, raw = static_cast<int>(policy)] {
    return unguarded::BK_addBlobDataWithPolicy(
        bkLiveSession(handle), static_cast<BK_BKBLOBPOLICY>(raw), name, data, length);
  });
}
