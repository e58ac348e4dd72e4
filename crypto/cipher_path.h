#ifndef WKAGENT_CRYPTO_CIPHER_PATH_H
#define WKAGENT_CRYPTO_CIPHER_PATH_H

namespace wkagent {

// The two ways to the same results: the processor's AES instructions, whose time tells nothing of
// the key, and lookups in the tables of CRijndael, for all other processors.
enum class CipherPath { kInstructions, kTables };

// The way of the whole process; at first the instructions where the processor has them. Any thread
// may call.
[[nodiscard]] CipherPath CurrentCipherPath();

[[nodiscard]] inline bool GoesByInstructions() {
  return CurrentCipherPath() == CipherPath::kInstructions;
}

// Changes the way, also of ciphers that have their key. Returns whether the processor can go it.
bool SetCipherPath(CipherPath path);

}  // namespace wkagent

#endif  // WKAGENT_CRYPTO_CIPHER_PATH_H
