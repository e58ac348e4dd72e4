// The key schedule (section 4.3 of the Rijndael proposal; FIPS 197, 5.2, has it for blocks of 16
// bytes). Each turn makes as many words as the key has out of those of the turn before; the words
// then fill the round keys one after the other, whatever the block size.

#include <algorithm>
#include <bit>
#include <cstring>

#include <openssl/crypto.h>

#include <wkagent/crypto.h>

#include "crypto/aes_instructions.h"
#include "crypto/cipher_path.h"
#include "crypto/rijndael_checks.h"
#include "crypto/rijndael_rounds.h"

namespace {

using wkagent::Word;

bool IsSize(int bytes) { return bytes == 16 || bytes == 24 || bytes == 32; }

Word Substitute(Word column) {
  if (wkagent::GoesByInstructions()) return wkagent::aes_instructions::Substitute(column);
  return wkagent::Encryption::LastRound(column, column, column, column);
}

Word InvMixColumn(Word column) {
  return CRijndael::sm_U1[wkagent::Row0(column)] ^ CRijndael::sm_U2[wkagent::Row1(column)] ^
         CRijndael::sm_U3[wkagent::Row2(column)] ^ CRijndael::sm_U4[wkagent::Row3(column)];
}

void InvMixColumns(Word (&roundKey)[8]) {
  if (wkagent::GoesByInstructions()) return wkagent::aes_instructions::InvMixColumns(roundKey);
  for (Word& column : roundKey) column = InvMixColumn(column);
}

// Makes the words of the next turn.
void Turn(Word* words, int count, Word constant) {
  words[0] ^= Substitute(std::rotl(words[count - 1], 8)) ^ constant << 24;
  for (int i = 1; i < count; ++i) {
    const bool isMiddleOfLongest = count == 8 && i == 4;
    words[i] ^= isMiddleOfLongest ? Substitute(words[i - 1]) : words[i - 1];
  }
}

}  // namespace

CRijndael::CRijndael()
    : initialised(false),
      encryptionRoundKeys{},
      decryptionRoundKeys{},
      keyLength(0),
      blockSize(0),
      rounds(0),
      initialChain{},
      chain{},
      keyWorkWords{},
      stateWords{} {}

CRijndael::~CRijndael() {
  initialised = false;
  OPENSSL_cleanse(encryptionRoundKeys, sizeof(encryptionRoundKeys));
  OPENSSL_cleanse(decryptionRoundKeys, sizeof(decryptionRoundKeys));
  OPENSSL_cleanse(initialChain, sizeof(initialChain));
  OPENSSL_cleanse(chain, sizeof(chain));
  OPENSSL_cleanse(keyWorkWords, sizeof(keyWorkWords));
  OPENSSL_cleanse(stateWords, sizeof(stateWords));
}

void CRijndael::MakeKey(char const* key, char const* chainBlock, int keySize, int blockBytes) {
  wkagent::Require(key != nullptr && IsSize(keySize) && IsSize(blockBytes));

  keyLength = keySize;
  blockSize = blockBytes;
  rounds = 6 + std::max(keySize, blockBytes) / 4;
  const int keyWords = keySize / 4;
  for (int i = 0; i < keyWords; ++i, key += 4) keyWorkWords[i] = wkagent::LoadColumn(key);
  // The chain may be this object's own: a host begins its stream again that way.
  const char* const first = chainBlock == nullptr ? sm_chain0 : chainBlock;
  std::memmove(initialChain, first, static_cast<std::size_t>(blockBytes));
  std::memcpy(chain, initialChain, static_cast<std::size_t>(blockBytes));

  std::memset(encryptionRoundKeys, 0, sizeof(encryptionRoundKeys));
  std::memset(decryptionRoundKeys, 0, sizeof(decryptionRoundKeys));
  const int columns = blockBytes / 4;
  const int words = (rounds + 1) * columns;
  for (int index = 0; index < words; ++index) {
    const int used = index % keyWords;
    if (index > 0 && used == 0) Turn(keyWorkWords, keyWords, sm_rcon[index / keyWords - 1]);
    const int row = index / columns;
    encryptionRoundKeys[row][index % columns] = keyWorkWords[used];
    decryptionRoundKeys[rounds - row][index % columns] = keyWorkWords[used];
  }
  for (int row = 1; row < rounds; ++row) InvMixColumns(decryptionRoundKeys[row]);
  initialised = true;
}
