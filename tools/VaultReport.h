// The page of a whole vault: every session directory under uut_data and every
// file of corrupt_uut_data, each with its own page written beside it.
#ifndef BRAMBLEKIT_TOOLS_VAULTREPORT_H_
#define BRAMBLEKIT_TOOLS_VAULTREPORT_H_

#include <string>

// `dataDirectory` is the data-collection directory (the one holding
// uut_data).  Writes `outputPath` and one page per session in its directory.
// False with a one-line `error` when a page cannot be written.
bool writeVaultReport(const std::string& dataDirectory, const std::string& outputPath,
                      const std::string& publicKeyPath, std::string& error);

#endif  // BRAMBLEKIT_TOOLS_VAULTREPORT_H_
