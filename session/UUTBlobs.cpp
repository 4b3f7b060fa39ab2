// A session's blobs: staged into "blobs", then compressed (or moved, when
// compressed already) to a name that identifies unit, station and moment, and
// recorded in the document's "blobs" array for the forwarding agent.
#include <stdio.h>
#include <string.h>

#include <memory>
#include <sstream>

#include "data/Blob.h"
#include "data/BlobCompression.h"
#include "foundation/Constants.h"
#include "foundation/FailReply.h"
#include "foundation/FileBasics.h"
#include "foundation/FileUtilities.h"
#include "foundation/OutputFile.h"
#include "foundation/StationFeatures.h"
#include "foundation/StationFiles.h"
#include "session/UUT.h"
#include "station/StationInfoQuery.h"

namespace {

const long kDefaultBlobSizeLimit = 1073741824;  // 1 GiB

// Already compressed: moved as they are.  Compared exactly; the servers know
// no other spellings.
const char* const kCompressedExtensions[] = {".zip", ".gz",  ".bz2", ".ZIP",
                                             ".GZ",  ".BZ2", ".tgz", ".TGZ"};

bool isCompressedExtension(const std::string& extension) {
  for (const char* known : kCompressedExtensions) {
    if (extension == known) return true;
  }
  return false;
}

long blobSizeLimit() {
  Json::Value limit = getKSInfo()->getValueFor("ksinfo", "MAX_BLOB_SIZE_ALLOWED_IN_BYTES");
  if (limit.isInt64() && limit.asInt64() > 1) return static_cast<long>(limit.asInt64());
  return kDefaultBlobSizeLimit;
}

std::string stationText(const char* key) {
  Json::Value value = getKSInfo()->getValueFor("ksinfo", key);
  if (value.isString()) return value.asString();
  return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
}

// STATION_TYPE through the station's own two-call query.
bool queryStationType(CUUT* uut, bool* firstCallFailed, std::string* out) {
  unsigned long long length = 0;
  CBKReply first;
  stationinfo::BK_getKSStationInfo(uut->getUID(), kStationInfoStationType, nullptr, &length,
                                   &first);
  *firstCallFailed = !first.succeeded();
  if (*firstCallFailed) return false;
  std::unique_ptr<char[]> buffer(new char[length + 1]());
  char* text = buffer.get();
  CBKReply second;
  stationinfo::BK_getKSStationInfo(uut->getUID(), kStationInfoStationType, &text, &length, &second);
  bool ok = second.succeeded() && text[0] != '\0';
  if (ok) *out = text;
  return ok;
}

// The answer to a blob while the station sends none, or nullptr while it
// does.  Switched off is no failure: the station carries on.  The line is
// logged under the caller's name.
CBKReply* blobsSwitchedOff(const std::string& uid, const char* function) {
  if (!Util_featureOFF("BLOBS_TO_SEND_TO_TRAX_ON_OFF")) return nullptr;
  CBKReply* reply = new CBKReply();
  const std::string text =
      "Not sending blob to TRAX, [BLOBS_TO_SEND_TO_TRAX_ON_OFF] feature is OFF in "
      "ks_station_info.json file.";
  reply->setData(text);
  bkLogSessionLine(uid, function, text);
  reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  return reply;
}

// The refusal of a blob that has no directory to go to: after commit the
// directory belongs to the forwarding agent, and a session whose directory is
// gone must not get it back.  Nothing is written.
CBKReply* blobsClosed(CUUT* uut, const char* function) {
  CBKReply* reply = nullptr;
  if (uut->state == UUT_STATE_COMMIT) {
    reply = new CBKReply();
    bkBlobFailure(reply, BK_MSG_ERROR_API_SYNTAX,
                  "The UUT was already committed, blob not copied: blobs must be added before "
                  "BK_UUTCommit.",
                  __FILE__, __LINE__, function);
  } else if (!uut->isUIDValid()) {
    reply = new CBKReply();
    bkBlobFailure(reply, BK_MSG_ERROR_UNIT_ID_INVALID,
                  "The UUT directory '" + uut->getPath() + "' does not exist, blob not copied.",
                  __FILE__, __LINE__, function);
  }
  return reply;
}

}  // namespace

CBKReply* CUUT::copyBlob(const std::string& name, const std::string& path) {
  if (CBKReply* closed = blobsClosed(this, __FUNCTION__)) return closed;
  if (CBKReply* off = blobsSwitchedOff(UID, __FUNCTION__)) return off;
  const std::string safeName = COutputFile::makeSafeFilename(name);
  CBKReply* copied = CBlob::copy(getPath(), safeName, path);
  if (!copied->succeeded()) return copied;
  delete copied;
  const std::string staged =
      getPath() + blobsDirectoryName + platformPathSeparator + safeName + CBlob::extensionOf(path);
  return CreatBlobZipAndMetaFile(staged, name);
}

CBKReply* CUUT::copyBlobFromMemory(const std::string& name, const void* data, long length) {
  if (CBKReply* closed = blobsClosed(this, __FUNCTION__)) return closed;
  if (CBKReply* off = blobsSwitchedOff(UID, __FUNCTION__)) return off;
  const std::string safeName = COutputFile::makeSafeFilename(name);
  CBKReply* copied = CBlob::copyFromMemory(getPath(), safeName, data, length);
  if (!copied->succeeded()) return copied;
  delete copied;
  const std::string staged = getPath() + blobsDirectoryName + platformPathSeparator + safeName;
  return CreatBlobZipAndMetaFile(staged, name);
}

CBKReply* CUUT::CreatBlobZipAndMetaFile(const std::string& stagedPath,
                                        const std::string& displayName) {
  CBKReply* reply = new CBKReply();
  // The file a refusal leaves behind besides the staged one, if any.
  std::string finalFile;
  // A blob is recorded whole or not at all: a refusal removes what was
  // written for it, and no policy turns it into a success.  Each refusal goes
  // to the log twice: as an error and in the session's lines.
  auto refuse = [&](const std::string& text, int line, unsigned message = BK_MSG_ERROR_API_SYNTAX) {
    remove(stagedPath.c_str());
    if (!finalFile.empty()) remove(finalFile.c_str());
    reply->setData(text);
    reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, message));
    bkLogErrorLine(__FILE__, line, "CreatBlobZipAndMetaFile", text);
    bkLogSessionLine(UID, "CreatBlobZipAndMetaFile", text);
    return reply;
  };
  try {
    if (!Util_fileExists(stagedPath.c_str())) {
      return refuse(std::string(__FUNCTION__) + "File does not exist [" + stagedPath + "]",
                    __LINE__);
    }
    std::string serial;
    if (!getAttribute("serialnumber", &serial)) {
      return refuse("Attribtue 'serialnumber' is not populated yet.", __LINE__);
    }

    std::string station = "NONE";
    std::string found;
    if (getAttribute("STATION_SUB_IDENTIFIER", &found)) {
      station = found;
    } else {
      bool firstCallFailed = false;
      if (queryStationType(this, &firstCallFailed, &found)) {
        station = found;
      } else if (firstCallFailed) {
        return refuse(std::string("Can not get the  '") + "STATION_IDENTIFIER" +
                          "' value from the ks_station_info.json file.",
                      __LINE__);
      } else if (getAttribute("STATION_IDENTIFIER", &found)) {
        station = found;
      } else {
        return refuse("Attribtue 'STATION_IDENTIFIER' is not populated yet.", __LINE__);
      }
    }

    const size_t lastSeparator = stagedPath.rfind('/');
    const std::string stagedName =
        lastSeparator == std::string::npos ? stagedPath : stagedPath.substr(lastSeparator + 1);
    const std::string finalName = serial + "_" + Util_makeTimestamp(0) + "_" +
                                  stationText("PRODUCT") + "_" + station + "_" + stagedName;
    const std::string directory = getPath() + blobsDirectoryName + platformPathSeparator;
    const std::string finalPath = directory + finalName;
    const long limit = blobSizeLimit();

    Json::Value record(Json::objectValue);
    if (isCompressedExtension(CBlob::extensionOf(stagedPath))) {
      long size = Util_fileSize(stagedPath.c_str());
      if (size > limit) {
        return refuse("BlobFile" + stagedPath + "] File size [" + std::to_string(size) +
                          "] exceeded blob size limit[" + std::to_string(limit) + "]",
                      __LINE__);
      }
      finalFile = finalPath;
      Util_fileRename(stagedPath.c_str(), finalPath.c_str());
      record["file_name"] = finalName;
      record["file_size"] = std::to_string(size);
      BK_LOG(UID, "Zipped blob copied successfully");
    } else {
      finalFile = finalPath + ".gz";
      if (!Util_filecompress(stagedPath, finalPath)) {
        return refuse(
            std::string(__FUNCTION__) + "Could not compress the blob file '" + stagedPath + "'",
            __LINE__);
      }
      long size = Util_fileSize(finalFile.c_str());
      if (size > limit) {
        // The number in brackets carries no meaning; the servers' parsers
        // expect one there.
        std::ostringstream text;
        text << "BlobFile [" << static_cast<const void*>(&text) << "] File size [" << size
             << "] exceeded blob size limit[" << limit << "]";
        return refuse(text.str(), __LINE__);
      }
      record["file_name"] = finalName + ".gz";
      record["file_size"] = std::to_string(size);
    }
    record["display_name"] = displayName;
    record["retention_policy"] = Json::Value(static_cast<Json::UInt>(retentionPolicy));
    rootJson["blobs"].append(record);

    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    if (Util_fileExists(stagedPath.c_str())) remove(stagedPath.c_str());
    return reply;
  } catch (...) {
    return refuse(std::string(__FUNCTION__) + "WHOOPS! unhandled exception!", __LINE__,
                  BK_MSG_ERROR_API_UNHANDLED);
  }
}
