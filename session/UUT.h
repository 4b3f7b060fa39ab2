// CUUT: one unit under test, from BK_UUTStart until BK_UID_destroy.
//
// The session owns a directory in the vault, named after its UID with a
// suffix for its state, and the in-memory results document.  No lock guards
// a CUUT: a session is used from one application thread, while its
// background unit-check thread reads only copies it took at its start.
#ifndef BRAMBLEKIT_SESSION_UUT_H_
#define BRAMBLEKIT_SESSION_UUT_H_

#include <json/json.h>
#include <pthread.h>
#include <time.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "foundation/Reply.h"
#include "interface/Bramblekit.h"
#include "session/PendingFailure.h"
#include "sfc/UnitCheckThread.h"
#include "sfc/UnitProcessChecks.h"

// Where a session is; each state has its directory suffix.
enum UUTState : uint32_t {
  UUT_STATE_OPEN = 0,
  UUT_STATE_DONE = 1,
  UUT_STATE_POPPING = 2,  // used by the forwarding side only
  UUT_STATE_DID = 3,
  UUT_STATE_COMMIT = 4
};

extern const char* const state_names[5];

class CUUT {
 public:
  CUUT();
  ~CUUT();
  CUUT(const CUUT&) = delete;
  CUUT& operator=(const CUUT&) = delete;

  // --- Lifecycle (session/UUT.cpp) ---
  bool create();
  CBKReply* cancel();
  std::string getBasePath();
  std::string getPath(UUTState s);
  std::string getPath();
  bool isUIDValid();
  void createTimestampFile(int s);  // -1: the current state
  bool createSpecificStartTime(long t);
  bool createSpecificStopTime(long t);

  // --- Accessors (session/UUT.cpp) ---
  std::string getUID() const { return UID; }
  std::string getSN() const { return serialNumber; }
  std::string getStationSoftwareVersion() const { return softwareVersion; }
  Json::Value& getRootJson() { return rootJson; }
  CBKReply* getSerialNumber(std::string& out);
  CBKReply* getJsonResultsObj();
  time_t getTimeWhenSFCThreadCreated() const { return timeWhenSFCThreadCreated; }
  void setRetensionPol(unsigned policy) { retentionPolicy = policy; }
  bool wasAttributeSerialNumberCreated() const { return attributeSerialNumberCreated; }
  bool wasAttributeLimitsVersionCreated() const { return attributeLimitsVersionCreated; }
  bool wasAttributeSoftwareNameCreated() const { return attributeSoftwareNameCreated; }
  bool wasAttributeSoftwareVersionCreated() const { return attributeSoftwareVersionCreated; }
  bool wasSFCQueryUnitThreadCreated() const { return sfcQueryUnitThreadCreated; }
  UnitCheckView unitCheckView() const {
    return {UID, wasAttributeSerialNumberCreated(), sfcQueryUnitThreadCreated,
            timeWhenSFCThreadCreated};
  }

  // --- Attributes (session/UUTAttributes.cpp) ---
  CBKReply* createAttribute(std::string name, std::string value);
  bool getAttribute(const std::string& name, std::string* value);
  bool validateDevAttribute(void* passedInReply, std::string value);

  // --- Results (session/UUTResults.cpp) ---
  CBKReply* createResult(void* spec, void* result);
  bool canAcceptResults() const { return state == UUT_STATE_OPEN; }
  bool canSendPDataToTrax(BK_TRAX_PRIORITY priority);
  void incrementSubmittedCount(unsigned index) { submittedCounts[index]++; }
  unsigned getSubmittedCount(unsigned index) const { return submittedCounts[index]; }
  void clearAllSubmittedCounts();
  void createDummyFailTest(const char* testName, const char* subTestName,
                           const char* subSubTestName, const char* message);

  // --- Done and commit (session/UUTDone.cpp, session/UUTCommit.cpp) ---
  CBKReply* done();
  CBKReply* commit(bool pass);

  // --- Unit identity (identity/) ---
  bool validateSerialNumber(void* apoReply, std::string serialNumber);
  bool ValidateSerialNumberChecksum(std::string serialNumber);
  bool validateVersion(void* passedInReply, std::string version);

  // --- Station checks (station/) ---
  // Runs the station checks in order; the caller owns the reply.
  CBKReply* checkAMIOK(std::string serialNumber);

  // --- Shop-floor queries (sfc/) ---
  bool SFC_QueryRecordUnitCheck(std::string serialNumber);
  // Further queries, ready but without a caller (sfc/QueryThreads.cpp); each
  // answer that says ok lands in /tmp/sfcstatus.
  bool SFC_QueryRecord(std::string serialNumber);
  bool SFC_QueryRecordByStationName(std::string serialNumber);
  bool SFC_QueryHistory(std::string serialNumber);
  bool SFC_ServerVersion();

  // --- Blobs (session/UUTBlobs.cpp) ---
  // Both take the session's current retention policy; set it first.
  CBKReply* copyBlob(const std::string& name, const std::string& path);
  CBKReply* copyBlobFromMemory(const std::string& name, const void* data, long length);
  CBKReply* CreatBlobZipAndMetaFile(const std::string& stagedPath, const std::string& displayName);

  // --- Fixture, modules, failure report (session/UUTFixture.cpp) ---
  bool setDUTPos(CBKReply* reply, const char* fixture, const char* head);
  bool setDUTPosition(CBKReply* reply, BK_ENUM_FIXTURE_ID fixture, BK_ENUM_FIXTURE_HEAD_ID head);
  CBKReply* addModuleHistory(const char* moduleSN, const char* vendorCode, const char* dateCode,
                             const char* partNumber, const char* description, const char* lotCode);
  CBKReply* sendStationFailureReport(const char* step, const char* reason);

  // Fields are public: the intake, done, commit and check code across the
  // library reads and writes them, as the session's own parts.
  UUTState state;
  std::string UID;
  std::string uutPath;
  std::string softwareName;
  std::string serialNumber;
  std::string limitsVersion;
  std::string softwareVersion;
  std::string stationIdentifier;
  std::string subStationIdentifier;
  Json::Value rootJson;
  Json::Value pdataNotSent;
  uint32_t testFailures;
  uint32_t testPasses;
  uint32_t testNAs;
  uint32_t notSentCount;
  uint32_t retentionPolicy;
  time_t timeWhenSFCThreadCreated;
  pthread_t sfcUnitThread;
  std::shared_ptr<SFCThreadState> sfcUnitThreadState;
  pthread_t sfcQueryRecordThread{};
  pthread_t sfcQueryRecordByStationNameThread{};
  pthread_t sfcQueryHistoryThread{};
  pthread_t sfcServerVersionThread{};
  uint32_t submittedCounts[6];
  bool attributeSerialNumberCreated;
  bool attributeLimitsVersionCreated;
  bool attributeSoftwareNameCreated;
  bool attributeSoftwareVersionCreated;
  bool attributeStationIdentifierCreated;
  bool attributeSubStationIdentifierCreated;
  bool sfcQueryUnitThreadCreated;
  bool useStateSuffix;
  bool stopTimeSet;
  bool startTimeSet;
  // Set while the session records a failure of its own (createDummyFailTest):
  // that record is never refused by the count limit.
  bool recordingOwnFailure = false;
  // The station's result limit as last read, and the station info file's
  // generation it was read at (see CBKJsonStationFile::generation); 0 until
  // the first result.
  unsigned maxTestsGeneration = 0;
  int maxTests = 0;
  // Keys of the parametric results already in the document, for the
  // duplicate test.
  std::map<std::string, double> parametricKeys;
  PendingFailure pendingFailure;
};

// The session's UID for log lines, or the blank field without a session.
std::string bkUIDOf(const void* handle);

// The session's unit-check thread, for done: see sfc/UnitCheckThread.h.
int sfcUnitThreadProbe(const CUUT* uut);
int sfcUnitThreadSignal(CUUT* uut, int signal);

#endif  // BRAMBLEKIT_SESSION_UUT_H_
