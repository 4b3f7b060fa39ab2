#include "tools/LimitBar.h"

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>

bool numberFromText(const std::string& text, double& number) {
  if (text.empty()) return false;
  char* end = nullptr;
  number = strtod(text.c_str(), &end);
  return end == text.c_str() + text.size() && std::isfinite(number);
}

const char* const kBarSymbols =
    "<svg width=\"0\" height=\"0\" style=\"position:absolute\" aria-hidden=\"true\"><defs>"
    "<symbol id=\"b2\" viewBox=\"0 0 140 14\"><rect x=\"0\" y=\"5\" width=\"140\" height=\"4\" "
    "fill=\"#e3e7ed\"/><rect x=\"30\" y=\"3\" width=\"80\" height=\"8\" fill=\"#cfe5d4\"/>"
    "<rect x=\"30\" y=\"3\" width=\"8\" height=\"8\" fill=\"#f6dc9a\"/><rect x=\"102\" y=\"3\" "
    "width=\"8\" height=\"8\" fill=\"#f6dc9a\"/><path d=\"M30 1v12M110 1v12\" stroke=\"#1d2430\"/>"
    "</symbol>"
    "<symbol id=\"bl\" viewBox=\"0 0 140 14\"><rect x=\"0\" y=\"5\" width=\"140\" height=\"4\" "
    "fill=\"#e3e7ed\"/><rect x=\"40\" y=\"3\" width=\"100\" height=\"8\" fill=\"#cfe5d4\"/>"
    "<path d=\"M40 1v12\" stroke=\"#1d2430\"/><path d=\"M126 3l8 4-8 4\" "
    "fill=\"#9bbfa3\"/></symbol>"
    "<symbol id=\"bu\" viewBox=\"0 0 140 14\"><rect x=\"0\" y=\"5\" width=\"140\" height=\"4\" "
    "fill=\"#e3e7ed\"/><rect x=\"0\" y=\"3\" width=\"100\" height=\"8\" fill=\"#cfe5d4\"/>"
    "<path d=\"M100 1v12\" stroke=\"#1d2430\"/><path d=\"M14 3l-8 4 8 4\" "
    "fill=\"#9bbfa3\"/></symbol>"
    "</defs></svg>\n";

Bar barFor(const std::string& valueText, const std::string& lowerText,
           const std::string& upperText) {
  Bar bar;
  double value = 0;
  double lower = 0;
  double upper = 0;
  const bool hasValue = numberFromText(valueText, value);
  const bool hasLower = numberFromText(lowerText, lower);
  const bool hasUpper = numberFromText(upperText, upper);
  if (!hasValue || (!hasLower && !hasUpper)) return bar;

  const char* symbol = "b2";
  double x = 0;
  if (hasLower && hasUpper) {
    const double width = upper - lower;
    if (value < lower || value > upper) {
      bar.placement = Placement::kOutside;
    } else if (value - lower < 0.1 * width || upper - value < 0.1 * width) {
      bar.placement = Placement::kMarginal;
    } else {
      bar.placement = Placement::kInside;
    }
    if (width > 0) {
      x = 30 + (value - lower) / width * 80;
    } else {
      x = value < lower ? 0 : value > upper ? 140 : 70;
    }
  } else {
    // One limit: the distance to it sets the scale, so the marker sits at
    // a readable place on whichever side it lies.
    const double limit = hasLower ? lower : upper;
    const double unit =
        std::max({std::fabs(value - limit) * 1.5, std::fabs(limit) * 0.25, 1e-12}) / 64;
    const bool inside = hasLower ? value >= lower : value <= upper;
    bar.placement = inside ? Placement::kInside : Placement::kOutside;
    symbol = hasLower ? "bl" : "bu";
    x = (hasLower ? 40 : 100) + (value - limit) / unit;
  }
  const char* colour = bar.placement == Placement::kOutside    ? "#c0392b"
                       : bar.placement == Placement::kMarginal ? "#b7791f"
                                                               : "#1e7e34";
  char marker[160];
  if (x < 3) {
    snprintf(marker, sizeof(marker), "<path d=\"M1 7l6-5v10z\" fill=\"%s\"/>", colour);
  } else if (x > 137) {
    snprintf(marker, sizeof(marker), "<path d=\"M139 7l-6-5v10z\" fill=\"%s\"/>", colour);
  } else {
    snprintf(marker, sizeof(marker), "<path d=\"M%.1f 0v14\" stroke=\"%s\" stroke-width=\"3\"/>", x,
             colour);
  }
  bar.svg = std::string("<svg width=\"140\" height=\"14\"><use href=\"#") + symbol + "\"/>" +
            marker + "</svg>";
  return bar;
}
