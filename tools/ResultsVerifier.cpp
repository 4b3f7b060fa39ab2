#include "tools/ResultsVerifier.h"

#include <json/json.h>

#include <stdexcept>

#include "signature/SignedTexts.h"
#include "tools/ToolCrypto.h"

bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         std::string& reason) {
  Json::Value root;
  Json::Reader reader;
  if (!reader.parse(fileText, root, false) || !root.isObject()) {
    reason = "not a JSON object";
    return false;
  }
  return verifySignedResults(keyPath, fileText, root, reason);
}

bool verifySignedResults(const std::string& keyPath, const std::string& fileText,
                         const Json::Value& root, std::string& reason) {
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
  std::string ocelotText;
  try {
    if (!resultsOtterText(fileText, otterSpan)) {
      reason = "cannot cut the results span";
      return false;
    }
    if (!resultsOcelotText(fileText, ocelotText, nullptr)) {
      reason = "an identifying value is empty";
      return false;
    }
  } catch (const std::out_of_range& missing) {
    reason = missing.what();
    return false;
  }
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
  return true;
}
