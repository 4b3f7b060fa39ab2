// The station's fail policy: the "lifeline" object of the station info file
// as it was loaded at session start.  Every reader goes through here, and
// what a missing or mistyped entry means is decided by the rules below.  An
// entry that is there but no integer never softens a fault: it reads ACTIVE
// (or, for the status word, as a policy entry that is not OFF).
#ifndef BRAMBLEKIT_FOUNDATION_FAILPOLICY_H_
#define BRAMBLEKIT_FOUNDATION_FAILPOLICY_H_

#include <string>

#include "foundation/StationFiles.h"

class FailPolicy {
 public:
  // Status word: only the integers 0 and 1 and an unreadable entry are policy
  // entries; a missing key or any other integer switches the fault OFF.
  static bool switchesOff(const std::string& key);
  // The class entry of BK_isFailPassive: only an integer 0 makes it PASSIVE,
  // a missing entry counts as ACTIVE.
  static bool classPassive(const std::string& key);
  // Pending failures of am-I-okay, done and the attribute intake: ACTIVE for
  // the integer 1; a missing key or another integer is PASSIVE.
  static bool activeWhenOne(const std::string& key);
  // The serial-number verdict reads the entry as a boolean: any integer but
  // 0 is ACTIVE, a missing key PASSIVE.  Servers see the difference to
  // activeWhenOne only for the value 2 and beyond; it stays.
  static bool activeWhenNonZero(const std::string& key);

  // The entry itself, for readers that log its state.
  static LifelineEntry entryOf(const std::string& key);
};

#endif  // BRAMBLEKIT_FOUNDATION_FAILPOLICY_H_
