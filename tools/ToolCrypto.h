// Key files and SHA-1/RSA (PKCS#1 v1.5) signatures for the command-line tools,
// which stand on the other sides of the library's signatures: the
// station-management agent that signs station files, and the consumers that
// check signed results.  Same bytes as the library's own signatures.
#ifndef BRAMBLEKIT_TOOLS_TOOLCRYPTO_H_
#define BRAMBLEKIT_TOOLS_TOOLCRYPTO_H_

#include <string>

// Signs `text` with the PEM private key in `keyPath`; lower-case hex in
// `signatureHex`.  On failure returns false with a one-line `error`.
bool signWithKeyFile(const std::string& keyPath, const std::string& text, std::string& signatureHex,
                     std::string& error);

// Verifies a hex signature (either case, even length, nothing else) of `text`
// with the PEM public key in `keyPath`.  False with a one-line `error`.
bool verifyWithKeyFile(const std::string& keyPath, const std::string& text,
                       const std::string& signatureHex, std::string& error);

// The whole file, byte for byte; false when it cannot be read.
bool readWholeFile(const std::string& path, std::string& text);

#endif  // BRAMBLEKIT_TOOLS_TOOLCRYPTO_H_
