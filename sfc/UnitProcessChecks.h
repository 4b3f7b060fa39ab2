// The two checks that judge the unit check's response file, under the
// exported names: they write their own entry and exit lines, since am-I-okay
// runs them too and log readers count those lines for every check.
#ifndef BRAMBLEKIT_SFC_UNITPROCESSCHECKS_H_
#define BRAMBLEKIT_SFC_UNITPROCESSCHECKS_H_

#include <time.h>

#include <string>

#include "foundation/Reply.h"

// What the checks need to know of the session.
struct UnitCheckView {
  std::string uid;
  bool serialNumberAdded = false;
  bool threadStarted = false;
  time_t startedAt = -1;
};

namespace unitcheck {

bool BK_isSFCQueryUnitOK(const UnitCheckView& view, CBKReply* reply);
// True when the server said the unit is out of process.
bool BK_isUnitOutOfProcess(const std::string& uid, CBKReply* reply);

}  // namespace unitcheck

#endif  // BRAMBLEKIT_SFC_UNITPROCESSCHECKS_H_
