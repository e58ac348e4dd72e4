#ifndef WKAGENT_TESTS_CRYPTO_CIPHER_VECTORS_H
#define WKAGENT_TESTS_CRYPTO_CIPHER_VECTORS_H

#include <string>
#include <vector>

namespace wkagent::test {

// A record of a vector file.
struct CipherVector {
  std::string name;
  int mode;
  std::string key;
  std::string chain;
  std::string plain;
  std::string cipher;
};

// Reads a file of `tests/crypto/data`: records with a blank line between them, in which each line
// is "Field = value", or goes on with the value of the line before. Throws where a record lacks a
// field or has one more than a CipherVector.
[[nodiscard]] std::vector<CipherVector> ReadCipherVectors(const std::string& file);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CRYPTO_CIPHER_VECTORS_H
