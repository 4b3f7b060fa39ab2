// What the library does when a process loads and unloads it.  This object is
// linked into the shared library and into every program that runs sessions
// against the internal archive; the tools leave it out, so running one never
// rotates a station's log.
#include "sfc/ClientBinding.h"
#include "sfc/ThreadSupport.h"
#include "signature/CryptoSetup.h"

// Everything used here is constant-initialised or built on first use, so
// the order among the library's static initialisers does not matter.
__attribute__((constructor)) static void bramblekitLoad() {
  // Before anything can start a thread.
  sfcInstallAlarmHandler();
  LoadlibBKSFCPost();
  InitSSL();
}

// Runs after the static objects' teardown.
__attribute__((destructor)) static void bramblekitUnload() {
  unLoadlibBKSFCPost();
  cleanInitSSL();
}
