// What each signature covers, cut from a file's raw text.  The library, the
// station-file signing tool and the results verifier all build the covered
// texts here, so the three sides cannot drift apart.  Nothing here logs or
// touches a file.
#ifndef BRAMBLEKIT_SIGNATURE_SIGNEDTEXTS_H_
#define BRAMBLEKIT_SIGNATURE_SIGNEDTEXTS_H_

#include <string>
#include <utility>
#include <vector>

// --- The station info file ---------------------------------------------------

// The objects whose raw text a station info signature covers, in order:
// version "1" signs ksinfo, lifeline and controlbits back to back (never
// swversions); version "2" signs kestrel_day alone.  Empty for any other
// version.
std::vector<std::string> stationInfoSignedKeys(const std::string& version);

// The covered text: the raw objects of stationInfoSignedKeys(version),
// concatenated with nothing between them.  An object that cannot be cut is
// left out and its key added to `missing`, so that verification fails.
std::string stationInfoSignedText(const std::string& fileText, const std::string& version,
                                  std::vector<std::string>* missing);

// --- The results file ------------------------------------------------------------
//
// Keys are found at their first quoted occurrence in the whole file.  A key
// found at position 0 counts as absent (false); a key that is really absent
// throws std::out_of_range, which the committing code catches.  The one
// exception is "sub_station_id", which may simply be absent.

// The text signed for OTTER: from the first "[" after "results" through the
// last "]" of the file, line ends and blanks included.  False when it is
// empty or cannot be cut.
bool resultsOtterText(const std::string& fileText, std::string& out);

// The text signed for OCELOT: the values of unit_serial_number, mac_addr,
// uut_start, test_result, then sub_station_id and station_id when the file
// holds "sub_station_id", else station_name and station_id, back to back.
// False when any value is empty.  `usedSubStation` tells which road was taken.
bool resultsOcelotText(const std::string& fileText, std::string& out, bool* usedSubStation);

// The same values one by one, each with the key it was cut for, in signing
// order.  A consumer compares them with the parsed document.
bool resultsOcelotFields(const std::string& fileText,
                         std::vector<std::pair<std::string, std::string>>& fields,
                         bool* usedSubStation);

// A signed file's OTTER span with the lines of the two signature members
// taken out.  The rewrite at signing renders them inside that span when they
// sort before its end; removing exactly their lines gives the signed text
// back.  A member that is not in the span is left alone.
std::string withoutSignatureMembers(const std::string& otterSpan, const std::string& otterSignature,
                                    const std::string& ocelotSignature);

// The members added at signing, in the order they are written.
inline constexpr const char* kOtterSignatureKey = "otter_signature";
inline constexpr const char* kOcelotSignatureKey = "ocelot_signature";
inline constexpr const char* kSignatureVersionKey = "signature_version";

#endif  // BRAMBLEKIT_SIGNATURE_SIGNEDTEXTS_H_
