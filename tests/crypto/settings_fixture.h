#ifndef WKAGENT_TESTS_CRYPTO_SETTINGS_FIXTURE_H
#define WKAGENT_TESTS_CRYPTO_SETTINGS_FIXTURE_H

#include <string>

#include <gtest/gtest.h>

#include <wkagent/crypto.h>

#include "crypto/settings_model.h"
#include "support/agent_home.h"
#include "support/text.h"

namespace wkagent::test {

inline constexpr char kGuid[] = "5f1c6b1e-9a3d-4c52-8e0b-77d2a1c4e9f0";
inline constexpr char kOtherGuid[] = "0e9a4c1d-2b77-4f10-b8e0-5c3d9a2f6e11";

// Encrypts "config/Settings.xml" of a fresh home into "config/Settings.cfg", and that into
// "tmp/Settings.xml".
class SettingsFiles : public ::testing::Test {
 protected:
  // Encrypts the text by way of the files: what the encrypted file holds.
  std::string Encrypt(const std::string& plain, const std::string& keyText = kGuid) const {
    home_.Write("config/Settings.xml", plain);
    EncryptFile(keyText);
    return home_.Read("config/Settings.cfg");
  }

  // Decrypts these bytes by way of the files: what the plain file holds.
  std::string Decrypt(const std::string& encrypted, const std::string& keyText = kGuid) const {
    home_.Write("config/Settings.cfg", encrypted);
    DecryptFile(keyText);
    return home_.Read("tmp/Settings.xml");
  }

  static void EncryptFile(const std::string& keyText = kGuid) {
    CRijndael().WKEncryptFile(Text("../config/Settings.xml"), Text("../config/Settings.cfg"),
                              Text(keyText));
  }
  static void DecryptFile(const std::string& keyText = kGuid) {
    CRijndael().WKDecryptFile(Text("../config/Settings.cfg"), Text("../tmp/Settings.xml"),
                              Text(keyText));
  }

  AgentHome home_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CRYPTO_SETTINGS_FIXTURE_H
