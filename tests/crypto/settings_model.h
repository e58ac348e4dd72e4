#ifndef WKAGENT_TESTS_CRYPTO_SETTINGS_MODEL_H
#define WKAGENT_TESTS_CRYPTO_SETTINGS_MODEL_H

#include <random>
#include <string>

namespace wkagent::test {

// The format of encrypted settings files once more, step by step, on OpenSSL's AES.
[[nodiscard]] std::string ModelEncrypt(const std::string& plain, const std::string& keyText);
[[nodiscard]] std::string ModelDecrypt(const std::string& encrypted, const std::string& keyText);

// How many characters the units of an encrypted file hold, the end marker among them.
[[nodiscard]] std::size_t HeldCharacters(const std::string& encrypted, const std::string& keyText);

// Random characters, of which none is ";" or zero.
[[nodiscard]] std::string RandomText(std::mt19937& random, std::size_t size);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CRYPTO_SETTINGS_MODEL_H
