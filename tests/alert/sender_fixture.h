#ifndef WKAGENT_TESTS_ALERT_SENDER_FIXTURE_H
#define WKAGENT_TESTS_ALERT_SENDER_FIXTURE_H

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/alert.h>
#include <wkagent/crypto.h>

#include "support/agent_home.h"
#include "support/fake_components.h"
#include "support/log_recorder.h"
#include "support/text.h"
#include "support/wait_until.h"

namespace wkagent::test {

inline constexpr char kGuid[] = "0f8fad5b-d9cb-469f-a165-70867728950e";

// A sender's world: a home to work in, components that write down what they are told, a log.
class SenderTest : public ::testing::Test {
 protected:
  // Writes a settings file as an administrator's tool would: encrypted with the workspace's key.
  void WriteEncrypted(const std::string& name, const std::string& xml) const {
    home_.Write("config/DaemonSettings.xml",
                std::string("<S><WorkspaceGuid>") + kGuid + "</WorkspaceGuid></S>");
    home_.Write("tmp/plain", xml);
    CRijndael cipher;
    cipher.WKEncryptFile(Text(home_.Path("tmp/plain")), Text(home_.Path("config/" + name)),
                         Text(kGuid));
    std::filesystem::remove(home_.Path("tmp/plain"));
  }

  // The names of the spool files of this kind.
  [[nodiscard]] std::vector<std::string> SpoolFiles(const std::string& kind) const {
    std::vector<std::string> names = home_.List("tmp");
    std::erase_if(names, [&](const std::string& name) { return !name.starts_with(kind + "."); });
    return names;
  }

  // What all of them hold, one after the other: two may be needed where a second ends in between.
  [[nodiscard]] std::string Spooled(const std::string& kind) const {
    std::string text;
    for (const std::string& name : SpoolFiles(kind)) text += home_.Read("tmp/" + name);
    return text;
  }

  AgentHome home_;
  FakeComponents components_;
  LogRecorder log_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_ALERT_SENDER_FIXTURE_H
