// One attribute as a file of its own under the session's "attributes"
// directory.  Sessions keep attributes in the results document instead, so
// nothing in the library calls this; it is kept as the file form of a record.
#ifndef BRAMBLEKIT_DATA_ATTRIBUTEBRICK_H_
#define BRAMBLEKIT_DATA_ATTRIBUTEBRICK_H_

#include <string>

#include "foundation/Reply.h"

class CAttributeBrick {
 public:
  CAttributeBrick() = delete;

  // Writes "name=value" to a new file in directory + "attributes/"; the
  // caller owns the reply.  `directory` ends with a separator.
  static CBKReply* create(const std::string& directory, const std::string& name,
                          const std::string& value);
  // Never finished: always answers BK_MSG_ERROR_UNIMPLEMENTED.
  static CBKReply* read(const std::string& directory, const std::string& name, std::string* value);
};

#endif  // BRAMBLEKIT_DATA_ATTRIBUTEBRICK_H_
