// The check of the signed station info file, under the names of the exported
// functions that wrap it (their log lines carry them):
//
//   bool signaturecheck::BK_isSignatureOK(CBKReply* reply);
//     Reads ks_station_info.json afresh (up to three tries, 1 s and 2 s apart,
//     while the file is under 1024 characters, as it is while being
//     rewritten) and verifies its "signature" against the embedded station
//     key.  The signed text follows the SIGNATURE_VERSION of the settings
//     loaded at the last session start.  A file with a key twice in one
//     object, a comment or anything after its top-level value fails, and so
//     does one whose signed objects are not its top-level members of those
//     names.  When the signed objects changed since the settings were
//     loaded, the text the settings came from must verify as well.  True:
//     reply text "Digital signature verified OK" and a pass status.  False:
//     the reply carries the reason and a failure of class
//     BK_MSG_CLASS_API_ERROR, message BK_MSG_ERROR_INVALID_SIGNATURE, which no
//     station policy can soften.  Called by the am-I-okay sequence and by done.
//
//   bool signaturecheck::BK_isSigExpOK(CBKReply* reply);
//     Version "2": true with the text "ks_station_info SIGNATURE_VERSION == 2".
//     Otherwise compares SIGNATURE_EXPIRATION (seconds since the epoch) with
//     now: expired, missing or not a number gives false with the reason and
//     the same failure status; valid gives true and leaves the reply alone.
//     Called by done.
//
// A NULL reply gives false and an error line.
#ifndef BRAMBLEKIT_SIGNATURE_STATIONINFOSIGNATURE_H_
#define BRAMBLEKIT_SIGNATURE_STATIONINFOSIGNATURE_H_

#include <sstream>
#include <string>

#include "foundation/Reply.h"

// Steps of BK_isSignatureOK after the file's text has been read: picks the
// signed text by version, reads signature and digest, verifies.  `message`
// already holds what the reading left for the reply.  Separate so that the
// text handling can be exercised without the file and its waits.
bool checkStationInfoText(const std::string& fileText, std::ostringstream& message,
                          CBKReply* reply);

namespace signaturecheck {
bool BK_isSignatureOK(CBKReply* reply);
bool BK_isSigExpOK(CBKReply* reply);
}  // namespace signaturecheck

#endif  // BRAMBLEKIT_SIGNATURE_STATIONINFOSIGNATURE_H_
