#include "foundation/StrictJson.h"

#include <stdio.h>

#include <exception>
#include <memory>

namespace {

void locate(const std::string& text, std::size_t offset, StrictJsonProblem& problem) {
  problem.line = 1;
  problem.column = 1;
  for (std::size_t i = 0; i < offset && i < text.size(); ++i) {
    if (text[i] == '\n') {
      ++problem.line;
      problem.column = 1;
    } else {
      ++problem.column;
    }
  }
}

// Where the first comment outside a string starts, or npos.  The parser
// skips comments inside objects even when told not to allow them, so they
// are looked for here.
std::size_t firstComment(const std::string& text) {
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '/' && i + 1 < text.size() && (text[i + 1] == '/' || text[i + 1] == '*')) {
      return i;
    }
  }
  return std::string::npos;
}

// The parser reports "* Line L, Column C\n  message\n..."; the first error
// is the one that stopped it.
void readParserError(const std::string& errors, StrictJsonProblem& problem) {
  if (sscanf(errors.c_str(), "* Line %d, Column %d", &problem.line, &problem.column) != 2) {
    problem.line = 0;
    problem.column = 0;
  }
  const std::size_t begin = errors.find("\n  ");
  std::string message = begin == std::string::npos
                            ? errors
                            : errors.substr(begin + 3, errors.find('\n', begin + 3) - begin - 3);
  const std::string duplicate = "Duplicate key: '";
  if (message.compare(0, duplicate.size(), duplicate) == 0 && message.back() == '\'') {
    problem.kind = StrictJsonProblem::kDuplicateKey;
    problem.key = message.substr(duplicate.size(), message.size() - duplicate.size() - 1);
  } else if (message == "Extra non-whitespace after JSON value.") {
    problem.kind = StrictJsonProblem::kTrailingText;
  } else {
    problem.kind = StrictJsonProblem::kSyntax;
    problem.detail = message;
  }
}

}  // namespace

std::string StrictJsonProblem::describe() const {
  std::string where = "line " + std::to_string(line) + ", column " + std::to_string(column);
  switch (kind) {
    case kNone:
      return "no problem";
    case kComment:
      return "a comment at " + where;
    case kDuplicateKey:
      return "the key \"" + key + "\" twice in one object, again at " + where;
    case kTrailingText:
      return "more than white space after the top-level value, at " + where;
    case kSyntax:
      break;
  }
  return "a syntax error" + (line == 0 ? std::string() : " at " + where) + ": " + detail;
}

bool parseStrictJson(const std::string& text, Json::Value& root, StrictJsonProblem& problem) {
  problem = StrictJsonProblem();
  // What lies behind a comment is not read at all: the parser would skip the
  // comment and take the objects after it.
  const std::size_t comment = firstComment(text);
  const std::size_t end = comment == std::string::npos ? text.size() : comment;
  Json::CharReaderBuilder builder;
  builder["allowComments"] = false;
  builder["rejectDupKeys"] = true;
  builder["failIfExtra"] = true;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string errors;
  bool parsed = false;
  try {
    parsed = reader->parse(text.data(), text.data() + end, &root, &errors);
  } catch (const std::exception& e) {
    // Nesting deeper than the parser's stack limit.
    problem.kind = StrictJsonProblem::kSyntax;
    problem.detail = e.what();
    return false;
  }
  if (comment != std::string::npos) {
    problem.kind = StrictJsonProblem::kComment;
    locate(text, comment, problem);
    return false;
  }
  if (!parsed) readParserError(errors, problem);
  return parsed;
}
