// The results file a committed session leaves for the forwarding agent, and
// the check it must pass before the hand-over.
#ifndef BRAMBLEKIT_DATA_RESULTSDOCUMENT_H_
#define BRAMBLEKIT_DATA_RESULTSDOCUMENT_H_

#include <json/json.h>

#include <ostream>

// Writes the document in the one text form of the results file: the JSON
// library's styled stream form, one tab per level, keys in sorted order.  The
// signing code searches this very text for its keys.
void Util_renderResultsJson(std::ostream& out, const Json::Value& document);

// True when the file at `path` parses and holds what the servers demand: at
// least one result, the session's times, the station id and the four
// mandatory attributes.  Each failing check is logged and ends the test.  A
// document whose parts have the wrong JSON types may make a read throw; that
// exception goes to the caller.
bool Util_verify_results_json(const char* path);

#endif  // BRAMBLEKIT_DATA_RESULTSDOCUMENT_H_
