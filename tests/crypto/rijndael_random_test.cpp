// Random keys, chains, data and calls, against other implementations.

#include <algorithm>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <wkagent/crypto.h>

#include "crypto/cipher_support.h"
#include "crypto/reference_ciphers.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

class RijndaelRandom : public ::testing::Test {
 protected:
  static constexpr int kCases = 100'000;

  int Pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
  std::string Bytes(int size) { return RandomBytes(random_, static_cast<std::size_t>(size)); }

  // One stream by this object, which has had other keys, in calls of random lengths.
  std::string InCalls(Way way, int mode, const std::string& key, const std::string& chain,
                      std::string_view in) {
    cipher_.MakeKey(key.data(), chain.data(), static_cast<int>(key.size()),
                    static_cast<int>(chain.size()));
    std::string result;
    while (!in.empty()) {
      const std::size_t blocks = 1 + random_() % 4;
      const std::string_view part = in.substr(0, blocks * chain.size());
      result +=
          way == Way::kEncrypt ? Encrypted(cipher_, part, mode) : Decrypted(cipher_, part, mode);
      in.remove_prefix(part.size());
    }
    return result;
  }

  // Compares one random case with blocks of this size.
  template <typename Reference>
  void Compare(int blockSize, Reference reference) {
    const Way way = Pick(2) == 0 ? Way::kEncrypt : Way::kDecrypt;
    const int mode = kModes[Pick(3)];
    const std::string key = Bytes(kSizes[Pick(3)]);
    const std::string chain = Bytes(blockSize);
    const std::string in = Bytes(blockSize * (1 + Pick(8)));
    ASSERT_EQ(reference(way, mode, key, chain, in), InCalls(way, mode, key, chain, in))
        << "mode " << mode << ", key of " << key.size() << ", " << in.size() << " bytes";
  }

  std::mt19937 random_{RandomSeed()};
  CRijndael cipher_;
};

TEST_F(RijndaelRandom, BlocksOf16AreOpenssls) {
  for (int i = 0; i < kCases && !HasFatalFailure(); ++i) Compare(16, ByOpenssl);
}

TEST_F(RijndaelRandom, BlocksOf24AreLibmcrypts) {
  for (int i = 0; i < kCases && !HasFatalFailure(); ++i) Compare(24, ByMcrypt);
}

TEST_F(RijndaelRandom, BlocksOf32AreLibmcrypts) {
  for (int i = 0; i < kCases && !HasFatalFailure(); ++i) Compare(32, ByMcrypt);
}

}  // namespace
}  // namespace wkagent::test
