#include "foundation/VersionFile.h"

#include <fstream>

#include "foundation/Constants.h"
#include "foundation/Log.h"

void writeBramblekitVersionToFile() {
  bool written = false;
  try {
    std::ofstream out(bramblekitVersionFile, std::ios::out | std::ios::trunc);
    if (out.is_open()) {
      out << bk::kLibraryVersion;
      out.flush();
      written = out.good();
      out.close();
    }
  } catch (...) {
    BK_LOG_ERROR("ERROR: Unknown while trying to write Bramblekit version into a file");
  }
  if (!written) BK_LOG_ERROR("ERROR: opening filestream for Bramblekit version string output!!");
}
