// The answer that the attribute validators give for one scan of a text.
#ifndef BRAMBLEKIT_IDENTITY_SCANREPLY_H_
#define BRAMBLEKIT_IDENTITY_SCANREPLY_H_

#include <string>

#include "foundation/Reply.h"

// One of the scanners of foundation/TextScanners.h.
using BKTextScanner = void (*)(std::string text, unsigned long first, unsigned long last);

// Scans the whole of `text` and answers `reply`: a pass, the scanner's own
// text under message `failure`, or an unhandled failure named after
// `function`, the caller.  True when the scan passed.
bool bkAnswerScan(CBKReply* reply, BKTextScanner scan, const std::string& text, unsigned failure,
                  const char* function);

#endif  // BRAMBLEKIT_IDENTITY_SCANREPLY_H_
