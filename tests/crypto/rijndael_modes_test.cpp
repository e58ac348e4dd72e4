// The chain, the buffers and what the bulk operations refuse, for every size and mode.

#include <climits>
#include <cstring>
#include <exception>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/crypto.h>

#include "crypto/cipher_support.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

class RijndaelModes : public ::testing::TestWithParam<int> {
 protected:
  static constexpr std::size_t kBlocks = 5;

  [[nodiscard]] CRijndael Cipher() const { return Keyed(key_, chain_); }

  // The chain of the object, as far as a block reaches.
  [[nodiscard]] std::string ChainOf(const CRijndael& cipher) const {
    return {cipher.chain, block_};
  }

  const std::size_t block_ = static_cast<std::size_t>(GetParam());
  std::mt19937 random_{RandomSeed()};
  const std::string key_ = RandomBytes(random_, 24);
  const std::string chain_ = RandomBytes(random_, block_);
  const std::string text_ = RandomBytes(random_, kBlocks* block_);
};

TEST_P(RijndaelModes, CallsGoOnWithTheChain) {
  for (const int mode : kModes) {
    CRijndael whole = Cipher();
    CRijndael inParts = Cipher();
    const std::string expected = Encrypted(whole, text_, mode);
    std::string sealed;
    for (std::size_t at = 0; at < text_.size(); at += block_) {
      sealed += Encrypted(inParts, text_.substr(at, block_), mode);
    }
    EXPECT_EQ(expected, sealed) << mode;
    EXPECT_EQ(ChainOf(whole), ChainOf(inParts)) << mode;
  }
}

TEST_P(RijndaelModes, DecryptionGoesOnWithTheChain) {
  for (const int mode : kModes) {
    CRijndael encrypting = Cipher();
    CRijndael decrypting = Cipher();
    const std::string sealed = Encrypted(encrypting, text_, mode);
    std::string text;
    for (std::size_t at = 0; at < sealed.size(); at += block_) {
      text += Decrypted(decrypting, sealed.substr(at, block_), mode);
    }
    EXPECT_EQ(text_, text) << mode;
  }
}

TEST_P(RijndaelModes, ChainIsTheLastEncryptedBlockButInEcb) {
  for (const int mode : {CRijndael::kCbc, CRijndael::kCfb}) {
    CRijndael cipher = Cipher();
    const std::string sealed = Encrypted(cipher, text_, mode);
    EXPECT_EQ(sealed.substr(sealed.size() - block_), ChainOf(cipher));
    Decrypted(cipher, text_, mode);
    EXPECT_EQ(text_.substr(text_.size() - block_), ChainOf(cipher));
  }
  CRijndael cipher = Cipher();
  Encrypted(cipher, text_, CRijndael::kEcb);
  Decrypted(cipher, text_, CRijndael::kEcb);
  EXPECT_EQ(chain_, ChainOf(cipher));
}

TEST_P(RijndaelModes, InitialChainStays) {
  CRijndael cipher = Cipher();
  for (const int mode : kModes) Encrypted(cipher, text_, mode);
  EXPECT_EQ(chain_, std::string(cipher.initialChain, block_));
}

TEST_P(RijndaelModes, EqualBlocksDifferWhereTheChainCounts) {
  const std::string twice = text_.substr(0, block_) + text_.substr(0, block_);
  for (const int mode : kModes) {
    CRijndael cipher = Cipher();
    const std::string sealed = Encrypted(cipher, twice, mode);
    EXPECT_EQ(mode == CRijndael::kEcb, sealed.substr(0, block_) == sealed.substr(block_)) << mode;
  }
}

TEST_P(RijndaelModes, FirstChangedByteChangesTheSecondBlockInCbc) {
  std::string other = text_;
  other[0] = static_cast<char>(other[0] ^ 1);
  CRijndael one = Cipher();
  CRijndael two = Cipher();
  EXPECT_NE(Encrypted(one, text_, CRijndael::kCbc).substr(block_, block_),
            Encrypted(two, other, CRijndael::kCbc).substr(block_, block_));
}

TEST_P(RijndaelModes, SingleBlocksLeaveTheChain) {
  CRijndael cipher = Cipher();
  std::string result(block_, '\0');
  cipher.EncryptBlock(text_.data(), result.data());
  cipher.DecryptBlock(text_.data(), result.data());
  cipher.DefEncryptBlock(text_.data(), result.data());
  cipher.DefDecryptBlock(text_.data(), result.data());
  EXPECT_EQ(chain_, ChainOf(cipher));
}

TEST_P(RijndaelModes, EcbIsBlockByBlock) {
  CRijndael cipher = Cipher();
  std::string expected(text_.size(), '\0');
  for (std::size_t at = 0; at < text_.size(); at += block_) {
    cipher.EncryptBlock(&text_[at], &expected[at]);
  }
  EXPECT_EQ(expected, Encrypted(cipher, text_, CRijndael::kEcb));
}

// Deliberate.
TEST_P(RijndaelModes, OtherModeNumbersAreEcb) {
  CRijndael cipher = Cipher();
  const std::string expected = Encrypted(cipher, text_, CRijndael::kEcb);
  for (const int mode : {-1, 3, 4, 255, 256, 257, INT_MIN, INT_MAX}) {
    EXPECT_EQ(expected, Encrypted(cipher, text_, mode)) << mode;
    EXPECT_EQ(text_, Decrypted(cipher, expected, mode)) << mode;
  }
  EXPECT_EQ(chain_, ChainOf(cipher));
}

TEST_P(RijndaelModes, ResultMayBeTheInput) {
  for (const int mode : kModes) {
    CRijndael apart = Cipher();
    CRijndael inPlace = Cipher();
    std::string buffer = text_;
    inPlace.Encrypt(buffer.data(), buffer.data(), buffer.size(), mode);
    EXPECT_EQ(Encrypted(apart, text_, mode), buffer) << mode;
    CRijndael back = Cipher();
    back.Decrypt(buffer.data(), buffer.data(), buffer.size(), mode);
    EXPECT_EQ(text_, buffer) << mode;
  }
}

TEST_P(RijndaelModes, BuffersNeedNoAlignment) {
  for (const int mode : kModes) {
    CRijndael aligned = Cipher();
    const std::string expected = Encrypted(aligned, text_, mode);
    for (std::size_t offset = 1; offset < 8; ++offset) {
      std::vector<char> in(offset + text_.size());
      std::vector<char> result(offset + text_.size());
      std::memcpy(in.data() + offset, text_.data(), text_.size());
      Cipher().Encrypt(in.data() + offset, result.data() + offset, text_.size(), mode);
      EXPECT_EQ(expected, std::string(result.begin() + static_cast<long>(offset), result.end()));
    }
  }
}

// An address sanitizer sees an access behind either buffer.
TEST_P(RijndaelModes, NoMoreThanTheBytesAreTouched) {
  const std::vector<char> in(text_.begin(), text_.end());
  for (const int mode : kModes) {
    std::vector<char> result(in.size() + 1, 'x');
    Cipher().Encrypt(in.data(), result.data(), in.size(), mode);
    Cipher().Decrypt(in.data(), result.data(), in.size(), mode);
    EXPECT_EQ('x', result.back());
  }
}

TEST_P(RijndaelModes, PartsOfBlocksAreRefused) {
  for (const int mode : kModes) {
    CRijndael cipher = Cipher();
    std::string result = "untouched";
    result.resize(text_.size());
    const std::string before = result;
    for (std::size_t n = 0; n < text_.size(); ++n) {
      if (n > 0 && n % block_ == 0) continue;
      EXPECT_THROW(cipher.Encrypt(text_.data(), result.data(), n, mode), std::exception) << n;
      EXPECT_THROW(cipher.Decrypt(text_.data(), result.data(), n, mode), std::exception) << n;
    }
    EXPECT_EQ(before, result);
    EXPECT_EQ(chain_, ChainOf(cipher));
  }
}

TEST_P(RijndaelModes, NullBuffersAreRefused) {
  CRijndael cipher = Cipher();
  char buffer[32] = {};
  EXPECT_THROW(cipher.Encrypt(nullptr, buffer, block_, CRijndael::kCbc), std::exception);
  EXPECT_THROW(cipher.Encrypt(buffer, nullptr, block_, CRijndael::kCbc), std::exception);
  EXPECT_THROW(cipher.Decrypt(nullptr, buffer, block_, CRijndael::kCbc), std::exception);
  EXPECT_THROW(cipher.Decrypt(buffer, nullptr, block_, CRijndael::kCbc), std::exception);
  EXPECT_THROW(cipher.EncryptBlock(nullptr, buffer), std::exception);
  EXPECT_THROW(cipher.DecryptBlock(buffer, nullptr), std::exception);
  EXPECT_THROW(cipher.DefEncryptBlock(nullptr, buffer), std::exception);
  EXPECT_THROW(cipher.DefDecryptBlock(buffer, nullptr), std::exception);
  EXPECT_EQ(chain_, ChainOf(cipher));
}

TEST_P(RijndaelModes, DistinctObjectsWorkInDistinctThreads) {
  std::vector<std::string> results(4, text_);
  std::vector<std::thread> threads;
  for (std::string& result : results) {
    threads.emplace_back([this, &result] {
      CRijndael cipher = Cipher();
      for (int i = 0; i < 500; ++i) result = Encrypted(cipher, result, i % 3);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& result : results) EXPECT_EQ(results[0], result);
}

// Deliberate.
TEST_P(RijndaelModes, FastRoutinesTakeSixteenBytesUnderAnyKey) {
  CRijndael cipher = Cipher();
  std::string sealed(block_, '\0');
  std::string text(block_, '\0');
  cipher.DefEncryptBlock(text_.data(), sealed.data());
  EXPECT_EQ(std::string(block_ - 16, '\0'), sealed.substr(16));
  cipher.DefDecryptBlock(sealed.data(), text.data());
  EXPECT_EQ(text_.substr(0, 16), text.substr(0, 16));
  std::string whole(block_, '\0');
  cipher.EncryptBlock(text_.data(), whole.data());
  EXPECT_EQ(block_ == 16, whole == sealed);
}

INSTANTIATE_TEST_SUITE_P(BlockSizes, RijndaelModes, ::testing::ValuesIn(kSizes),
                         [](const auto& test) { return "Of" + std::to_string(test.param); });

}  // namespace
}  // namespace wkagent::test
