// Signing of a committed results file, for its two consumers.
#ifndef BRAMBLEKIT_SIGNATURE_RESULTSSIGNING_H_
#define BRAMBLEKIT_SIGNATURE_RESULTSSIGNING_H_

#include <json/json.h>

#include <string>

// Signs the results file at `path` (the session's "results.Json", just
// rendered and verified by CUUT::commit) and rewrites it in place with
// test_attributes.otter_signature, .ocelot_signature and
// .signature_version = "1".  What is signed is raw text of the file as it
// stood before the rewrite (see signature/SignedTexts.h), which is why the
// file must be the renderer's own output.
//
// True when the file was rewritten with the signatures.  False leaves the file
// unsigned and untouched (empty or unreadable file, no "results", an empty
// value, a key that cannot be opened, a parse failure, no write access); the
// caller records it and goes on.  Throws std::out_of_range when a key the
// signed texts need is absent from the file: CUUT::commit catches it.
bool signJsonResults(const std::string& path);

// The same for a file whose bytes the caller holds: `fileText`, rendered from
// `document`, which must round trip (Util_resultsRenderRoundTrips).  The texts
// are cut from `fileText` and the three members put into it where the
// renderer would put them, so nothing is read, parsed or rendered whole again;
// the file ends byte for byte as signJsonResults(path) would leave it.
bool signJsonResults(const std::string& path, const std::string& fileText,
                     const Json::Value& document);

#endif  // BRAMBLEKIT_SIGNATURE_RESULTSSIGNING_H_
