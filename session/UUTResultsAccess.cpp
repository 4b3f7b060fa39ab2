// Handing the committed document to the application.
#include <sstream>

#include "foundation/FailReply.h"
#include "foundation/Log.h"
#include "session/UUT.h"

CBKReply* CUUT::getJsonResultsObj() {
  CBKReply* reply = new CBKReply();
  if (state != UUT_STATE_COMMIT) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "Invalid state, can only be called after calling BK_UUTCommit api");
    return reply;
  }
  std::ostringstream text;
  text << rootJson;
  reply->setData(text.str());
  BK_LOG(kBlankUID,
         "Json object size = " << rootJson.size() << " reply object size = " << text.str().size());
  if (rootJson.size() <= 2 || text.str().empty()) {
    BK_FAIL_REPLY(reply, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX,
                  "Invalid state of json object");
    return reply;
  }
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  return reply;
}
