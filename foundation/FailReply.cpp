#include "foundation/FailReply.h"

void bkRejectNullArgument(CBKReply* reply, const char* name, const char* file, int line,
                          const char* function) {
  std::string text = std::string("NULL ") + name + " handle passed as a parameter";
  reply->setData(text);
  reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX));
  bkLogErrorLine(file, line, function, text);
}

void bkFailReply(CBKReply* reply, unsigned msgClass, unsigned message, const std::string& text,
                 const char* file, int line, const char* function) {
  reply->setData(text);
  reply->setStatus(bkBuildStatus(BK_FAIL, msgClass, message));
  bkLogErrorLine(file, line, function, text);
}
