#include <cstddef>

#include <wkagent/crypto.h>

#include "crypto/rijndael_checks.h"
#include "crypto/rijndael_rounds.h"

namespace {

template <typename Direction, std::size_t kColumns>
void TransformBytes(const CRijndael& cipher, const char* in, char* result) {
  using wkagent::LoadBlock;
  wkagent::StoreBlock(wkagent::Transform<Direction>(cipher, LoadBlock<kColumns>(in)), result);
}

template <typename Direction>
void TransformOneBlock(const CRijndael& cipher, const char* in, char* result) {
  wkagent::RequireKeyAndBuffers(cipher, in, result);
  wkagent::WithColumns(
      cipher, [&](auto columns) { TransformBytes<Direction, columns>(cipher, in, result); });
}

template <typename Direction>
void TransformSmallBlock(const CRijndael& cipher, const char* in, char* result) {
  wkagent::RequireKeyAndBuffers(cipher, in, result);
  TransformBytes<Direction, 4>(cipher, in, result);
}

}  // namespace

void CRijndael::EncryptBlock(char const* in, char* result) {
  TransformOneBlock<wkagent::Encryption>(*this, in, result);
}

void CRijndael::DecryptBlock(char const* in, char* result) {
  TransformOneBlock<wkagent::Decryption>(*this, in, result);
}

void CRijndael::DefEncryptBlock(char const* in, char* result) {
  TransformSmallBlock<wkagent::Encryption>(*this, in, result);
}

void CRijndael::DefDecryptBlock(char const* in, char* result) {
  TransformSmallBlock<wkagent::Decryption>(*this, in, result);
}
