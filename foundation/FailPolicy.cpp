#include "foundation/FailPolicy.h"

LifelineEntry FailPolicy::entryOf(const std::string& key) { return readLifelineEntry(key); }

bool FailPolicy::switchesOff(const std::string& key) {
  const LifelineEntry entry = entryOf(key);
  return !(entry.is(0) || entry.active());
}

bool FailPolicy::classPassive(const std::string& key) { return entryOf(key).is(0); }

bool FailPolicy::activeWhenOne(const std::string& key) { return entryOf(key).active(); }

bool FailPolicy::activeWhenNonZero(const std::string& key) {
  const LifelineEntry entry = entryOf(key);
  return entry.integer ? entry.value != 0 : entry.unreadable();
}
