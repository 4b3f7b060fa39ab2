/*
 * Bramblekit: the library a factory test station links against.
 *
 * Conventions
 *
 *   Sessions.  BK_UUTStart opens one session (one unit under test) and hands
 *   back a UUTHandle.  The station owns the handle and gives it back through
 *   BK_UID_destroy once it is finished with it, whatever happened to the
 *   session.  The usual order is: BK_UUTStart, attributes and results,
 *   BK_UUTDone, BK_UUTCommit, BK_UID_destroy.  BK_UUTCancel may come at any
 *   point and removes the session's directory.
 *
 *   Replies.  Every call that returns a BKReplyHandle creates a new reply that
 *   the caller owns and frees with BK_reply_destroy.  A reply carries a 32-bit
 *   status word and an optional text (BK_reply_getError).  Only the fail bit
 *   (bit 31) tells failure: test it with BK_success.  A successful reply may
 *   still carry a text.  The station's fail policy (the "lifeline" object of
 *   its signed station file) decides whether a fault is a real failure
 *   (ACTIVE), a recorded one the caller may ignore (PASSIVE), or nothing (OFF).
 *
 *   NULL arguments.  A NULL handle or text pointer is answered with a failed
 *   reply of class BK_MSG_CLASS_API_ERROR and message BK_MSG_ERROR_API_SYNTAX,
 *   text "NULL <name> handle passed as a parameter".  A handle that was
 *   already destroyed, never given out, or is of another kind (a test spec
 *   passed as a result) is answered the same way and never read; destroying
 *   it again does nothing, and BK_success of an unknown reply is false.
 *
 *   Nothing is thrown.  A fault the library did not handle is answered as a
 *   failed reply of class BK_MSG_CLASS_API_ERROR, message
 *   BK_MSG_ERROR_API_UNHANDLED, text "<function> WHOOPS! unhandled
 *   exception!", whatever the fail policy says; a function that answers bool
 *   answers false and puts that failure in its reply argument.
 *
 *   Counted texts.  A setter given (text, length) reads at most length bytes
 *   and stops at a zero byte among them; the text needs no terminator.
 *
 *   Test records.  BK_testSpec_create and BK_testResult_create make records
 *   that belong to the caller, not to a session; BK_addResult copies what they
 *   hold, so one pair may be reused for many results.
 *
 *   Threads.  Call a session's functions from one thread at a time.  Separate
 *   sessions may be used side by side.  The library runs one detached
 *   background thread per session for the shop-floor unit check.  It installs
 *   its SIGALRM handler once, when it is loaded; a SIGALRM that is not meant
 *   for its threads goes on to what the station had set before (its handler,
 *   ignoring, or the default action).  A station that replaces the handler
 *   later keeps SIGALRM to itself: the library then no longer signals its
 *   thread and says so in the log.
 *
 *   Files.  Everything the library keeps lies under /vault/: the log
 *   /vault/Bramblekit.log and one directory per session under
 *   /vault/data_collection/uut_data/.  Its settings come only from the
 *   station files in /vault/data_collection/test_station_config/.
 */
#ifndef BRAMBLEKIT_INTERFACE_BRAMBLEKIT_H_
#define BRAMBLEKIT_INTERFACE_BRAMBLEKIT_H_

#include <stddef.h>
#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
#include <string>
#endif

#if defined(__GNUC__) || defined(__clang__)
#define BK_EXPORT __attribute__((visibility("default")))
#else
#define BK_EXPORT
#endif

typedef void* UUTHandle;
typedef void* testSpecHandle;
typedef void* testResultHandle;
typedef void* BKReplyHandle;

/* A test's verdict, as the station declares it. */
enum BK_PASSFAILRESULT { BK_FAIL = 0, BK_PASS = 1, BK_NA = 2 };

/* How a result goes to the parametric-data server; the station file may hold
 * some priorities back. */
enum BK_TRAX_PRIORITY {
  BK_TRAX_PRIORITY_AU = -2,
  BK_TRAX_PRIORITY_P0 = 0,
  BK_TRAX_PRIORITY_P1 = 1,
  BK_TRAX_PRIORITY_P2 = 2,
  BK_TRAX_PRIORITY_P3 = 3,
  BK_TRAX_PRIORITY_P4 = 4
};

/* How long the servers keep a blob, in days. */
enum BK_BKBLOBPOLICY {
  BK_BLOB_KEEP_0 = 1,
  BK_BLOB_KEEP_30,
  BK_BLOB_KEEP_60,
  BK_BLOB_KEEP_90,
  BK_BLOB_KEEP_180,
  BK_BLOB_KEEP_270,
  BK_BLOB_KEEP_360 = 7
};

/* Fixture (1 to 10) and fixture head (1 to 6) of the unit. */
typedef int32_t BK_ENUM_FIXTURE_ID;
typedef int32_t BK_ENUM_FIXTURE_HEAD_ID;

/* Message classes: bit masks, stored from bit 20 of the status word. */
enum {
  BK_MSG_CLASS_UNCLASSIFIED = 0,
  BK_MSG_CLASS_API_ERROR = 1,
  BK_MSG_CLASS_COMM_ERR = 2,
  BK_MSG_CLASS_QUERY = 4,
  BK_MSG_CLASS_QUERY_RESPONSE = 8,
  BK_MSG_CLASS_QUERY_DELAYED_RESPONSE = 16,
  BK_MSG_CLASS_PROCESS_CONTROL = 32
};

/* Message numbers: the low bits of the status word, and the keys of the
 * station's fail policy. */
enum {
  BK_MSG_ERROR_API_UNHANDLED = 0,
  BK_MSG_ERROR_UNIT_ID_INVALID = 1,
  BK_MSG_ERROR_UNIMPLEMENTED = 2,
  BK_MSG_ERROR_API_VERSION = 3,
  BK_MSG_ERROR_API_SYNTAX = 4,
  BK_MSG_ERROR_API_NO_ATTRIBUTE = 5,
  BK_MSG_ERROR_MARTEN_NOT_RUNNING = 6,
  BK_MSG_ERROR_FILESYSTEM = 7,
  BK_MSG_ERROR_NETWORK = 8,
  BK_MSG_ERROR_INVALID_SERIAL_NUMBER = 9,
  BK_MSG_ERROR_DCS_NOT_RESPONDING = 10,
  BK_MSG_ERROR_TRAX_NOT_RESPONDING = 11,
  BK_MSG_ERROR_KESTREL_NOT_RESPONDING = 12,
  BK_MSG_ERROR_NETWORK_NOT_RESPONDING = 13,
  BK_MSG_ERROR_ETHERNET_NOT_RESPONDING = 14,
  BK_MSG_ERROR_UNIT_OUT_OF_PROCESS = 15,
  BK_MSG_ERROR_INVALID_STATION_TYPE = 16,
  BK_MSG_ERROR_INVALID_SW_VERSION = 17,
  BK_MSG_ERROR_INVALID_BK_VERSION = 18,
  BK_MSG_ERROR_INVALID_MARTEN_VERSION = 19,
  BK_MSG_ERROR_INVALID_KSSTATIONINFO_VALUE = 20,
  BK_MSG_ERROR_INVALID_DATA_FORMAT = 21,
  STR_BK_MSG_ERROR_INVALID_SIGNATURE = 22,
  BK_MSG_UNIT_GOLDEN_UNIT = 23,
  BK_MSG_UNIT_OUTLIER = 24,
  BK_MSG_UNIT_ESCAPE = 25,
  BK_MSG_UNIT_FORCE_FAIL = 26,
  BK_MSG_UNIT_RECALL = 27,
  BK_MSG_UNIT_HOLD = 28,
  BK_MSG_UNIT_NOT_IN_SFC = 29,
  BK_MSG_STATION_SW_MISMATCH = 30,
  BK_MSG_ERROR_INVALID_SIGNATURE = 31,
  BK_MSG_ERROR_INVALID_ATTRIBUTE = 32,
  BK_MSG_ERROR_SFC_QUERY_UNIT = 33,
  BK_MSG_ERROR_CANOPY_AMIOKAY = 34
};

#ifdef __cplusplus
extern "C" {
#endif

/* The library's version text. */
BK_EXPORT const char* BK_getVersion(void);

/* Replies. */
BK_EXPORT bool BK_success(BKReplyHandle reply);
BK_EXPORT unsigned BK_reply_getClass(BKReplyHandle reply);
BK_EXPORT bool BK_reply_isOfClass(BKReplyHandle reply, unsigned msgClass);
BK_EXPORT unsigned BK_reply_getMessageID(BKReplyHandle reply);
/* The reply's text; it lives as long as the reply. */
BK_EXPORT const char* BK_reply_getError(BKReplyHandle reply);
/* The same text; for BK_getJsonResultsObj it is the results document. */
BK_EXPORT const char* BK_reply_getJsonData(BKReplyHandle reply);
BK_EXPORT void BK_reply_destroy(BKReplyHandle reply);
/* The whole status word (fail bit, class from bit 20, message from bit 0);
 * 0 for a NULL reply.  BK_reply_getClass and BK_reply_getMessageID each give
 * only a part of it. */
BK_EXPORT uint32_t BK_reply_getStatus(BKReplyHandle reply);
/* The reply's text, or "" when it has none or the reply is NULL; unlike
 * BK_reply_getError it prints and logs nothing. */
BK_EXPORT const char* BK_reply_getText(BKReplyHandle reply);

/* Sessions.  BK_UUTStart refuses to open a session when a station file is
 * missing; *outHandle is then NULL. */
BK_EXPORT BKReplyHandle BK_UUTStart(UUTHandle* outHandle);
BK_EXPORT BKReplyHandle BK_UUTCancel(UUTHandle handle);
BK_EXPORT void BK_UID_destroy(UUTHandle handle);
BK_EXPORT BKReplyHandle BK_UUTDone(UUTHandle handle);
BK_EXPORT BKReplyHandle BK_UUTCommit(UUTHandle handle, enum BK_PASSFAILRESULT result);

/* Attributes: "serialnumber", "softwarename", "softwareversion" and
 * "limitsversion" are required before commit; other names are free. */
BK_EXPORT BKReplyHandle BK_addAttribute(UUTHandle handle, const char* name, const char* value);

/* Results: fill a spec and a result, then add them to the session. */
BK_EXPORT BKReplyHandle BK_addResult(UUTHandle handle, testSpecHandle spec,
                                     testResultHandle result);
BK_EXPORT testSpecHandle BK_testSpec_create(void);
BK_EXPORT void BK_testSpec_destroy(testSpecHandle spec);
BK_EXPORT bool BK_testSpec_setTestName(testSpecHandle spec, const char* text, size_t length);
BK_EXPORT bool BK_testSpec_setSubTestName(testSpecHandle spec, const char* text, size_t length);
BK_EXPORT bool BK_testSpec_setSubSubTestName(testSpecHandle spec, const char* text, size_t length);
BK_EXPORT bool BK_testSpec_setUnits(testSpecHandle spec, const char* text, size_t length);
BK_EXPORT bool BK_testSpec_setLimits(testSpecHandle spec, const char* lower, size_t lowerLength,
                                     const char* upper, size_t upperLength);
BK_EXPORT bool BK_testSpec_setPriority(testSpecHandle spec, enum BK_TRAX_PRIORITY priority);
BK_EXPORT bool BK_testSpec_setAsNonTestItem(testSpecHandle spec);
BK_EXPORT testResultHandle BK_testResult_create(void);
BK_EXPORT void BK_testResult_destroy(testResultHandle result);
BK_EXPORT bool BK_testResult_setResult(testResultHandle result, enum BK_PASSFAILRESULT verdict);
BK_EXPORT bool BK_testResult_setValue(testResultHandle result, const char* text, size_t length);
BK_EXPORT bool BK_testResult_setMessage(testResultHandle result, const char* text, size_t length);

/* Fixture position. */
BK_EXPORT BKReplyHandle BK_setDUTPos(UUTHandle handle, const char* fixture, const char* head);
BK_EXPORT BKReplyHandle BK_setDUTPosition(UUTHandle handle, BK_ENUM_FIXTURE_ID fixture,
                                          BK_ENUM_FIXTURE_HEAD_ID head);

/* Blobs: a file or a memory block, compressed into the session. */
BK_EXPORT BKReplyHandle BK_addBlob(UUTHandle handle, const char* name, const char* path);
BK_EXPORT BKReplyHandle BK_addBlobWithPolicy(UUTHandle handle, enum BK_BKBLOBPOLICY policy,
                                             const char* name, const char* path);
BK_EXPORT BKReplyHandle BK_addBlobData(UUTHandle handle, const char* name, const void* data,
                                       long length);
BK_EXPORT BKReplyHandle BK_addBlobDataWithPolicy(UUTHandle handle, enum BK_BKBLOBPOLICY policy,
                                                 const char* name, const void* data, long length);

/* Unit identity and station checks. */
BK_EXPORT BKReplyHandle BK_validateSerialNumber(UUTHandle handle, const char* serialNumber);
BK_EXPORT BKReplyHandle BK_amIOkay(UUTHandle handle, const char* serialNumber);
/* Two calls: the first with *value NULL gives the length, the second fills a
 * buffer of that length. */
BK_EXPORT BKReplyHandle BK_getKSStationInfo(UUTHandle handle, int key, char** value,
                                            unsigned long long* length);

/* Session time and the finished document. */
BK_EXPORT BKReplyHandle BK_setStartTime(UUTHandle handle, time_t when);
BK_EXPORT BKReplyHandle BK_setStopTime(UUTHandle handle, time_t when);
BK_EXPORT BKReplyHandle BK_getJsonResultsObj(UUTHandle handle);

#ifdef __cplusplus
} /* extern "C" */

/* Functions with C++ linkage: their parameter types are part of the symbol. */
BK_EXPORT unsigned BK_buildStatus(BK_PASSFAILRESULT result, unsigned msgClass, unsigned message);
BK_EXPORT bool BK_isFailPassive(unsigned msgClass, unsigned message);
BK_EXPORT bool BK_isLifelineClassOFF(unsigned msgClass, unsigned message);
BK_EXPORT bool BK_isLifelineMessageOFF(unsigned msgClass, unsigned message);

BK_EXPORT BKReplyHandle BK_addModuleHistory(UUTHandle handle, const char* moduleSN,
                                            const char* vendorCode, const char* dateCode,
                                            const char* partNumber, const char* description,
                                            const char* lotCode);
BK_EXPORT BKReplyHandle BK_sendStationFailureReport(UUTHandle handle, const char* step,
                                                    const char* reason);
/* Not implemented: both always answer message BK_MSG_ERROR_UNIMPLEMENTED. */
BK_EXPORT BKReplyHandle BK_isStationOK(char* stationIdentifier);
BK_EXPORT BKReplyHandle BK_isUUTOK(UUTHandle handle);

/* Station health probes; a failure's text and status land in `reply`. */
BK_EXPORT bool BK_isEtherNetOK(UUTHandle handle, BKReplyHandle reply);
BK_EXPORT bool BK_isNetWorkOK(UUTHandle handle, BKReplyHandle reply);
BK_EXPORT bool BK_isKestrelOK(UUTHandle handle, BKReplyHandle reply);
BK_EXPORT bool BK_isMartenRunning(UUTHandle handle, BKReplyHandle reply);
BK_EXPORT bool BK_isStationSWVersionOK(UUTHandle handle, BKReplyHandle reply);
BK_EXPORT bool BK_isMartenVersionOK(UUTHandle handle, BKReplyHandle reply);
BK_EXPORT bool BK_isOtterVersionOK(UUTHandle handle, BKReplyHandle reply);
BK_EXPORT bool BK_checkMartenVersion(std::string* read, std::string* libraryVersion,
                                     std::string* required);

/* The station file's signature and its expiry. */
BK_EXPORT bool BK_isSignatureOK(BKReplyHandle reply);
BK_EXPORT bool BK_isSigExpOK(BKReplyHandle reply);

/* The shop-floor answer about the unit, as the background check left it. */
BK_EXPORT bool BK_isSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply, const char* serialNumber);
BK_EXPORT bool BK_isUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply,
                                     const char* serialNumber);

/* Write sample station files, for setting up a new station. */
BK_EXPORT void CreateStationInfoFile();
BK_EXPORT void CreateStationHealthFile();
#else
/* The two unit checks are exported under their C names as well, for stations
 * written in C; C++ stations bind the C++ names above. */
BK_EXPORT bool BK_isSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply, const char* serialNumber);
BK_EXPORT bool BK_isUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply,
                                     const char* serialNumber);
#endif /* __cplusplus */

#endif /* BRAMBLEKIT_INTERFACE_BRAMBLEKIT_H_ */
