// The results file a committed session leaves for the forwarding agent, and
// the check it must pass before the hand-over.
#ifndef BRAMBLEKIT_DATA_RESULTSDOCUMENT_H_
#define BRAMBLEKIT_DATA_RESULTSDOCUMENT_H_

#include <json/json.h>

#include <ostream>
#include <string>

// Writes the document in the one text form of the results file: the JSON
// library's styled stream form, one tab per level, keys in sorted order.  The
// signing code searches this very text for its keys.
void Util_renderResultsJson(std::ostream& out, const Json::Value& document);
std::string Util_renderResultsText(const Json::Value& document);

// True when the document's text parses back into a value that renders to the
// same text and reads the same: no value carries a comment, every number is
// finite (infinity renders as a number no parser takes, NaN as null), and the
// nesting stays well within the parser's limit.  Such a document stands for
// its file: it may be checked in memory and its text patched, instead of
// parsing the file back.  `text` is the document's rendering: most documents
// are judged by a scan of it, the rest by a walk of the document.
bool Util_resultsRenderRoundTrips(const Json::Value& document, const std::string& text);

// True when the file at `path` parses and holds what the servers demand: at
// least one result, the session's times, the station id and the four
// mandatory attributes.  Each failing check is logged and ends the test.  A
// document whose parts have the wrong JSON types may make a read throw; that
// exception goes to the caller.
bool Util_verify_results_json(const char* path);

// The same check of a file just written with `text`.  With `document`, the
// value `text` was rendered from, which must round trip: the file must hold
// exactly `text`, and the document is checked in memory.  Without it the file
// is parsed, as Util_verify_results_json does.
bool Util_verify_results_written(const char* path, const std::string& text,
                                 const Json::Value* document);

// The text the renderer gives for `document` with `members` set in its object
// `section`, made from `text`, the rendering of `document`, by rendering only
// that section and what follows it: for a document that round trips, the same
// bytes as parsing `text`, setting the members and rendering it all again.
// False, with `out` untouched, when `section` is no object with members or
// `text` does not end as the renderer ends it; the caller then renders.
bool Util_renderWithMembersSet(const std::string& text, const Json::Value& document,
                               const char* section, const Json::Value& members, std::string& out);

#endif  // BRAMBLEKIT_DATA_RESULTSDOCUMENT_H_
