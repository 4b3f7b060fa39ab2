// RSA with SHA-1 (PKCS#1 v1.5) over raw text, with signatures carried as
// hexadecimal text.  The station info file is verified with the embedded
// station key (ksPubKey1), results are signed with the embedded results key
// (myPriKey).  Nothing is cached: each call parses its key afresh, so every
// function here may run on several threads at once.
#ifndef BRAMBLEKIT_SIGNATURE_SIGNINGPRIMITIVES_H_
#define BRAMBLEKIT_SIGNATURE_SIGNINGPRIMITIVES_H_

#include <cstddef>
#include <string>

// Log tags that stand where a session line carries its UID.  Plain text that
// log readers of the station grep for; they enter no digest.
inline constexpr const char* kPrimitivesLogTag = "xxxxxxxx.yyyyyyy-zzzzzz";
inline constexpr const char* kPrimitivesWarningLogTag = "Warning:: xxxxxxxx.yyyyyyy-zzzzzz";
inline constexpr const char* kStationSignatureLogTag = "xxxxxxxx.yyyyyyy.zzzzzz";
inline constexpr const char* kResultsSigningLogTag = "ocelotxx.sigyyyy-string";

// True when `signatureHex` (either case; an odd last digit is ignored) is the
// station key's signature of `text`.  `unused` is kept for existing callers.
bool verifySig(const std::string& text, const std::string& signatureHex, std::string unused);

// Digests `text` and compares with `expectedDigest`, logging a mismatch.
// Always false: no decision may rest on it.
bool verifyDigest(std::string text, std::string other, std::string expectedDigest);

// Signs `text` with the results key; on success `signatureHex` receives the
// signature as lower-case hex.  False for an empty text or when the key
// cannot be opened or used.
bool signString(const std::string& text, std::string& signatureHex);

// The whole file read up to its first 0xFF byte, as the station-file readers
// do; `out` is left empty when the file does not open.
void ConvertFileToString(const char* path, std::string& out);

// Lower-case hex, high nibble first; "" for a null pointer or a count of 0.
std::string binToHexString(const unsigned char* bytes, std::size_t count);

// SHA-1 of the text's bytes, in lower-case hex.
std::string sha1Hex(const std::string& text);

// Loads OpenSSL's algorithm and error tables.  Kept for callers that want to
// do so explicitly; the library's load-time set-up does the same.
void initOpenssl();

#endif  // BRAMBLEKIT_SIGNATURE_SIGNINGPRIMITIVES_H_
