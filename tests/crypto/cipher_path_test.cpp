// The processor's instructions against the tables: the same bytes, chains and keys. On a processor
// without them both are the tables.

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/crypto.h>

#include "crypto/cipher_path.h"
#include "crypto/cipher_support.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

// Puts the path back that there was.
class PathScope {
 public:
  explicit PathScope(CipherPath path) { SetCipherPath(path); }
  ~PathScope() { SetCipherPath(before_); }
  PathScope(const PathScope&) = delete;
  PathScope& operator=(const PathScope&) = delete;

 private:
  const CipherPath before_ = CurrentCipherPath();
};

std::string ChainOf(const CRijndael& cipher) { return {cipher.chain, sizeof(cipher.chain)}; }

using Sizes = std::tuple<int, int>;  // of the key and of the blocks

class CipherPaths : public ::testing::TestWithParam<Sizes> {
 protected:
  [[nodiscard]] CRijndael Cipher(CipherPath path) const {
    const PathScope scope(path);
    return Keyed(key_, chain_);
  }

  std::string Blocks(std::size_t count) { return RandomBytes(random_, count * block_); }

  std::size_t Below(std::size_t limit) { return random_() % limit; }

  // Takes `n` bytes on their way; the cipher's path is chosen anew for each call.
  static void Take(CipherPath path, CRijndael& cipher, bool encrypts, int mode, const char* in,
                   char* result, std::size_t n) {
    const PathScope scope(path);
    (cipher.*(encrypts ? &CRijndael::Encrypt : &CRijndael::Decrypt))(in, result, n, mode);
  }

  static std::string Taken(CipherPath path, CRijndael& cipher, bool encrypts, int mode,
                           const std::string& in) {
    std::string result(in.size(), '\0');
    Take(path, cipher, encrypts, mode, in.data(), result.data(), in.size());
    return result;
  }

  template <typename Check>
  static void ForEachWay(Check check) {
    for (const int mode : kModes) {
      for (const bool encrypts : {true, false}) {
        SCOPED_TRACE("mode " + std::to_string(mode) + (encrypts ? ", encrypting" : ""));
        check(encrypts, mode);
      }
    }
  }

  const std::size_t block_ = static_cast<std::size_t>(std::get<1>(GetParam()));
  std::mt19937 random_{RandomSeed()};
  const std::string key_ = RandomBytes(random_, static_cast<std::size_t>(std::get<0>(GetParam())));
  const std::string chain_ = RandomBytes(random_, block_);
};

TEST_P(CipherPaths, RoundKeysAreTheSame) {
  const CRijndael one = Cipher(CipherPath::kInstructions);
  const CRijndael other = Cipher(CipherPath::kTables);
  EXPECT_EQ(0, std::memcmp(one.encryptionRoundKeys, other.encryptionRoundKeys,
                           sizeof(one.encryptionRoundKeys)));
  EXPECT_EQ(0, std::memcmp(one.decryptionRoundKeys, other.decryptionRoundKeys,
                           sizeof(one.decryptionRoundKeys)));
}

TEST_P(CipherPaths, EveryLengthGivesTheSameBytesAndChain) {
  ForEachWay([this](bool encrypts, int mode) {
    for (std::size_t count = 1; count <= 40; ++count) {
      const std::string in = Blocks(count);
      CRijndael one = Cipher(CipherPath::kInstructions);
      CRijndael other = one;
      ASSERT_EQ(Taken(CipherPath::kTables, other, encrypts, mode, in),
                Taken(CipherPath::kInstructions, one, encrypts, mode, in))
          << count << " blocks";
      ASSERT_EQ(ChainOf(other), ChainOf(one)) << count << " blocks";
    }
  });
}

TEST_P(CipherPaths, StreamGoesOnWhereTheOtherPathLeftIt) {
  ForEachWay([this](bool encrypts, int mode) {
    const std::string in = Blocks(500);
    CRijndael whole = Cipher(CipherPath::kTables);
    CRijndael inCalls = whole;
    std::string result;
    while (result.size() < in.size()) {
      const std::string part = in.substr(result.size(), (1 + Below(30)) * block_);
      const CipherPath path = Below(2) == 0 ? CipherPath::kTables : CipherPath::kInstructions;
      result += Taken(path, inCalls, encrypts, mode, part);
    }
    EXPECT_EQ(Taken(CipherPath::kTables, whole, encrypts, mode, in), result);
    EXPECT_EQ(ChainOf(whole), ChainOf(inCalls));
  });
}

TEST_P(CipherPaths, ResultMayBeTheInput) {
  ForEachWay([this](bool encrypts, int mode) {
    for (std::size_t count = 1; count <= 40; ++count) {
      std::string buffer = Blocks(count);
      CRijndael apart = Cipher(CipherPath::kTables);
      CRijndael inPlace = apart;
      const std::string expected = Taken(CipherPath::kTables, apart, encrypts, mode, buffer);
      Take(CipherPath::kInstructions, inPlace, encrypts, mode, buffer.data(), buffer.data(),
           buffer.size());
      ASSERT_EQ(expected, buffer) << count << " blocks";
    }
  });
}

// The buffers end where the heap's blocks do, so an address sanitizer sees an access behind them.
TEST_P(CipherPaths, BuffersNeedNoAlignmentAndAreLeftAround) {
  ForEachWay([this](bool encrypts, int mode) {
    for (std::size_t offset = 0; offset < 16; ++offset) {
      const std::string text = Blocks(11);
      CRijndael one = Cipher(CipherPath::kTables);
      CRijndael other = one;
      const std::string expected = Taken(CipherPath::kTables, one, encrypts, mode, text);
      std::vector<char> in(offset, 'x');
      in.insert(in.end(), text.begin(), text.end());
      in.shrink_to_fit();
      std::vector<char> result(15 - offset + text.size(), 'x');
      Take(CipherPath::kInstructions, other, encrypts, mode, &in[offset], &result[15 - offset],
           text.size());
      ASSERT_EQ(std::string(15 - offset, 'x') + expected,
                std::string(result.begin(), result.end()));
    }
  });
}

TEST_P(CipherPaths, SingleBlocksAreTheSame) {
  using Routine = void (CRijndael::*)(char const*, char*);
  const Routine routines[] = {&CRijndael::EncryptBlock, &CRijndael::DecryptBlock,
                              &CRijndael::DefEncryptBlock, &CRijndael::DefDecryptBlock};
  for (int i = 0; i < 1000; ++i) {
    const Routine routine = routines[Below(std::size(routines))];
    const std::string in = Blocks(1);
    CRijndael cipher = Cipher(CipherPath::kInstructions);
    std::string one(block_, 'x');
    std::string other(block_, 'x');
    (cipher.*routine)(in.data(), one.data());
    const PathScope tables(CipherPath::kTables);
    (cipher.*routine)(in.data(), other.data());
    ASSERT_EQ(other, one);
    ASSERT_EQ(chain_, ChainOf(cipher).substr(0, block_));
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, CipherPaths,
                         ::testing::Combine(::testing::ValuesIn(kSizes),
                                            ::testing::ValuesIn(kSizes)),
                         [](const auto& test) {
                           return "Key" + std::to_string(std::get<0>(test.param)) + "Block" +
                                  std::to_string(std::get<1>(test.param));
                         });

TEST(CipherPath, BeginsWithTheInstructionsWhereTheyExist) {
  const CipherPath path = CurrentCipherPath();
  EXPECT_EQ(path == CipherPath::kInstructions, SetCipherPath(CipherPath::kInstructions));
}

TEST(CipherPath, OfTheTablesIsForEveryProcessor) {
  const PathScope scope(CipherPath::kTables);
  EXPECT_EQ(CipherPath::kTables, CurrentCipherPath());
}

}  // namespace
}  // namespace wkagent::test
