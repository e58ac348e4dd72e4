// Linked into a test program, makes all of its ciphers go by the tables.

#include <gtest/gtest.h>

#include "crypto/cipher_path.h"

namespace wkagent::test {
namespace {

[[maybe_unused]] const bool kSet = SetCipherPath(CipherPath::kTables);

TEST(CipherPath, IsThatOfTheTables) { EXPECT_EQ(CipherPath::kTables, CurrentCipherPath()); }

}  // namespace
}  // namespace wkagent::test
