// One test spec and one test result become one record of the session's
// "results" array.  The verdict is the station's: values and limits are only
// checked for looking numeric, never compared.
#ifndef BRAMBLEKIT_DATA_RESULTBRICK_H_
#define BRAMBLEKIT_DATA_RESULTBRICK_H_

#include <json/json.h>
#include <stdint.h>

#include <map>
#include <string>

#include "data/TestRecords.h"
#include "foundation/Reply.h"

class CResultBrick {
 public:
  CResultBrick() = delete;

  // Checks and appends one record; always returns a new reply, the caller's.
  // The record is in the document exactly when the reply says success
  // without a text.  `root` is the session's document, `parametricKeys` its
  // keys so far, `uid` names the session in the log.
  static CBKReply* create(Json::Value& root, std::map<std::string, double>& parametricKeys,
                          const std::string& uid, const CBKTestSpec& spec,
                          const CBKTestResult& result);
};

// What BK_buildStatus(BK_PASS, 0, 0) gives: a pass of class 0 and message 0
// is the word 0 under every fail policy, so the per-result path spares itself
// the policy look-ups.
inline constexpr unsigned kResultPassStatus = 0;

// Longest parametric key, the blanks between the names included.
inline constexpr size_t kMaxParametricKeyLength = 128;

#endif  // BRAMBLEKIT_DATA_RESULTBRICK_H_
