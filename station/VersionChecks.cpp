// Version checks of the station's software.  Three are placeholders that
// stations already call; the forwarding agent's check compares its version
// file with a fixed minimum.
#include "station/VersionChecks.h"

#include <stdlib.h>

#include <fstream>
#include <memory>
#include <string>

#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "foundation/OutputFile.h"
#include "foundation/Reply.h"
#include "foundation/StatusWord.h"
#include "interface/Bramblekit.h"

namespace {

bool passPlaceholder(const std::string& uid, CBKReply* reply) {
  BK_LOG(uid, "");
  if (reply != nullptr) {
    reply->setData("");
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  }
  return true;
}

// "3.0.0.0" -> 3000000: dots become zeros and the text is padded to six
// digits.  The forwarding agent compares versions this way, so "3.1"
// (301000) ranks below "3.0.0.0".
int versionNumber(std::string version) {
  for (char& c : version) {
    if (c == '.') c = '0';
  }
  while (version.size() < 6) version += "0";
  return atoi(version.c_str());
}

}  // namespace

namespace version {

bool BK_isStationSWVersionOK(const std::string& uid, CBKReply* reply) {
  return passPlaceholder(uid, reply);
}

bool BK_isMartenVersionOK(const std::string& uid, CBKReply* reply) {
  return passPlaceholder(uid, reply);
}

bool BK_isOtterVersionOK(const std::string& uid, CBKReply* reply) {
  return passPlaceholder(uid, reply);
}

bool BK_checkMartenVersion(std::string* read, std::string* libraryVersion, std::string* required) {
  // NULL texts are served by scratch copies, so a careless caller gets the
  // same verdict instead of a crash.
  std::string scratchRead, scratchLibrary, scratchRequired;
  if (read == nullptr) read = &scratchRead;
  if (libraryVersion == nullptr) libraryVersion = &scratchLibrary;
  if (required == nullptr) required = &scratchRequired;

  std::unique_ptr<std::ifstream> in(CInputFile::open(brambleVersionFile));
  // No version file: nothing to judge, the agent is taken as recent enough.
  if (!in->is_open()) return true;
  // The last read wins; after a final line feed it reads nothing, so such a
  // file counts as empty below.
  while (!in->eof()) {
    std::getline(*in, *read);
    if (in->fail() && !in->eof()) break;  // a stream that can read no more
  }
  in->close();
  if (read->empty()) {
    BK_LOG(kBlankUID, "Bramble version file @ '" << brambleVersionFile
                                                 << "' is empty or malformed. Assuming that "
                                                    "the version is OK...");
    return true;
  }
  const std::string minimum = "3.0.0.0";
  *libraryVersion += bk::kLibraryVersion;
  *required += minimum;
  return versionNumber(*read) >= versionNumber(minimum);
}

}  // namespace version
