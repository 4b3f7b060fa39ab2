// The process-wide set-up of the crypto library: the encrypted signing key
// can only be read after the algorithms are registered.
#ifndef BRAMBLEKIT_SIGNATURE_CRYPTOSETUP_H_
#define BRAMBLEKIT_SIGNATURE_CRYPTOSETUP_H_

// Registers every cipher and digest and loads the error texts.  Run once at
// load time, before any session can sign.
void InitSSL();
// Releases what InitSSL registered.  Run once at unload time.
void cleanInitSSL();

#endif  // BRAMBLEKIT_SIGNATURE_CRYPTOSETUP_H_
