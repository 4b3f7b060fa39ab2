#include "tools/VaultReport.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <vector>

#include "tools/ReportHtml.h"
#include "tools/SessionReport.h"

namespace fs = std::filesystem;

namespace {

struct VaultRow {
  LoadedSession session;
  std::string state;
  std::string page;  // file name of its own page
  std::string time;  // sortable
};

// "20261115-152233.048113-..." gives "2026-11-15 15:22:33", the form of
// uut_start, for sessions whose document does not say.
std::string timeFromName(const std::string& name) {
  if (name.size() < 15 || name[8] != '-') return "";
  for (size_t i : {0, 1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14}) {
    if (name[i] < '0' || name[i] > '9') return "";
  }
  return name.substr(0, 4) + "-" + name.substr(4, 2) + "-" + name.substr(6, 2) + " " +
         name.substr(9, 2) + ":" + name.substr(11, 2) + ":" + name.substr(13, 2);
}

std::string stateOf(const std::string& name) {
  for (const char* suffix : {".commit", ".did", ".done", ".popping"}) {
    const std::string s(suffix);
    if (name.size() > s.size() && name.compare(name.size() - s.size(), s.size(), s) == 0) {
      return s.substr(1);
    }
  }
  return "open";
}

std::vector<fs::path> entries(const fs::path& directory) {
  std::vector<fs::path> found;
  std::error_code error;
  for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
    found.push_back(it->path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::string percent(unsigned part, unsigned whole) {
  char buffer[64];
  snprintf(buffer, sizeof(buffer), "%.0f%% (%u/%u)", whole ? 100.0 * part / whole : 0.0, part,
           whole);
  return buffer;
}

void appendCharts(std::string& out, const std::vector<VaultRow>& rows) {
  // First pass: the earliest committed verdict of each unit on each station.
  std::map<std::string, std::map<std::string, const VaultRow*>> firstByStation;
  std::map<std::string, unsigned> failingSessions;
  for (const VaultRow& row : rows) {
    const LoadedSession& s = row.session;
    if (s.verdict.empty()) continue;
    const VaultRow*& first = firstByStation[s.stationId][s.serial];
    if (first == nullptr || row.time < first->time) first = &row;
    std::set<std::string> names(s.failedTests.begin(), s.failedTests.end());
    for (const std::string& name : names) ++failingSessions[name];
  }
  std::vector<ChartRow> yield;
  for (const auto& station : firstByStation) {
    unsigned passed = 0;
    for (const auto& unit : station.second) passed += unit.second->session.verdict == "PASS";
    const unsigned units = static_cast<unsigned>(station.second.size());
    yield.push_back({station.first.empty() ? "(no station id)" : station.first,
                     units ? static_cast<double>(passed) / units : 0.0, percent(passed, units)});
  }
  out += "<h2>First-pass yield per station</h2>";
  appendBarChart(out, "First-pass yield per station", yield, 1.0);

  std::vector<std::pair<std::string, unsigned>> failing(failingSessions.begin(),
                                                        failingSessions.end());
  std::stable_sort(failing.begin(), failing.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  if (failing.size() > 15) failing.resize(15);
  std::vector<ChartRow> most;
  for (const auto& test : failing) {
    most.push_back({test.first, static_cast<double>(test.second),
                    std::to_string(test.second) + " session(s)"});
  }
  out += "<h2>Tests that fail most</h2>";
  appendBarChart(out, "Tests that fail most", most, failing.empty() ? 1.0 : failing.front().second);
}

}  // namespace

bool writeVaultReport(const std::string& dataDirectory, const std::string& outputPath,
                      const std::string& publicKeyPath, std::string& error) {
  const fs::path data(dataDirectory);
  const std::string outputDirectory = fs::path(outputPath).parent_path().empty()
                                          ? std::string(".")
                                          : fs::path(outputPath).parent_path().string();
  const std::string backLink = fs::path(outputPath).filename().string();
  std::vector<std::string> problems;
  std::error_code ignored;
  if (!fs::is_directory(data / "uut_data", ignored)) {
    problems.push_back("no uut_data directory in " + dataDirectory);
  }

  std::vector<VaultRow> rows;
  auto add = [&](const fs::path& path, const std::string& state, const std::string& prefix) {
    VaultRow row;
    row.session = loadSession(path.string(), publicKeyPath);
    row.state = state;
    row.page = prefix + row.session.name + ".html";
    row.time = row.session.start.empty() ? timeFromName(row.session.name) : row.session.start;
    std::string page = renderSessionReport(row.session, outputDirectory, backLink);
    if (!writeFileAtomically((fs::path(outputDirectory) / row.page).string(), page, error)) {
      return false;
    }
    // The document is no longer needed; a vault may hold many large ones.
    row.session.document = Json::Value();
    rows.push_back(std::move(row));
    return true;
  };
  for (const fs::path& path : entries(data / "uut_data")) {
    if (!fs::is_directory(path, ignored)) continue;
    if (!add(path, stateOf(path.filename().string()), "")) return false;
  }
  for (const fs::path& path : entries(data / "corrupt_uut_data")) {
    if (!fs::is_regular_file(path, ignored)) continue;
    if (!add(path, "corrupt", "corrupt-")) return false;
  }
  std::stable_sort(rows.begin(), rows.end(),
                   [](const VaultRow& a, const VaultRow& b) { return a.time < b.time; });

  std::string out;
  beginPage(out, "Bramblekit vault report");
  out += "<h1>Vault ";
  appendEscaped(out, dataDirectory);
  out += "</h1>";
  appendProblems(out, problems);
  unsigned committed = 0;
  for (const VaultRow& row : rows) committed += row.state == "commit";
  out += "<p>" + std::to_string(rows.size()) + " session(s), " + std::to_string(committed) +
         " handed over.</p>";
  appendCharts(out, rows);
  out +=
      "<h2>Sessions</h2><table id=\"sessions\"><tr><th>Start</th><th>Serial</th><th>Station</th>"
      "<th>State</th><th>Verdict</th><th>pass</th><th>fail</th><th>NA</th><th>Signatures</th>"
      "<th>Problems</th></tr>\n";
  for (const VaultRow& row : rows) {
    const LoadedSession& s = row.session;
    out += "<tr><td class=\"time\"><a href=\"" + hrefFor(row.page) + "\">";
    appendEscaped(out, row.time.empty() ? s.name : row.time);
    out += "</a></td><td>";
    appendEscaped(out, s.serial);
    out += "</td><td>";
    appendEscaped(out, s.stationId);
    out += "</td><td>";
    appendEscaped(out, row.state);
    out += "</td><td>";
    if (!s.verdict.empty()) {
      out +=
          s.verdict == "PASS" ? "<span class=\"badge r-pass\">" : "<span class=\"badge r-fail\">";
      appendEscaped(out, s.verdict);
      out += "</span>";
    }
    out += "</td>";
    for (unsigned n : {s.counts.pass, s.counts.fail, s.counts.na}) {
      out += "<td class=\"num\">" + std::to_string(n) + "</td>";
    }
    out += "<td class=\"";
    out += s.signature.state == SignatureState::kVerified ? "sig-ok"
           : s.signature.state == SignatureState::kFailed ? "sig-bad"
                                                          : "sig-none";
    out += "\">";
    appendEscaped(out, s.parsed ? signatureSummary(s.signature) : "-");
    out += "</td><td>";
    if (!s.problems.empty()) {
      out += "<span class=\"sig-bad\">";
      appendEscaped(out, s.problems.front());
      if (s.problems.size() > 1) out += " (+" + std::to_string(s.problems.size() - 1) + ")";
      out += "</span>";
    }
    out += "</td></tr>\n";
  }
  out += "</table>\n";
  endPage(out);
  return writeFileAtomically(outputPath, out, error);
}
