#ifndef WKAGENT_CRYPTO_RIJNDAEL_CHECKS_H
#define WKAGENT_CRYPTO_RIJNDAEL_CHECKS_H

#include <cstddef>
#include <exception>
#include <type_traits>

#include <wkagent/crypto.h>

namespace wkagent {

inline void Require(bool holds) {
  if (!holds) throw std::exception();
}

inline void RequireKeyAndBuffers(const CRijndael& cipher, const char* in, const char* result) {
  Require(cipher.initialised && in != nullptr && result != nullptr);
}

// Calls `action` with the number of columns of the cipher's blocks, as a type.
template <typename Action>
void WithColumns(const CRijndael& cipher, Action action) {
  switch (cipher.blockSize) {
    case 16:
      return action(std::integral_constant<std::size_t, 4>());
    case 24:
      return action(std::integral_constant<std::size_t, 6>());
    default:
      return action(std::integral_constant<std::size_t, 8>());
  }
}

}  // namespace wkagent

#endif  // WKAGENT_CRYPTO_RIJNDAEL_CHECKS_H
