#ifndef WKAGENT_CRYPTO_CIPHER_DATA_H
#define WKAGENT_CRYPTO_CIPHER_DATA_H

#include <cstddef>

namespace wkagent {

// `n` bytes from one buffer to another, which may be the same.
struct CipherData {
  const char* in;
  char* result;
  std::size_t n;
};

}  // namespace wkagent

#endif  // WKAGENT_CRYPTO_CIPHER_DATA_H
