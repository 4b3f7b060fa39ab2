// sign_station_info: the station-management side of the station file check.
//
//   sign_station_info PRIVATE_KEY.pem STATION_INFO.json [1|2]
//
// Writes "signature" (and "digest", the SHA-1 of the signed text) into the
// station info file, replacing their values when present and adding both at
// the head of the top-level object otherwise.  The file's other bytes are left
// exactly as they are, because the signature covers the raw text: the objects
// ksinfo, lifeline and controlbits for version 1, kestrel_day for version 2.
// The version defaults to ksinfo.SIGNATURE_VERSION of the file.  The key must
// be RSA 1024 bits: stations accept only 256 hex digits.
//
// Exit status 0 on success; otherwise 1 with one line on standard error.
#include <json/json.h>

#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "signature/RawTextCutters.h"
#include "signature/SignedTexts.h"
#include "signature/SigningPrimitives.h"
#include "tools/ToolCrypto.h"

namespace {

constexpr std::size_t kSignatureHexLength = 256;
constexpr std::size_t kShortestWholeFile = 1024;

int failWith(const std::string& reason) {
  std::cerr << "sign_station_info: " << reason << std::endl;
  return 1;
}

// Gives `key` a string value of `placeholder`'s length where stations will
// look for it, or adds it at the head of the top-level object.
void placeValue(std::string& text, const std::string& key, const std::string& placeholder) {
  std::size_t begin = 0;
  std::size_t end = 0;
  if (FindStringValueSpan(text, key, begin, end)) {
    text.replace(begin, end - begin, placeholder);
    return;
  }
  const std::size_t open = text.find('{');
  text.insert(open + 1, "\n\t\"" + key + "\" : \"" + placeholder + "\",");
}

bool writeReplacing(const std::string& path, const std::string& text) {
  const std::string temporary = path + ".signing";
  FILE* file = std::fopen(temporary.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  if (std::fclose(file) != 0 || !written || std::rename(temporary.c_str(), path.c_str()) != 0) {
    std::remove(temporary.c_str());
    return false;
  }
  return true;
}

}  // namespace

constexpr const char kHelp[] =
    "usage: bramblekit-sign-station-info PRIVATE_KEY.pem STATION_INFO.json [1|2]\n"
    "\n"
    "Signs a station info file in place, as the station-management agent does.\n"
    "  PRIVATE_KEY.pem    RSA 1024-bit private key whose public half the library\n"
    "                     embeds (the development one lies in the build's keys/)\n"
    "  STATION_INFO.json  the file; only its \"signature\" and \"digest\" values change\n"
    "  1|2                signature version; default: ksinfo.SIGNATURE_VERSION\n"
    "Exit status 0 on success, 1 with one line on standard error otherwise.\n";

int main(int argc, char** argv) {
  if (argc == 2 && (std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h")) {
    std::cout << kHelp;
    return 0;
  }
  if (argc < 3 || argc > 4) {
    return failWith("usage: sign_station_info PRIVATE_KEY.pem STATION_INFO.json [1|2]");
  }
  const std::string keyPath = argv[1];
  const std::string path = argv[2];

  std::string text;
  if (!readWholeFile(path, text)) return failWith("cannot read " + path);
  if (text.find(static_cast<char>(0xFF)) != std::string::npos) {
    return failWith("the file holds a 0xFF byte, where stations stop reading");
  }
  Json::Value root;
  Json::Reader reader;
  if (!reader.parse(text, root, false) || !root.isObject() || root.empty()) {
    return failWith("not a JSON object with members: " + path);
  }

  std::string version = argc == 4 ? argv[3] : "";
  if (version.empty()) {
    const Json::Value fromFile =
        root["ksinfo"].isObject() ? root["ksinfo"]["SIGNATURE_VERSION"] : Json::Value();
    if (!fromFile.isString()) return failWith("no ksinfo.SIGNATURE_VERSION; give the version");
    version = fromFile.asString();
  }
  if (version != "1" && version != "2") return failWith("version must be 1 or 2: " + version);
  if (version == "2") {
    const Json::Value stamp =
        root["kestrel_day"].isObject() ? root["kestrel_day"]["event_timestamp"] : Json::Value();
    if (!stamp.isInt() || stamp.asInt() != 1) {
      return failWith("version 2 needs kestrel_day.event_timestamp to be 1");
    }
  }

  placeValue(text, "digest", std::string(40, '0'));
  placeValue(text, "signature", std::string(kSignatureHexLength, '0'));
  std::vector<std::string> missing;
  const std::string signedText = stationInfoSignedText(text, version, &missing);
  if (!missing.empty()) return failWith("cannot cut the object \"" + missing.front() + "\"");

  std::string signature;
  std::string error;
  if (!signWithKeyFile(keyPath, signedText, signature, error)) return failWith(error);
  if (signature.size() != kSignatureHexLength) {
    return failWith("the key must be RSA 1024 bits: stations accept 256 hex digits only");
  }
  placeValue(text, "digest", sha1Hex(signedText));
  placeValue(text, "signature", signature);
  if (stationInfoSignedText(text, version, nullptr) != signedText) {
    return failWith("\"signature\" or \"digest\" lies inside a signed object");
  }
  if (!writeReplacing(path, text)) return failWith("cannot write " + path);
  if (text.size() < kShortestWholeFile) {
    std::cerr << "sign_station_info: warning: " << text.size()
              << " characters; stations take a file under 1024 for one being rewritten"
              << std::endl;
  }
  return 0;
}
