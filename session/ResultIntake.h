// One test result into a session: the form checks, then the session's own.
#ifndef BRAMBLEKIT_SESSION_RESULTINTAKE_H_
#define BRAMBLEKIT_SESSION_RESULTINTAKE_H_

#include "data/TestRecords.h"
#include "foundation/Reply.h"
#include "session/UUT.h"

namespace intake {

// Under the exported name, whose entry, exit and error lines it writes: the
// session's own failure record goes through here too.  A new reply, the
// caller's.
CBKReply* BK_addResult(CUUT* uut, const CBKTestSpec& testSpec, const CBKTestResult& testResult);

}  // namespace intake

#endif  // BRAMBLEKIT_SESSION_RESULTINTAKE_H_
