// Strict reading of a signed JSON file.  Signatures cover raw text found by
// searching for quoted keys, while settings come from a parser: the two agree
// only when the text holds each key once per object, no comments, and nothing
// after the top-level value.  A file that breaks any of these is refused, with
// a text that says which rule and where.
#ifndef BRAMBLEKIT_FOUNDATION_STRICTJSON_H_
#define BRAMBLEKIT_FOUNDATION_STRICTJSON_H_

#include <json/json.h>

#include <string>

struct StrictJsonProblem {
  enum Kind { kNone, kComment, kDuplicateKey, kTrailingText, kSyntax };
  Kind kind = kNone;
  std::string key;     // the repeated key, for kDuplicateKey
  std::string detail;  // the parser's own words, for kSyntax
  int line = 0;
  int column = 0;
  // "a comment at line 3, column 5" and the like.
  std::string describe() const;
};

// Parses `text` into `root`.  On failure `root` holds what the parser had
// built before it stopped, and `problem` the first rule broken.  Values keep
// their offsets in `text` (Json::Value::getOffsetStart/getOffsetLimit).
// Never throws, not even on nesting too deep for the parser.
bool parseStrictJson(const std::string& text, Json::Value& root, StrictJsonProblem& problem);

#endif  // BRAMBLEKIT_FOUNDATION_STRICTJSON_H_
