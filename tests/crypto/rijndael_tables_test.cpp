// Derives each table again, from the arithmetic of FIPS 197 done bit by bit.

#include <array>
#include <cstdint>

#include <gtest/gtest.h>

#include <wkagent/crypto.h>

namespace wkagent::test {
namespace {

using Table = std::uint32_t[256];

// The product of two polynomials, modulo x^8 + x^4 + x^3 + x + 1.
unsigned Product(unsigned a, unsigned b) {
  unsigned product = 0;
  for (int bit = 0; bit < 8; ++bit) {
    if ((b >> bit & 1) != 0) product ^= a << bit;
  }
  for (int bit = 14; bit >= 8; --bit) {
    if ((product >> bit & 1) != 0) product ^= 0x11bU << (bit - 8);
  }
  return product;
}

unsigned Inverse(unsigned value) {
  for (unsigned other = 1; other < 256; ++other) {
    if (Product(value, other) == 1) return other;
  }
  return 0;
}

// FIPS 197, equation 5.1.
unsigned SubByte(unsigned value) {
  const unsigned b = Inverse(value);
  unsigned result = 0;
  for (unsigned i = 0; i < 8; ++i) {
    const unsigned bit = b >> i ^ b >> (i + 4) % 8 ^ b >> (i + 5) % 8 ^ b >> (i + 6) % 8 ^
                         b >> (i + 7) % 8 ^ 0x63U >> i;
    result |= (bit & 1) << i;
  }
  return result;
}

unsigned InvSubByte(unsigned value) {
  unsigned result = 0;
  while (SubByte(result) != value) ++result;
  return result;
}

// The column that a matrix of MixColumns' kind makes of one with `value` in the given row and zeros
// else. Its rows are those of `first`, each turned by one place more to the right.
std::uint32_t MixedColumn(const std::array<unsigned, 4>& first, unsigned value, unsigned row) {
  std::uint32_t column = 0;
  for (unsigned i = 0; i < 4; ++i) column = column << 8 | Product(first[(row + 4 - i) % 4], value);
  return column;
}

constexpr std::array<unsigned, 4> kMix = {2, 3, 1, 1};
constexpr std::array<unsigned, 4> kInvMix = {14, 11, 13, 9};

const Table* const kEncryption[] = {&CRijndael::sm_T1, &CRijndael::sm_T2, &CRijndael::sm_T3,
                                    &CRijndael::sm_T4};
const Table* const kDecryption[] = {&CRijndael::sm_T5, &CRijndael::sm_T6, &CRijndael::sm_T7,
                                    &CRijndael::sm_T8};
const Table* const kRoundKeys[] = {&CRijndael::sm_U1, &CRijndael::sm_U2, &CRijndael::sm_U3,
                                   &CRijndael::sm_U4};

TEST(RijndaelTables, SBoxesAreThoseOfTheStandard) {
  for (unsigned value = 0; value < 256; ++value) {
    EXPECT_EQ(SubByte(value), CRijndael::sm_S[value]) << value;
    EXPECT_EQ(InvSubByte(value), CRijndael::sm_Si[value]) << value;
  }
}

TEST(RijndaelTables, RoundTablesAreSubBytesAndMixColumns) {
  for (unsigned row = 0; row < 4; ++row) {
    for (unsigned value = 0; value < 256; ++value) {
      EXPECT_EQ(MixedColumn(kMix, SubByte(value), row), (*kEncryption[row])[value]) << value;
    }
  }
}

TEST(RijndaelTables, InverseRoundTablesAreInvSubBytesAndInvMixColumns) {
  for (unsigned row = 0; row < 4; ++row) {
    for (unsigned value = 0; value < 256; ++value) {
      EXPECT_EQ(MixedColumn(kInvMix, InvSubByte(value), row), (*kDecryption[row])[value]) << value;
    }
  }
}

TEST(RijndaelTables, RoundKeyTablesAreInvMixColumnsAlone) {
  for (unsigned row = 0; row < 4; ++row) {
    for (unsigned value = 0; value < 256; ++value) {
      EXPECT_EQ(MixedColumn(kInvMix, value, row), (*kRoundKeys[row])[value]) << value;
    }
  }
}

TEST(RijndaelTables, RoundConstantsArePowersOfX) {
  unsigned power = 1;
  for (const unsigned constant : CRijndael::sm_rcon) {
    EXPECT_EQ(power, constant);
    power = Product(power, 2);
  }
}

TEST(RijndaelTables, LogarithmsAreToTheBaseXPlusOne) {
  unsigned power = 1;
  for (unsigned exponent = 0; exponent < 255; ++exponent) {
    EXPECT_EQ(power, CRijndael::sm_alog[exponent]) << exponent;
    EXPECT_EQ(exponent, CRijndael::sm_log[power]) << power;
    power = Product(power, 3);
  }
  EXPECT_EQ(1, power);
  EXPECT_EQ(1, CRijndael::sm_alog[255]);
  EXPECT_EQ(0, CRijndael::sm_log[0]);
}

TEST(RijndaelTables, ShiftsAreByBlockSizeAndDirection) {
  constexpr int kForward[3][4] = {{0, 1, 2, 3}, {0, 1, 2, 3}, {0, 1, 3, 4}};
  for (int size = 0; size < 3; ++size) {
    const int columns = 4 + 2 * size;
    for (int row = 0; row < 4; ++row) {
      const int shift = kForward[size][row];
      EXPECT_EQ(shift, CRijndael::sm_shifts[size][row][0]);
      EXPECT_EQ((columns - shift) % columns, CRijndael::sm_shifts[size][row][1]);
    }
  }
}

TEST(RijndaelTables, DefaultChainIsZero) {
  for (const char byte : CRijndael::sm_chain0) EXPECT_EQ(0, byte);
  EXPECT_EQ(32U, sizeof(CRijndael::sm_chain0));
}

}  // namespace
}  // namespace wkagent::test
