#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/crypto.h>

#include "crypto/cipher_support.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

static_assert(std::has_virtual_destructor_v<CRijndael>);
static_assert(sizeof(CRijndael::encryptionRoundKeys) == 15 * 8 * sizeof(std::uint32_t));
static_assert(sizeof(CRijndael::decryptionRoundKeys) == 15 * 8 * sizeof(std::uint32_t));
static_assert(sizeof(CRijndael::initialChain) == 32 && sizeof(CRijndael::chain) == 32);

// True when `act` throws a std::exception that is nothing more.
bool ThrowsPlainException(const std::function<void()>& act) {
  try {
    act();
  } catch (const std::exception& error) {
    return typeid(error) == typeid(std::exception);
  }
  return false;
}

bool IsRefused(CRijndael& cipher, int keySize, int blockSize) {
  const char bytes[300] = {};
  return ThrowsPlainException([&] { cipher.MakeKey(bytes, bytes, keySize, blockSize); });
}

// InvMixColumns, from the standard's matrix and a naive product.
std::uint32_t InvMixed(std::uint32_t column) {
  const auto times = [](unsigned a, unsigned b) {
    unsigned product = 0;
    for (; b != 0; b >>= 1, a = (a << 1) ^ ((a & 0x80) != 0 ? 0x11bU : 0)) {
      if ((b & 1) != 0) product ^= a;
    }
    return product;
  };
  constexpr unsigned kRow[] = {14, 11, 13, 9};
  std::uint32_t result = 0;
  for (unsigned i = 0; i < 4; ++i) {
    unsigned sum = 0;
    for (unsigned j = 0; j < 4; ++j)
      sum ^= times(column >> (24 - 8 * j) & 0xff, kRow[(j + 4 - i) % 4]);
    result = result << 8 | sum;
  }
  return result;
}

template <typename Array>
std::string_view BytesOf(const Array& array) {
  return {reinterpret_cast<const char*>(&array), sizeof(array)};
}

class RijndaelKey : public ::testing::Test {
 protected:
  std::mt19937 random_{RandomSeed()};
  std::string key_ = RandomBytes(random_, 32);
  std::string chain_ = RandomBytes(random_, 32);
  std::string text_ = RandomBytes(random_, 96);
};

TEST_F(RijndaelKey, RoundsFollowTheLargerSize) {
  constexpr int kRounds[3][3] = {{10, 12, 14}, {12, 12, 14}, {14, 14, 14}};
  for (int k = 0; k < 3; ++k) {
    for (int b = 0; b < 3; ++b) {
      CRijndael cipher;
      cipher.MakeKey(key_.data(), chain_.data(), kSizes[k], kSizes[b]);
      EXPECT_EQ(kRounds[k][b], cipher.rounds);
      EXPECT_EQ(kSizes[k], cipher.keyLength);
      EXPECT_EQ(kSizes[b], cipher.blockSize);
      EXPECT_TRUE(cipher.initialised);
    }
  }
}

// FIPS 197, appendix A: the last words of the three expansions.
TEST_F(RijndaelKey, RoundKeysAreThoseOfTheStandard) {
  using ::testing::ElementsAre;
  const auto lastRow = [](std::vector<unsigned char> key) {
    CRijndael cipher;
    cipher.MakeKey(reinterpret_cast<const char*>(key.data()), CRijndael::sm_chain0,
                   static_cast<int>(key.size()), 16);
    const auto& row = cipher.encryptionRoundKeys[cipher.rounds];
    return std::vector<std::uint32_t>(row, row + 4);
  };
  EXPECT_THAT(lastRow({0x2b, 0x7e, 0x15, 0x16, 0x28, 0xae, 0xd2, 0xa6, 0xab, 0xf7, 0x15, 0x88, 0x09,
                       0xcf, 0x4f, 0x3c}),
              ElementsAre(0xd014f9a8, 0xc9ee2589, 0xe13f0cc8, 0xb6630ca6));
  EXPECT_THAT(lastRow({0x8e, 0x73, 0xb0, 0xf7, 0xda, 0x0e, 0x64, 0x52, 0xc8, 0x10, 0xf3, 0x2b,
                       0x80, 0x90, 0x79, 0xe5, 0x62, 0xf8, 0xea, 0xd2, 0x52, 0x2c, 0x6b, 0x7b}),
              ElementsAre(0xe98ba06f, 0x448c773c, 0x8ecc7204, 0x01002202));
  EXPECT_THAT(lastRow({0x60, 0x3d, 0xeb, 0x10, 0x15, 0xca, 0x71, 0xbe, 0x2b, 0x73, 0xae,
                       0xf0, 0x85, 0x7d, 0x77, 0x81, 0x1f, 0x35, 0x2c, 0x07, 0x3b, 0x61,
                       0x08, 0xd7, 0x2d, 0x98, 0x10, 0xa3, 0x09, 0x14, 0xdf, 0xf4}),
              ElementsAre(0xfe4890d1, 0xe6188d0b, 0x046df344, 0x706c631e));
}

TEST_F(RijndaelKey, DecryptionRowsAreTheOthersReversedThroughInvMixColumns) {
  for (const int keySize : kSizes) {
    for (const int blockSize : kSizes) {
      CRijndael cipher;
      cipher.MakeKey(key_.data(), chain_.data(), keySize, blockSize);
      for (int row = 0; row <= cipher.rounds; ++row) {
        const bool isOuter = row == 0 || row == cipher.rounds;
        for (int column = 0; column < blockSize / 4; ++column) {
          const std::uint32_t word = cipher.encryptionRoundKeys[cipher.rounds - row][column];
          EXPECT_EQ(isOuter ? word : InvMixed(word), cipher.decryptionRoundKeys[row][column]);
        }
      }
    }
  }
}

TEST_F(RijndaelKey, RowsThatAreNotInUseAreZero) {
  CRijndael cipher;
  cipher.MakeKey(key_.data(), chain_.data(), 32, 32);
  cipher.MakeKey(key_.data(), chain_.data(), 16, 16);
  for (int row = 0; row < 15; ++row) {
    for (int column = row <= 10 ? 4 : 0; column < 8; ++column) {
      EXPECT_EQ(0U, cipher.encryptionRoundKeys[row][column]);
      EXPECT_EQ(0U, cipher.decryptionRoundKeys[row][column]);
    }
  }
}

TEST_F(RijndaelKey, OtherSizesAreRefused) {
  CRijndael cipher;
  for (int size = -1; size <= 300; ++size) {
    const bool isSize = std::find(std::begin(kSizes), std::end(kSizes), size) != std::end(kSizes);
    EXPECT_EQ(!isSize, IsRefused(cipher, size, 16)) << size;
    EXPECT_EQ(!isSize, IsRefused(cipher, 16, size)) << size;
  }
  for (const int size : {INT_MIN, INT_MAX, -16, 20, 8}) {
    EXPECT_TRUE(IsRefused(cipher, size, 16));
    EXPECT_TRUE(IsRefused(cipher, 16, size));
  }
}

TEST_F(RijndaelKey, NullKeyIsRefused) {
  CRijndael cipher;
  EXPECT_TRUE(ThrowsPlainException([&] { cipher.MakeKey(nullptr, chain_.data(), 16, 16); }));
  EXPECT_FALSE(cipher.initialised);
}

TEST_F(RijndaelKey, RefusedKeyLeavesTheOldOneAndItsChain) {
  CRijndael cipher = Keyed(key_, chain_);
  CRijndael untouched = Keyed(key_, chain_);
  Encrypted(cipher, text_, CRijndael::kCbc);
  Encrypted(untouched, text_, CRijndael::kCbc);
  EXPECT_TRUE(IsRefused(cipher, 20, 16));
  EXPECT_TRUE(IsRefused(cipher, 16, 8));
  EXPECT_TRUE(ThrowsPlainException([&] { cipher.MakeKey(nullptr, chain_.data(), 16, 16); }));
  EXPECT_EQ(Encrypted(untouched, text_, CRijndael::kCbc),
            Encrypted(cipher, text_, CRijndael::kCbc));
}

TEST_F(RijndaelKey, NullChainStandsForZeros) {
  for (const int blockSize : kSizes) {
    CRijndael zeros = Keyed(key_, std::string(static_cast<std::size_t>(blockSize), '\0'));
    CRijndael none = Keyed(key_, chain_);
    none.MakeKey(key_.data(), nullptr, 32, blockSize);
    EXPECT_EQ(Encrypted(zeros, text_, CRijndael::kCbc), Encrypted(none, text_, CRijndael::kCbc));
  }
}

// An address sanitizer sees a read behind either buffer.
TEST_F(RijndaelKey, NoMoreThanTheSizesAreRead) {
  for (const int keySize : kSizes) {
    for (const int blockSize : kSizes) {
      const auto size = [](int bytes) { return static_cast<std::size_t>(bytes); };
      const std::vector<char> key(key_.begin(), key_.begin() + keySize);
      const std::vector<char> chain(chain_.begin(), chain_.begin() + blockSize);
      CRijndael cipher;
      cipher.MakeKey(key.data(), chain.data(), keySize, blockSize);
      EXPECT_EQ(0, std::memcmp(chain.data(), cipher.initialChain, size(blockSize)));
      EXPECT_EQ(0, std::memcmp(chain.data(), cipher.chain, size(blockSize)));
    }
  }
}

TEST_F(RijndaelKey, SecondKeyBeginsANewStream) {
  CRijndael cipher = Keyed(key_.substr(0, 16), chain_.substr(0, 24));
  Encrypted(cipher, text_, CRijndael::kCfb);
  cipher.MakeKey(key_.data(), chain_.data(), 32, 32);
  CRijndael fresh = Keyed(key_, chain_);
  EXPECT_EQ(Encrypted(fresh, text_, CRijndael::kCfb), Encrypted(cipher, text_, CRijndael::kCfb));
}

TEST_F(RijndaelKey, ChainMayBeTheObjectsOwn) {
  CRijndael cipher = Keyed(key_, chain_);
  const std::string first = Encrypted(cipher, text_, CRijndael::kCbc);
  cipher.MakeKey(key_.data(), cipher.initialChain, 32, 32);
  EXPECT_EQ(first, Encrypted(cipher, text_, CRijndael::kCbc));
  CRijndael next = cipher;
  next.MakeKey(key_.data(), next.chain, 32, 32);
  EXPECT_EQ(Encrypted(cipher, text_, CRijndael::kCbc), Encrypted(next, text_, CRijndael::kCbc));
}

TEST_F(RijndaelKey, CopyGoesOnFromTheSameChain) {
  CRijndael cipher = Keyed(key_, chain_);
  Encrypted(cipher, text_, CRijndael::kCbc);
  CRijndael copy = cipher;
  CRijndael assigned;
  assigned = cipher;
  const std::string next = Encrypted(cipher, text_, CRijndael::kCbc);
  EXPECT_EQ(next, Encrypted(copy, text_, CRijndael::kCbc));
  EXPECT_EQ(next, Encrypted(assigned, text_, CRijndael::kCbc));
}

TEST_F(RijndaelKey, EndWipesKeysAndChain) {
  alignas(CRijndael) char memory[sizeof(CRijndael)] = {};
  auto* const cipher = new (memory) CRijndael;
  cipher->MakeKey(key_.data(), chain_.data(), 32, 32);
  Encrypted(*cipher, text_, CRijndael::kCbc);
  const std::string_view secrets[] = {
      BytesOf(cipher->encryptionRoundKeys), BytesOf(cipher->decryptionRoundKeys),
      BytesOf(cipher->keyWorkWords), BytesOf(cipher->initialChain), BytesOf(cipher->chain)};
  for (const std::string_view secret : secrets) EXPECT_NE(std::string(secret.size(), 0), secret);
  std::destroy_at(cipher);
  for (const std::string_view secret : secrets) EXPECT_EQ(std::string(secret.size(), 0), secret);
}

// What an object without a key refuses.
class UnkeyedRijndael : public ::testing::Test {
 protected:
  CRijndael cipher_;
  char in_[64] = {};
  char result_[64] = "untouched";
};

TEST_F(UnkeyedRijndael, RefusesEveryOperation) {
  EXPECT_FALSE(cipher_.initialised);
  EXPECT_TRUE(ThrowsPlainException([&] { cipher_.EncryptBlock(in_, result_); }));
  EXPECT_TRUE(ThrowsPlainException([&] { cipher_.DecryptBlock(in_, result_); }));
  EXPECT_TRUE(ThrowsPlainException([&] { cipher_.DefEncryptBlock(in_, result_); }));
  EXPECT_TRUE(ThrowsPlainException([&] { cipher_.DefDecryptBlock(in_, result_); }));
  for (const int mode : kModes) {
    EXPECT_TRUE(ThrowsPlainException([&] { cipher_.Encrypt(in_, result_, 32, mode); }));
    EXPECT_TRUE(ThrowsPlainException([&] { cipher_.Decrypt(in_, result_, 32, mode); }));
  }
  EXPECT_STREQ("untouched", result_);
}

TEST_F(UnkeyedRijndael, StaysSoAfterARefusedKey) {
  EXPECT_TRUE(IsRefused(cipher_, 20, 16));
  EXPECT_TRUE(ThrowsPlainException([&] { cipher_.Encrypt(in_, result_, 16, CRijndael::kEcb); }));
  cipher_.MakeKey(in_, in_, 16, 16);
  EXPECT_NO_THROW(cipher_.Encrypt(in_, result_, 16, CRijndael::kEcb));
}

TEST_F(UnkeyedRijndael, HasErrorTextsThatNoExceptionCarries) {
  EXPECT_STREQ("Object not Initialized", CRijndael::sm_szErrorMsg1);
  EXPECT_STREQ("Data not multiple of Block Size", CRijndael::sm_szErrorMsg2);
  try {
    cipher_.EncryptBlock(in_, result_);
    FAIL();
  } catch (const std::exception& error) {
    EXPECT_STREQ(std::exception().what(), error.what());
  }
}

}  // namespace
}  // namespace wkagent::test
