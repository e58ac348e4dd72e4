// The published examples of the cipher and its modes.

#include <string>

#include <gtest/gtest.h>

#include <wkagent/crypto.h>

#include "crypto/cipher_support.h"
#include "crypto/cipher_vectors.h"

namespace wkagent::test {
namespace {

struct VectorFile {
  const char* name;
  std::size_t records;
};

void PrintTo(const VectorFile& file, std::ostream* out) { *out << file.name; }

class RijndaelVectors : public ::testing::TestWithParam<VectorFile> {
 protected:
  RijndaelVectors() : vectors_(ReadCipherVectors(std::string(GetParam().name) + ".txt")) {}

  static CRijndael CipherOf(const CipherVector& vector) { return Keyed(vector.key, vector.chain); }

  std::vector<CipherVector> vectors_;
};

TEST_P(RijndaelVectors, AreAllThere) { EXPECT_EQ(GetParam().records, vectors_.size()); }

TEST_P(RijndaelVectors, Encrypt) {
  for (const CipherVector& vector : vectors_) {
    CRijndael cipher = CipherOf(vector);
    EXPECT_EQ(vector.cipher, Encrypted(cipher, vector.plain, vector.mode)) << vector.name;
  }
}

TEST_P(RijndaelVectors, Decrypt) {
  for (const CipherVector& vector : vectors_) {
    CRijndael cipher = CipherOf(vector);
    EXPECT_EQ(vector.plain, Decrypted(cipher, vector.cipher, vector.mode)) << vector.name;
  }
}

TEST_P(RijndaelVectors, EncryptAndDecryptInPlace) {
  for (const CipherVector& vector : vectors_) {
    std::string buffer = vector.plain;
    CipherOf(vector).Encrypt(buffer.data(), buffer.data(), buffer.size(), vector.mode);
    EXPECT_EQ(vector.cipher, buffer) << vector.name;
    CipherOf(vector).Decrypt(buffer.data(), buffer.data(), buffer.size(), vector.mode);
    EXPECT_EQ(vector.plain, buffer) << vector.name;
  }
}

TEST_P(RijndaelVectors, GoOnWhereACallEnded) {
  for (const CipherVector& vector : vectors_) {
    const std::size_t block = vector.chain.size();
    for (std::size_t split = block; split < vector.plain.size(); split += block) {
      CRijndael encrypting = CipherOf(vector);
      const std::string sealed = Encrypted(encrypting, vector.plain.substr(0, split), vector.mode);
      EXPECT_EQ(vector.cipher,
                sealed + Encrypted(encrypting, vector.plain.substr(split), vector.mode));
      CRijndael decrypting = CipherOf(vector);
      const std::string text = Decrypted(decrypting, vector.cipher.substr(0, split), vector.mode);
      EXPECT_EQ(vector.plain,
                text + Decrypted(decrypting, vector.cipher.substr(split), vector.mode));
    }
  }
}

TEST_P(RijndaelVectors, HoldForSingleBlocks) {
  for (const CipherVector& vector : vectors_) {
    if (vector.mode != CRijndael::kEcb) continue;
    CRijndael cipher = CipherOf(vector);
    std::string block(vector.chain.size(), '\0');
    cipher.EncryptBlock(vector.plain.data(), block.data());
    EXPECT_EQ(vector.cipher.substr(0, block.size()), block) << vector.name;
    cipher.DecryptBlock(block.data(), block.data());
    EXPECT_EQ(vector.plain.substr(0, block.size()), block) << vector.name;
  }
}

TEST(RijndaelFastRoutines, HaveTheExamplesOfFips197) {
  for (const CipherVector& vector : ReadCipherVectors("fips_197.txt")) {
    CRijndael cipher = Keyed(vector.key, vector.chain);
    std::string block(16, '\0');
    cipher.DefEncryptBlock(vector.plain.data(), block.data());
    EXPECT_EQ(vector.cipher, block) << vector.name;
    cipher.DefDecryptBlock(block.data(), block.data());
    EXPECT_EQ(vector.plain, block) << vector.name;
  }
}

INSTANTIATE_TEST_SUITE_P(Files, RijndaelVectors,
                         ::testing::Values(VectorFile{"fips_197", 4}, VectorFile{"sp_800_38a", 9},
                                           VectorFile{"rijndael", 6}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace wkagent::test
