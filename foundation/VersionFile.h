// Writes the library's version to /tmp/bk_version for the forwarding agent.
#ifndef BRAMBLEKIT_FOUNDATION_VERSIONFILE_H_
#define BRAMBLEKIT_FOUNDATION_VERSIONFILE_H_

void writeBramblekitVersionToFile();

#endif  // BRAMBLEKIT_FOUNDATION_VERSIONFILE_H_
