#include "signature/ResultsSigning.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>

#include "data/ResultsDocument.h"
#include "foundation/Log.h"
#include "signature/SignedTexts.h"
#include "signature/SigningPrimitives.h"

namespace {

// The members added at signing, with the signatures over both texts cut from
// `fileText`.  False when a text is empty or cannot be signed.
bool signedMembers(const std::string& fileText, Json::Value& members) {
  std::string otterText;
  if (!resultsOtterText(fileText, otterText)) return false;
  std::string otterSignature;
  if (!signString(otterText, otterSignature)) return false;

  std::string ocelotText;
  bool usedSubStation = false;
  if (!resultsOcelotText(fileText, ocelotText, &usedSubStation)) return false;
  if (usedSubStation) BK_LOG(kResultsSigningLogTag, ocelotText);
  std::string ocelotSignature;
  if (!signString(ocelotText, ocelotSignature)) return false;

  members = Json::Value(Json::objectValue);
  members[kOtterSignatureKey] = otterSignature;
  members[kOcelotSignatureKey] = ocelotSignature;
  // Names the form of these two signatures, whatever the station file's is.
  members[kSignatureVersionKey] = "1";
  return true;
}

// The signed file as parsing `text` and rendering it with the members gives
// it.  False when the text does not parse into a results document.
bool parseAndRender(const std::string& text, const Json::Value& members, std::string& signedText) {
  Json::Value root;
  Json::Reader reader;
  if (!reader.parse(text, root, true)) {
    // The words are an old reader's; the consumers of stdout know them.
    std::cout << "Failed to parse ksinfo.json\n" << reader.getFormattedErrorMessages();
    return false;
  }
  if (!root.isObject() ||
      !(root["test_attributes"].isObject() || root["test_attributes"].isNull())) {
    BK_LOG(kResultsSigningLogTag, "Exit SignJsonResults:");
    return false;
  }
  Json::Value& attributes = root["test_attributes"];
  for (const char* key : {kOtterSignatureKey, kOcelotSignatureKey, kSignatureVersionKey}) {
    attributes[key] = members[key];
  }
  // The same renderer as the first write, so every other line stays as it was.
  signedText = Util_renderResultsText(root);
  return true;
}

// Written beside the file and renamed over it, so that a failed write leaves
// the unsigned file whole rather than a short one.
bool replaceFile(const std::string& path, const std::string& text) {
  const std::string signedPath = path + ".signing";
  bool written = false;
  {
    std::ofstream out(signedPath.c_str(), std::ios::out | std::ios::trunc | std::ios::binary);
    if (out.is_open()) {
      out.write(text.data(), static_cast<std::streamsize>(text.size()));
      out.close();
      written = !out.fail();
    }
  }
  if (!written || std::rename(signedPath.c_str(), path.c_str()) != 0) {
    std::remove(signedPath.c_str());
    return false;
  }
  return true;
}

bool finish(const std::string& path, const std::string& signedText) {
  const bool replaced = replaceFile(path, signedText);
  BK_LOG(kResultsSigningLogTag, "Exit SignJsonResults:");
  return replaced;
}

}  // namespace

bool signJsonResults(const std::string& path) {
  BK_LOG(kResultsSigningLogTag, "Enter SignJsonResults:");
  std::string fileText;
  ConvertFileToString(path.c_str(), fileText);
  Json::Value members;
  if (fileText.empty() || !signedMembers(fileText, members)) return false;
  // Parsed as the file stands, whole: the text above ends at a 0xFF byte.
  std::ifstream in(path.c_str(), std::ios::in | std::ios::binary);
  const std::string whole(std::istreambuf_iterator<char>(in), {});
  std::string signedText;
  if (!parseAndRender(whole, members, signedText)) return false;
  return finish(path, signedText);
}

bool signJsonResults(const std::string& path, const std::string& fileText,
                     const Json::Value& document) {
  BK_LOG(kResultsSigningLogTag, "Enter SignJsonResults:");
  Json::Value members;
  if (fileText.empty() || !signedMembers(fileText, members)) return false;
  std::string signedText;
  if (!Util_renderWithMembersSet(fileText, document, "test_attributes", members, signedText) &&
      !parseAndRender(fileText, members, signedText)) {
    return false;
  }
  return finish(path, signedText);
}
