#include "signature/SigningPrimitives.h"

// The signature form (RSA_sign/RSA_verify over a SHA-1 digest, keys read as
// RSA objects) is what the other sides of these signatures use; OpenSSL 3
// marks these calls deprecated but keeps them.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/objects.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <stdio.h>

#include <fstream>
#include <memory>
#include <vector>

#include "foundation/Log.h"
#include "foundation/Mutexes.h"
#include "signature/EmbeddedKeys.h"
#include "signature/OpensslHandles.h"
#include "signature/PassPhrase.h"

namespace {

constexpr int kSha1Length = 20;

using BioPtr = BKOpensslPtr<BIO, BIO_free>;
using RsaPtr = BKOpensslPtr<RSA, RSA_free>;

// SHA-1 of the text's bytes, no terminator.  False only if OpenSSL fails.
bool sha1(const std::string& text, unsigned char digest[kSha1Length]) {
  EVP_MD_CTX* context = EVP_MD_CTX_new();
  if (context == nullptr) return false;
  unsigned int length = 0;
  const bool ok = EVP_DigestInit_ex(context, EVP_sha1(), nullptr) == 1 &&
                  EVP_DigestUpdate(context, text.data(), text.size()) == 1 &&
                  EVP_DigestFinal_ex(context, digest, &length) == 1 && length == kSha1Length;
  EVP_MD_CTX_free(context);
  return ok;
}

BioPtr memoryBio(const char* pem) { return BioPtr(BIO_new_mem_buf(pem, -1)); }

// Two hex digits a byte.  A pair that is no hex number leaves the byte before
// it repeated (0 at the start); the verification then fails, which is all a
// reader of the signature needs.
std::vector<unsigned char> hexToBytes(const std::string& hex) {
  std::vector<unsigned char> bytes(hex.size() / 2);
  unsigned int value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const char pair[3] = {hex[2 * i], hex[2 * i + 1], '\0'};
    sscanf(pair, "%02X", &value);
    bytes[i] = static_cast<unsigned char>(value);
  }
  return bytes;
}

}  // namespace

std::string bkOpensslErrorText() {
  char text[256];
  ERR_error_string_n(ERR_get_error(), text, sizeof(text));
  return text;
}

std::string binToHexString(const unsigned char* bytes, std::size_t count) {
  static const char kDigits[] = "0123456789abcdef";
  std::string hex;
  if (bytes == nullptr || count == 0) return hex;
  hex.reserve(count * 2);
  for (std::size_t i = 0; i < count; ++i) {
    hex += kDigits[bytes[i] >> 4];
    hex += kDigits[bytes[i] & 0x0f];
  }
  return hex;
}

std::string sha1Hex(const std::string& text) {
  unsigned char digest[kSha1Length];
  if (!sha1(text, digest)) return "";
  return binToHexString(digest, kSha1Length);
}

bool verifySig(const std::string& text, const std::string& signatureHex, std::string) {
  BK_LOG(kPrimitivesLogTag, "Begin Verify:");
  if (text.empty() || signatureHex.empty()) {
    BK_LOG(kPrimitivesLogTag, "empty sig or stringtobeverified");
    BK_LOG(kPrimitivesLogTag, "End Verify:");
    return false;
  }
  unsigned char digest[kSha1Length] = {};
  sha1(text, digest);
  BK_LOG(kPrimitivesLogTag,
         "Digest generated from string : [" << binToHexString(digest, kSha1Length) << "]");

  RsaPtr key;
  {
    BioPtr bio = memoryBio(ksPubKey1);
    if (bio) key.reset(PEM_read_bio_RSA_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
  }
  if (!key) {
    const std::string error = bkOpensslErrorText();
    // Station tools match on this text, "private" included.
    fprintf(stderr, "Warning:: OpenSSL error Can not read private key from Buffer: %s\n",
            error.c_str());
    BK_LOG(kPrimitivesWarningLogTag,
           "Warning:: OpenSSL ERROR: Can not read public key from Buffer: [" << error << "]");
    BK_LOG(kPrimitivesLogTag, "End Verify:");
    return false;
  }
  BK_LOG(kPrimitivesLogTag, "Success : Got RSA PUBLIC key from BIO Buffer to verify:");
  BK_LOG(kPrimitivesLogTag, "Signature passed in  [" << signatureHex << "]");

  std::vector<unsigned char> signature = hexToBytes(signatureHex);
  const int verified = RSA_verify(NID_sha1, digest, kSha1Length, signature.data(),
                                  static_cast<unsigned int>(signature.size()), key.get());
  bool result = false;
  if (verified != 1) {
    bkOpensslErrorText();  // drains the error queue of this thread
    // The words are old and misleading: a failed verification is a failure.
    BK_LOG(kPrimitivesLogTag, "Warning :: disregard for now [Failure: OpenSSL error RSA_verify]");
  } else {
    BK_LOG(kPrimitivesLogTag, "Success: OpenSSL  RSA_verify");
    result = true;
  }
  BK_LOG(kPrimitivesLogTag, "End Verify:");
  return result;
}

bool verifyDigest(std::string text, std::string other, std::string expectedDigest) {
  BK_LOG(kPrimitivesLogTag, "Begin Verify:");
  if (text.empty() || other.empty() || expectedDigest.empty()) {
    BK_LOG(kPrimitivesLogTag, "empty sig or stringtobeverified");
    BK_LOG(kPrimitivesLogTag, "End Verify:");
    return false;
  }
  const std::string digest = sha1Hex(text);
  BK_LOG(kPrimitivesLogTag, "Digest generated from string : [" << digest << "]");
  if (digest != expectedDigest) BK_LOG(kPrimitivesLogTag, "Digest does not match");
  BK_LOG(kPrimitivesLogTag, "End Verify:");
  return false;
}

bool signString(const std::string& text, std::string& signatureHex) {
  BK_LOG(kPrimitivesLogTag, "Begin Sign:");
  if (text.empty()) {
    BK_LOG(kPrimitivesLogTag, "empty sig or stringtobesigned");
    BK_LOG(kPrimitivesLogTag, "End Sign:");
    return false;
  }
  unsigned char digest[kSha1Length] = {};
  sha1(text, digest);
  BK_LOG(kPrimitivesLogTag, binToHexString(digest, kSha1Length));

  RsaPtr key;
  {
    BioPtr bio = memoryBio(myPriKey);
    // The pass phrase exists only here, for the length of this call.
    char passphrase[16];
    snprintf(passphrase, sizeof(passphrase), "%x", static_cast<unsigned>(Util_getNumber()));
    if (bio) key.reset(PEM_read_bio_RSAPrivateKey(bio.get(), nullptr, nullptr, passphrase));
    OPENSSL_cleanse(passphrase, sizeof(passphrase));
  }
  if (!key) {
    BK_LOG(kPrimitivesLogTag, bkOpensslErrorText());
    BK_LOG(kPrimitivesLogTag, "End Sign:");
    return false;
  }
  BK_LOG(kPrimitivesLogTag, "Success: Got RSA PRIVATE key from BIO Buffer to sign.");

  std::vector<unsigned char> signature(static_cast<std::size_t>(RSA_size(key.get())));
  if (signature.empty()) {
    BK_LOG(kPrimitivesLogTag, "Can not allocate memory for signature, rasSig is NULL.");
    BK_LOG(kPrimitivesLogTag, "End Sign:");
    return false;
  }
  unsigned int length = 0;
  int signedOk = 0;
  {
    MutexGuard guard(&mutexSig);
    signedOk = RSA_sign(NID_sha1, digest, kSha1Length, signature.data(), &length, key.get());
  }
  if (signedOk != 1) {
    BK_LOG(kPrimitivesLogTag, "Can not sign the digest created from json objs, RSA_sign fialed.");
    BK_LOG(kPrimitivesLogTag, "End Sign:");
    return false;
  }
  signatureHex = binToHexString(signature.data(), length);
  BK_LOG(kPrimitivesLogTag, signatureHex);
  BK_LOG(kPrimitivesLogTag, "End Sign:");
  return true;
}

void ConvertFileToString(const char* path, std::string& out) {
  out.clear();
  if (path == nullptr) return;
  std::ifstream in(path, std::ios::in | std::ios::binary);
  if (!in.is_open()) return;
  std::getline(in, out, static_cast<char>(0xFF));
}

void initOpenssl() {
  MutexGuard guard(&mutexSig);
  OPENSSL_add_all_algorithms_noconf();
  ERR_load_crypto_strings();
}
