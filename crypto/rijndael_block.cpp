#include <cstddef>

#include <wkagent/crypto.h>

#include "crypto/aes_instructions.h"
#include "crypto/cipher_path.h"
#include "crypto/rijndael_checks.h"
#include "crypto/rijndael_rounds.h"

namespace {

namespace instructions = wkagent::aes_instructions;

struct Encryption : wkagent::Encryption {
  static constexpr auto kByInstructions = instructions::EncryptBlock;
};

struct Decryption : wkagent::Decryption {
  static constexpr auto kByInstructions = instructions::DecryptBlock;
};

template <typename Direction, std::size_t kColumns>
void TransformBytes(CRijndael& cipher, const char* in, char* result) {
  if (wkagent::GoesByInstructions()) {
    return Direction::kByInstructions(cipher, kColumns, in, result);
  }
  using wkagent::LoadBlock;
  wkagent::StoreBlock(wkagent::Transform<Direction>(cipher, LoadBlock<kColumns>(in)), result);
}

template <typename Direction>
void TransformOneBlock(CRijndael& cipher, const char* in, char* result) {
  wkagent::RequireKeyAndBuffers(cipher, in, result);
  wkagent::WithColumns(
      cipher, [&](auto columns) { TransformBytes<Direction, columns>(cipher, in, result); });
}

template <typename Direction>
void TransformSmallBlock(CRijndael& cipher, const char* in, char* result) {
  wkagent::RequireKeyAndBuffers(cipher, in, result);
  TransformBytes<Direction, 4>(cipher, in, result);
}

}  // namespace

void CRijndael::EncryptBlock(char const* in, char* result) {
  TransformOneBlock<Encryption>(*this, in, result);
}

void CRijndael::DecryptBlock(char const* in, char* result) {
  TransformOneBlock<Decryption>(*this, in, result);
}

void CRijndael::DefEncryptBlock(char const* in, char* result) {
  TransformSmallBlock<Encryption>(*this, in, result);
}

void CRijndael::DefDecryptBlock(char const* in, char* result) {
  TransformSmallBlock<Decryption>(*this, in, result);
}
