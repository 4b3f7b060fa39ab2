// The form of the station software's version.
#ifndef BRAMBLEKIT_IDENTITY_VERSIONVALIDATION_H_
#define BRAMBLEKIT_IDENTITY_VERSIONVALIDATION_H_

#include <string>

#include "foundation/Reply.h"

namespace identity {

// Letters, digits, '.', '_' and '-'; answers in `reply`, logs under `UID`.
bool validateVersion(const std::string& UID, CBKReply* reply, const std::string& version);

}  // namespace identity

#endif  // BRAMBLEKIT_IDENTITY_VERSIONVALIDATION_H_
