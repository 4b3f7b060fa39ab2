#include "tools/ToolCrypto.h"

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

#include "signature/OpensslHandles.h"
#include "signature/SigningPrimitives.h"

namespace {

using KeyPtr = BKOpensslPtr<EVP_PKEY, EVP_PKEY_free>;
using ContextPtr = BKOpensslPtr<EVP_MD_CTX, EVP_MD_CTX_free>;

// The first error's text; the rest of the queue goes with it.
std::string opensslError() {
  std::string text = bkOpensslErrorText();
  ERR_clear_error();
  return text;
}

KeyPtr readKey(const std::string& path, bool isPrivate, std::string& error) {
  FILE* file = std::fopen(path.c_str(), "r");
  if (file == nullptr) {
    error = "cannot open key file " + path;
    return nullptr;
  }
  KeyPtr key(isPrivate ? PEM_read_PrivateKey(file, nullptr, nullptr, nullptr)
                       : PEM_read_PUBKEY(file, nullptr, nullptr, nullptr));
  std::fclose(file);
  if (!key) error = "cannot read key " + path + ": " + opensslError();
  return key;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool signWithKeyFile(const std::string& keyPath, const std::string& text, std::string& signatureHex,
                     std::string& error) {
  KeyPtr key = readKey(keyPath, true, error);
  if (!key) return false;
  ContextPtr context(EVP_MD_CTX_new());
  std::size_t length = 0;
  if (!context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha1(), nullptr, key.get()) != 1 ||
      EVP_DigestSign(context.get(), nullptr, &length,
                     reinterpret_cast<const unsigned char*>(text.data()), text.size()) != 1) {
    error = "cannot sign: " + opensslError();
    return false;
  }
  std::vector<unsigned char> signature(length);
  if (EVP_DigestSign(context.get(), signature.data(), &length,
                     reinterpret_cast<const unsigned char*>(text.data()), text.size()) != 1) {
    error = "cannot sign: " + opensslError();
    return false;
  }
  signatureHex = binToHexString(signature.data(), length);
  return true;
}

bool verifyWithKeyFile(const std::string& keyPath, const std::string& text,
                       const std::string& signatureHex, std::string& error) {
  if (signatureHex.empty() || signatureHex.size() % 2 != 0) {
    error = "signature is not an even number of hex digits";
    return false;
  }
  std::vector<unsigned char> signature(signatureHex.size() / 2);
  for (std::size_t i = 0; i < signature.size(); ++i) {
    const int high = hexDigit(signatureHex[2 * i]);
    const int low = hexDigit(signatureHex[2 * i + 1]);
    if (high < 0 || low < 0) {
      error = "signature holds a character that is no hex digit";
      return false;
    }
    signature[i] = static_cast<unsigned char>(high * 16 + low);
  }
  KeyPtr key = readKey(keyPath, false, error);
  if (!key) return false;
  ContextPtr context(EVP_MD_CTX_new());
  if (!context ||
      EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha1(), nullptr, key.get()) != 1) {
    error = "cannot verify: " + opensslError();
    return false;
  }
  if (EVP_DigestVerify(context.get(), signature.data(), signature.size(),
                       reinterpret_cast<const unsigned char*>(text.data()), text.size()) != 1) {
    ERR_clear_error();
    error = "signature does not match the signed text";
    return false;
  }
  return true;
}

bool readWholeFile(const std::string& path, std::string& text) {
  std::ifstream in(path, std::ios::in | std::ios::binary);
  if (!in.is_open()) return false;
  std::ostringstream content;
  content << in.rdbuf();
  text = content.str();
  return !in.bad();
}
