#include "foundation/LiveHandles.h"

#include <mutex>
#include <unordered_map>

namespace {

struct Registry {
  std::mutex lock;
  std::unordered_map<const void*, BKHandleKind> live;
};

// Never destroyed: replies may be freed by static objects' teardown and by
// the unit-check threads after the station's main has returned.
Registry& registry() {
  static Registry* instance = new Registry();
  return *instance;
}

}  // namespace

void bkHandleAdd(const void* handle, BKHandleKind kind) {
  Registry& r = registry();
  std::lock_guard<std::mutex> hold(r.lock);
  r.live[handle] = kind;
}

void bkHandleRemove(const void* handle, BKHandleKind kind) {
  Registry& r = registry();
  std::lock_guard<std::mutex> hold(r.lock);
  auto found = r.live.find(handle);
  if (found != r.live.end() && found->second == kind) r.live.erase(found);
}

bool bkHandleLive(const void* handle, BKHandleKind kind) {
  if (handle == nullptr) return false;
  Registry& r = registry();
  std::lock_guard<std::mutex> hold(r.lock);
  auto found = r.live.find(handle);
  return found != r.live.end() && found->second == kind;
}
