#ifndef WKAGENT_CRYPTO_SETTINGS_TEXT_H
#define WKAGENT_CRYPTO_SETTINGS_TEXT_H

#include <string>
#include <string_view>

#include <wkagent/crypto.h>

#include "crypto/secret_bytes.h"

namespace wkagent {

// Gives the cipher the key that a text (a GUID) stands for; null is an empty one.
void UseSettingsKey(CRijndael& cipher, const char* text);

// The bytes of the encrypted file for a text, and the text in one, with the cipher's key.
[[nodiscard]] std::string EncryptText(CRijndael& cipher, std::string_view text);
[[nodiscard]] SecretBytes DecryptText(CRijndael& cipher, std::string_view encrypted);

}  // namespace wkagent

#endif  // WKAGENT_CRYPTO_SETTINGS_TEXT_H
