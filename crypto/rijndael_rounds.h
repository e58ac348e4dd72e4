#ifndef WKAGENT_CRYPTO_RIJNDAEL_ROUNDS_H
#define WKAGENT_CRYPTO_RIJNDAEL_ROUNDS_H

// The rounds of the cipher by tables, for blocks of 4, 6 and 8 columns. A column is one big-endian
// word, as in the round keys.
//
// A round looks up four words for each new column, from the byte of row 0 in that column and those
// of the other rows in the columns from which ShiftRows brings them, and adds the round key. The
// last round has no MixColumns, so it looks up bytes in the S-box alone. Decryption is the same
// with its own tables, because the round keys have been through InvMixColumns (FIPS 197, 5.3.5).
// Which columns those are is known to the compiler, so there is no arithmetic left for them.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include <endian.h>

#include <wkagent/crypto.h>

namespace wkagent {

using Word = std::uint32_t;

// A whole block.
template <std::size_t kColumns>
struct Block {
  Word columns[kColumns];
  Word operator[](std::size_t i) const { return columns[i]; }
};

// The byte of each row of a column.
constexpr Word Row0(Word column) { return column >> 24; }
constexpr Word Row1(Word column) { return column >> 16 & 0xff; }
constexpr Word Row2(Word column) { return column >> 8 & 0xff; }
constexpr Word Row3(Word column) { return column & 0xff; }

constexpr Word MakeColumn(Word row0, Word row1, Word row2, Word row3) {
  return row0 << 24 | row1 << 16 | row2 << 8 | row3;
}

// A column's four bytes in memory, row 0 first.
inline Word LoadColumn(const char* bytes) {
  Word column = 0;
  std::memcpy(&column, bytes, sizeof(column));
  return be32toh(column);
}

inline void StoreColumn(Word column, char* bytes) {
  column = htobe32(column);
  std::memcpy(bytes, &column, sizeof(column));
}

template <std::size_t kColumns>
Block<kColumns> LoadBlock(const char* bytes) {
  Block<kColumns> block{};
  for (std::size_t i = 0; i < kColumns; ++i) block.columns[i] = LoadColumn(bytes + 4 * i);
  return block;
}

template <std::size_t kColumns>
void StoreBlock(const Block<kColumns>& block, char* bytes) {
  for (std::size_t i = 0; i < kColumns; ++i) StoreColumn(block[i], bytes + 4 * i);
}

template <std::size_t kColumns>
Block<kColumns> operator^(Block<kColumns> a, const Block<kColumns>& b) {
  for (std::size_t i = 0; i < kColumns; ++i) a.columns[i] ^= b[i];
  return a;
}

// The tables of one direction once more, side by side: one register holds the address of them all,
// which leaves three more for the block.
struct RoundTables {
  Word rows[4][256];
  std::uint8_t box[256];
};

extern const RoundTables kEncryptionTables;  // sm_T1 to sm_T4 and sm_S
extern const RoundTables kDecryptionTables;  // sm_T5 to sm_T8 and sm_Si

// A new column of a round, and of the last one, from the columns that hold its rows 0 to 3.
template <const RoundTables& kTables>
struct Lookups {
  static Word Round(Word a, Word b, Word c, Word d) {
    return kTables.rows[0][Row0(a)] ^ kTables.rows[1][Row1(b)] ^ kTables.rows[2][Row2(c)] ^
           kTables.rows[3][Row3(d)];
  }
  static Word LastRound(Word a, Word b, Word c, Word d) {
    return MakeColumn(kTables.box[Row0(a)], kTables.box[Row1(b)], kTables.box[Row2(c)],
                      kTables.box[Row3(d)]);
  }
};

struct Encryption : Lookups<kEncryptionTables> {
  static constexpr int kShifts = 0;  // in sm_shifts
  static constexpr auto kRoundKeys = &CRijndael::encryptionRoundKeys;
};

struct Decryption : Lookups<kDecryptionTables> {
  static constexpr int kShifts = 1;
  static constexpr auto kRoundKeys = &CRijndael::decryptionRoundKeys;
};

// The columns that ShiftRows brings to a place.
template <typename Direction, std::size_t kColumns>
constexpr std::size_t Source(std::size_t column, int row) {
  const int shift = CRijndael::sm_shifts[kColumns / 2 - 2][row][Direction::kShifts];
  return (column + static_cast<std::size_t>(shift)) % kColumns;
}

// One round; `kStep` is Round or LastRound of the direction. Always inline, as Transform is, so
// that a block stays in registers; left alone, the compilers put it into memory for each round.
template <typename Direction, auto kStep, std::size_t... kColumn>
[[gnu::always_inline]] inline Block<sizeof...(kColumn)> ApplyRound(
    const Block<sizeof...(kColumn)>& block, const Word* key, std::index_sequence<kColumn...>) {
  constexpr std::size_t n = sizeof...(kColumn);
  return {
      {(kStep(block[kColumn], block[Source<Direction, n>(kColumn, 1)],
              block[Source<Direction, n>(kColumn, 2)], block[Source<Direction, n>(kColumn, 3)]) ^
        key[kColumn])...}};
}

// All rounds.
template <typename Direction, std::size_t kColumns>
[[gnu::always_inline]] inline Block<kColumns> Transform(const CRijndael& cipher,
                                                        Block<kColumns> block) {
  constexpr auto kAll = std::make_index_sequence<kColumns>();
  const auto& keys = cipher.*Direction::kRoundKeys;
  for (std::size_t i = 0; i < kColumns; ++i) block.columns[i] ^= keys[0][i];
  for (int round = 1; round < cipher.rounds; ++round) {
    block = ApplyRound<Direction, Direction::Round>(block, keys[round], kAll);
  }
  return ApplyRound<Direction, Direction::LastRound>(block, keys[cipher.rounds], kAll);
}

}  // namespace wkagent

#endif  // WKAGENT_CRYPTO_RIJNDAEL_ROUNDS_H
