#ifndef WKAGENT_CRYPTO_H
#define WKAGENT_CRYPTO_H

// Encryption: the Rijndael cipher, and settings files that are encrypted with it.
//
// CRijndael enciphers whole blocks of 16, 24 or 32 bytes under a key of 16, 24 or 32 bytes, each
// chosen apart from the other; with blocks of 16 bytes it is AES (FIPS 197). A chain block carries
// the chaining modes (SP 800-38A) from one block, and one call, to the next. On top of that the
// class turns small settings files into encrypted ones and back, under a key made of the
// workspace's GUID; docs/formats/encrypted_file.md describes them.
//
//   CRijndael cipher;
//   char sealed[32];
//   char opened[32];
//   cipher.MakeKey(key, CRijndael::sm_chain0, 16, 16);
//   cipher.Encrypt(text, sealed, sizeof(sealed), CRijndael::kCbc);
//   cipher.MakeKey(key, CRijndael::sm_chain0, 16, 16);  // begins a new stream
//   cipher.Decrypt(sealed, opened, sizeof(opened), CRijndael::kCbc);
//   printf("%.32s\n", opened);
//
// Threads: one object from one thread at a time; the tables are only read. Ownership: an object
// owns its keys and wipes them when it ends; buffers are the caller's.
//
// Security: where the processor has AES instructions, keys are expanded and blocks of all sizes
// transformed by them, in a time that tells nothing of key or data. Other processors take the
// tables, and the time of lookups in tables depends on the key: a program that shares such a
// processor's cache may measure it. No mode protects from changes. The encrypted files keep a
// password from a casual reader, not from one who has the GUID.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <wkagent/export.h>

// CRijndael holds one expanded key and the chain block. It owns all it holds, without memory of its
// own on the heap; a copy goes on from the same chain by itself. One thread at a time may use an
// object.
//
// Failures throw a plain std::exception and change nothing: a key or block size that does not
// exist, data that are no whole blocks, a null buffer, no key yet. A result buffer may be the input
// itself; otherwise the two must not overlap.
class WKAGENT_EXPORT CRijndael {
 public:
  // The modes of Encrypt and Decrypt: each block by itself; each block encrypted after the result
  // before it was added to it; each block added to what the result before it encrypts to.
  static constexpr int kEcb = 0;
  static constexpr int kCbc = 1;
  static constexpr int kCfb = 2;

  // Without a key: everything but MakeKey and the files fails.
  CRijndael();

  // Wipes the keys and the chain.
  virtual ~CRijndael();

  CRijndael(const CRijndael&) = default;
  CRijndael& operator=(const CRijndael&) = default;

  // Takes a key of `keySize` bytes and begins a new stream with the chain block, of which
  // `blockBytes` bytes are read; both sizes are 16, 24 or 32. A null chain stands for zeros. Throws
  // where the key is null or a size is another one; the key before stays in force.
  void MakeKey(char const* key, char const* chainBlock, int keySize, int blockBytes);

  // Each enciphers or deciphers one block of the chosen size; the chain is not used.
  void EncryptBlock(char const* in, char* result);
  void DecryptBlock(char const* in, char* result);

  // The same for blocks of 16 bytes. Deliberate: under a key for larger blocks they take 16 bytes
  // as well, with the first columns of each round key; only each other can undo that.
  void DefEncryptBlock(char const* in, char* result);
  void DefDecryptBlock(char const* in, char* result);

  // Each takes `n` bytes, a whole number of blocks and at least one, and writes as many. The chain
  // goes on from the call before. Deliberate: any other mode number is ECB. Throws as said above.
  void Encrypt(char const* in, char* result, std::size_t n, int mode);
  void Decrypt(char const* in, char* result, std::size_t n, int mode);

  // Encrypts the file at `plainPath` into the one at `encryptedPath`, which is created or
  // truncated, under the first 16 characters of `keyText` in upper case; a shorter text is filled
  // with zeros. Replaces this object's key and chain. Throws a std::string, before the output is
  // touched, where the plain file cannot be read: its path and " - XML File is Empty or File does
  // not exists". Deliberate: a failure to write is not told.
  //
  // Deliberate: the text is cut at its first zero byte, and the end of it is lost for sizes of
  // which EncryptionLoses is not 0. What follows a ";" is lost when it is decrypted.
  void WKEncryptFile(char* plainPath, char* encryptedPath, char* keyText);

  // Decrypts the file at `encryptedPath` into the one at `plainPath`, which is truncated, or
  // created with mode 0600. Replaces this object's key and chain. Deliberate: no failure is told. A
  // missing, unreadable or empty input gives an empty output; the wrong key, or a file cut off,
  // gives bytes without meaning.
  void WKDecryptFile(char* encryptedPath, char* plainPath, char* keyText);

  // The same in memory, for hosts that want to see to the files, and their failures, themselves:
  // the bytes of the encrypted file, and the text that is found in one. Both replace this object's
  // key and chain; a null key text is an empty one. The caller wipes what it gets.
  std::string EncryptSettings(std::string_view text, const char* keyText);
  std::string DecryptSettings(std::string_view encrypted, const char* keyText);

  // How many characters encryption drops from the end of a text of this size, with the end marker
  // as the first: 0 for a size that is safe. Above 8160 none is.
  static std::size_t EncryptionLoses(std::size_t size);

  bool initialised;  // MakeKey has succeeded
  // Row r is round key r, one big-endian word a column, in as many columns as the block has.
  std::uint32_t encryptionRoundKeys[15][8];
  // The rows in reverse order, all but the first and the last through InvMixColumns.
  std::uint32_t decryptionRoundKeys[15][8];
  std::int32_t keyLength;          // bytes
  std::int32_t blockSize;          // bytes
  std::int32_t rounds;             // 10, 12 or 14
  char initialChain[32];           // as given to MakeKey
  char chain[32];                  // as CBC and CFB have left it
  std::uint32_t keyWorkWords[8];   // scratch of MakeKey
  std::uint32_t stateWords[2][8];  // part of the layout; blocks are transformed in registers

  // The S-box and its inverse.
  static const std::uint8_t sm_S[256];
  static const std::uint8_t sm_Si[256];
  // SubBytes and MixColumns in one, for a byte of each row of a column; the same for decryption.
  static const std::uint32_t sm_T1[256];
  static const std::uint32_t sm_T2[256];
  static const std::uint32_t sm_T3[256];
  static const std::uint32_t sm_T4[256];
  static const std::uint32_t sm_T5[256];
  static const std::uint32_t sm_T6[256];
  static const std::uint32_t sm_T7[256];
  static const std::uint32_t sm_T8[256];
  // InvMixColumns alone, for round keys.
  static const std::uint32_t sm_U1[256];
  static const std::uint32_t sm_U2[256];
  static const std::uint32_t sm_U3[256];
  static const std::uint32_t sm_U4[256];
  // The powers of x in GF(2^8), one a turn of the key expansion.
  static const std::uint8_t sm_rcon[30];
  // By how many columns each row is shifted, for blocks of 16, 24 and 32 bytes: to encrypt, to
  // decrypt.
  static constexpr int sm_shifts[3][4][2] = {
      {{0, 0}, {1, 3}, {2, 2}, {3, 1}},
      {{0, 0}, {1, 5}, {2, 4}, {3, 3}},
      {{0, 0}, {1, 7}, {3, 5}, {4, 4}},
  };
  // Logarithms in GF(2^8) to the base x + 1, that of 0 being 0, and the powers of the base.
  static const std::uint8_t sm_log[256];
  static const std::uint8_t sm_alog[256];
  static const char sm_chain0[32];  // a chain of zeros
  // Deliberate: no exception carries these texts.
  static const char* const sm_szErrorMsg1;  // "Object not Initialized"
  static const char* const sm_szErrorMsg2;  // "Data not multiple of Block Size"
};

#endif  // WKAGENT_CRYPTO_H
