#include "interface/EntryFrame.h"

#include <exception>

void bkRejectNullArgument(CBKReply* reply, const char* name, const char* file, int line,
                          const char* function) {
  std::string text = std::string("NULL ") + name + " handle passed as a parameter";
  reply->setData(text);
  reply->setStatus(BK_buildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX));
  bkLogErrorLine(file, line, function, text);
}

void bkFailReply(CBKReply* reply, unsigned msgClass, unsigned message, const std::string& text,
                 const char* file, int line, const char* function) {
  reply->setData(text);
  reply->setStatus(BK_buildStatus(BK_FAIL, msgClass, message));
  bkLogErrorLine(file, line, function, text);
}

thread_local int BKBoundaryDepth::depth_ = 0;

void bkLogEscapedException(const char* name) {
  std::string text = std::string(name) + " WHOOPS! unhandled exception!";
  try {
    throw;
  } catch (const std::exception& e) {
    text += std::string(" (") + e.what() + ")";
  } catch (const char* what) {
    if (what != nullptr) text += std::string(" (") + what + ")";
  } catch (...) {
  }
  bkLogErrorLine(__FILE__, __LINE__, name, text);
}

void bkFailForException(CBKReply* reply, const char* name) {
  try {
    reply->setData(std::string(name) + " WHOOPS! unhandled exception!");
  } catch (...) {
    // No room for the text: the status alone tells the failure.
  }
  reply->setStatus(kStatusFailBit | (BK_MSG_CLASS_API_ERROR << 20) | BK_MSG_ERROR_API_UNHANDLED);
}
