#ifndef WKAGENT_TESTS_CRYPTO_CIPHER_SUPPORT_H
#define WKAGENT_TESTS_CRYPTO_CIPHER_SUPPORT_H

#include <random>
#include <string>
#include <string_view>

#include <wkagent/crypto.h>

namespace wkagent::test {

inline constexpr int kSizes[] = {16, 24, 32};  // of keys and of blocks
inline constexpr int kModes[] = {CRijndael::kEcb, CRijndael::kCbc, CRijndael::kCfb};

// A cipher with this key and this chain, which is as long as a block.
inline CRijndael Keyed(const std::string& key, const std::string& chain) {
  CRijndael cipher;
  cipher.MakeKey(key.data(), chain.data(), static_cast<int>(key.size()),
                 static_cast<int>(chain.size()));
  return cipher;
}

inline std::string Encrypted(CRijndael& cipher, std::string_view in, int mode) {
  std::string result(in.size(), '\0');
  cipher.Encrypt(in.data(), result.data(), in.size(), mode);
  return result;
}

inline std::string Decrypted(CRijndael& cipher, std::string_view in, int mode) {
  std::string result(in.size(), '\0');
  cipher.Decrypt(in.data(), result.data(), in.size(), mode);
  return result;
}

inline std::string RandomBytes(std::mt19937& random, std::size_t size) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CRYPTO_CIPHER_SUPPORT_H
