// The key texts built into the library (see cmake/Keys.cmake), as PEM.  The
// station needs no key file: what it trusts and how it signs travel with the
// library itself.
#ifndef BRAMBLEKIT_SIGNATURE_EMBEDDEDKEYS_H_
#define BRAMBLEKIT_SIGNATURE_EMBEDDEDKEYS_H_

// Public key (SubjectPublicKeyInfo, RSA 1024) that verifies the station info file.
extern const char ksPubKey1[];
// Traditional PEM RSA private key encrypted with DES-EDE3-CBC that signs the
// results; its pass phrase is built at run time and stored nowhere.
extern const char myPriKey[];

#endif  // BRAMBLEKIT_SIGNATURE_EMBEDDEDKEYS_H_
