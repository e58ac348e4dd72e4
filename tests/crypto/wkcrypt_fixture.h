#ifndef WKAGENT_TESTS_CRYPTO_WKCRYPT_FIXTURE_H
#define WKAGENT_TESTS_CRYPTO_WKCRYPT_FIXTURE_H

// wkcrypt as its operator meets it: a program that works in the home's bin.

#include <initializer_list>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "crypto/settings_fixture.h"
#include "support/process.h"

namespace wkagent::test {

inline constexpr char kSettings[] =
    "<?xml version=\"1.0\"?>\n<Settings>\n  <Server>mail.acme.example</Server>\n</Settings>\n";

class Wkcrypt : public SettingsFiles {
 protected:
  static Ended Run(std::initializer_list<std::string> arguments) {
    std::vector<std::string> command = {WKAGENT_WKCRYPT};
    command.insert(command.end(), arguments);
    return RunToEnd(command);
  }

  // From "../config/IN" to "../tmp/OUT" with the GUID, and more.
  static Ended RunOn(const std::string& command, std::initializer_list<std::string> more = {}) {
    std::vector<std::string> words = {WKAGENT_WKCRYPT, command,  "../config/IN",
                                      "../tmp/OUT",    "--guid", kGuid};
    words.insert(words.end(), more);
    return RunToEnd(words);
  }

  // The same after writing IN.
  Ended EncryptText(const std::string& text) const {
    home_.Write("config/IN", text);
    return RunOn("encrypt", {"--force"});
  }
  Ended DecryptBytes(const std::string& encrypted) const {
    home_.Write("config/IN", encrypted);
    return RunOn("decrypt", {"--force"});
  }

  [[nodiscard]] std::string Out() const { return home_.Read("tmp/OUT"); }

  // Nothing stands in the output's folder.
  [[nodiscard]] bool HasLeftNothing() const { return home_.List("tmp").empty(); }

  static std::string EncryptedText(const std::string& text, const char* guid = kGuid) {
    return CRijndael().EncryptSettings(text, guid);
  }
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CRYPTO_WKCRYPT_FIXTURE_H
