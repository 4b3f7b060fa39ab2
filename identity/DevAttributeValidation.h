// The text of an attribute the station's developers add under a name of
// their own.
#ifndef BRAMBLEKIT_IDENTITY_DEVATTRIBUTEVALIDATION_H_
#define BRAMBLEKIT_IDENTITY_DEVATTRIBUTEVALIDATION_H_

#include <string>

#include "foundation/Reply.h"

namespace identity {

// Printable ASCII only; answers in `reply`, logs under `UID`.
bool validateDevAttribute(const std::string& UID, CBKReply* reply, const std::string& value);

}  // namespace identity

#endif  // BRAMBLEKIT_IDENTITY_DEVATTRIBUTEVALIDATION_H_
