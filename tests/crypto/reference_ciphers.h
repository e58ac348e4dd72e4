#ifndef WKAGENT_TESTS_CRYPTO_REFERENCE_CIPHERS_H
#define WKAGENT_TESTS_CRYPTO_REFERENCE_CIPHERS_H

// The same cipher by others: OpenSSL has it for blocks of 16 bytes, libmcrypt for all three sizes.

#include <string>
#include <string_view>

namespace wkagent::test {

enum class Way { kEncrypt, kDecrypt };

// All of `in` in one stream, by the mode numbers of CRijndael. Throws where the library refuses.
[[nodiscard]] std::string ByOpenssl(Way way, int mode, const std::string& key,
                                    const std::string& chain, std::string_view in);
[[nodiscard]] std::string ByMcrypt(Way way, int mode, const std::string& key,
                                   const std::string& chain, std::string_view in);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CRYPTO_REFERENCE_CIPHERS_H
