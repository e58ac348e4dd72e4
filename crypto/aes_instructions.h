#ifndef WKAGENT_CRYPTO_AES_INSTRUCTIONS_H
#define WKAGENT_CRYPTO_AES_INSTRUCTIONS_H

// The cipher by the processor's AES instructions, for blocks of all three sizes. Nothing but Exist
// may be called on a processor without them.

#include <cstddef>

#include <wkagent/crypto.h>

#include "crypto/cipher_data.h"
#include "crypto/rijndael_rounds.h"

namespace wkagent::aes_instructions {

[[nodiscard]] bool Exist();

// What CRijndael::Encrypt and Decrypt do, without their checks.
void Encrypt(CRijndael& cipher, const CipherData& data, int mode);
void Decrypt(CRijndael& cipher, const CipherData& data, int mode);

// One block of so many columns, which may be fewer than those of the cipher.
void EncryptBlock(CRijndael& cipher, std::size_t columns, const char* in, char* result);
void DecryptBlock(CRijndael& cipher, std::size_t columns, const char* in, char* result);

// The steps of the key schedule: the S-box for each byte of a word; InvMixColumns for each column
// of a round key.
[[nodiscard]] Word Substitute(Word word);
void InvMixColumns(Word (&roundKey)[8]);

}  // namespace wkagent::aes_instructions

#endif  // WKAGENT_CRYPTO_AES_INSTRUCTIONS_H
