#include "tools/ResultsVerifier.h"

#include <json/json.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

#include "foundation/StrictJson.h"
#include "signature/SignedTexts.h"
#include "tools/ToolCrypto.h"

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

const char* ownerOf(const std::string& key) {
  return key == "unit_serial_number" || key == "uut_start" || key == "test_result"
             ? "test_attributes"
             : "test_station_attributes";
}

// The cut values must be the document's: a decoy member or a test named like
// a key earlier in the file would otherwise be what the signature vouches for.
bool fieldsMatchDocument(const Json::Value& root, const Fields& fields, std::string& reason) {
  for (const auto& [key, signedValue] : fields) {
    const Json::Value& owner = root[ownerOf(key)];
    const Json::Value* parsed =
        owner.isObject() ? owner.find(key.data(), key.data() + key.size()) : nullptr;
    if (parsed != nullptr && parsed->isString() && parsed->asString() == signedValue) continue;
    reason =
        key + ": signed \"" + signedValue + "\", but " + ownerOf(key) +
        (parsed == nullptr ? " has no such member" : " holds " + Json::FastWriter().write(*parsed));
    if (!reason.empty() && reason.back() == '\n') reason.pop_back();
    return false;
  }
  return true;
}

// Members in the order of the file.
std::vector<std::string> membersInFileOrder(const Json::Value& object) {
  std::vector<std::string> names = object.getMemberNames();
  std::sort(names.begin(), names.end(), [&object](const std::string& a, const std::string& b) {
    return object[a].getOffsetStart() < object[b].getOffsetStart();
  });
  return names;
}

// What neither text covers: members outside the OTTER span, down to the
// members of the two attribute objects, less the identifying values and the
// members that signing itself adds.
std::vector<std::string> uncoveredMembers(const Json::Value& root, std::size_t spanBegin,
                                          std::size_t spanEnd, const Fields& fields) {
  std::set<std::string> signedFields{kOtterSignatureKey, kOcelotSignatureKey, kSignatureVersionKey};
  for (const auto& field : fields) signedFields.insert(field.first);
  const auto inSpan = [&](const Json::Value& value) {
    return static_cast<std::size_t>(value.getOffsetStart()) >= spanBegin &&
           static_cast<std::size_t>(value.getOffsetLimit()) <= spanEnd;
  };
  std::vector<std::string> uncovered;
  for (const std::string& name : membersInFileOrder(root)) {
    const Json::Value& member = root[name];
    if (inSpan(member)) continue;
    if ((name == "test_attributes" || name == "test_station_attributes") && member.isObject()) {
      for (const std::string& inner : membersInFileOrder(member)) {
        if (!inSpan(member[inner]) && signedFields.count(inner) == 0) uncovered.push_back(inner);
      }
    } else {
      uncovered.push_back(name);
    }
  }
  return uncovered;
}

}  // namespace

bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         std::string& reason, std::vector<std::string>* uncovered) {
  Json::Value root;
  StrictJsonProblem problem;
  if (!parseStrictJson(fileText, root, problem)) {
    reason = "not strict JSON: " + problem.describe();
    return false;
  }
  if (!root.isObject()) {
    reason = "not a JSON object";
    return false;
  }
  return verifySignedResults(keyPath, fileText, root, reason, uncovered);
}

bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         const Json::Value& root, std::string& reason,
                         std::vector<std::string>* uncovered) {
  if (!root.isObject()) {
    reason = "not a JSON object";
    return false;
  }
  const Json::Value& attributes = root["test_attributes"];
  if (!attributes.isObject()) {
    reason = "no test_attributes";
    return false;
  }
  for (const char* key : {kOtterSignatureKey, kOcelotSignatureKey}) {
    if (!attributes[key].isString()) {
      reason = std::string("unsigned: no ") + key;
      return false;
    }
  }
  if (attributes[kSignatureVersionKey] != "1") {
    reason = "signature_version is not \"1\"";
    return false;
  }
  const std::string otterSignature = attributes[kOtterSignatureKey].asString();
  const std::string ocelotSignature = attributes[kOcelotSignatureKey].asString();

  std::string otterSpan;
  Fields fields;
  try {
    if (!resultsOtterText(fileText, otterSpan)) {
      reason = "cannot cut the results span";
      return false;
    }
    if (!resultsOcelotFields(fileText, fields, nullptr)) {
      reason = "an identifying value is empty";
      return false;
    }
  } catch (const std::out_of_range& missing) {
    reason = missing.what();
    return false;
  }
  if (!fieldsMatchDocument(root, fields, reason)) return false;
  std::string ocelotText;
  for (const auto& field : fields) ocelotText += field.second;
  // Signing added these two lines inside the span after it was signed.
  const std::string otterText = withoutSignatureMembers(otterSpan, otterSignature, ocelotSignature);

  std::string error;
  if (!verifyWithKeyFile(keyPath, otterText, otterSignature, error)) {
    reason = "otter_signature: " + error;
    return false;
  }
  if (!verifyWithKeyFile(keyPath, ocelotText, ocelotSignature, error)) {
    reason = "ocelot_signature: " + error;
    return false;
  }
  if (uncovered != nullptr) {
    // The span runs to the last "]" of the file, so it lies where it is
    // last found.
    const std::size_t spanBegin = fileText.rfind(otterSpan);
    *uncovered = uncoveredMembers(root, spanBegin, spanBegin + otterSpan.size(), fields);
  }
  return true;
}
