#include "tools/SessionReport.h"

#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <sstream>
#include <string_view>

#include "foundation/StrictJson.h"
#include "tools/LimitBar.h"
#include "tools/ReportHtml.h"
#include "tools/ResultsVerifier.h"
#include "tools/ToolCrypto.h"

namespace fs = std::filesystem;

namespace {

const Json::Value kNull;

// A member of an object; null for anything else, so odd documents never
// reach jsoncpp's assertions.
const Json::Value& member(const Json::Value& value, const char* key) {
  if (!value.isObject()) return kNull;
  const Json::Value* found = value.find(key, key + strlen(key));
  return found != nullptr ? *found : kNull;
}

// Any scalar as text; "" for null, objects and arrays.
std::string text(const Json::Value& value) {
  if (value.isString()) return value.asString();
  if (value.isBool()) return value.asBool() ? "true" : "false";
  if (value.isIntegral())
    return value.isInt64() ? std::to_string(value.asInt64()) : std::to_string(value.asUInt64());
  if (value.isDouble()) {
    std::ostringstream out;
    out << value.asDouble();
    return out.str();
  }
  return "";
}

std::string text(const Json::Value& object, const char* key) { return text(member(object, key)); }

bool parseTime(const std::string& text, time_t& out) {
  struct tm fields {};
  const char* end = strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &fields);
  if (end == nullptr || *end != '\0') return false;
  fields.tm_isdst = -1;
  out = mktime(&fields);
  return out != static_cast<time_t>(-1);
}

std::string duration(const std::string& start, const std::string& stop) {
  time_t from = 0;
  time_t to = 0;
  if (!parseTime(start, from) || !parseTime(stop, to)) return "";
  long seconds = static_cast<long>(difftime(to, from));
  std::string sign = seconds < 0 ? "-" : "";
  seconds = std::labs(seconds);
  char buffer[48];
  snprintf(buffer, sizeof(buffer), "%s%ld:%02ld:%02ld", sign.c_str(), seconds / 3600,
           seconds / 60 % 60, seconds % 60);
  return buffer;
}

std::string humanSize(const std::string& bytesText) {
  double bytes = 0;
  if (!numberFromText(bytesText, bytes)) return bytesText;
  const char* units[] = {"B", "KiB", "MiB", "GiB"};
  int unit = 0;
  while (bytes >= 1024 && unit < 3) {
    bytes /= 1024;
    ++unit;
  }
  char buffer[32];
  snprintf(buffer, sizeof(buffer), unit == 0 ? "%.0f %s" : "%.1f %s", bytes, units[unit]);
  return buffer;
}

// The members of one result that a page shows, read in one pass over the
// object: a look-up per member costs more than the parse on 30,000 results.
struct ResultRecord {
  std::string test, subTest, subSubTest, value, lower, upper, units, priority, result, message,
      testType;
  std::string name() const {
    std::string joined;
    for (const std::string* part : {&test, &subTest, &subSubTest}) {
      if (part->empty()) continue;
      if (!joined.empty()) joined += ' ';
      joined += *part;
    }
    return joined;
  }
};

ResultRecord recordOf(const Json::Value& result) {
  ResultRecord record;
  std::string* const fields[] = {&record.test,    &record.subTest,  &record.subSubTest,
                                 &record.value,   &record.lower,    &record.upper,
                                 &record.units,   &record.priority, &record.result,
                                 &record.message, &record.testType};
  static constexpr std::string_view kKeys[] = {
      "test",  "sub_test", "sub_sub_test", "value",   "lower_limit", "upper_limit",
      "units", "priority", "result",       "message", "test_type"};
  for (auto it = result.begin(); it != result.end(); ++it) {
    const char* end = nullptr;
    const char* begin = it.memberName(&end);
    const std::string_view key(begin, static_cast<size_t>(end - begin));
    for (size_t k = 0; k < sizeof(kKeys) / sizeof(kKeys[0]); ++k) {
      if (key == kKeys[k]) {
        *fields[k] = text(*it);
        break;
      }
    }
  }
  return record;
}

void checkSignatures(LoadedSession& session, const std::string& fileText,
                     const std::string& publicKeyPath) {
  const Json::Value& attributes = member(session.document, "test_attributes");
  const bool signedFile = member(attributes, "otter_signature").isString() ||
                          member(attributes, "ocelot_signature").isString();
  SignatureCheck& check = session.signature;
  if (publicKeyPath.empty()) {
    check.state = signedFile ? SignatureState::kNotChecked : SignatureState::kUnsigned;
    return;
  }
  std::string reason;
  bool verified = false;
  try {
    if (!session.notStrict.empty()) {
      reason = "not strict JSON: " + session.notStrict;
    } else {
      verified = verifySignedResults(publicKeyPath, fileText, session.document, reason);
    }
  } catch (const std::exception& error) {
    reason = error.what();
  }
  if (verified) {
    check.state = SignatureState::kVerified;
    check.detail = publicKeyPath;
  } else if (!signedFile) {
    check.state = SignatureState::kUnsigned;
  } else {
    check.state = SignatureState::kFailed;
    check.detail = reason;
  }
}

void summarise(LoadedSession& session) {
  const Json::Value& document = session.document;
  const Json::Value& attributes = member(document, "test_attributes");
  const Json::Value& station = member(document, "test_station_attributes");
  if (!attributes.isObject())
    session.problems.push_back("the document has no test_attributes object");
  if (!station.isObject()) {
    session.problems.push_back("the document has no test_station_attributes object");
  }
  session.serial = text(attributes, "unit_serial_number");
  session.verdict = text(attributes, "test_result");
  session.start = text(attributes, "uut_start");
  session.stop = text(attributes, "uut_stop");
  session.stationId = text(station, "station_id");
  session.stationName = text(station, "station_name");
  if (attributes.isObject() && session.verdict.empty()) {
    session.problems.push_back("no test_result: the session was never committed");
  }

  const Json::Value& results = member(document, "results");
  if (!results.isArray()) {
    session.problems.push_back("the document has no results array");
    return;
  }
  SessionCounts& counts = session.counts;
  unsigned notObjects = 0;
  for (const Json::Value& result : results) {
    if (!result.isObject()) {
      ++notObjects;
      continue;
    }
    const ResultRecord record = recordOf(result);
    const std::string& word = record.result;
    if (word == "pass") {
      ++counts.pass;
    } else if (word == "fail") {
      ++counts.fail;
      session.failedTests.push_back(record.name());
    } else if (word == "NA") {
      ++counts.na;
    } else if (word == "info_only") {
      ++counts.infoOnly;
    } else {
      ++counts.other;
    }
    if (record.testType == "PF") {
      ++counts.passFailOnly;
    } else {
      ++counts.parametric;
    }
  }
  if (notObjects != 0) {
    session.problems.push_back(std::to_string(notObjects) +
                               " element(s) of results are not objects");
  }
  if (counts.other != 0) {
    session.problems.push_back(
        std::to_string(counts.other) +
        " result(s) carry a result word other than pass, fail, NA, info_only");
  }
}

}  // namespace

std::string fullTestName(const Json::Value& result) { return recordOf(result).name(); }

LoadedSession loadSession(const std::string& path, const std::string& publicKeyPath) {
  LoadedSession session;
  fs::path given(path);
  while (given.has_relative_path() && !given.has_filename()) given = given.parent_path();
  session.name = given.filename().string();
  std::error_code error;
  if (fs::is_directory(given, error)) {
    session.directory = given.string();
    for (const char* candidate : {"results.Json", "results.json", "results.tmp"}) {
      if (fs::is_regular_file(given / candidate, error)) {
        session.resultsPath = (given / candidate).string();
        break;
      }
    }
    if (session.resultsPath.empty()) {
      session.problems.push_back("no results file (results.Json) in " + path);
      return session;
    }
  } else if (fs::is_regular_file(given, error)) {
    session.resultsPath = given.string();
  } else {
    session.problems.push_back("no such session directory or results file: " + path);
    return session;
  }

  std::string fileText;
  if (!readWholeFile(session.resultsPath, fileText)) {
    session.problems.push_back("cannot read " + session.resultsPath);
    return session;
  }
  StrictJsonProblem strictProblem;
  if (!parseStrictJson(fileText, session.document, strictProblem)) {
    session.document = Json::Value();
    if (strictProblem.kind == StrictJsonProblem::kSyntax) {
      session.problems.push_back(session.resultsPath + " is not JSON: " + strictProblem.describe());
      return session;
    }
    // Shown as far as a lenient reader gets, but its signatures fail.
    session.notStrict = strictProblem.describe();
    session.problems.push_back(session.resultsPath + " is not strict JSON: " + session.notStrict);
    Json::CharReaderBuilder builder;
    builder["collectComments"] = false;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    std::string parseErrors;
    if (!reader->parse(fileText.data(), fileText.data() + fileText.size(), &session.document,
                       &parseErrors)) {
      session.document = Json::Value();
      return session;
    }
  }
  if (!session.document.isObject()) {
    session.problems.push_back(session.resultsPath + " does not hold a JSON object");
    return session;
  }
  session.parsed = true;
  summarise(session);
  checkSignatures(session, fileText, publicKeyPath);
  return session;
}

std::string signatureSummary(const SignatureCheck& check) {
  switch (check.state) {
    case SignatureState::kVerified:
      return "verified";
    case SignatureState::kFailed:
      return "FAILED: " + check.detail;
    case SignatureState::kUnsigned:
      return "unsigned";
    case SignatureState::kNotChecked:
      break;
  }
  return "not checked";
}

namespace {

const char* signatureClass(SignatureState state) {
  switch (state) {
    case SignatureState::kVerified:
      return "sig-ok";
    case SignatureState::kFailed:
      return "sig-bad";
    default:
      return "sig-none";
  }
}

void row(std::string& out, const char* label, const std::string& value) {
  out += "<tr><th>";
  out += label;
  out += "</th><td>";
  appendEscaped(out, value);
  out += "</td></tr>";
}

const char* resultClass(const std::string& word) {
  if (word == "pass") return "r-pass";
  if (word == "fail") return "r-fail";
  if (word == "NA") return "r-NA";
  if (word == "info_only") return "r-info_only";
  return "r-other";
}

void resultsTableHead(std::string& out) {
  out +=
      "<table><tr><th>Test</th><th>Value</th><th>Lower</th><th>Upper</th><th>Units</th>"
      "<th>Priority</th><th>Result</th><th>Where</th><th>Message</th></tr>\n";
}

void resultRow(std::string& out, const ResultRecord& result, unsigned& marginal,
               unsigned& outside) {
  Bar bar = barFor(result.value, result.lower, result.upper);
  if (bar.placement == Placement::kMarginal) ++marginal;
  if (bar.placement == Placement::kOutside) ++outside;
  out += bar.placement == Placement::kMarginal  ? "<tr class=\"marginal\"><td>"
         : bar.placement == Placement::kOutside ? "<tr class=\"outside\"><td>"
                                                : "<tr><td>";
  appendEscaped(out, result.name());
  out += "</td><td class=\"num\">";
  appendEscaped(out, result.value);
  out += "</td><td class=\"num\">";
  appendEscaped(out, result.lower);
  out += "</td><td class=\"num\">";
  appendEscaped(out, result.upper);
  out += "</td><td>";
  appendEscaped(out, result.units);
  out += "</td><td>";
  appendEscaped(out, result.priority);
  out += "</td><td><span class=\"badge ";
  out += resultClass(result.result);
  out += "\">";
  appendEscaped(out, result.result);
  out += "</span></td><td>";
  out += bar.svg;
  if (bar.placement == Placement::kMarginal) out += " marginal";
  if (bar.placement == Placement::kOutside) out += " out of limits";
  out += "</td><td>";
  appendEscaped(out, result.message);
  out += "</td></tr>\n";
}

void appendHead(std::string& out, const LoadedSession& session) {
  const Json::Value& attributes = member(session.document, "test_attributes");
  const Json::Value& station = member(session.document, "test_station_attributes");
  out += "<h1>Unit ";
  appendEscaped(out, session.serial.empty() ? "(no serial number)" : session.serial);
  out += "</h1>\n<div class=\"head\"><div>";
  const std::string verdict = session.verdict.empty() ? "NO VERDICT" : session.verdict;
  out += "<div id=\"verdict\" class=\"verdict ";
  out += verdict == "PASS" ? "verdict-pass" : verdict == "FAIL" ? "verdict-fail" : "verdict-none";
  out += "\">";
  appendEscaped(out, verdict);
  out += "</div>";
  if (text(attributes, "override") == "1") {
    out +=
        "<p id=\"override\"><b>Override:</b> the failure was passive or the station's own;"
        " the verdict stands for the record only.</p>";
  }
  out += "<p>Signatures: <span id=\"signature\" class=\"";
  out += signatureClass(session.signature.state);
  out += "\">";
  switch (session.signature.state) {
    case SignatureState::kVerified:
      out += "both verified with ";
      appendEscaped(out, fs::path(session.signature.detail).filename().string());
      break;
    case SignatureState::kFailed:
      out += "FAILED: ";
      appendEscaped(out, session.signature.detail);
      break;
    case SignatureState::kUnsigned:
      out += "unsigned";
      break;
    case SignatureState::kNotChecked:
      out += "not checked (no --public-key given)";
      break;
  }
  out += "</span></p></div>\n<table>";
  row(out, "Station", text(station, "station_id") + " (" + text(station, "station_name") + ")");
  row(out, "Software", text(station, "software_name") + " " + text(station, "software_version"));
  row(out, "Limits version", text(station, "limits_version"));
  row(out, "Start", session.start);
  row(out, "Stop", session.stop);
  row(out, "Duration", duration(session.start, session.stop));
  row(out, "Library", text(station, "bk_version"));
  row(out, "MAC address", text(station, "mac_addr"));
  row(out, "Results file", session.resultsPath);
  out += "</table></div>\n";
}

void appendCounts(std::string& out, const LoadedSession& session) {
  const SessionCounts& counts = session.counts;
  out +=
      "<h2>Counts</h2><table id=\"counts\"><tr><th>pass</th><th>fail</th><th>NA</th>"
      "<th>info only</th><th>parametric</th><th>pass/fail only</th>"
      "<th>priorities held back</th></tr><tr>";
  for (unsigned n : {counts.pass, counts.fail, counts.na, counts.infoOnly, counts.parametric,
                     counts.passFailOnly}) {
    out += "<td class=\"num\">" + std::to_string(n) + "</td>";
  }
  out += "<td>";
  const Json::Value& heldBack =
      member(member(session.document, "test_attributes"), "pdata_not_sent_to_trax");
  std::string list;
  if (heldBack.isArray()) {
    for (const Json::Value& name : heldBack) list += (list.empty() ? "" : ", ") + text(name);
  } else {
    list = text(heldBack);
  }
  appendEscaped(out, list.empty() ? "none" : list);
  out += "</td></tr></table>";
  if (!list.empty()) {
    out +=
        "<p class=\"muted\">Results of the priorities held back were counted in the verdict but"
        " are not in this document.</p>";
  }
  out += "\n";
}

void appendResults(std::string& out, const LoadedSession& session) {
  const Json::Value& results = member(session.document, "results");
  if (!results.isArray()) return;
  std::vector<ResultRecord> records;
  records.reserve(results.size());
  for (const Json::Value& result : results) {
    if (result.isObject()) records.push_back(recordOf(result));
  }
  unsigned marginal = 0;
  unsigned outside = 0;
  out += "<h2>Failures</h2>";
  if (session.counts.fail == 0) {
    out += "<p>No failing results.</p>";
  } else {
    resultsTableHead(out);
    unsigned ignored = 0;
    for (const ResultRecord& record : records) {
      if (record.result == "fail") resultRow(out, record, ignored, ignored);
    }
    out += "</table>";
  }

  // Groups by test name, in the order the station first used each name.
  std::vector<std::string> order;
  std::map<std::string, std::vector<size_t>> groups;
  for (size_t i = 0; i < records.size(); ++i) {
    auto inserted = groups.emplace(records[i].test, std::vector<size_t>());
    if (inserted.second) order.push_back(records[i].test);
    inserted.first->second.push_back(i);
  }
  std::string body;
  body.reserve(records.size() * 400);
  std::string rows;
  for (const std::string& name : order) {
    const std::vector<size_t>& members = groups[name];
    unsigned failing = 0;
    for (size_t i : members) failing += records[i].result == "fail";
    rows.clear();
    resultsTableHead(rows);
    unsigned groupMarginal = 0;
    unsigned groupOutside = 0;
    for (size_t i : members) resultRow(rows, records[i], groupMarginal, groupOutside);
    rows += "</table>";
    marginal += groupMarginal;
    outside += groupOutside;
    body += failing != 0 ? "<details class=\"failing\"><summary>" : "<details><summary>";
    appendEscaped(body, name.empty() ? "(no test name)" : name);
    body += " &mdash; " + std::to_string(members.size()) + " result(s)";
    if (failing != 0) body += ", " + std::to_string(failing) + " failing";
    if (groupMarginal != 0) body += ", " + std::to_string(groupMarginal) + " marginal";
    if (groupOutside != 0) body += ", " + std::to_string(groupOutside) + " out of limits";
    body += "</summary>";
    body += rows;
    body += "</details>\n";
  }
  out += "<h2>All results by test</h2><p>" + std::to_string(order.size()) + " test(s); " +
         std::to_string(marginal) +
         " marginal value(s) (within a tenth of the band from a limit), " +
         std::to_string(outside) + " outside their limits.</p>\n";
  out += body;
}

void appendBlobs(std::string& out, LoadedSession& session, const std::string& reportDirectory) {
  const Json::Value& blobs = member(session.document, "blobs");
  out += "<h2>Blobs</h2>";
  if (!blobs.isArray() || blobs.empty()) {
    out += blobs.isArray() ? "<p>None.</p>" : "<p>The document has no blobs array.</p>";
    return;
  }
  out += "<table><tr><th>Name</th><th>File</th><th>Size</th><th>Retention</th></tr>";
  for (const Json::Value& blob : blobs) {
    const std::string fileName = text(blob, "file_name");
    out += "<tr><td>";
    appendEscaped(out, text(blob, "display_name"));
    out += "</td><td>";
    fs::path file = fs::path(session.directory) / "blobs" / fileName;
    std::error_code error;
    const bool present = !session.directory.empty() && !fileName.empty() &&
                         fileName.find('/') == std::string::npos &&
                         fs::is_regular_file(file, error);
    if (present) {
      fs::path link =
          fs::absolute(file, error).lexically_relative(fs::absolute(reportDirectory, error));
      out += "<a href=\"" + hrefFor(link.string()) + "\">";
      appendEscaped(out, fileName);
      out += "</a>";
    } else {
      appendEscaped(out, fileName);
      out += " <span class=\"sig-bad\">(missing)</span>";
      session.problems.push_back("blob file missing: blobs/" + fileName);
    }
    out += "</td><td class=\"num\">";
    appendEscaped(out, humanSize(text(blob, "file_size")));
    out += "</td><td class=\"num\">";
    appendEscaped(out, text(blob, "retention_policy"));
    out += "</td></tr>";
  }
  out += "</table>\n";
}

// A small key/value table of an object's scalar members, or nothing.
void appendObject(std::string& out, const char* heading, const Json::Value& object) {
  if (!object.isObject() || object.empty()) return;
  out += "<h2>";
  out += heading;
  out += "</h2><table>";
  for (const std::string& key : object.getMemberNames()) {
    out += "<tr><th>";
    appendEscaped(out, key);
    out += "</th><td>";
    appendEscaped(out, text(object[key]));
    out += "</td></tr>";
  }
  out += "</table>\n";
}

}  // namespace

std::string renderSessionReport(LoadedSession& session, const std::string& reportDirectory,
                                const std::string& backLink) {
  // The body first: its blob checks add problems, which head the page.
  std::string body;
  if (session.parsed) {
    appendHead(body, session);
    appendCounts(body, session);
    appendResults(body, session);
    appendBlobs(body, session, reportDirectory);
    const Json::Value& station = member(session.document, "test_station_attributes");
    Json::Value fixture(Json::objectValue);
    for (const char* key : {"fixture_id", "head_id"}) {
      if (!member(station, key).isNull()) fixture[key] = member(station, key);
    }
    appendObject(body, "Attributes", member(session.document, "uut_attributes"));
    appendObject(body, "Fixture and head", fixture);
    appendObject(body, "Module history", member(session.document, "modules"));
    appendObject(body, "Station failure report", member(session.document, "station_failure"));
  }

  std::string out;
  out.reserve(body.size() + 8192);
  beginPage(out, "Bramblekit report " + session.name);
  out += kBarSymbols;
  if (!backLink.empty())
    out += "<p><a href=\"" + hrefFor(backLink) + "\">&larr; vault report</a></p>";
  if (!session.parsed) {
    out += "<h1>Session ";
    appendEscaped(out, session.name);
    out += "</h1>";
  }
  appendProblems(out, session.problems);
  out += body;
  endPage(out);
  return out;
}
