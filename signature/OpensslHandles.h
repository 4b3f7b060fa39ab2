// Owners for OpenSSL objects and the text of OpenSSL's errors, shared by the
// library's signatures and the tools that stand on their other sides.
#ifndef BRAMBLEKIT_SIGNATURE_OPENSSLHANDLES_H_
#define BRAMBLEKIT_SIGNATURE_OPENSSLHANDLES_H_

#include <memory>
#include <string>

// Frees an OpenSSL object with the free function of its kind.
template <auto Free>
struct BKOpensslFree {
  template <typename Object>
  void operator()(Object* object) const {
    Free(object);
  }
};

template <typename Object, auto Free>
using BKOpensslPtr = std::unique_ptr<Object, BKOpensslFree<Free>>;

// The text of the oldest error in this thread's OpenSSL queue, which is taken
// off the queue.
std::string bkOpensslErrorText();

#endif  // BRAMBLEKIT_SIGNATURE_OPENSSLHANDLES_H_
