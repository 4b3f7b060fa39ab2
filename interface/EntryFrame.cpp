#include "interface/EntryFrame.h"

#include <exception>

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
  reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
}
