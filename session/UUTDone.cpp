// CUUT::done: closes a session to new data.  It checks the station once more,
// collects the background unit check's verdict, turns what it found into a
// failing test, and moves the directory on to UID.did.  A failure found here is
// reported in the reply; it never stops the move.
#include <errno.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "data/ResultBrick.h"
#include "foundation/Constants.h"
#include "foundation/FailPolicy.h"
#include "foundation/FileBasics.h"
#include "foundation/FileUtilities.h"
#include "foundation/Log.h"
#include "foundation/Mutexes.h"
#include "foundation/StationFeatures.h"
#include "foundation/StationFiles.h"
#include "foundation/StatusWord.h"
#include "session/UUT.h"
#include "sfc/UnitCheckThread.h"
#include "signature/StationInfoSignature.h"
#include "station/HealthProbes.h"

// Every line of done names done, also those written by its helpers below.
#define DONE_LOG(uid, expr)                                \
  do {                                                     \
    std::ostringstream done_log_text_;                     \
    done_log_text_ << expr;                                \
    bkLogSessionLine((uid), "done", done_log_text_.str()); \
  } while (0)

#define DONE_LOG_ERROR(expr)                                          \
  do {                                                                \
    std::ostringstream done_log_text_;                                \
    done_log_text_ << expr;                                           \
    bkLogErrorLine(__FILE__, __LINE__, "done", done_log_text_.str()); \
  } while (0)

namespace {

std::string textOf(CBKReply* reply) { return reply->hasData() ? reply->getData() : ""; }

// The policy entries are read as the JSON library's asInt() would read them,
// except that a missing entry or a text counts as "not 1" (PASSIVE) instead of
// throwing out of done: the station's session must still reach UID.did.
// An entry that is there but cannot be read never softens a fault: ACTIVE.
bool lifelineIsActive(const char* key) { return FailPolicy::activeWhenOne(key); }

struct HealthRow {
  bool (*check)(const std::string& uid, CBKReply* reply);
  const char* lifelineKey;
  const char* activeText;
  const char* activeName;
  const char* passiveText;
  const char* passiveName;
  bool detailIsRowText;  // else the check's own text
};

// Colons and blanks differ from row to row on purpose: the names become test
// names in the results that the servers already know.
const HealthRow kHealthRows[] = {
    {probe::BK_isMartenRunning, "BK_MSG_ERROR_MARTEN_NOT_RUNNING",
     "Marten not running [ACTIVE]: ", "Marten not running [ACTIVE]:",
     "Marten not running [PASSIVE]: ", "Marten not running [PASSIVE]: ", false},
    {probe::BK_isEtherNetOK, "BK_MSG_ERROR_ETHERNET_NOT_RESPONDING",
     "EtherNet unplugged [ACTIVE]: ", "EtherNet unplugged [ACTIVE]", "EtherNet unplugged [PASSIVE]",
     "EtherNet unplugged [PASSIVE]", false},
    {probe::BK_isNetWorkOK, "BK_MSG_ERROR_NETWORK_NOT_RESPONDING",
     "Can't ping TRAX, DCS, nor KS [ACTIVE]: ", "Network Not Okay [ACTIVE]",
     "Can't ping TRAX, DCS, nor KS [PASSIVE]: ", "Network Not Okay [PASSIVE]: ", true},
};

}  // namespace

// The station checks of done: signature, expiry, health.  One handler covers
// them all, so a check that throws still lets done move the directory on.
static void checkStationAtDone(CUUT* uut, CBKReply* reply, std::ostringstream& stream) {
  const std::string& UID = uut->UID;
  if (!uut->stopTimeSet) uut->createTimestampFile(UUT_STATE_DONE);

  PendingFailure& pending = uut->pendingFailure;
  if (pending.active()) {
    reply->setData(pending.message());
    reply->setStatus(
        bkBuildStatus(BK_FAIL, BK_MSG_CLASS_PROCESS_CONTROL, BK_MSG_ERROR_CANOPY_AMIOKAY));
  }

  // A bad signature is ACTIVE whatever the station's policy says: the policy
  // itself lives in the file that failed the test.
  if (!signaturecheck::BK_isSignatureOK(reply)) {
    stream << "ERROR: ks_station_info signature NOT OK," << textOf(reply);
    DONE_LOG(UID, stream.str());
    pending.record(true, "Signature  NOT OK [ACTIVE]:", textOf(reply), stream.str());
  }

  // Built by hand, past the policy: a pending failure, even a passive one,
  // fails the reply at this point; later steps may clear it again.
  if (pending.failed()) {
    reply->setStatus(kStatusFailBit | (BK_MSG_CLASS_PROCESS_CONTROL << 20) |
                     BK_MSG_ERROR_CANOPY_AMIOKAY);
    reply->setData(pending.message());
  }

  // An expired signature is recorded but never stops a session.
  if (!pending.active() && !signaturecheck::BK_isSigExpOK(reply)) {
    stream << "Signature NOT OK [PASSIVE]: " << textOf(reply);
    DONE_LOG(UID, stream.str());
    pending.record(false, "Signature NOT OK [PASSIVE]: ", textOf(reply), stream.str());
    reply->setStatus(0);
    reply->setData("");
  }

  getSHCheck()->refresh();

  for (const HealthRow& row : kHealthRows) {
    if (pending.active()) break;
    if (row.check(uut->getUID(), reply)) continue;
    std::string checkText = textOf(reply);
    const bool active = lifelineIsActive(row.lifelineKey);
    const char* rowText = active ? row.activeText : row.passiveText;
    stream << rowText << checkText;
    // The message stays as it was: the failing test takes its text from the stream.
    pending.record(active, active ? row.activeName : row.passiveName,
                   row.detailIsRowText ? rowText : checkText, pending.message());
    if (active) {
      DONE_LOG_ERROR(stream.str());
    } else {
      DONE_LOG(UID, stream.str());
      reply->setStatus(0);
      reply->setData("");
    }
  }
}

// Records an SFC failure under the policy entry for `key`, ACTIVE or PASSIVE.
static void recordSFCFailure(CUUT* uut, CBKReply* reply, std::ostringstream& stream, bool active,
                             const std::string& namePrefix, const std::string& detail,
                             unsigned message) {
  const std::string& UID = uut->UID;
  // The message stays as it was: the failing test takes its text from the stream.
  uut->pendingFailure.record(active, namePrefix + (active ? " [ACTIVE]" : " [PASSIVE]"), detail,
                             uut->pendingFailure.message());
  if (active) {
    DONE_LOG_ERROR(stream.str());
    reply->setData(stream.str());
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_PROCESS_CONTROL, message));
    DONE_LOG(UID, stream.str());
  } else {
    DONE_LOG(UID, stream.str());
    reply->setStatus(0);
    reply->setData("");
  }
}

// The server's words out of an out-of-process line.  The offsets are the ones
// the servers' parsers expect; a line too short for them gives an empty text
// instead of an exception out of done.
static std::string cutOutOfProcessText(std::string line) {
  long p = static_cast<long>(line.find("Response=0 SFC_OK"));
  if (line.find("Response=0 SFC_OK") == std::string::npos) p = -1;
  if (p >= 0) line.erase(static_cast<size_t>(p), static_cast<size_t>(p + 17));
  size_t start = static_cast<size_t>(p + 19);
  std::string text = start <= line.size() ? line.substr(start) : std::string();
  return text.substr(0, text.find_last_of(","));
}

// Ends the unit-check thread, at most with one signal, and takes its verdict.
// Runs with mutex1 held; `response` was opened before the section began.
static void doneThreadSection(CUUT* uut, CBKReply* reply, std::ostringstream& stream,
                              std::ifstream& response, const std::string& responsePath) {
  const std::string& UID = uut->UID;
  DONE_LOG(UID, "Entering done thread section");

  int killResult = -1;
  if (sfcUnitThreadProbe(uut) != ESRCH) {
    DONE_LOG(UID, "Thread Alive: sfc-threadid=[" << uut->sfcUnitThread << "]");
    killResult = sfcUnitThreadSignal(uut, SIGALRM);
    if (killResult == 0) {
      // Says only that the signal was delivered.
      DONE_LOG(UID, "Thread NOT Alive now");
    } else {
      DONE_LOG(UID, "Thread still Alive now trying again");
      killResult = sfcUnitThreadSignal(uut, SIGALRM);
    }

    bool timedOut = false;
    Json::Value timeout = getKSInfo()->getValueFor("ksinfo", "SFC_TIMEOUT");
    time_t created = uut->timeWhenSFCThreadCreated;
    if (!timeout.isInt() || created < 0) {
      DONE_LOG(UID, "Can not read values from ks_station_info.json file");
    } else {
      int limit = timeout.asInt();
      DONE_LOG(UID, "SFC_QUERY_UNIT: SFC_TIMEOUT[" << limit << "]");
      time_t now = time(nullptr);
      int32_t difference = static_cast<int32_t>(now - created);
      if (difference < limit) {
        DONE_LOG(UID, "SFC_QUERY_UNIT: timeNow["
                          << now << "] - timeWhenSFCThreadCreated [" << created << "] = ["
                          << difference << "] < SFC_TIMEOUT [" << limit << "] no action required.");
      } else {
        timedOut = true;
      }
    }

    if (timedOut && killResult == 0 && !Util_fileExists(responsePath.c_str())) {
      std::string killed = "SFC_QUERY_UNIT THREAD KILLED: terminated by BK for [" + UID + "]";
      stream << killed;
      DONE_LOG(UID, killed);
      bool active = lifelineIsActive("BK_MSG_ERROR_SFC_QUERY_UNIT");
      stream << (active ? " [ACTIVE]" : " [PASSIVE]");
      recordSFCFailure(uut, reply, stream, active, "SFC_QUERY_UNIT", killed,
                       BK_MSG_ERROR_SFC_QUERY_UNIT);
    } else {
      DONE_LOG(UID,
               "End of running thread : probably fatal error has already happened or SFC_TIMEOUT "
               "value for SFC_QUERY_UNIT within the limit or invalid ["
                   << killResult << "]");
    }
  }

  // A file that appeared after the stream was opened counts as unopened.
  std::string line;
  if (!Util_fileExists(responsePath.c_str()) || !response.is_open() || response.fail()) {
    DONE_LOG(UID, "server response file does not exists or fails to open file or thread killed?");
    return;
  }
  std::getline(response, line);

  if (line.find("No response from SFC") != std::string::npos) {
    bool active = lifelineIsActive("BK_MSG_ERROR_SFC_QUERY_UNIT");
    stream << (active ? "SFC_QUERY_UNIT no Response from server: [ACTIVE]"
                      : "SFC_QUERY_UNIT no Response from server: [PASSIVE]");
    recordSFCFailure(uut, reply, stream, active, "SFC_QUERY_UNIT", line,
                     BK_MSG_ERROR_SFC_QUERY_UNIT);
  } else if (line.find("UNIT OUT OF PROCESS") != std::string::npos ||
             line.find("UNIT_OUT_OF_PROCESS") != std::string::npos) {
    std::string text = cutOutOfProcessText(line);
    stream << text;
    bool active = lifelineIsActive("BK_MSG_ERROR_UNIT_OUT_OF_PROCESS");
    stream << (active ? " [ACTIVE]" : " [PASSIVE]");
    recordSFCFailure(uut, reply, stream, active, "UNIT_OUT_OF_PROCESS", text,
                     BK_MSG_ERROR_UNIT_OUT_OF_PROCESS);
  } else if (line.find("OK") != std::string::npos) {
    DONE_LOG(UID, "Unit processed : OK");
  } else {
    DONE_LOG(UID, line);
  }
}

// A rename that keeps failing throws after its retries; it is logged here
// rather than thrown at the station.
static bool renameSessionDirectory(CUUT* uut, UUTState from, UUTState to) {
  try {
    return Util_fileRename(uut->getPath(from).c_str(), uut->getPath(to).c_str());
  } catch (...) {
    DONE_LOG_ERROR("Can not rename '" << uut->getPath(from) << "'");
    return false;
  }
}

// The answer to a session whose directory did not move: a file-system
// failure that no policy lowers, since the station must not commit it.
static void failNotMoved(CUUT* uut, CBKReply* reply, UUTState from, UUTState to) {
  const std::string text = "Could not rename the UUT directory '" + uut->getPath(from) + "' to '" +
                           uut->getPath(to) + "'";
  reply->setData(text);
  reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_FILESYSTEM));
  DONE_LOG_ERROR(text);
}

CBKReply* CUUT::done() {
  CBKReply* reply = new CBKReply();
  if (state != UUT_STATE_OPEN) {
    std::ostringstream text;
    text << "The UUT object was not valid for this transition type. state from=";
    if (static_cast<unsigned>(state) < 5) {
      text << state_names[state];
    } else {
      text << static_cast<unsigned>(state);
    }
    text << " to=" << state_names[UUT_STATE_DONE];
    reply->setData(text.str());
    reply->setStatus(bkBuildStatus(BK_FAIL, BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_SYNTAX));
    DONE_LOG_ERROR(text.str());
    return reply;
  }

  std::ostringstream stream;
  try {
    checkStationAtDone(this, reply, stream);
  } catch (...) {
    // The station was not checked to the end, and that can never pass: the
    // unit is recorded with an ACTIVE failure, whatever the policy says.
    const std::string text = std::string("done") + "WHOOPS! unhandled exception!";
    reply->setData(text);
    reply->setStatus(bkFailureStatus(BK_MSG_CLASS_API_ERROR, BK_MSG_ERROR_API_UNHANDLED));
    DONE_LOG_ERROR(text);
    pendingFailure.record(true, "Station checks not completed [ACTIVE]:", text, text,
                          PendingFailure::Over::kKeepActive);
    stream << text;
  }

  {
    MutexGuard responseLock(&mutex1);
    std::string responsePath = std::string(tempFilesPath) + UID;
    std::ifstream response(responsePath.c_str());
    if (Util_featureON("SFC_QUERY_UNIT_ON_OFF") && !pendingFailure.active()) {
      doneThreadSection(this, reply, stream, response, responsePath);
    } else {
      DONE_LOG(UID, "SFC_QUERY/UOP FEATURE set to [OFF] or FATAL ERROR already happened");
    }
    if (response.is_open()) response.close();
    if (Util_fileExists(responsePath.c_str())) {
      DONE_LOG(UID, "deleting server response file, no longer needed [" << responsePath << "]");
      unlink(responsePath.c_str());
    }
  }

  // The failure becomes a failing test while the session still takes
  // results; commit recognises it by the count of one failure.
  if (pendingFailure.failed()) {
    if (stream.str().empty()) stream << pendingFailure.message();
    createDummyFailTest("FATAL ERROR", pendingFailure.name().c_str(),
                        pendingFailure.detail().c_str(), stream.str().c_str());
  }

  uint32_t total = testPasses + testFailures + testNAs;
  DONE_LOG(UID, "Total tests [Passed + Failed + NAs] = [" << total << "]");
  DONE_LOG(UID, "Total tests [Passed] = [" << testPasses << "]");
  DONE_LOG(UID, "Total tests [Failed] = [" << testFailures << "]");
  if (testNAs != 0) {
    DONE_LOG(UID, "Total tests [NAs] = [" << testNAs << "]");
    DONE_LOG(UID, "Total tests [Passed + Failed + NAs] = [" << total << "]");
  } else {
    DONE_LOG(UID, "Total tests [Passed + Failed] = [" << testPasses + testFailures << "]");
  }
  if (notSentCount != 0) DONE_LOG(UID, "Total tests [NotSentToTRAX] = [" << notSentCount << "]");

  // The state follows the directory: when a rename fails the session stays
  // under the name it has on disk, and says so; back in the open state, done
  // may be called again.
  if (!renameSessionDirectory(this, UUT_STATE_OPEN, UUT_STATE_DONE)) {
    failNotMoved(this, reply, UUT_STATE_OPEN, UUT_STATE_DONE);
    return reply;
  }
  state = UUT_STATE_DONE;
  if (!renameSessionDirectory(this, UUT_STATE_DONE, UUT_STATE_DID)) {
    if (renameSessionDirectory(this, UUT_STATE_DONE, UUT_STATE_OPEN)) state = UUT_STATE_OPEN;
    failNotMoved(this, reply, UUT_STATE_DONE, UUT_STATE_DID);
    return reply;
  }
  state = UUT_STATE_DID;

  if (!pendingFailure.failed() || !pendingFailure.active()) {
    DONE_LOG(UID, "Returning success");
    reply->setStatus(bkBuildStatus(BK_PASS, 0, 0));
  }
  return reply;
}
