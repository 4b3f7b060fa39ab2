#include "tools/ReportHtml.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace {

// One style sheet for both pages; the page must read without script, so
// collapsing is left to <details>.
const char* const kStyle = R"css(
body{font:14px/1.4 system-ui,-apple-system,"Segoe UI",Helvetica,Arial,sans-serif;margin:0;padding:16px 24px;color:#1d2430;background:#f6f7f9}
h1{font-size:20px;margin:0 0 8px}h2{font-size:16px;margin:24px 0 8px;border-bottom:1px solid #d5d9e0;padding-bottom:4px}
table{border-collapse:collapse;background:#fff;margin:4px 0}
th,td{border:1px solid #d5d9e0;padding:3px 8px;text-align:left;vertical-align:middle}
th{background:#eceff3;font-weight:600}
td.time{white-space:nowrap}td.num{text-align:right;font-variant-numeric:tabular-nums}
.head{display:flex;flex-wrap:wrap;gap:16px;align-items:flex-start}
.verdict{font-size:34px;font-weight:700;padding:8px 24px;border-radius:6px;color:#fff;display:inline-block}
.verdict-pass{background:#1e7e34}.verdict-fail{background:#c0392b}.verdict-none{background:#6c757d}
.badge{display:inline-block;padding:1px 8px;border-radius:10px;font-size:12px;font-weight:600;color:#fff}
.r-pass{background:#1e7e34}.r-fail{background:#c0392b}.r-NA{background:#6c757d}.r-info_only{background:#b7791f}.r-other{background:#6c757d}
.sig-ok{color:#1e7e34;font-weight:600}.sig-bad{color:#c0392b;font-weight:600}.sig-none{color:#6c757d;font-weight:600}
.marginal{background:#fff4d6}
.problems{background:#fde8e6;border:1px solid #c0392b;padding:8px 16px;margin:8px 0}
.problems h2{border:0;margin:0;color:#c0392b}
details{background:#fff;border:1px solid #d5d9e0;margin:4px 0;padding:2px 8px}
summary{cursor:pointer;padding:2px 0}
.failing>summary{color:#c0392b;font-weight:600}
.muted{color:#6c757d}
svg{vertical-align:middle}
)css";

bool keepsInUrl(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_' || c == '.' || c == '~' || c == '/';
}

}  // namespace

void appendEscaped(std::string& out, const std::string& text) {
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
}

std::string htmlEscape(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  appendEscaped(out, text);
  return out;
}

std::string hrefFor(const std::string& relativePath) {
  static const char kHex[] = "0123456789ABCDEF";
  std::string encoded;
  for (unsigned char c : relativePath) {
    if (keepsInUrl(c)) {
      encoded += static_cast<char>(c);
    } else {
      encoded += '%';
      encoded += kHex[c >> 4];
      encoded += kHex[c & 15];
    }
  }
  // A segment such as "a:b" could read as a scheme; "./" keeps it relative.
  if (encoded.find(':') != std::string::npos || encoded.empty() || encoded[0] != '.') {
    encoded = "./" + encoded;
  }
  return htmlEscape(encoded);
}

void beginPage(std::string& out, const std::string& title) {
  out +=
      "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
      "<meta name=\"viewport\" content=\"width=device-width\">"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
      "style-src 'unsafe-inline'; img-src 'self' data:\">"
      "<title>";
  appendEscaped(out, title);
  out += "</title><style>";
  out += kStyle;
  out += "</style></head>\n<body>\n";
}

void endPage(std::string& out) { out += "</body></html>\n"; }

void appendProblems(std::string& out, const std::vector<std::string>& problems) {
  if (problems.empty()) return;
  out += "<div class=\"problems\" id=\"problems\"><h2>Problems with the input</h2><ul>";
  for (const std::string& problem : problems) {
    out += "<li>";
    appendEscaped(out, problem);
    out += "</li>";
  }
  out += "</ul></div>\n";
}

void appendBarChart(std::string& out, const std::string& title, const std::vector<ChartRow>& rows,
                    double maximum) {
  const int labelWidth = 260;
  const int barWidth = 320;
  const int rowHeight = 22;
  const int height = rowHeight * static_cast<int>(std::max<size_t>(rows.size(), 1)) + 8;
  out += "<svg role=\"img\" width=\"" + std::to_string(labelWidth + barWidth + 90) +
         "\" height=\"" + std::to_string(height) + "\"><title>";
  appendEscaped(out, title);
  out += "</title>";
  if (rows.empty()) {
    out += "<text x=\"4\" y=\"18\" fill=\"#6c757d\">nothing to show</text>";
  }
  int y = 4;
  for (const ChartRow& row : rows) {
    double fraction = maximum > 0 ? std::clamp(row.value / maximum, 0.0, 1.0) : 0.0;
    std::string label = row.label;
    if (label.size() > 40) {
      // Cut on a character boundary, then an ellipsis.
      size_t cut = 39;
      while (cut > 0 && (static_cast<unsigned char>(label[cut]) & 0xC0) == 0x80) --cut;
      label = label.substr(0, cut) + "\xE2\x80\xA6";
    }
    out += "<text x=\"" + std::to_string(labelWidth - 6) + "\" y=\"" + std::to_string(y + 15) +
           "\" text-anchor=\"end\" font-size=\"12\">";
    appendEscaped(out, label);
    out += "</text><rect x=\"" + std::to_string(labelWidth) + "\" y=\"" + std::to_string(y + 3) +
           "\" width=\"" + std::to_string(barWidth) +
           "\" height=\"14\" fill=\"#e3e7ed\"/><rect x=\"" + std::to_string(labelWidth) +
           "\" y=\"" + std::to_string(y + 3) + "\" width=\"" +
           std::to_string(static_cast<int>(fraction * barWidth + 0.5)) +
           "\" height=\"14\" fill=\"#3b6ea5\"/><text x=\"" +
           std::to_string(labelWidth + barWidth + 6) + "\" y=\"" + std::to_string(y + 15) +
           "\" font-size=\"12\">";
    appendEscaped(out, row.valueText);
    out += "</text>";
    y += rowHeight;
  }
  out += "</svg>\n";
}

bool writeFileAtomically(const std::string& path, const std::string& text, std::string& error) {
  std::string temporary = path + ".tmp-XXXXXX";
  int fd = mkstemp(&temporary[0]);
  if (fd < 0) {
    error = "cannot create a file beside " + path + ": " + strerror(errno);
    return false;
  }
  size_t written = 0;
  while (written < text.size()) {
    ssize_t n = write(fd, text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      error = "cannot write " + temporary + ": " + strerror(errno);
      close(fd);
      unlink(temporary.c_str());
      return false;
    }
    written += static_cast<size_t>(n);
  }
  // mkstemp makes the file private; a report is for anyone who may read the
  // directory.
  fchmod(fd, 0644);
  if (close(fd) != 0 || rename(temporary.c_str(), path.c_str()) != 0) {
    error = "cannot put " + path + " in place: " + strerror(errno);
    unlink(temporary.c_str());
    return false;
  }
  return true;
}
