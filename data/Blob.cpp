#include "data/Blob.h"

#include <stdio.h>

#include <exception>
#include <sstream>

#include "foundation/Constants.h"
#include "foundation/FailReply.h"
#include "foundation/FileBasics.h"
#include "foundation/FileUtilities.h"
#include "foundation/TextError.h"

namespace {

std::string blobDirectoryOf(const std::string& base) {
  return base + blobsDirectoryName + platformPathSeparator;
}

CBKReply* passReply() {
  CBKReply* reply = new CBKReply();
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  return reply;
}

// The answer to a memory block that did not reach the disk whole; the part
// that did is removed.  Logged where it was found.
CBKReply* failedMemoryBlob(const std::string& target, const std::string& text) {
  if (!target.empty()) remove(target.c_str());
  CBKReply* reply = new CBKReply();
  reply->setData(text);
  reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_FILESYSTEM));
  return reply;
}

}  // namespace

void bkBlobFailure(CBKReply* reply, unsigned message, const std::string& text, const char* file,
                   int line, const char* function) {
  reply->setData(text);
  reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, message));
  bkLogErrorLine(file, line, function, text);
}

std::string CBlob::extensionOf(const std::string& path) {
  // Taken from the whole path: the forwarding agent names blob files by it.
  size_t period = path.rfind('.');
  return period == std::string::npos ? std::string() : path.substr(period);
}

CBKReply* CBlob::createDirs(const std::string& directory) {
  CBKReply* reply = new CBKReply();
  // Util_createDirectories only tells whether the last component was made,
  // so the disk is asked whether the directory is there now.
  Util_createDirectories(directory.c_str());
  if (Util_directoryExists(directory.c_str())) {
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  } else {
    BK_BLOB_FAILURE(reply, BK_MSG_ERROR_FILESYSTEM, "Can not create blob directory");
  }
  return reply;
}

CBKReply* CBlob::copy(const std::string& base, const std::string& safeName,
                      const std::string& source) {
  const std::string missing =
      "either the blob file or the referenced directory doesn't exist: " + source;
  CBKReply* reply = new CBKReply();
  std::string target;
  try {
    if (!Util_fileExists(source.c_str())) {
      BK_BLOB_FAILURE(reply, BK_MSG_ERROR_FILESYSTEM, missing);
      return reply;
    }
    const std::string directory = blobDirectoryOf(base);
    if (!Util_directoryExists(directory.c_str())) {
      BK_LOG(kBlankUID, "Creating blob dirs");
      CBKReply* made = createDirs(directory);
      if (!made->succeeded()) {
        delete reply;
        return made;
      }
      delete made;
    }
    target = directory + safeName + extensionOf(source);
    BK_LOG(kBlankUID, "Copying from '" << source << "' to '" << target << "'");
    if (Util_fileCopy(source.c_str(), target.c_str(), true)) {
      reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
      return reply;
    }
    BK_BLOB_FAILURE(reply, BK_MSG_ERROR_FILESYSTEM, missing);
  } catch (...) {
    BK_BLOB_FAILURE(reply, BK_MSG_ERROR_API_UNHANDLED,
                    std::string(__FUNCTION__) + "WHOOPS! unhandled exception!");
  }
  // A torn copy must not stay behind to travel with the session.
  if (!target.empty()) remove(target.c_str());
  return reply;
}

// A failure to write the block is reported in the reply as a file-system
// error.  It is never thrown out of the library: the station's process must
// not be taken down because a blob could not be stored.
CBKReply* CBlob::copyFromMemory(const std::string& base, const std::string& safeName,
                                const void* data, long length) {
  if (data == nullptr) return passReply();
  std::string target;
  try {
    const std::string directory = blobDirectoryOf(base);
    if (!Util_directoryExists(directory.c_str())) {
      BK_LOG(kBlankUID, "Creating blob data dirs");
      CBKReply* made = createDirs(directory);
      if (!made->succeeded()) return made;
      delete made;
    }
    // A negative length cannot be written; refused before anything is read
    // from the caller's memory.
    if (length < 0) {
      std::ostringstream text;
      text << __FUNCTION__ << ": bytes written (0) does not equal lengthOfBlob (" << length << ")";
      BK_LOG_ERROR(text.str());
      throw exception_with_string(text.str());
    }
    target = directory + safeName;
    FILE* file = fopen(target.c_str(), "wb");
    if (file == nullptr) {
      std::string text = std::string(__FUNCTION__) + ": Could not open blob file '" + target + "'";
      target.clear();  // not ours to remove
      BK_LOG_ERROR(text);
      throw exception_with_string(text);
    }
    BK_LOG(kBlankUID, "Copy data from memory to file");
    size_t written = fwrite(data, 1, static_cast<size_t>(length), file);
    // fclose flushes: a full disk shows up here, not in fwrite.
    bool closed = fclose(file) == 0;
    if (written != static_cast<size_t>(length) || !closed) {
      std::ostringstream text;
      text << __FUNCTION__ << ": bytes written (" << (closed ? written : 0)
           << ") does not equal lengthOfBlob (" << length << ")";
      BK_LOG_ERROR(text.str());
      throw exception_with_string(text.str());
    }
    return passReply();
  } catch (const exception_with_string& error) {
    return failedMemoryBlob(target, error.getErrorMessage());
  } catch (const std::exception& error) {
    return failedMemoryBlob(target, error.what());
  }
}
