// Cutting raw text out of a JSON file without parsing it.  Signatures cover
// the bytes of the file as they stand (order, blanks, line ends), so both the
// station file check and the results signing cut their texts with these.
//
// The searches are deliberately naive: a needle is found wherever it first
// occurs, as a key or inside a value, and braces inside strings count.  The
// station-management agent and the consumers of the results cut the same way,
// so any "improvement" here would break every signature in the field.
//
// None of them reads outside its text: where the text ends before the cut is
// complete, the cutter gives up and returns false.
#ifndef BRAMBLEKIT_SIGNATURE_RAWTEXTCUTTERS_H_
#define BRAMBLEKIT_SIGNATURE_RAWTEXTCUTTERS_H_

#include <cstddef>
#include <string>

// The raw text of the object that follows the first occurrence of "key"
// (quoted) in `text`: from the first "{" after it through its matching "}",
// counting braces only.  False, with `out` untouched, when the text or key is
// empty, the key is absent, no "{" follows it, or the braces never balance.
bool GetUnsortedObjFromJsonString(const std::string& text, std::string& out,
                                  const std::string& key);

// Where GetUnsortedObjFromJsonString's cut lies: [begin, end) in `text`.
bool FindUnsortedObjSpan(const std::string& text, const std::string& key, std::size_t& begin,
                         std::size_t& end);

// Two modes, chosen by `mark`:
//  '[' or '{': from the first mark through the LAST "]" or "}" of the whole
//              text, nesting ignored;
//  ':'       : the first quoted string after the first ":", without quotes and
//              with no regard to escapes.
// Clears `out` for a non-empty text.  False when the text is empty, the mark
// is none of these three, or the text holds no such span.
bool GetStringFromObj(const std::string& text, std::string& out, char mark);

// The string value of "key", found by text search.  The search skips a fixed
// count past the key's start (11 for "signature", 8 for any other key, which
// is right only for six-letter keys such as "digest") and takes what lies
// between the next two quotation marks.  False when absent or cut short.
bool GetStringFromString(const std::string& text, std::string& out, const std::string& key);

// Where GetStringFromString's value lies: [begin, end) in `text`.  Lets the
// station-file signing tool write exactly where stations will read.
bool FindStringValueSpan(const std::string& text, const std::string& key, std::size_t& begin,
                         std::size_t& end);

#endif  // BRAMBLEKIT_SIGNATURE_RAWTEXTCUTTERS_H_
