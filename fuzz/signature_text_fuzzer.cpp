// Fuzzes everything that reads a signed file's raw text: the cutters, the
// signed-text builders of both signatures, and the station file check with
// its parsed view.  The first byte picks the road and the key; the rest is the
// file's text.  Runs inside tests/launcher/bk-hermetic: the station check
// reads and logs under /vault.
#include <json/json.h>
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>

#include <exception>
#include <sstream>
#include <stdexcept>
#include <string>

#include "foundation/Constants.h"
#include "foundation/FileBasics.h"
#include "foundation/Reply.h"
#include "foundation/StationFiles.h"
#include "interface/Bramblekit.h"
#include "signature/RawTextCutters.h"
#include "signature/SignedTexts.h"
#include "signature/StationInfoSignature.h"

namespace {

const char* const kKeys[] = {"ksinfo",    "lifeline", "controlbits", "kestrel_day",
                             "signature", "digest",   "results",     "a"};

// A cut is always a piece of its text.
void expectPiece(bool found, const std::string& piece, const std::string& text) {
  if (found && text.find(piece) == std::string::npos) __builtin_trap();
}

void cutters(const std::string& text, unsigned choice) {
  const std::string key = kKeys[choice % (sizeof(kKeys) / sizeof(kKeys[0]))];
  std::string out;
  expectPiece(GetUnsortedObjFromJsonString(text, out, key), out, text);
  for (char mark : {'[', '{', ':', '('}) {
    out.clear();
    expectPiece(GetStringFromObj(text, out, mark), out, text);
  }
  out.clear();
  expectPiece(GetStringFromString(text, out, key), out, text);
  stationInfoSignedText(text, "1", nullptr);
  stationInfoSignedText(text, "2", nullptr);
  try {
    std::string otter;
    if (resultsOtterText(text, otter)) withoutSignatureMembers(otter, "ab", key);
    bool subStation = false;
    resultsOcelotText(text, out, &subStation);
  } catch (const std::out_of_range&) {
    // An absent key: the committing code catches this.
  }
}

void stationCheck(const std::string& text) {
  FILE* file = fopen(ksstationinfoFilePath, "wb");
  if (file == nullptr) __builtin_trap();
  fwrite(text.data(), 1, text.size(), file);
  fclose(file);
  getKSInfo()->refresh();
  CBKReply reply;
  // What a reading gets: the text up to its first 0xFF byte.
  const std::string read = text.substr(0, text.find(static_cast<char>(0xFF)));
  // Nothing may be thrown: an exception ends the run as a finding.
  if (read.size() >= 1024) {
    // One reading attempt suffices: the whole entry point, with no waits.
    BK_isSignatureOK(&reply);
  } else {
    std::ostringstream message;
    checkStationInfoText(read, message, &reply);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The station file reader reports parse failures on standard output.
  if (freopen("/dev/null", "w", stdout) == nullptr) return 1;
  Util_createDirectories(vaultStationConfigPath);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static unsigned runs = 0;
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] & 1) {
    cutters(text, data[0] >> 1);
  } else {
    stationCheck(text);
  }
  // The log grows by a few lines a run; keep the sandbox's tmpfs small.
  if (++runs % 20000 == 0 && truncate(bramblekitLogFilePath, 0) != 0) return 0;
  return 0;
}
