// verify_results: the consumers' side of the results signatures.
//
//   verify_results RESULTS_PUBLIC_KEY.pem results.Json
//
// Recovers the two signed texts from a committed results file and checks
// otter_signature and ocelot_signature against them.  The OTTER text is the
// span from the first "[" after "results" through the last "]" of the file,
// minus the lines of the two signature members that signing added inside it;
// the OCELOT text joins the unit's and station's identifying values.
//
// The file must be strict JSON (no key twice in an object, no comment, no
// text after the document), and each identifying value cut for the OCELOT
// text must be the parsed document's own, so that what is signed is what the
// file says.
//
// Exit status 0 when both signatures hold, with a line "not covered: ..."
// naming the members that no signature covers; 1 with one line on standard
// error naming the reason otherwise; 2 for a usage error.
#include <iostream>
#include <string>
#include <vector>

#include "tools/ResultsVerifier.h"
#include "tools/ToolCrypto.h"

namespace {
constexpr const char kHelp[] =
    "usage: bramblekit-verify-results RESULTS_PUBLIC_KEY.pem results.Json\n"
    "\n"
    "Checks both signatures (otter_signature, ocelot_signature) of a committed\n"
    "results file, as the servers do.\n"
    "  RESULTS_PUBLIC_KEY.pem  public half of the results key the library embeds\n"
    "  results.Json            the file in a session's .commit directory\n"
    "Exit status 0 when both hold, 1 with the reason otherwise, 2 for a usage error.\n";
}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h")) {
    std::cout << kHelp;
    return 0;
  }
  if (argc != 3) {
    std::cerr << "usage: verify_results RESULTS_PUBLIC_KEY.pem results.Json" << std::endl;
    return 2;
  }
  std::string text;
  std::string reason;
  if (!readWholeFile(argv[2], text)) {
    reason = std::string("cannot read ") + argv[2];
  } else if (std::vector<std::string> uncovered;
             verifySignedResults(argv[1], text, reason, &uncovered)) {
    std::cout << "verify_results: both signatures verified" << std::endl;
    if (!uncovered.empty()) {
      std::cout << "not covered: ";
      for (std::size_t i = 0; i < uncovered.size(); ++i) {
        std::cout << (i == 0 ? "" : ", ") << uncovered[i];
      }
      std::cout << std::endl;
    }
    return 0;
  }
  std::cerr << "verify_results: " << reason << std::endl;
  return 1;
}
