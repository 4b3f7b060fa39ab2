// The handles the library has given out and not yet taken back, by kind.
// Every entry point looks its handles up here before it follows them: a
// freed, foreign or wrong-kind pointer is then answered like a NULL one
// instead of being read.  An address that a new object of the same kind
// reuses is live again; nothing more can be told from a bare pointer.
#ifndef BRAMBLEKIT_FOUNDATION_LIVEHANDLES_H_
#define BRAMBLEKIT_FOUNDATION_LIVEHANDLES_H_

enum class BKHandleKind { Session, TestSpec, TestResult, Reply };

void bkHandleAdd(const void* handle, BKHandleKind kind);
void bkHandleRemove(const void* handle, BKHandleKind kind);
bool bkHandleLive(const void* handle, BKHandleKind kind);

// `handle` when it is live as `kind`, else NULL.
template <typename Handle>
Handle bkLive(Handle handle, BKHandleKind kind) {
  return bkHandleLive(handle, kind) ? handle : nullptr;
}

#endif  // BRAMBLEKIT_FOUNDATION_LIVEHANDLES_H_
