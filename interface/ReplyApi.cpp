// Reply accessors and the version: the part of the boundary that needs no
// session.
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

const char* BK_getVersion(void) { return bk::kLibraryVersion; }

// A NULL reply is answered as a failure rather than read through.
bool BK_success(BKReplyHandle reply) {
  if (reply == nullptr) return false;
  return static_cast<int>(static_cast<CBKReply*>(reply)->getStatus()) >= 0;
}

// The class is read from bit 26 although it is stored from bit 20: stations
// compare against 0, or 32 for a failure.
unsigned BK_reply_getClass(BKReplyHandle reply) {
  if (reply == nullptr) return 0;
  return static_cast<CBKReply*>(reply)->getStatus() >> 26;
}

bool BK_reply_isOfClass(BKReplyHandle reply, unsigned msgClass) {
  if (reply == nullptr) return false;
  return BK_reply_getClass(reply) == msgClass;
}

unsigned BK_reply_getMessageID(BKReplyHandle reply) {
  if (reply == nullptr) return 0xffffffffu;
  return static_cast<CBKReply*>(reply)->getStatus() & 0xffu;
}

const char* BK_reply_getError(BKReplyHandle reply) {
  if (reply == nullptr) {
    BK_LOG_ERROR("NULL reply passed to BK_reply_getError!");
    return "";
  }
  return static_cast<CBKReply*>(reply)->getData();
}

const char* BK_reply_getJsonData(BKReplyHandle reply) { return BK_reply_getError(reply); }

uint32_t BK_reply_getStatus(BKReplyHandle reply) {
  if (reply == nullptr) return 0;
  return static_cast<CBKReply*>(reply)->getStatus();
}

// Unlike BK_reply_getError, silent on an empty reply: a binding reads every
// reply and must not spill notes into the station's console.
const char* BK_reply_getText(BKReplyHandle reply) {
  if (reply == nullptr) return "";
  CBKReply* target = static_cast<CBKReply*>(reply);
  return target->hasData() ? target->getData() : "";
}

void BK_reply_destroy(BKReplyHandle reply) { delete static_cast<CBKReply*>(reply); }

}  // namespace unguarded

// An unknown reply (freed, never given out, or another kind of handle) is
// answered like a NULL one.
// Nothing here can throw; like every entry point outside the per-result
// calls, it writes the log's held lines.
const char* BK_getVersion(void) {
  bkLogFlush();
  return unguarded::BK_getVersion();
}

bool BK_success(BKReplyHandle reply) {
  return bkGuard(
      __func__, reply, [&] { return unguarded::BK_success(bkLiveReply(reply)); },
      BKLogAtExit::Hold);
}

unsigned BK_reply_getClass(BKReplyHandle reply) {
  return bkGuardValue(
      __func__, 0u, [&] { return unguarded::BK_reply_getClass(bkLiveReply(reply)); },
      BKLogAtExit::Hold);
}

bool BK_reply_isOfClass(BKReplyHandle reply, unsigned msgClass) {
  return bkGuardValue(
      __func__, false, [&] { return unguarded::BK_reply_isOfClass(bkLiveReply(reply), msgClass); },
      BKLogAtExit::Hold);
}

unsigned BK_reply_getMessageID(BKReplyHandle reply) {
  return bkGuardValue(
      __func__, 0xffffffffu, [&] { return unguarded::BK_reply_getMessageID(bkLiveReply(reply)); },
      BKLogAtExit::Hold);
}

const char* BK_reply_getError(BKReplyHandle reply) {
  return bkGuardValue<const char*>(
      __func__, "", [&] { return unguarded::BK_reply_getError(bkLiveReply(reply)); },
      BKLogAtExit::Hold);
}

const char* BK_reply_getJsonData(BKReplyHandle reply) {
  return bkGuardValue<const char*>(
      __func__, "", [&] { return unguarded::BK_reply_getJsonData(bkLiveReply(reply)); },
      BKLogAtExit::Hold);
}

uint32_t BK_reply_getStatus(BKReplyHandle reply) {
  return bkGuardValue<uint32_t>(
      __func__, 0u, [&] { return unguarded::BK_reply_getStatus(bkLiveReply(reply)); },
      BKLogAtExit::Hold);
}

const char* BK_reply_getText(BKReplyHandle reply) {
  return bkGuardValue<const char*>(
      __func__, "", [&] { return unguarded::BK_reply_getText(bkLiveReply(reply)); },
      BKLogAtExit::Hold);
}

void BK_reply_destroy(BKReplyHandle reply) {
  bkGuardVoid(
      __func__, [&] { unguarded::BK_reply_destroy(bkLiveReply(reply)); }, BKLogAtExit::Hold);
}
