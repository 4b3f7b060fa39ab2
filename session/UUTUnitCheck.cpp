// The session's unit-check thread: started here, run by sfc/.
#include "foundation/Log.h"
#include "session/UUT.h"
#include "sfc/UnitCheckThread.h"

bool CUUT::SFC_QueryRecordUnitCheck(std::string /*serialNumber*/) {
  // The thread asks for the number as the session holds it, upper-cased.
  pthread_t id;
  std::shared_ptr<SFCThreadState> state;
  if (!startUnitCheckThread(getSN(), getUID(), &id, &state)) {
    BK_LOG(UID, "SFC_QueryRecordUnitCheck thread creation failed\n");
    return false;
  }
  // Replaced only on success: a failed start leaves any earlier thread's
  // record as it was.
  sfcUnitThread = id;
  sfcUnitThreadState = state;
  BK_LOG(UID, "SFC_QueryRecordUnitCheck thread successfully created [" << UID << "] sfc-threadid=["
                                                                       << id << "]");
  return true;
}

int sfcUnitThreadProbe(const CUUT* uut) { return sfcUnitThreadProbe(uut->sfcUnitThreadState); }

int sfcUnitThreadSignal(CUUT* uut, int signal) {
  return sfcUnitThreadSignal(uut->sfcUnitThreadState, uut->sfcUnitThread, uut->getUID(), signal);
}
