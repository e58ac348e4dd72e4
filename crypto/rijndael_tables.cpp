// The tables of the cipher, computed by the compiler.
//
// A byte is a polynomial over GF(2), modulo x^8 + x^4 + x^3 + x + 1 (FIPS 197, 4.2). The S-box is
// the inverse in that field followed by an affine map (5.1.1). MixColumns and its inverse multiply
// a column by a matrix whose rows are one row, turned (5.1.3, 5.3.3); so a table of 256 words holds
// what one byte of a column adds to the result, and the tables for the other three rows hold the
// same words turned by 8, 16 and 24 bits. With the S-box looked up first, four such tables make a
// round (section 5.2.1 of the Rijndael proposal).

#include <bit>
#include <cstdint>

#include <wkagent/crypto.h>

#include "crypto/rijndael_rounds.h"

namespace {

using Byte = std::uint8_t;
using wkagent::Word;

constexpr Byte Double(Byte value) {
  return static_cast<Byte>(value << 1 ^ ((value & 0x80) != 0 ? 0x1b : 0));
}

struct Logarithms {
  Byte log[256];
  Byte power[256];
};

constexpr Logarithms MakeLogarithms() {
  Logarithms tables{};
  Byte power = 1;
  for (int exponent = 0; exponent < 255; ++exponent) {
    tables.power[exponent] = power;
    tables.log[power] = static_cast<Byte>(exponent);
    power = static_cast<Byte>(power ^ Double(power));  // times x + 1
  }
  tables.power[255] = power;
  return tables;
}

constexpr Logarithms kLogarithms = MakeLogarithms();

constexpr Byte Multiply(Byte a, Byte b) {
  if (a == 0 || b == 0) return 0;
  return kLogarithms.power[(kLogarithms.log[a] + kLogarithms.log[b]) % 255];
}

struct SBoxes {
  Byte forward[256];
  Byte inverse[256];
};

constexpr SBoxes MakeSBoxes() {
  SBoxes boxes{};
  for (int value = 0; value < 256; ++value) {
    const Byte inverse = value == 0 ? Byte{0} : kLogarithms.power[255 - kLogarithms.log[value]];
    const int sum = inverse ^ std::rotl(inverse, 1) ^ std::rotl(inverse, 2) ^
                    std::rotl(inverse, 3) ^ std::rotl(inverse, 4) ^ 0x63;
    boxes.forward[value] = static_cast<Byte>(sum);
    boxes.inverse[sum] = static_cast<Byte>(value);
  }
  return boxes;
}

constexpr SBoxes kBoxes = MakeSBoxes();

// What a byte in row 0 of a column adds to the product with the matrix of this first column.
constexpr Word Column(Byte value, Byte row0, Byte row1, Byte row2, Byte row3) {
  return Word{Multiply(value, row0)} << 24 | Word{Multiply(value, row1)} << 16 |
         Word{Multiply(value, row2)} << 8 | Word{Multiply(value, row3)};
}

constexpr Word Mix(Byte value) { return Column(value, 2, 1, 1, 3); }
constexpr Word Unmix(Byte value) { return Column(value, 14, 9, 13, 11); }

// The entries of the tables for each byte.
constexpr Byte Log(int i) { return kLogarithms.log[i]; }
constexpr Byte Power(int i) { return kLogarithms.power[i]; }
constexpr Byte S(int i) { return kBoxes.forward[i]; }
constexpr Byte Si(int i) { return kBoxes.inverse[i]; }
template <int kRow>
constexpr Word T(int i) {
  return std::rotr(Mix(S(i)), 8 * kRow);
}
template <int kRow>
constexpr Word Ti(int i) {
  return std::rotr(Unmix(Si(i)), 8 * kRow);
}
template <int kRow>
constexpr Word U(int i) {
  return std::rotr(Unmix(static_cast<Byte>(i)), 8 * kRow);
}

}  // namespace

// An initialiser with an entry for each byte.
#define FOUR(entry, i) entry(i), entry((i) + 1), entry((i) + 2), entry((i) + 3)
#define SIXTEEN(entry, i) \
  FOUR(entry, i), FOUR(entry, (i) + 4), FOUR(entry, (i) + 8), FOUR(entry, (i) + 12)
#define SIXTY_FOUR(entry, i) \
  SIXTEEN(entry, i), SIXTEEN(entry, (i) + 16), SIXTEEN(entry, (i) + 32), SIXTEEN(entry, (i) + 48)
#define EACH_BYTE(entry) \
  { SIXTY_FOUR(entry, 0), SIXTY_FOUR(entry, 64), SIXTY_FOUR(entry, 128), SIXTY_FOUR(entry, 192) }

constinit const std::uint8_t CRijndael::sm_S[256] = EACH_BYTE(S);
constinit const std::uint8_t CRijndael::sm_Si[256] = EACH_BYTE(Si);
constinit const std::uint32_t CRijndael::sm_T1[256] = EACH_BYTE(T<0>);
constinit const std::uint32_t CRijndael::sm_T2[256] = EACH_BYTE(T<1>);
constinit const std::uint32_t CRijndael::sm_T3[256] = EACH_BYTE(T<2>);
constinit const std::uint32_t CRijndael::sm_T4[256] = EACH_BYTE(T<3>);
constinit const std::uint32_t CRijndael::sm_T5[256] = EACH_BYTE(Ti<0>);
constinit const std::uint32_t CRijndael::sm_T6[256] = EACH_BYTE(Ti<1>);
constinit const std::uint32_t CRijndael::sm_T7[256] = EACH_BYTE(Ti<2>);
constinit const std::uint32_t CRijndael::sm_T8[256] = EACH_BYTE(Ti<3>);
constinit const std::uint32_t CRijndael::sm_U1[256] = EACH_BYTE(U<0>);
constinit const std::uint32_t CRijndael::sm_U2[256] = EACH_BYTE(U<1>);
constinit const std::uint32_t CRijndael::sm_U3[256] = EACH_BYTE(U<2>);
constinit const std::uint32_t CRijndael::sm_U4[256] = EACH_BYTE(U<3>);
constinit const wkagent::RoundTables wkagent::kEncryptionTables = {
    {EACH_BYTE(T<0>), EACH_BYTE(T<1>), EACH_BYTE(T<2>), EACH_BYTE(T<3>)}, EACH_BYTE(S)};
constinit const wkagent::RoundTables wkagent::kDecryptionTables = {
    {EACH_BYTE(Ti<0>), EACH_BYTE(Ti<1>), EACH_BYTE(Ti<2>), EACH_BYTE(Ti<3>)}, EACH_BYTE(Si)};
constinit const std::uint8_t CRijndael::sm_log[256] = EACH_BYTE(Log);
constinit const std::uint8_t CRijndael::sm_alog[256] = EACH_BYTE(Power);

constinit const std::uint8_t CRijndael::sm_rcon[30] = {
    0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0x1b, 0x36, 0x6c, 0xd8, 0xab, 0x4d, 0x9a,
    0x2f, 0x5e, 0xbc, 0x63, 0xc6, 0x97, 0x35, 0x6a, 0xd4, 0xb3, 0x7d, 0xfa, 0xef, 0xc5, 0x91,
};

constinit const char CRijndael::sm_chain0[32] = {};
constinit const char* const CRijndael::sm_szErrorMsg1 = "Object not Initialized";
constinit const char* const CRijndael::sm_szErrorMsg2 = "Data not multiple of Block Size";
