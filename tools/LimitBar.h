// The small bar that shows where a measured value lies between its limits.
#ifndef BRAMBLEKIT_TOOLS_LIMITBAR_H_
#define BRAMBLEKIT_TOOLS_LIMITBAR_H_

#include <string>

// The whole text is a finite number, as strtod reads it.
bool numberFromText(const std::string& text, double& number);

// Marginal: inside a two-sided band, within a tenth of its width from a
// limit.  A one-sided limit knows no width, so its values are never marginal.
enum class Placement { kNone, kInside, kMarginal, kOutside };

struct Bar {
  Placement placement = Placement::kNone;
  std::string svg;  // "" when value or both limits are not numbers
};

// Where the value lies, and an inline SVG that shows it.  A limit that is
// not a number ("NA") leaves that side open.  The SVG refers to the shapes
// of kBarSymbols, which the page must hold once.
Bar barFor(const std::string& valueText, const std::string& lowerText,
           const std::string& upperText);

// The shapes every bar shares, drawn once per page: a two-sided band of
// fixed geometry (limits at x 30 and 110, the outer tenths shaded as
// marginal) and the two one-sided bands, open towards their free end.
extern const char* const kBarSymbols;

#endif  // BRAMBLEKIT_TOOLS_LIMITBAR_H_
