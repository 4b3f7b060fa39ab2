// Pieces of the self-contained HTML pages that bramblekit-report writes:
// escaping, the page frame with its inline style, small SVG charts, and a
// write that never leaves a half-written page behind.
#ifndef BRAMBLEKIT_TOOLS_REPORTHTML_H_
#define BRAMBLEKIT_TOOLS_REPORTHTML_H_

#include <string>
#include <utility>
#include <vector>

// Text for an HTML element or a quoted attribute.
std::string htmlEscape(const std::string& text);
void appendEscaped(std::string& out, const std::string& text);

// A relative link to a file: each path segment percent-encoded, then
// HTML-escaped for an href.
std::string hrefFor(const std::string& relativePath);

// Opens the document up to and including <body>; `title` is plain text.
void beginPage(std::string& out, const std::string& title);
void endPage(std::string& out);

// A box at the head of a page for input that is broken; plain texts.
void appendProblems(std::string& out, const std::vector<std::string>& problems);

// A horizontal bar chart: one row per (label, value), with `valueText` shown
// after each bar; values in [0, maximum].  Labels are plain text.
struct ChartRow {
  std::string label;
  double value = 0;
  std::string valueText;
};
void appendBarChart(std::string& out, const std::string& title, const std::vector<ChartRow>& rows,
                    double maximum);

// Writes `text` to a temporary file beside `path` and renames it into place.
// False with a one-line `error` when that fails; then nothing is left behind.
bool writeFileAtomically(const std::string& path, const std::string& text, std::string& error);

#endif  // BRAMBLEKIT_TOOLS_REPORTHTML_H_
