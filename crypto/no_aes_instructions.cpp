// For processors of another kind.

#include <cstdlib>

#include "crypto/aes_instructions.h"

namespace wkagent::aes_instructions {

bool Exist() { return false; }

void Encrypt(CRijndael& /*cipher*/, const CipherData& /*data*/, int /*mode*/) { std::abort(); }

void Decrypt(CRijndael& /*cipher*/, const CipherData& /*data*/, int /*mode*/) { std::abort(); }

void EncryptBlock(CRijndael& /*cipher*/, std::size_t /*columns*/, const char* /*in*/,
                  char* /*result*/) {
  std::abort();
}

void DecryptBlock(CRijndael& /*cipher*/, std::size_t /*columns*/, const char* /*in*/,
                  char* /*result*/) {
  std::abort();
}

Word Substitute(Word /*word*/) { std::abort(); }

void InvMixColumns(Word (&/*roundKey*/)[8]) { std::abort(); }

}  // namespace wkagent::aes_instructions
