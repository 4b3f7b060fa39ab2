// bramblekit-report: committed sessions as self-contained HTML pages.
//
//   bramblekit-report SESSION_DIR [-o FILE] [--public-key PEM]
//   bramblekit-report --vault DIR -o FILE [--public-key PEM]
//
// SESSION_DIR is a session directory (.commit, .did or a copy) or a lone
// results file.  Without -o the page goes to NAME.html in the current
// directory, NAME being the session's directory name.  --vault takes the
// data-collection directory that holds uut_data and corrupt_uut_data; each
// session's page is written beside FILE.  With --public-key both results
// signatures are verified with that key.
//
// A page is always written whole (to a temporary file, then renamed).  Exit
// status: 0 page(s) written; 1 a single session's page written, but its input
// is broken (the page says how); 2 usage error or a page could not be written.
#include <iostream>
#include <string>

#include "tools/ReportHtml.h"
#include "tools/SessionReport.h"
#include "tools/VaultReport.h"

namespace {

int usage() {
  std::cerr << "usage: bramblekit-report SESSION_DIR [-o FILE] [--public-key PEM]\n"
               "       bramblekit-report --vault DIR -o FILE [--public-key PEM]"
            << std::endl;
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::string session;
  std::string vault;
  std::string output;
  std::string publicKey;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool hasValue = i + 1 < argc;
    if (argument == "-o" && hasValue) {
      output = argv[++i];
    } else if (argument == "--public-key" && hasValue) {
      publicKey = argv[++i];
    } else if (argument == "--vault" && hasValue) {
      vault = argv[++i];
    } else if (!argument.empty() && argument[0] != '-' && session.empty()) {
      session = argument;
    } else {
      return usage();
    }
  }
  if (vault.empty() == session.empty() || (!vault.empty() && output.empty())) return usage();

  std::string error;
  if (!vault.empty()) {
    if (!writeVaultReport(vault, output, publicKey, error)) {
      std::cerr << "bramblekit-report: " << error << std::endl;
      return 2;
    }
    std::cout << output << std::endl;
    return 0;
  }

  LoadedSession loaded = loadSession(session, publicKey);
  if (output.empty())
    output = (loaded.name.empty() ? std::string("session") : loaded.name) + ".html";
  const size_t slash = output.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : output.substr(0, slash + 1);
  const std::string page = renderSessionReport(loaded, directory, "");
  if (!writeFileAtomically(output, page, error)) {
    std::cerr << "bramblekit-report: " << error << std::endl;
    return 2;
  }
  std::cout << output << std::endl;
  for (const std::string& problem : loaded.problems) {
    std::cerr << "bramblekit-report: " << problem << std::endl;
  }
  return loaded.problems.empty() ? 0 : 1;
}
