// AESENC does a round of a block of four columns in a register; AESDEC undoes one, with round keys
// that have been through InvMixColumns, as the decryption keys here have.
//
// A block of six or eight columns lies in two registers, the second one beginning with column 4.
// Six columns leave two places there, which hold columns 0 and 1 a second time. All steps of a
// round but ShiftRows stay within a column, so before each instruction the bytes are moved to where
// its own ShiftRows brings them to the places they have in a block of that size: each register
// takes the bytes it needs from both, which never lie in the same place (so they can be blended),
// and then puts them in order. Nothing depends on the data but the values of registers.
//
// An instruction takes several cycles before its result can be used, but another one can begin in
// each; so where blocks do not depend on each other, a group of them goes through each round.

#include "crypto/aes_instructions.h"

#include <array>
#include <cstdint>
#include <utility>

#include <immintrin.h>

// The functions that need the instructions; a lambda would not inherit it.
#define WKAGENT_AES __attribute__((target("aes,sse4.1")))
#define WKAGENT_AES_INLINE [[gnu::always_inline]] WKAGENT_AES inline

namespace wkagent::aes_instructions {
namespace {

using Register = __m128i;
using Bytes = std::array<std::uint8_t, 16>;

template <std::size_t kColumns>
struct State {
  static constexpr std::size_t kParts = kColumns == 4 ? 1 : 2;
  static constexpr std::size_t kBytes = 4 * kColumns;
  Register parts[kParts];
};

WKAGENT_AES_INLINE Register Load(const void* bytes) {
  return _mm_loadu_si128(static_cast<const Register*>(bytes));
}

template <std::size_t kColumns>
WKAGENT_AES_INLINE State<kColumns> LoadState(const char* bytes) {
  State<kColumns> state{};
  state.parts[0] = Load(bytes);
  if constexpr (kColumns == 6) {
    const Register rest = _mm_loadl_epi64(reinterpret_cast<const Register*>(bytes + 16));
    state.parts[1] = _mm_unpacklo_epi64(rest, state.parts[0]);
  }
  if constexpr (kColumns == 8) state.parts[1] = Load(bytes + 16);
  return state;
}

template <std::size_t kColumns>
WKAGENT_AES_INLINE void StoreState(const State<kColumns>& state, char* bytes) {
  _mm_storeu_si128(reinterpret_cast<Register*>(bytes), state.parts[0]);
  if constexpr (kColumns == 6) {
    _mm_storel_epi64(reinterpret_cast<Register*>(bytes + 16), state.parts[1]);
  }
  if constexpr (kColumns == 8) {
    _mm_storeu_si128(reinterpret_cast<Register*>(bytes + 16), state.parts[1]);
  }
}

template <std::size_t kColumns>
WKAGENT_AES_INLINE State<kColumns> operator^(State<kColumns> a, const State<kColumns>& b) {
  for (std::size_t i = 0; i < a.kParts; ++i) a.parts[i] = _mm_xor_si128(a.parts[i], b.parts[i]);
  return a;
}

// A round key, its words turned into the order of the bytes of a block.
template <std::size_t kColumns>
WKAGENT_AES_INLINE State<kColumns> LoadKey(const Word (&words)[8]) {
  const Register order = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
  State<kColumns> key = LoadState<kColumns>(reinterpret_cast<const char*>(words));
  for (Register& part : key.parts) part = _mm_shuffle_epi8(part, order);
  return key;
}

// How a register gets the bytes that a round needs of the two of a block.
struct Gathering {
  Bytes isFromSecond{};  // for each place 0, or 0x80 where the byte is taken from the second one
  Bytes order{};         // for each place, the one from which the byte is brought then
};

// The place of a column in a register, 4 where it is in the other one only.
template <std::size_t kColumns>
constexpr std::size_t Place(std::size_t column, std::size_t part) {
  const std::size_t place = (column + kColumns - 4 * part) % kColumns;
  return place < 4 ? place : 4;
}

// Adds the bytes of one row, whose columns are given in order. A column that is in both registers
// is taken from the one where no other of the four lies in its place: the first choice does that.
template <std::size_t kColumns>
constexpr void GatherRow(const std::array<std::size_t, 4>& columns, std::size_t row,
                         Gathering& gathering) {
  for (std::size_t choice = 0; choice < 16; ++choice) {
    std::array<std::size_t, 4> places{};
    std::size_t taken = 0;
    for (std::size_t i = 0; i < 4; ++i) {
      places[i] = Place<kColumns>(columns[i], choice >> i & 1);
      taken |= std::size_t{1} << places[i];
    }
    if (taken != 0xf) continue;
    for (std::size_t i = 0; i < 4; ++i) {
      if ((choice >> i & 1) != 0) gathering.isFromSecond[4 * places[i] + row] = 0x80;
      gathering.order[4 * i + row] = static_cast<std::uint8_t>(4 * places[i] + row);
    }
    return;
  }
}

template <typename Direction, std::size_t kColumns>
constexpr Gathering Gather(std::size_t part) {
  Gathering gathering;
  for (std::size_t row = 0; row < 4; ++row) {
    std::array<std::size_t, 4> columns{};
    for (std::size_t i = 0; i < 4; ++i) {
      // Where the instruction brings the byte of this row.
      const std::size_t to = (i + Direction::kTurn * row) % 4;
      const std::size_t column = (to + 4 * part) % kColumns;
      columns[i] = Source<typename Direction::Tables, kColumns>(column, static_cast<int>(row));
    }
    GatherRow<kColumns>(columns, row, gathering);
  }
  return gathering;
}

struct Encryption {
  using Tables = wkagent::Encryption;
  static constexpr std::size_t kTurn = 3;  // a row's bytes go down by its number
  WKAGENT_AES_INLINE static Register Round(Register part, Register key) {
    return _mm_aesenc_si128(part, key);
  }
  WKAGENT_AES_INLINE static Register LastRound(Register part, Register key) {
    return _mm_aesenclast_si128(part, key);
  }
};

struct Decryption {
  using Tables = wkagent::Decryption;
  static constexpr std::size_t kTurn = 1;
  WKAGENT_AES_INLINE static Register Round(Register part, Register key) {
    return _mm_aesdec_si128(part, key);
  }
  WKAGENT_AES_INLINE static Register LastRound(Register part, Register key) {
    return _mm_aesdeclast_si128(part, key);
  }
};

template <typename Direction, std::size_t kColumns, std::size_t kPart>
WKAGENT_AES_INLINE Register GatherPart(const State<kColumns>& state) {
  alignas(16) static constexpr Gathering kGathering = Gather<Direction, kColumns>(kPart);
  const Register bytes =
      _mm_blendv_epi8(state.parts[0], state.parts[1], Load(kGathering.isFromSecond.data()));
  return _mm_shuffle_epi8(bytes, Load(kGathering.order.data()));
}

// Moves the bytes to where ShiftRows of the instruction needs them.
template <typename Direction, std::size_t kColumns>
WKAGENT_AES_INLINE State<kColumns> GatherState(const State<kColumns>& state) {
  if constexpr (kColumns == 4) {
    return state;
  } else {
    return {{GatherPart<Direction, kColumns, 0>(state), GatherPart<Direction, kColumns, 1>(state)}};
  }
}

// A group of blocks goes through all rounds.
template <typename Direction, std::size_t kColumns, std::size_t kBlocks>
WKAGENT_AES_INLINE void Transform(const CRijndael& cipher, State<kColumns> (&blocks)[kBlocks]) {
  const auto& keys = cipher.*Direction::Tables::kRoundKeys;
  State<kColumns> key = LoadKey<kColumns>(keys[0]);
  for (State<kColumns>& block : blocks) block = block ^ key;
  for (int round = 1; round < cipher.rounds; ++round) {
    key = LoadKey<kColumns>(keys[round]);
    for (State<kColumns>& block : blocks) {
      block = GatherState<Direction>(block);
      for (std::size_t i = 0; i < block.kParts; ++i) {
        block.parts[i] = Direction::Round(block.parts[i], key.parts[i]);
      }
    }
  }
  key = LoadKey<kColumns>(keys[cipher.rounds]);
  for (State<kColumns>& block : blocks) {
    block = GatherState<Direction>(block);
    for (std::size_t i = 0; i < block.kParts; ++i) {
      block.parts[i] = Direction::LastRound(block.parts[i], key.parts[i]);
    }
  }
}

template <std::size_t kColumns, std::size_t kBlocks>
WKAGENT_AES_INLINE void LoadStates(const char* bytes, State<kColumns> (&blocks)[kBlocks]) {
  for (std::size_t i = 0; i < kBlocks; ++i) {
    blocks[i] = LoadState<kColumns>(bytes + i * State<kColumns>::kBytes);
  }
}

// How many blocks are enough to keep the processor busy.
template <std::size_t kColumns>
constexpr std::size_t kGroup = kColumns == 4 ? 8 : 4;

// The modes, each with a step that takes `kBlocks` blocks. All of a step's input is read before its
// result is written, but for what the input adds to the same block: the two may be one buffer.
template <typename Direction>
struct Ecb {
  static constexpr bool kInGroups = true;

  template <std::size_t kColumns, std::size_t kBlocks>
  WKAGENT_AES_INLINE static void Step(const CRijndael& cipher, const char* in, char* result,
                                      State<kColumns>& /*chain*/) {
    State<kColumns> blocks[kBlocks];
    LoadStates(in, blocks);
    Transform<Direction>(cipher, blocks);
    for (std::size_t i = 0; i < kBlocks; ++i) {
      StoreState(blocks[i], result + i * State<kColumns>::kBytes);
    }
  }
};

struct CbcEncryption {
  static constexpr bool kInGroups = false;

  template <std::size_t kColumns, std::size_t kBlocks>
  WKAGENT_AES_INLINE static void Step(const CRijndael& cipher, const char* in, char* result,
                                      State<kColumns>& chain) {
    State<kColumns> blocks[] = {chain ^ LoadState<kColumns>(in)};
    Transform<Encryption>(cipher, blocks);
    chain = blocks[0];
    StoreState(chain, result);
  }
};

struct CbcDecryption {
  static constexpr bool kInGroups = true;

  template <std::size_t kColumns, std::size_t kBlocks>
  WKAGENT_AES_INLINE static void Step(const CRijndael& cipher, const char* in, char* result,
                                      State<kColumns>& chain) {
    constexpr std::size_t size = State<kColumns>::kBytes;
    State<kColumns> blocks[kBlocks];
    LoadStates(in, blocks);
    const State<kColumns> last = blocks[kBlocks - 1];
    Transform<Decryption>(cipher, blocks);
    for (std::size_t i = kBlocks - 1; i > 0; --i) {
      StoreState(blocks[i] ^ LoadState<kColumns>(in + (i - 1) * size), result + i * size);
    }
    StoreState(blocks[0] ^ chain, result);
    chain = last;
  }
};

struct CfbEncryption {
  static constexpr bool kInGroups = false;

  template <std::size_t kColumns, std::size_t kBlocks>
  WKAGENT_AES_INLINE static void Step(const CRijndael& cipher, const char* in, char* result,
                                      State<kColumns>& chain) {
    State<kColumns> blocks[] = {chain};
    Transform<Encryption>(cipher, blocks);
    chain = blocks[0] ^ LoadState<kColumns>(in);
    StoreState(chain, result);
  }
};

struct CfbDecryption {
  static constexpr bool kInGroups = true;

  template <std::size_t kColumns, std::size_t kBlocks>
  WKAGENT_AES_INLINE static void Step(const CRijndael& cipher, const char* in, char* result,
                                      State<kColumns>& chain) {
    constexpr std::size_t size = State<kColumns>::kBytes;
    State<kColumns> blocks[kBlocks];
    blocks[0] = chain;
    for (std::size_t i = 1; i < kBlocks; ++i) {
      blocks[i] = LoadState<kColumns>(in + (i - 1) * size);
    }
    chain = LoadState<kColumns>(in + (kBlocks - 1) * size);
    Transform<Encryption>(cipher, blocks);
    for (std::size_t i = 0; i < kBlocks; ++i) {
      StoreState(blocks[i] ^ LoadState<kColumns>(in + i * size), result + i * size);
    }
  }
};

template <typename Mode, std::size_t kColumns, std::size_t kBlocks>
WKAGENT_AES_INLINE void Steps(const CRijndael& cipher, CipherData& data, State<kColumns>& chain) {
  constexpr std::size_t size = kBlocks * State<kColumns>::kBytes;
  for (; data.n >= size; data = {data.in + size, data.result + size, data.n - size}) {
    Mode::template Step<kColumns, kBlocks>(cipher, data.in, data.result, chain);
  }
}

template <typename Mode, std::size_t kColumns>
WKAGENT_AES void Run(CRijndael& cipher, CipherData data) {
  State<kColumns> chain = LoadState<kColumns>(cipher.chain);
  if constexpr (Mode::kInGroups) Steps<Mode, kColumns, kGroup<kColumns>>(cipher, data, chain);
  Steps<Mode, kColumns, 1>(cipher, data, chain);
  StoreState(chain, cipher.chain);
}

template <typename Mode>
void Run(CRijndael& cipher, std::size_t columns, const CipherData& data) {
  switch (columns) {
    case 4:
      return Run<Mode, 4>(cipher, data);
    case 6:
      return Run<Mode, 6>(cipher, data);
    default:
      return Run<Mode, 8>(cipher, data);
  }
}

std::size_t Columns(const CRijndael& cipher) {
  return static_cast<std::size_t>(cipher.blockSize) / 4;
}

}  // namespace

bool Exist() { return __builtin_cpu_supports("aes") != 0 && __builtin_cpu_supports("sse4.1") != 0; }

void Encrypt(CRijndael& cipher, const CipherData& data, int mode) {
  switch (mode) {
    case CRijndael::kCbc:
      return Run<CbcEncryption>(cipher, Columns(cipher), data);
    case CRijndael::kCfb:
      return Run<CfbEncryption>(cipher, Columns(cipher), data);
    default:
      return Run<Ecb<Encryption>>(cipher, Columns(cipher), data);
  }
}

void Decrypt(CRijndael& cipher, const CipherData& data, int mode) {
  switch (mode) {
    case CRijndael::kCbc:
      return Run<CbcDecryption>(cipher, Columns(cipher), data);
    case CRijndael::kCfb:
      return Run<CfbDecryption>(cipher, Columns(cipher), data);
    default:
      return Run<Ecb<Decryption>>(cipher, Columns(cipher), data);
  }
}

void EncryptBlock(CRijndael& cipher, std::size_t columns, const char* in, char* result) {
  Run<Ecb<Encryption>>(cipher, columns, {in, result, 4 * columns});
}

void DecryptBlock(CRijndael& cipher, std::size_t columns, const char* in, char* result) {
  Run<Ecb<Decryption>>(cipher, columns, {in, result, 4 * columns});
}

// With the word in every column ShiftRows changes nothing.
WKAGENT_AES Word Substitute(Word word) {
  const Register everywhere = _mm_set1_epi32(static_cast<int>(word));
  return static_cast<Word>(
      _mm_cvtsi128_si32(_mm_aesenclast_si128(everywhere, _mm_setzero_si128())));
}

WKAGENT_AES void InvMixColumns(Word (&roundKey)[8]) {
  const Register order = _mm_set_epi8(12, 13, 14, 15, 8, 9, 10, 11, 4, 5, 6, 7, 0, 1, 2, 3);
  for (const int half : {0, 4}) {
    const Register columns = _mm_shuffle_epi8(Load(roundKey + half), order);
    _mm_storeu_si128(reinterpret_cast<Register*>(roundKey + half),
                     _mm_shuffle_epi8(_mm_aesimc_si128(columns), order));
  }
}

}  // namespace wkagent::aes_instructions
