// Version checks of the station's software.  Three are placeholders that
// stations already call; the forwarding agent's check compares its version
// file with a fixed minimum.
#include <stdlib.h>

#include <fstream>
#include <memory>
#include <string>

#include "foundation/Constants.h"
#include "foundation/Log.h"
#include "foundation/OutputFile.h"
#include "foundation/Reply.h"
#include "interface/Bramblekit.h"
#include "interface/EntryFrame.h"
#include "session/UUT.h"

namespace {

bool passPlaceholder(UUTHandle handle, BKReplyHandle reply) {
  BK_LOG(bkUIDOf(handle), "");
  if (reply != nullptr) {
    CBKReply* target = static_cast<CBKReply*>(reply);
    target->setData("");
    target->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  }
  return true;
}

// "3.0.0.0" -> 3000000: dots become zeros and the text is padded to six
// digits.  Agents have always compared versions this way, so "3.1" (301000)
// ranks below "3.0.0.0"; it stays.
int versionNumber(std::string version) {
  for (char& c : version) {
    if (c == '.') c = '0';
  }
  while (version.size() < 6) version += "0";
  return atoi(version.c_str());
}

}  // namespace

// The work of the exported functions; the boundary below guards each.
namespace unguarded {

bool BK_isStationSWVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return passPlaceholder(handle, reply);
}

bool BK_isMartenVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return passPlaceholder(handle, reply);
}

bool BK_isOtterVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return passPlaceholder(handle, reply);
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
  *libraryVersion += BK_getVersion();
  *required += minimum;
  return versionNumber(*read) >= versionNumber(minimum);
}

}  // namespace unguarded

bool BK_isStationSWVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return unguarded::BK_isStationSWVersionOK(bkLiveSession(handle), bkLiveReply(reply));
  });
}

bool BK_isMartenVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return unguarded::BK_isMartenVersionOK(bkLiveSession(handle), bkLiveReply(reply));
  });
}

bool BK_isOtterVersionOK(UUTHandle handle, BKReplyHandle reply) {
  return bkGuard(__func__, reply, [&] {
    return unguarded::BK_isOtterVersionOK(bkLiveSession(handle), bkLiveReply(reply));
  });
}

bool BK_checkMartenVersion(std::string* read, std::string* libraryVersion, std::string* required) {
  return bkGuard(__func__, nullptr,
                 [&] { return unguarded::BK_checkMartenVersion(read, libraryVersion, required); });
}
