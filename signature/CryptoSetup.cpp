#include "signature/CryptoSetup.h"

#include <openssl/err.h>
#include <openssl/evp.h>

void InitSSL() {
  OPENSSL_add_all_algorithms_noconf();
  ERR_load_crypto_strings();
}

void cleanInitSSL() { EVP_cleanup(); }
