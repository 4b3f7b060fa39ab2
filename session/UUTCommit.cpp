// CUUT::commit: the declared verdict held against the counts, the results
// file written, verified, renamed and signed, and the one rename that hands
// the directory to the forwarding agent.
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "data/ResultsDocument.h"
#include "foundation/Constants.h"
#include "foundation/Durability.h"
#include "foundation/FileBasics.h"
#include "foundation/FileUtilities.h"
#include "foundation/Log.h"
#include "foundation/StationFeatures.h"
#include "foundation/StatusWord.h"
#include "session/UUT.h"
#include "signature/ResultsSigning.h"

namespace {

// The exact name the attribute intake gives an ACTIVE bad serial number; the
// differently spaced names of other checks do not stop a commit.
const char* const kSerialActiveName = "SERIAL_NUMBER_NOT_OK [ACTIVE]:";
const char* const kSerialPassiveName = "SERIAL_NUMBER_NOT_OK [PASSIVE]:";

// Where a direct copy for another consumer goes: the word is inserted in
// front of the last separator of the uut_data root.
struct DirectCopy {
  const char* feature;
  const char* inserted;
  const char* logLine;
};
const DirectCopy kDirectCopies[] = {
    {"OCELOT_DIRECT", "_ocelot", "Test results copied to a folder[oce]"},
    {"VOLE_DIRECT", "_vole", "Test results copied to a folder[vole]"},
};
const size_t kUutDataSeparator = 31;

std::string hexLine(const char* label, unsigned long value) {
  char text[64];
  snprintf(text, sizeof(text), "%s:[%lx]", label, value);
  return text;
}

// The file name of the first blob record whose file is not in the session's
// "blobs" directory with the recorded size, or "" when all are.
std::string firstBlobNotOnDisk(const Json::Value& blobs, const std::string& sessionPath) {
  for (const Json::Value& blob : blobs) {
    const std::string name = blob["file_name"].asString();
    const std::string file = sessionPath + blobsDirectoryName + platformPathSeparator + name;
    struct stat info;
    if (stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
        std::to_string(info.st_size) != blob["file_size"].asString()) {
      return name;
    }
  }
  return std::string();
}

// A hand-over rename; false when it could not be done.
bool handOver(const std::string& from, const std::string& to) {
  try {
    return Util_fileRename(from.c_str(), to.c_str());
  } catch (...) {
    return false;
  }
}

// A stream that does not open is passed over: verification tells.
void writeText(std::ofstream& out, const std::string& text) {
  if (!out.is_open()) return;
  out << text;
  out.close();
}

}  // namespace

// Fails the reply of commit at the caller's line, logging the text as an
// error once or twice.  A macro, so that the line and the function logged are
// those of the step that failed.
#define COMMIT_FAIL(message, text, twice)                                        \
  do {                                                                           \
    const std::string commit_text_ = (text);                                     \
    reply->setData(commit_text_);                                                \
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, (message))); \
    BK_LOG_ERROR(commit_text_);                                                  \
    if (twice) BK_LOG_ERROR(commit_text_);                                       \
  } while (0)

// The same for a session that is held back as UID.did: the fail bit is set
// whatever the station's policy, since a success would tell the station that
// the unit went to the forwarding agent.
#define COMMIT_HOLD_BACK(text)                                                          \
  do {                                                                                  \
    const std::string commit_text_ = (text);                                            \
    reply->setData(commit_text_);                                                       \
    reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX)); \
    BK_LOG_ERROR(commit_text_);                                                         \
  } while (0)

CBKReply* CUUT::commit(bool pass) {
  CBKReply* reply = new CBKReply();

  bool doRename = true;
  try {
    if (state != UUT_STATE_DID) {
      COMMIT_FAIL(BK_MSG_ERROR_API_SYNTAX,
                  " CANCELING TEST: Valid UID but apis calls out of sequnce.", true);
      // A committed session is no longer the library's to delete: its
      // directory may be on its way with the forwarding agent.
      if (state != UUT_STATE_COMMIT) delete cancel();
      return reply;
    }
    std::string path = getPath();
    if (!Util_fileExists(path.c_str()) || !Util_directoryExists(path.c_str())) {
      COMMIT_FAIL(BK_MSG_ERROR_UNIT_ID_INVALID,
                  "CANCELING TEST: Invalid UID, filesystem does not contain reference to this "
                  "UID in '" +
                      path + "'",
                  true);
      delete cancel();
      return reply;
    }
    // A session with no results at all ends here, deleted.
    if (testFailures == 0 && testPasses == 0 && testNAs == 0) {
      COMMIT_FAIL(BK_MSG_ERROR_API_SYNTAX,
                  "CANCELING TEST: total Failures[0], total Passes[0] and total testNAs[0]. Make "
                  "sure that you execute at least one test",
                  true);
      delete cancel();
      return reply;
    }

    // The verdict.  One failure with a pending failure is the failing test
    // that done added itself.
    Json::Value& attributes = rootJson["test_attributes"];
    bool onlyDummyFailure = testFailures == 1 && pendingFailure.failed();
    if (pass) {
      if (onlyDummyFailure) {
        BK_LOG(UID, "Commit(BK_PASS): An amIOK failure");
        attributes["test_result"] = "FAIL";
        if (!pendingFailure.active()) attributes["override"] = "1";
        reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
      } else if (testFailures == 0 && testPasses != 0) {
        BK_LOG(UID, "Commit(BK_PASS): testFailures[0] and testPasses[1 or more]");
        attributes["test_result"] = "PASS";
        reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
      } else {
        BK_LOG(UID, "Commit(BK_PASS): testFailures[at least 1] Failing the test");
        attributes["test_result"] = "FAIL";
        std::ostringstream text;
        text << "Cannot commit PASS with [" << testFailures
             << "] failing tests, Otter FAILing the test";
        COMMIT_FAIL(BK_MSG_ERROR_API_SYNTAX, text.str(), false);
      }
    } else {
      if (onlyDummyFailure) {
        BK_LOG(UID, "Commit(BK_FAIL): testFailures[at least 1]  An amIOK earlier ...");
        attributes["test_result"] = "FAIL";
        if (!pendingFailure.active()) attributes["override"] = "1";
      } else if (testFailures != 0) {
        BK_LOG(UID, "Commit(BK_FAIL): testFailures[at least 1]  Failing test");
        attributes["test_result"] = "FAIL";
      } else {
        // Recorded as it was measured: a claim of fail cannot fail a unit
        // whose every test passed.
        BK_LOG(UID,
               "Commit(BK_FAIL): testFailures[0]  and testPassess[more than 1] trying to fail a "
               "passing test");
        BK_LOG(UID, "Commit(BK_FAIL): Please create a failing test first then commit fail");
        attributes["test_result"] = "PASS";
      }
      // The commit itself worked.
      reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    }

    if (!wasAttributeSerialNumberCreated()) {
      COMMIT_FAIL(BK_MSG_ERROR_API_SYNTAX,
                  "UUTCommit() was called before a 'serial number' attribute was added, NOT "
                  "committing the test results.",
                  false);
      return reply;
    }
    if (pendingFailure.failed() && pendingFailure.name() == kSerialActiveName) {
      delete cancel();
      COMMIT_FAIL(BK_MSG_ERROR_API_SYNTAX,
                  "INVALID_SERIAL_NUMBER, NOT committing CANCELING test ERROR: [ACTIVE]", false);
      return reply;
    }
    if (pendingFailure.failed() && pendingFailure.name() == kSerialPassiveName) {
      // Written, but never handed over.
      BK_LOG(UID, "INVALID_SERIAL_NUMBER, NOT committing ERROR: [PASSIVE]");
      doRename = false;
    }
    // Every blob the results name goes with them, whole.
    std::string missingBlob = firstBlobNotOnDisk(rootJson["blobs"], path);
    if (!missingBlob.empty()) {
      COMMIT_HOLD_BACK("Blob file '" + missingBlob +
                       "' is missing or not of its recorded size, NOT committing the test "
                       "results.");
      return reply;
    }

    // First write.  The text is rendered once and written as it is, so that
    // a second write (below) gives the same bytes.
    std::string tmpPath = path + "results.tmp";
    const std::string document = Util_renderResultsText(rootJson);
    // A document that round trips stands for its file: it is checked and
    // signed in memory, and the file is only compared with the bytes written,
    // not parsed back.
    const Json::Value* inMemory =
        Util_resultsRenderRoundTrips(rootJson, document) ? &rootJson : nullptr;
    if (Util_fileExists(jsondbg)) BK_LOG(UID, document);
    BK_LOG(UID, hexLine("Before", document.size()));
    {
      std::ofstream out(tmpPath.c_str(), std::ios::out | std::ios::trunc);
      writeText(out, document);
    }
    {
      std::ifstream written(tmpPath.c_str(), std::ios::in | std::ios::binary);
      written.seekg(0, std::ios::end);
      long size = static_cast<long>(written.tellg());
      BK_LOG(UID, hexLine("After", static_cast<unsigned long>(static_cast<unsigned>(size))));
    }

    if (!Util_verify_results_written(tmpPath.c_str(), document, inMemory)) {
      BK_LOG(UID, "Invalid test results file or file does not exist");
      std::string corruptPath = std::string(corruptuutdataPath) + UID;
      if (!Util_directoryExists(corruptuutdataPath)) Util_createDirectories(corruptuutdataPath);
      if (Util_fileExists(tmpPath.c_str())) {
        Util_fileCopy(tmpPath.c_str(), corruptPath.c_str(), true);
        unlink(tmpPath.c_str());
      }
      {
        std::ofstream out(tmpPath.c_str(), std::ios::out | std::ios::trunc);
        if (out.is_open()) BK_LOG(UID, "trying to rewrite the results file second time");
        writeText(out, document);
      }
      if (!Util_verify_results_written(tmpPath.c_str(), document, inMemory)) {
        // No cancel: the directory stays UID.did for someone to look at.
        COMMIT_FAIL(
            BK_MSG_ERROR_API_SYNTAX,
            "::Second time results json file verification failed, check sanity of the station",
            true);
        return reply;
      }
    }

    // The file is written and tested under the name with the capital J, and
    // this vault tells capitals apart: every later step uses that name.
    std::string resultsPath = path + "results.Json";
    if (Util_fileExists(tmpPath.c_str())) {
      Util_fileRename(tmpPath.c_str(), resultsPath.c_str());
    } else {
      BK_LOG(UID, "Can not rename the results file from .tmp to .Json");
    }
    if (!Util_fileExists(resultsPath.c_str())) {
      COMMIT_FAIL(BK_MSG_ERROR_API_SYNTAX, "CANCELING the test: results.json file not found", true);
      delete cancel();
      return reply;
    }

    // An unsigned file is never handed over: the session stays UID.did, and
    // commit may be called again once the cause (a full disk) is gone.
    const bool signedResults = inMemory != nullptr
                                   ? signJsonResults(resultsPath, document, rootJson)
                                   : signJsonResults(resultsPath);
    if (signedResults) {
      BK_LOG(UID, "Signed test results successfully");
    } else {
      BK_LOG(UID, "Either Digital Signing OFF or can not sign the test results");
      COMMIT_HOLD_BACK("Can not sign the test results, NOT committing the test results.");
      return reply;
    }

    state = UUT_STATE_COMMIT;
    std::string didPath = getPath(UUT_STATE_DID);
    for (const DirectCopy& copy : kDirectCopies) {
      if (!Util_featureON(copy.feature)) continue;
      std::string copyPath = didPath;
      copyPath.insert(kUutDataSeparator, copy.inserted);
      // A copy that is not whole is never handed over under its final name.
      if (!Util_directoryCopyRecursive(didPath.c_str(), copyPath.c_str(), true)) {
        BK_LOG_ERROR("Test results could not be copied whole to '" << copyPath
                                                                   << "', copy not committed");
        continue;
      }
      if (!doRename) continue;
      std::string copyCommitPath = copyPath.substr(0, copyPath.size() - 4) + "commit";
      // The copy is a hand-over of its own: complete on disk before its name.
      Util_syncDirectoryTree(copyPath.c_str());
      // A copy that cannot take its name stays behind; the main hand-over
      // goes on.
      if (!handOver(copyPath, copyCommitPath)) {
        BK_LOG_ERROR("Can not rename '" << copyPath << "', copy not committed");
        continue;
      }
      Util_syncDirectory(copyCommitPath.substr(0, copyCommitPath.find_last_of('/')).c_str());
      BK_LOG(UID, copy.logLine);
    }

    if (doRename) {
      // The forwarding agent may take UID.commit the instant it appears:
      // the results, the blobs and the directory's entries reach the disk
      // first, and the rename itself after.
      Util_syncDirectoryTree(didPath.c_str());
      if (!handOver(didPath, getPath())) {
        state = UUT_STATE_DID;
        COMMIT_HOLD_BACK("Can not rename '" + didPath + "' to '" + getPath(UUT_STATE_COMMIT) +
                         "', NOT committing the test results.");
        return reply;
      }
      Util_syncDirectory(vaultuutdataPath);
      BK_LOG(UID, "Test results committed");
      reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
    }
  } catch (...) {
    COMMIT_FAIL(BK_MSG_ERROR_API_UNHANDLED, std::string("commit") + "WHOOPS! unhandled exception!",
                false);
  }
  return reply;
}
