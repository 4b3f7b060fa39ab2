// One session's results as bramblekit-report reads them: the results file of
// a session directory (or a lone results file, as the corrupt directory holds
// them), what is wrong with it, and its HTML page.
#ifndef BRAMBLEKIT_TOOLS_SESSIONREPORT_H_
#define BRAMBLEKIT_TOOLS_SESSIONREPORT_H_

#include <json/json.h>

#include <string>
#include <vector>

enum class SignatureState { kVerified, kFailed, kUnsigned, kNotChecked };

struct SignatureCheck {
  SignatureState state = SignatureState::kNotChecked;
  std::string detail;  // the verifier's reason, or the key's path
};

struct SessionCounts {
  unsigned pass = 0;
  unsigned fail = 0;
  unsigned na = 0;
  unsigned infoOnly = 0;
  unsigned other = 0;  // a result word the library does not write
  unsigned parametric = 0;
  unsigned passFailOnly = 0;
};

struct LoadedSession {
  std::string name;         // the directory's (or file's) own name
  std::string directory;    // where blobs are looked for; "" for a lone file
  std::string resultsPath;  // "" when none was found
  bool parsed = false;      // the results file is a JSON object
  Json::Value document;
  // Why the text is not strict JSON (a key twice, a comment, trailing text),
  // which no signature may pass; "" when it is.
  std::string notStrict;
  std::vector<std::string> problems;
  SignatureCheck signature;
  SessionCounts counts;
  std::string serial, stationId, stationName, verdict, start, stop;
  // Full names ("test sub_test sub_sub_test") of the results that failed.
  std::vector<std::string> failedTests;
};

// Reads and checks `path`, a session directory or a results file.  With a
// non-empty `publicKeyPath` both signatures are verified with that key.
// Never throws for bad input: everything wrong lands in `problems`.
LoadedSession loadSession(const std::string& path, const std::string& publicKeyPath);

// The session's page.  Blob links are made relative to `reportDirectory`,
// where the page will be written; `backLink`, if not empty, is a relative
// link shown at the top (the vault page).  Blobs found missing are added to
// the session's problems.
std::string renderSessionReport(LoadedSession& session, const std::string& reportDirectory,
                                const std::string& backLink);

// "verified", "FAILED: ...", "unsigned", "not checked": one line for a table.
std::string signatureSummary(const SignatureCheck& check);

// A result's full name: its non-empty names joined by one blank, as the
// library joins them into a parametric key.
std::string fullTestName(const Json::Value& result);

#endif  // BRAMBLEKIT_TOOLS_SESSIONREPORT_H_
