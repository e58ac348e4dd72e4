#ifndef WKAGENT_CRYPTO_SECRET_BYTES_H
#define WKAGENT_CRYPTO_SECRET_BYTES_H

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include <openssl/crypto.h>

namespace wkagent {

template <typename T>
struct WipingAllocator {
  using value_type = T;

  T* allocate(std::size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* memory, std::size_t count) {
    OPENSSL_cleanse(memory, count * sizeof(T));
    std::allocator<T>().deallocate(memory, count);
  }
  bool operator==(const WipingAllocator&) const = default;
};

// Bytes that are wiped wherever they have been: at the end, and when they move to grow.
using SecretBytes = std::vector<char, WipingAllocator<char>>;

[[nodiscard]] inline std::string_view View(const SecretBytes& bytes) {
  return {bytes.data(), bytes.size()};
}

}  // namespace wkagent

#endif  // WKAGENT_CRYPTO_SECRET_BYTES_H
