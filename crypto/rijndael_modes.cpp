// The modes of operation: those of SP 800-38A, for blocks of any size that the cipher has.

#include <cstddef>
#include <utility>

#include <wkagent/crypto.h>

#include "crypto/aes_instructions.h"
#include "crypto/cipher_data.h"
#include "crypto/cipher_path.h"
#include "crypto/rijndael_checks.h"
#include "crypto/rijndael_rounds.h"

namespace {

using wkagent::CipherData;

void RequireWholeBlocks(const CRijndael& cipher, const char* in, const char* result,
                        std::size_t n) {
  wkagent::RequireKeyAndBuffers(cipher, in, result);
  wkagent::Require(n > 0 && n % static_cast<std::size_t>(cipher.blockSize) == 0);
}

// The modes by the tables.
template <std::size_t kColumns>
class Modes {
 public:
  explicit Modes(CRijndael& cipher) : cipher_(cipher) {}

  void Encrypt(const CipherData& data, int mode) const {
    switch (mode) {
      case CRijndael::kCbc:
        return Chain(data, [this](Block in, Block& chain) { return chain = Encipher(chain ^ in); });
      case CRijndael::kCfb:
        return Chain(data, [this](Block in, Block& chain) { return chain = Encipher(chain) ^ in; });
      default:
        return Each(data, [this](Block in) { return Encipher(in); });
    }
  }

  void Decrypt(const CipherData& data, int mode) const {
    switch (mode) {
      case CRijndael::kCbc:
        return Chain(data, [this](Block in, Block& chain) {
          return std::exchange(chain, in) ^ Decipher(in);
        });
      case CRijndael::kCfb:
        return Chain(data, [this](Block in, Block& chain) {
          return Encipher(std::exchange(chain, in)) ^ in;
        });
      default:
        return Each(data, [this](Block in) { return Decipher(in); });
    }
  }

 private:
  using Block = wkagent::Block<kColumns>;

  Block Encipher(const Block& block) const {
    return wkagent::Transform<wkagent::Encryption>(cipher_, block);
  }
  Block Decipher(const Block& block) const {
    return wkagent::Transform<wkagent::Decryption>(cipher_, block);
  }

  template <typename Step>
  static void Each(const CipherData& data, Step step) {
    for (std::size_t at = 0; at < data.n; at += sizeof(Block)) {
      wkagent::StoreBlock(step(wkagent::LoadBlock<kColumns>(data.in + at)), data.result + at);
    }
  }

  template <typename Step>
  void Chain(const CipherData& data, Step step) const {
    Block chain = wkagent::LoadBlock<kColumns>(cipher_.chain);
    Each(data, [&](const Block& block) { return step(block, chain); });
    wkagent::StoreBlock(chain, cipher_.chain);
  }

  CRijndael& cipher_;
};

}  // namespace

void CRijndael::Encrypt(char const* in, char* result, std::size_t n, int mode) {
  RequireWholeBlocks(*this, in, result, n);
  const CipherData data = {in, result, n};
  if (wkagent::GoesByInstructions()) {
    return wkagent::aes_instructions::Encrypt(*this, data, mode);
  }
  wkagent::WithColumns(*this, [&](auto columns) { Modes<columns>(*this).Encrypt(data, mode); });
}

void CRijndael::Decrypt(char const* in, char* result, std::size_t n, int mode) {
  RequireWholeBlocks(*this, in, result, n);
  const CipherData data = {in, result, n};
  if (wkagent::GoesByInstructions()) {
    return wkagent::aes_instructions::Decrypt(*this, data, mode);
  }
  wkagent::WithColumns(*this, [&](auto columns) { Modes<columns>(*this).Decrypt(data, mode); });
}
