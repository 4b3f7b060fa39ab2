// Entry points for the fixture position, the unit's module history and a
// failure of the station itself.
#include <string.h>

#include <string>

#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

namespace {

const size_t kMaximumFixtureLength = 16;
const size_t kMaximumHeadLength = 8;

}  // namespace

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

BKReplyHandle BK_setDUTPos(UUTHandle handle, const char* fixture, const char* head) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
  BK_RETURN_IF_NULL(reply, fixture, "cpFixtureID");
  BK_RETURN_IF_NULL(reply, head, "cpFixtureHeadID");
  CUUT* uut = static_cast<CUUT*>(handle);
  if (fixture[0] == '\0' || head[0] == '\0') {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "0 size string passed as a parameter");
    return reply;
  }
  if (strlen(fixture) > kMaximumFixtureLength || strlen(head) > kMaximumHeadLength) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  std::string("Invalid FIXTURE_ID [") + fixture + "] or FIXTURE_HEAD_ID[" + head +
                      "] value passed ");
    return reply;
  }
  BK_LOG(uut->getUID(), "Entering BK_setDUTPos uses string");
  if (uut->setDUTPos(reply, fixture, head)) {
    BK_LOG(uut->getUID(),
           "FIXTURE_ID [" << fixture << "] and FIXTURE_HEAD_ID[" << head << "] value passed ");
  } else {
    BK_LOG(uut->getUID(), reply->getData());
  }
  BK_LOG(uut->getUID(), "Exiting BK_setDUTPos uses string");
  return reply;
}

BKReplyHandle BK_setDUTPosition(UUTHandle handle, BK_ENUM_FIXTURE_ID fixture,
                                BK_ENUM_FIXTURE_HEAD_ID head) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "UUTHandle");
  CUUT* uut = static_cast<CUUT*>(handle);
  if (fixture < 1 || fixture > 10 || head < 1 || head > 6) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "Invalid FIXTURE_ID[" + std::to_string(fixture) + "] or FIXTURE_HEAD_ID[" +
                      std::to_string(head) + "] value passed ");
    return reply;
  }
  BK_LOG(uut->getUID(), "Entering setDUTPosition uses enums");
  if (uut->setDUTPosition(reply, fixture, head)) {
    BK_LOG(uut->getUID(),
           "FIXTURE_ID [" << fixture << "] and FIXTURE_HEAD_ID[" << head << "] value passed ");
  } else {
    BK_LOG(uut->getUID(), reply->getData());
  }
  BK_LOG(uut->getUID(), "Exiting setDUTPosition uses enums");
  return reply;
}

BKReplyHandle BK_addModuleHistory(UUTHandle handle, const char* moduleSN, const char* vendorCode,
                                  const char* dateCode, const char* partNumber,
                                  const char* description, const char* lotCode) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "ahUUTHandle");
  BK_RETURN_IF_NULL(reply, moduleSN, "akcpModuleSN");
  BK_RETURN_IF_NULL(reply, vendorCode, "akcpVendorCode");
  BK_RETURN_IF_NULL(reply, dateCode, "akcpDateCode");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_RETURN_DELEGATED(
      reply, uut->getUID(),
      uut->addModuleHistory(moduleSN, vendorCode, dateCode, partNumber, description, lotCode));
}

BKReplyHandle BK_sendStationFailureReport(UUTHandle handle, const char* step, const char* reason) {
  CBKReply* reply = new CBKReply();
  BK_RETURN_IF_NULL(reply, handle, "ahUUTHandle");
  BK_RETURN_IF_NULL(reply, step, "akcpFailureStep");
  BK_RETURN_IF_NULL(reply, reason, "akcpFailureReason");
  CUUT* uut = static_cast<CUUT*>(handle);
  BK_RETURN_DELEGATED(reply, uut->getUID(), uut->sendStationFailureReport(step, reason));
}

}  // namespace unguarded

BKReplyHandle BK_setDUTPos(UUTHandle handle, const char* fixture, const char* head) {
  return bkGuard(__func__,
                 [&] { return unguarded::BK_setDUTPos(bkLiveSession(handle), fixture, head); });
}

BKReplyHandle BK_setDUTPosition(UUTHandle handle, BK_ENUM_FIXTURE_ID fixture,
                                BK_ENUM_FIXTURE_HEAD_ID head) {
  return bkGuard(
      __func__, [&, rawFixture = static_cast<int>(fixture), rawHead = static_cast<int>(head)] {
        return unguarded::BK_setDUTPosition(bkLiveSession(handle),
                                            static_cast<BK_ENUM_FIXTURE_ID>(rawFixture),
                                            static_cast<BK_ENUM_FIXTURE_HEAD_ID>(rawHead));
      });
}

BKReplyHandle BK_addModuleHistory(UUTHandle handle, const char* moduleSN, const char* vendorCode,
                                  const char* dateCode, const char* partNumber,
                                  const char* description, const char* lotCode) {
  return bkGuard(__func__, [&] {
    return unguarded::BK_addModuleHistory(bkLiveSession(handle), moduleSN, vendorCode, dateCode,
                                          partNumber, description, lotCode);
  });
}

BKReplyHandle BK_sendStationFailureReport(UUTHandle handle, const char* step, const char* reason) {
  return bkGuard(__func__, [&] {
    return unguarded::BK_sendStationFailureReport(bkLiveSession(handle), step, reason);
  });
}
