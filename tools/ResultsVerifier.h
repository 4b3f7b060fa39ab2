// The consumers' check of a committed results file: both signatures, against
// the texts recovered from the file as it lies on disk.
#ifndef BRAMBLEKIT_TOOLS_RESULTSVERIFIER_H_
#define BRAMBLEKIT_TOOLS_RESULTSVERIFIER_H_

#include <json/json.h>

#include <string>

// True when otter_signature and ocelot_signature of the results file text
// `fileText` both verify with the PEM public key at `keyPath`.  Otherwise
// false, with a one-line `reason`.
bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         std::string& reason);

// The same check for a file text that the caller has parsed into `root`
// already, so a large file is parsed once.
bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         const Json::Value& root, std::string& reason);

#endif  // BRAMBLEKIT_TOOLS_RESULTSVERIFIER_H_
