// The consumers' check of a committed results file: both signatures, against
// the texts recovered from the file as it lies on disk.
#ifndef BRAMBLEKIT_TOOLS_RESULTSVERIFIER_H_
#define BRAMBLEKIT_TOOLS_RESULTSVERIFIER_H_

#include <json/json.h>

#include <string>
#include <vector>

// True when otter_signature and ocelot_signature of the results file text
// `fileText` both verify with the PEM public key at `keyPath`, and the file
// says what they sign: it is strict JSON (no key twice in an object, no
// comment, nothing after the document), and the identifying values cut for
// the OCELOT text are the parsed document's own.  Otherwise false, with a
// one-line `reason`.  On success `uncovered`, if given, names the members
// that neither signature covers, in file order.
bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         std::string& reason, std::vector<std::string>* uncovered = nullptr);

// The same check for a file text that the caller has parsed into `root`
// already, so a large file is parsed once.  The strictness of the text is the
// caller's to check.
bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         const Json::Value& root, std::string& reason,
                         std::vector<std::string>* uncovered = nullptr);

#endif  // BRAMBLEKIT_TOOLS_RESULTSVERIFIER_H_
