#include "data/ResultsDocument.h"

#include <string.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "data/ValueValidators.h"
#include "foundation/Constants.h"
#include "foundation/FileUtilities.h"
#include "foundation/Log.h"

void Util_renderResultsJson(std::ostream& out, const Json::Value& document) { out << document; }

std::string Util_renderResultsText(const Json::Value& document) {
  std::ostringstream out;
  Util_renderResultsJson(out, document);
  return out.str();
}

namespace {

// Far below the parser's own limit, far above any results document.
const int kRoundTripDepth = 64;

bool roundTrips(const Json::Value& value, int depth) {
  if (depth > kRoundTripDepth || value.hasComment(Json::commentBefore) ||
      value.hasComment(Json::commentAfterOnSameLine) || value.hasComment(Json::commentAfter)) {
    return false;
  }
  switch (value.type()) {
    case Json::realValue:
      return std::isfinite(value.asDouble());
    case Json::arrayValue:
    case Json::objectValue:
      for (const Json::Value& child : value) {
        if (!roundTrips(child, depth + 1)) return false;
      }
      return true;
    default:
      return true;
  }
}

// The members of a rendered object, as they stand inside the document: the
// text between the object's "{" and its closing line.
std::string renderedMembers(const Json::Value& object) {
  const std::string text = Util_renderResultsText(object);
  return text.substr(1, text.size() - 3);
}

void logLine(const std::string& text) { BK_LOG(kBlankUID, text); }

// Logs the failing step, then the document itself so that the log shows what
// was wrong with it.
void logWithDocument(const std::string& text, const Json::Value& root) {
  logLine(text);
  BK_LOG(kBlankUID, root);
}

// A missing member reads as an empty string.
std::string textOf(const Json::Value& object, const char* key) {
  return object.get(key, "").asString();
}

// The checks after the parse.
bool verifyDocument(const Json::Value& root) {
  if (root.size() < 3) {
    logLine(
        "Total objects in the results json file are less than 3, see Bramblekit.log for error ");
    return false;
  }

  const Json::Value& results = root["results"];
  logLine("Total test results objs found [" + std::to_string(results.size()) + "]");
  if (results.size() < 1) {
    logWithDocument("Total test results are less than 1, see Bramblekit.log for errors", root);
    return false;
  }

  const Json::Value& session = root["test_attributes"];
  if (session.size() < 5) {
    logWithDocument("Total test_attributes are less than 5, see Bramblekit.log for error", root);
    return false;
  }

  const Json::Value& station = root["test_station_attributes"];
  if (station.size() < 5) {
    logWithDocument("Total test_station_attributes are less than 5, see Bramblekit.log for error",
                    root);
    return false;
  }

  std::string start = textOf(session, "uut_start");
  if (!validateDateTimeStampVal(start)) {
    logLine("uut_start time is NOT valid [" + start + "]");
    return false;
  }
  std::string stop = textOf(session, "uut_stop");
  if (!validateDateTimeStampVal(stop)) {
    logLine("uut_stop time is NOT valid[" + stop + "]");
    return false;
  }
  std::string stationID = textOf(station, "station_id");
  if (!validateStationIDVal(stationID)) {
    logLine("station_id time is NOT valid [" + stationID + "]");
    return false;
  }

  // The signature version is named in the line but not tested: signing
  // replaces it anyway.
  for (const char* key : {"test_result", "unit_serial_number"}) {
    std::string value = textOf(session, key);
    if (value.empty()) {
      logLine(
          "signature_version or test_result or unit_serial_number time is NOT valid or empty [" +
          value + "]");
      return false;
    }
  }
  for (const char* key : {"bk_version", "limits_version", "software_name", "software_version"}) {
    std::string value = textOf(station, key);
    if (value.empty()) {
      logLine(
          "bk_version or limits_version or software_name or software_version is NOT valid or "
          "empty [" +
          value + "]");
      return false;
    }
  }
  return true;
}

const char* const kNoPath =
    "invalid path or file name or file does not exist to verify results json file";
const char* const kNotParsed = "Could not parse results json file, see Bramblekit.log for error";

}  // namespace

bool Util_resultsRenderRoundTrips(const Json::Value& document, const std::string& text) {
  // The renderer escapes every control character and every byte above 0x7F
  // inside strings, so what could spoil a round trip shows in the text: a
  // comment is written as it stands and begins with "/" (or NUL), infinity
  // is 1e+9999, NaN is null, and each level of nesting adds a tab at the
  // start of a line.  A text with none of these round trips; one with any of
  // them, be it only a "/" inside a value, is left to the walk.
  const std::string deep(kRoundTripDepth - 1, '\t');
  for (const std::string& sign :
       {std::string("/"), std::string(1, '\0'), std::string("e+9999"), std::string("null"), deep}) {
    if (memmem(text.data(), text.size(), sign.data(), sign.size()) != nullptr) {
      return roundTrips(document, 0);
    }
  }
  return true;
}

bool Util_verify_results_json(const char* path) {
  if (path == nullptr) {
    logLine(kNoPath);
    return false;
  }
  Json::Value root;
  {
    // Opened for writing too: a file the session could not rewrite is as bad
    // as one it cannot read.
    std::fstream file(path, std::ios::in | std::ios::out);
    Json::Reader reader;
    if (!file.is_open() || !reader.parse(file, root, true)) {
      logLine(kNotParsed);
      return false;
    }
  }
  return verifyDocument(root);
}

bool Util_verify_results_written(const char* path, const std::string& text,
                                 const Json::Value* document) {
  if (document == nullptr || path == nullptr) return Util_verify_results_json(path);
  // The file is the document's rendering or nothing the parser would accept
  // as it: a short or altered write fails here as a parse would.
  if (!Util_fileHoldsExactly(path, text)) {
    BK_LOG_ERROR("The results file '" << path << "' does not hold the " << text.size()
                                      << " bytes written");
    logLine(kNotParsed);
    return false;
  }
  return verifyDocument(*document);
}

bool Util_renderWithMembersSet(const std::string& text, const Json::Value& document,
                               const char* section, const Json::Value& members, std::string& out) {
  if (!document.isObject() || !members.isObject()) return false;
  const Json::Value* target = document.find(section, section + strlen(section));
  if (target == nullptr || !target->isObject() || target->empty()) return false;

  // An object's members render alike wherever the object stands, so the
  // section and the members after it are rendered alone and must end `text`.
  Json::Value alone(Json::objectValue);
  Json::Value later(Json::objectValue);
  for (auto member = document.begin(); member != document.end(); ++member) {
    if (member.name() > section) later[member.name()] = *member;
  }
  alone[section] = *target;
  const std::string tail = later.empty() ? "\n}" : "," + renderedMembers(later) + "\n}";
  const std::string before = renderedMembers(alone);
  if (text.size() < before.size() + tail.size()) return false;
  const std::size_t at = text.size() - tail.size() - before.size();
  if (text.compare(at, before.size(), before) != 0 ||
      text.compare(at + before.size(), tail.size(), tail) != 0) {
    return false;
  }

  Json::Value& patched = alone[section];
  for (auto member = members.begin(); member != members.end(); ++member) {
    patched[member.name()] = *member;
  }
  const std::string after = renderedMembers(alone);
  out.clear();
  out.reserve(at + after.size() + tail.size());
  out.append(text, 0, at).append(after).append(tail);
  return true;
}
