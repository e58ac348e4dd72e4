#ifndef WKAGENT_TESTS_CONFIG_CONFIG_FIXTURE_H
#define WKAGENT_TESTS_CONFIG_CONFIG_FIXTURE_H

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <wkagent/config.h>

#include "support/agent_home.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {

// One reader and the settings file that it reads.
class ConfigFile : public testing::Test {
 protected:
  static constexpr const char* kPath = "../config/Settings.xml";

  int ReadPath(const std::string& path) { return file_.ReadFile(Text(path)); }

  // Makes `text` the settings file and reads it. The file is made anew: some file systems wait for
  // the disk when one is overwritten.
  int Read(const std::string& text) {
    std::filesystem::remove(home_.Path("config/Settings.xml"));
    home_.Write("config/Settings.xml", text);
    return ReadPath(kPath);
  }

  // The root element of `text`.
  _xmlNode* Root(const std::string& text) {
    EXPECT_EQ(Read(text), 0) << text;
    return file_.GetXMLRootNode();
  }

  static std::string Name(const _xmlNode* element) {
    return element == nullptr ? "<none>" : reinterpret_cast<const char*>(element->name);
  }

  std::optional<std::string> Value(_xmlNode* element, const std::string& attribute) {
    const char* const value = file_.GetTagValue(element, Text(attribute));
    EXPECT_EQ(value, file_.lastValue);
    return value == nullptr ? std::nullopt : std::optional<std::string>(value);
  }

  std::optional<std::string> Content(_xmlNode* element) {
    const char* const content = file_.GetNodeContent(element);
    EXPECT_EQ(content, file_.lastValue);
    return content == nullptr ? std::nullopt : std::optional<std::string>(content);
  }

  std::string Error() {
    const char* const error = file_.GetReadError();
    return error == nullptr ? "<none>" : error;
  }

  AgentHome home_;
  LogRecorder log_;
  WKConfigFile file_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CONFIG_CONFIG_FIXTURE_H
