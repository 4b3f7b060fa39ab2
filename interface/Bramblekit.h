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
 *
 * Quirks a station must know (the forwarding agent and the servers rely on
 * them, so they stay):
 *   - BK_reply_getClass reads the status word from bit 26, not 20: it gives 0
 *     for any reply without the fail bit and 32 for any failed one.
 *   - BK_UUTCommit(handle, BK_NA) is committed like BK_PASS.
 *   - BK_UID_destroy may rotate and prune the log, so it can take a moment.
 *   - BK_isUnitOutOfProcess answers true for the bad outcome.
 *   - CreateStationInfoFile and CreateStationHealthFile overwrite the live
 *     station files with unsigned samples: never call them on a station in use.
 *   - BK_getKSStationInfo takes two calls, and its second call writes
 *     length + 1 bytes (see there).
 *
 * Compatibility.  The header compiles as C11 and as C++; C sees only the
 * functions with C linkage.  The handle types
 * and the functions with C++ linkage (the block at the end) are frozen within
 * a major version: their mangled names are what station binaries bind.  C++
 * stations must build with the C++11 string ABI (_GLIBCXX_USE_CXX11_ABI=1,
 * the default), since BK_checkMartenVersion takes std::string.
 */
#ifndef BRAMBLEKIT_INTERFACE_BRAMBLEKIT_H_
#define BRAMBLEKIT_INTERFACE_BRAMBLEKIT_H_

#include <stddef.h>
#include <stdint.h>
#include <time.h>

#ifndef __cplusplus
#include <stdbool.h>
#endif

/* BK_VERSION_MAJOR, BK_VERSION_MINOR, BK_VERSION_PATCH, BK_VERSION_STRING. */
#include <bramblekit/BramblekitVersion.h>

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

/* Keys for BK_getKSStationInfo: the strings of section "ksinfo" of the station
 * info file.  32 to 35 have no key. */
enum {
  BK_KS_SITE = 1,
  BK_KS_PRODUCT = 2,
  BK_KS_BUILD_STAGE = 3,
  BK_KS_BUILD_SUBSTAGE = 4,
  BK_KS_REMOTE_ADDR = 5,
  BK_KS_LOCATION = 6,
  BK_KS_LINE_NUMBER = 7,
  BK_KS_STATION_NUMBER = 8,
  BK_KS_STATION_TYPE = 9,
  BK_KS_SCREEN_COLOR = 10,
  BK_KS_STATION_IP = 11,
  BK_KS_DCS_IP = 12,
  BK_KS_TRAX_IP = 13,
  BK_KS_HERON_IP = 14,
  BK_KS_MAGPIE_IP = 15,
  BK_KS_FUSING_IP = 16,
  BK_KS_DROPBOX_IP = 17,
  BK_KS_SFC_IP = 18,
  BK_KS_SFC_URL = 19,
  BK_KS_PROV_IP = 20,
  BK_KS_DATE_TIME = 21,
  BK_KS_STATION_ID = 22,
  BK_KS_KESTREL_IP = 23,
  BK_KS_MAC = 24,
  BK_KS_SAVE_BRICKS = 25,
  BK_KS_LOCAL_CSV = 26,
  BK_KS_REALTIME_PARAMETRIC = 27,
  BK_KS_SINGLE_CSV_UUT = 28,
  BK_KS_STATION_DISPLAY_NAME = 29,
  BK_KS_URI_CONFIG_PATH = 30,
  BK_KS_SFC_QUERY_UNIT_ON_OFF = 31,
  BK_KS_STATION_SET_CONTROL_BIT_ON_OFF = 36,
  BK_KS_CONTROL_BITS_TO_CHECK_ON_OFF = 37,
  BK_KS_CONTROL_BITS_TO_CLEAR_ON_PASS_ON_OFF = 38,
  BK_KS_CONTROL_BITS_TO_CLEAR_ON_FAIL_ON_OFF = 39,
  BK_KS_ACTIVATION_IP = 40,
  BK_KS_LINE_MANAGER_IP = 41,
  BK_KS_GDADMIN = 42,
  BK_KS_SKIFF_LINE = 43,
  BK_KS_USB_STORAGE = 44,
  BK_KS_FIREWALL = 45,
  BK_KS_UNIT_PROCESS_REQUIRE_OCELOT = 46,
  BK_KS_KESTREL_STARTED = 47,
  BK_KS_LAST_RESTORED = 48
};

#ifdef __cplusplus
extern "C" {
#endif

/* Replies: accessors of what every reply-returning call gives back; none of
 * them touches the disk or blocks. */

/* The library's version text, equal to BK_VERSION_STRING; static. */
BK_EXPORT const char* BK_getVersion(void);
/* True when the reply's fail bit (31) is clear.  The reply must not be NULL. */
BK_EXPORT bool BK_success(BKReplyHandle reply);
/* The status word shifted right by 26 (see the quirks): 0 or 32; 0 for NULL. */
BK_EXPORT unsigned BK_reply_getClass(BKReplyHandle reply);
/* BK_reply_getClass(reply) == msgClass; false for NULL. */
BK_EXPORT bool BK_reply_isOfClass(BKReplyHandle reply, unsigned msgClass);
/* The message number (low 8 bits of the status word); 0xffffffff for NULL. */
BK_EXPORT unsigned BK_reply_getMessageID(BKReplyHandle reply);
/* The reply's text, "" when it has none or the reply is NULL; owned by the
 * reply and valid until BK_reply_destroy. */
BK_EXPORT const char* BK_reply_getError(BKReplyHandle reply);
/* The same text; for BK_getJsonResultsObj it is the results document. */
BK_EXPORT const char* BK_reply_getJsonData(BKReplyHandle reply);
/* Frees a reply and its text; NULL is ignored. */
BK_EXPORT void BK_reply_destroy(BKReplyHandle reply);
/* The whole status word (fail bit, class from bit 20, message from bit 0);
 * 0 for a NULL reply.  BK_reply_getClass and BK_reply_getMessageID each give
 * only a part of it. */
BK_EXPORT uint32_t BK_reply_getStatus(BKReplyHandle reply);
/* The reply's text, or "" when it has none or the reply is NULL; unlike
 * BK_reply_getError it prints and logs nothing. */
BK_EXPORT const char* BK_reply_getText(BKReplyHandle reply);

/* Sessions. */

/* Opens a session: creates its directory under /vault/data_collection/uut_data/
 * and writes /tmp/bk_version.  Both station files must exist, else it fails
 * (class 0, message 0) and *outHandle is NULL.  The caller owns the handle. */
BK_EXPORT BKReplyHandle BK_UUTStart(UUTHandle* outHandle);
/* Deletes the session's directory, whatever its state; may retry for about
 * five seconds.  Fails with BK_MSG_ERROR_FILESYSTEM when it cannot. */
BK_EXPORT BKReplyHandle BK_UUTCancel(UUTHandle handle);
/* Frees the session (not its directory); may rotate and prune the log under
 * /vault.  The handle is invalid afterwards. */
BK_EXPORT void BK_UID_destroy(UUTHandle handle);
/* Ends testing: needs the four required attributes (else BK_MSG_ERROR_API_SYNTAX),
 * reruns health and signature checks, ends the unit check (may wait for it)
 * and renames the directory to .did.  An earlier ACTIVE failure answers
 * BK_MSG_ERROR_CANOPY_AMIOKAY (class PROCESS_CONTROL). */
BK_EXPORT BKReplyHandle BK_UUTDone(UUTHandle handle);
/* Writes, verifies and signs results.Json and hands the directory over as
 * .commit; BK_NA commits like BK_PASS.  A verdict that contradicts the
 * results is refused (BK_MSG_ERROR_API_SYNTAX).  Writes and syncs files. */
BK_EXPORT BKReplyHandle BK_UUTCommit(UUTHandle handle, enum BK_PASSFAILRESULT result);

/* Adds an attribute to the open session.  "serialnumber", "softwarename",
 * "softwareversion" and "limitsversion" are required before done; a bad serial
 * number fails with BK_MSG_ERROR_INVALID_SERIAL_NUMBER, a repeat or bad text
 * with BK_MSG_ERROR_API_SYNTAX.  A good serial number starts the unit check. */
BK_EXPORT BKReplyHandle BK_addAttribute(UUTHandle handle, const char* name, const char* value);

/* Adds one result to the open session's document, copying what the two
 * records hold (they stay the caller's).  Bad lengths, numbers or state:
 * BK_MSG_ERROR_API_SYNTAX or BK_MSG_ERROR_INVALID_DATA_FORMAT.  Memory only. */
BK_EXPORT BKReplyHandle BK_addResult(UUTHandle handle, testSpecHandle spec,
                                     testResultHandle result);

/* Test records, owned by the caller, not by a session; memory only.  Each
 * text setter stores at most `length` bytes of its text, up to a zero byte
 * among them, and answers whether the stored length is `length`; NULL and
 * unknown handles answer false. */

/* A new, empty test spec; free it with BK_testSpec_destroy. */
BK_EXPORT testSpecHandle BK_testSpec_create(void);
/* Frees a test spec; NULL is ignored. */
BK_EXPORT void BK_testSpec_destroy(testSpecHandle spec);
/* The test's name. */
BK_EXPORT bool BK_testSpec_setTestName(testSpecHandle spec, const char* text, size_t length);
/* The sub-test's name. */
BK_EXPORT bool BK_testSpec_setSubTestName(testSpecHandle spec, const char* text, size_t length);
/* The sub-sub-test's name. */
BK_EXPORT bool BK_testSpec_setSubSubTestName(testSpecHandle spec, const char* text, size_t length);
/* The value's units; an empty text stores "NA" (so its length is 2). */
BK_EXPORT bool BK_testSpec_setUnits(testSpecHandle spec, const char* text, size_t length);
/* Lower and upper limit as texts; only their number form is checked, later. */
BK_EXPORT bool BK_testSpec_setLimits(testSpecHandle spec, const char* lower, size_t lowerLength,
                                     const char* upper, size_t upperLength);
/* How the result goes to the parametric-data server. */
BK_EXPORT bool BK_testSpec_setPriority(testSpecHandle spec, enum BK_TRAX_PRIORITY priority);
/* Marks a non-test item: its failure is recorded as information only. */
BK_EXPORT bool BK_testSpec_setAsNonTestItem(testSpecHandle spec);
/* A new, empty test result; free it with BK_testResult_destroy. */
BK_EXPORT testResultHandle BK_testResult_create(void);
/* Frees a test result; NULL is ignored. */
BK_EXPORT void BK_testResult_destroy(testResultHandle result);
/* The station's verdict for the test; the library never judges it. */
BK_EXPORT bool BK_testResult_setResult(testResultHandle result, enum BK_PASSFAILRESULT verdict);
/* The measured value as text. */
BK_EXPORT bool BK_testResult_setValue(testResultHandle result, const char* text, size_t length);
/* A message that goes with the result. */
BK_EXPORT bool BK_testResult_setMessage(testResultHandle result, const char* text, size_t length);

/* Fixture position (fixture 1 to 10, head 1 to 6), as texts or numbers; out of
 * range: BK_MSG_ERROR_API_SYNTAX.  Memory only, in any state. */
BK_EXPORT BKReplyHandle BK_setDUTPos(UUTHandle handle, const char* fixture, const char* head);
/* The same with numbers. */
BK_EXPORT BKReplyHandle BK_setDUTPosition(UUTHandle handle, BK_ENUM_FIXTURE_ID fixture,
                                          BK_ENUM_FIXTURE_HEAD_ID head);

/* Blobs: compress a file (path) or a memory block into the session's blobs
 * directory and record it; the source stays the caller's.  Writes under
 * /vault and may take long for big data.  A missing file or failed write:
 * BK_MSG_ERROR_FILESYSTEM; bad name or state: BK_MSG_ERROR_API_SYNTAX. */

/* A file, kept by the servers under the default policy. */
BK_EXPORT BKReplyHandle BK_addBlob(UUTHandle handle, const char* name, const char* path);
/* A file, with a retention policy. */
BK_EXPORT BKReplyHandle BK_addBlobWithPolicy(UUTHandle handle, enum BK_BKBLOBPOLICY policy,
                                             const char* name, const char* path);
/* A memory block of `length` bytes. */
BK_EXPORT BKReplyHandle BK_addBlobData(UUTHandle handle, const char* name, const void* data,
                                       long length);
/* A memory block, with a retention policy. */
BK_EXPORT BKReplyHandle BK_addBlobDataWithPolicy(UUTHandle handle, enum BK_BKBLOBPOLICY policy,
                                                 const char* name, const void* data, long length);

/* Unit identity and station checks. */

/* Checks a serial number's form without adding it; a bad one fails with
 * BK_MSG_ERROR_INVALID_SERIAL_NUMBER (class PROCESS_CONTROL) under the policy. */
BK_EXPORT BKReplyHandle BK_validateSerialNumber(UUTHandle handle, const char* serialNumber);
/* Runs the station checks in order (signature, health, serial number, shop
 * floor); the first failure answers with its own message number and is kept
 * for done.  Reads the station files and /tmp; does not wait for the shop floor. */
BK_EXPORT BKReplyHandle BK_amIOkay(UUTHandle handle, const char* serialNumber);
/* One text of the station info file by key (BK_KS_...), in two calls.  First
 * call: value itself NULL; *length receives the text's length.  Second call:
 * value points at the caller's char* that points at a buffer of *length + 1
 * bytes, *length unchanged; the text and its terminator are copied there.
 * Failures (BK_MSG_ERROR_API_SYNTAX) set *length to 0.  A key missing from the
 * file reads as "NOTFOUND".  The buffer is the caller's; no disk access. */
BK_EXPORT BKReplyHandle BK_getKSStationInfo(UUTHandle handle, int key, char** value,
                                            unsigned long long* length);

/* Session time and the finished document. */

/* Replaces the session's start time (memory only, any state); a time that
 * cannot be formatted fails with BK_MSG_ERROR_FILESYSTEM. */
BK_EXPORT BKReplyHandle BK_setStartTime(UUTHandle handle, time_t when);
/* Sets the stop time, which done then keeps (memory only, any state). */
BK_EXPORT BKReplyHandle BK_setStopTime(UUTHandle handle, time_t when);
/* The committed document (before signing) as the reply's text, read with
 * BK_reply_getJsonData; before commit: BK_MSG_ERROR_API_SYNTAX.  Memory only. */
BK_EXPORT BKReplyHandle BK_getJsonResultsObj(UUTHandle handle);

#ifdef __cplusplus
} /* extern "C" */

/* Functions with C++ linkage: their parameter types are part of the symbol,
 * so they stay exactly as declared. */

/* The status word for a verdict, class and message under the station's fail
 * policy ("lifeline"): 0 when the message is OFF, no fail bit when PASSIVE. */
BK_EXPORT unsigned BK_buildStatus(BK_PASSFAILRESULT result, unsigned msgClass, unsigned message);
/* True when the policy makes this fault PASSIVE; message 31 never is. */
BK_EXPORT bool BK_isFailPassive(unsigned msgClass, unsigned message);
/* True when the policy has no 0 or 1 entry for the class. */
BK_EXPORT bool BK_isLifelineClassOFF(unsigned msgClass, unsigned message);
/* True when the policy has no 0 or 1 entry for the message; never for 31. */
BK_EXPORT bool BK_isLifelineMessageOFF(unsigned msgClass, unsigned message);

/* Records one module (a second call replaces it) in the open session after
 * "serialnumber"; otherwise BK_MSG_ERROR_API_SYNTAX.  Memory only. */
BK_EXPORT BKReplyHandle BK_addModuleHistory(UUTHandle handle, const char* moduleSN,
                                            const char* vendorCode, const char* dateCode,
                                            const char* partNumber, const char* description,
                                            const char* lotCode);
/* Records that a failure lay with the station, before commit; after it:
 * BK_MSG_ERROR_INVALID_SW_VERSION.  Memory only. */
BK_EXPORT BKReplyHandle BK_sendStationFailureReport(UUTHandle handle, const char* step,
                                                    const char* reason);
/* Not implemented: both answer BK_MSG_ERROR_UNIMPLEMENTED, which the policy
 * may turn into a status of 0; never read that as "station in order". */
BK_EXPORT BKReplyHandle BK_isStationOK(char* stationIdentifier);
/* See BK_isStationOK. */
BK_EXPORT BKReplyHandle BK_isUUTOK(UUTHandle handle);

/* Station health probes: they read the health file (no network); a failure
 * goes into `reply` (the caller's) with class PROCESS_CONTROL and answers false. */

/* The Ethernet report; fails with BK_MSG_ERROR_ETHERNET_NOT_RESPONDING. */
BK_EXPORT bool BK_isEtherNetOK(UUTHandle handle, BKReplyHandle reply);
/* The network report and its age; fails with BK_MSG_ERROR_NETWORK_NOT_RESPONDING. */
BK_EXPORT bool BK_isNetWorkOK(UUTHandle handle, BKReplyHandle reply);
/* The station-management agent's report; fails with BK_MSG_ERROR_KESTREL_NOT_RESPONDING. */
BK_EXPORT bool BK_isKestrelOK(UUTHandle handle, BKReplyHandle reply);
/* The forwarding agent's report; fails with BK_MSG_ERROR_MARTEN_NOT_RUNNING. */
BK_EXPORT bool BK_isMartenRunning(UUTHandle handle, BKReplyHandle reply);
/* Always true. */
BK_EXPORT bool BK_isStationSWVersionOK(UUTHandle handle, BKReplyHandle reply);
/* Always true. */
BK_EXPORT bool BK_isMartenVersionOK(UUTHandle handle, BKReplyHandle reply);
/* Always true. */
BK_EXPORT bool BK_isOtterVersionOK(UUTHandle handle, BKReplyHandle reply);
/* Reads /tmp/bramble_version into *read and tells whether it is at least
 * 3.0.0.0; appends the versions compared to the other two.  Missing: true. */
BK_EXPORT bool BK_checkMartenVersion(std::string* read, std::string* libraryVersion,
                                     std::string* required);

/* The station info file's signature (BK_MSG_ERROR_INVALID_SIGNATURE, never
 * switched off) and its expiry; each rereads the file and fills `reply`. */

/* True when the station info file's signature verifies. */
BK_EXPORT bool BK_isSignatureOK(BKReplyHandle reply);
/* True when SIGNATURE_EXPIRATION has not passed. */
BK_EXPORT bool BK_isSigExpOK(BKReplyHandle reply);

/* The shop-floor answer about the unit, as the background check left it in
 * /tmp/<session id>; neither waits for it. */

/* True unless the shop floor failed to answer in time (BK_MSG_ERROR_SFC_QUERY_UNIT). */
BK_EXPORT bool BK_isSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply, const char* serialNumber);
/* True for the bad outcome: the unit is out of process
 * (BK_MSG_ERROR_UNIT_OUT_OF_PROCESS in `reply`). */
BK_EXPORT bool BK_isUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply,
                                     const char* serialNumber);

/* Overwrites the live station info file with an unsigned sample: for setting
 * up a new station only. */
BK_EXPORT void CreateStationInfoFile();
/* Overwrites the live health file with a sample: for setting up only. */
BK_EXPORT void CreateStationHealthFile();
#else
/* The two unit checks are exported under their C names as well, for stations
 * written in C; C++ stations bind the C++ names above. */
BK_EXPORT bool BK_isSFCQueryUnitOK(UUTHandle handle, BKReplyHandle reply, const char* serialNumber);
BK_EXPORT bool BK_isUnitOutOfProcess(UUTHandle handle, BKReplyHandle reply,
                                     const char* serialNumber);
#endif /* __cplusplus */

#endif /* BRAMBLEKIT_INTERFACE_BRAMBLEKIT_H_ */
