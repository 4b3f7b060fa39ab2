#include "signature/ResultsSigning.h"

#include <json/json.h>

#include <cstdio>
#include <fstream>
#include <iostream>

#include "foundation/Log.h"
#include "signature/SignedTexts.h"
#include "signature/SigningPrimitives.h"

bool signJsonResults(const std::string& path) {
  BK_LOG(kResultsSigningLogTag, "Enter SignJsonResults:");
  std::string fileText;
  ConvertFileToString(path.c_str(), fileText);
  if (fileText.empty()) return false;

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

  Json::Value root;
  {
    std::ifstream in(path.c_str(), std::ios::in | std::ios::binary);
    Json::Reader reader;
    if (!in.is_open() || !reader.parse(in, root, true)) {
      // The words are an old reader's; the consumers of stdout know them.
      std::cout << "Failed to parse ksinfo.json\n" << reader.getFormattedErrorMessages();
      return false;
    }
  }
  if (!root.isObject() ||
      !(root["test_attributes"].isObject() || root["test_attributes"].isNull())) {
    BK_LOG(kResultsSigningLogTag, "Exit SignJsonResults:");
    return false;
  }
  Json::Value& attributes = root["test_attributes"];
  attributes[kOtterSignatureKey] = otterSignature;
  attributes[kOcelotSignatureKey] = ocelotSignature;
  // Names the form of these two signatures, whatever the station file's is.
  attributes[kSignatureVersionKey] = "1";

  // Written beside the file and renamed over it, so that a failed write
  // leaves the unsigned file whole rather than a short one.
  const std::string signedPath = path + ".signing";
  bool written = false;
  {
    std::ofstream out(signedPath.c_str(), std::ios::out | std::ios::trunc | std::ios::binary);
    if (out.is_open()) {
      // The same renderer as the first write, so every other line stays as it was.
      out << root;
      out.close();
      written = !out.fail();
    }
  }
  if (!written || std::rename(signedPath.c_str(), path.c_str()) != 0) {
    std::remove(signedPath.c_str());
    BK_LOG(kResultsSigningLogTag, "Exit SignJsonResults:");
    return false;
  }
  BK_LOG(kResultsSigningLogTag, "Exit SignJsonResults:");
  return true;
}
