// The number the results key's pass phrase is derived from.
#ifndef BRAMBLEKIT_SIGNATURE_PASSPHRASE_H_
#define BRAMBLEKIT_SIGNATURE_PASSPHRASE_H_

int Util_getNumber();

#endif  // BRAMBLEKIT_SIGNATURE_PASSPHRASE_H_
