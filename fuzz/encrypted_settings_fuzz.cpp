// A key, a zero byte, then an encrypted file, which is also taken as a text to encrypt. Both ways
// must give what the format gives on OpenSSL's cipher.

#include <wkagent/crypto.h>

#include "crypto/settings_model.h"
#include "fuzz/fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  const std::string key = parts.Next();
  const std::string bytes = parts.Rest();
  CRijndael cipher;
  Require(cipher.DecryptSettings(bytes, key.c_str()) == wkagent::test::ModelDecrypt(bytes, key),
          "any bytes decrypt to what the format says");
  const std::string encrypted = cipher.EncryptSettings(bytes, key.c_str());
  Require(encrypted == wkagent::test::ModelEncrypt(bytes, key),
          "any text encrypts to what the format says");
  const bool kept = bytes.find('\0') == std::string::npos && bytes.find(';') == std::string::npos &&
                    CRijndael::EncryptionLoses(bytes.size()) == 0;
  Require(!kept || cipher.DecryptSettings(encrypted, key.c_str()) == bytes,
          "what is encrypted without loss comes back");
  return 0;
}
