#ifndef WKAGENT_TESTS_CONFIG_SETTINGS_FIXTURE_H
#define WKAGENT_TESTS_CONFIG_SETTINGS_FIXTURE_H

#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <wkagent/config.h>

#include "support/agent_home.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {

// Contents of a number element, and what they read as: strtol(3) in base 10, of which an int keeps
// the low 32 bits.
struct NumberText {
  const char* text;
  int number;
};
inline constexpr NumberText kNumberTexts[] = {
    {"30", 30},
    {"-7", -7},
    {"+7", 7},
    {"0", 0},
    {"", 0},
    {"abc", 0},
    {" 12", 12},
    {"\n\t12\n", 12},
    {"12abc", 12},
    {"1 2", 1},
    {"0x10", 0},
    {"010", 10},
    {"1.9", 1},
    {"2147483647", 2147483647},
    {"2147483648", -2147483647 - 1},
    {"-2147483649", 2147483647},
    {"4294967296", 0},
    {"4294967301", 5},
    {"9223372036854775807", -1},
    {"99999999999999999999", -1},
    {"-9223372036854775808", 0},
    {"<!-- 1 -->2<b>3</b>", 23},
    {"<![CDATA[12]]>", 12},
    {"&#49;2", 12},
};

// Contents of a flag element; any number but 0 is true, also beyond 32 bits.
inline constexpr const char* kTrueTexts[] = {
    "1", "2", "-1", "007", "1x", "4294967296", "99999999999999999999"};
inline constexpr const char* kFalseTexts[] = {"0", "", "abc", "true", "-0", "00", "x1", "*1"};

// An element of this content.
inline std::string Element(const std::string& name, const std::string& content) {
  return "<" + name + ">" + content + "</" + name + ">";
}

// One reader and the files it reads.
template <typename Reader>
class SettingsFixture : public testing::Test {
 protected:
  SettingsFixture() { reader_.InitializeLogMessage(LogRecorder::Callback); }

  // Writes a file of these elements. It is made anew: some file systems wait for the disk when one
  // is overwritten.
  void WriteElements(const std::string& name, const std::string& elements) const {
    WriteText(name, "<?xml version=\"1.0\"?>\n<Root>" + elements + "</Root>\n");
  }
  void WriteText(const std::string& name, const std::string& text) const {
    std::filesystem::remove(home_.Path("config/" + name));
    home_.Write("config/" + name, text);
  }

  // The root element of a document of these elements.
  _xmlNode* Root(const std::string& elements) {
    WriteElements("Source.xml", elements);
    EXPECT_EQ(source_.ReadFile(Text("../config/Source.xml")), 0) << elements;
    return source_.GetXMLRootNode();
  }

  AgentHome home_;
  LogRecorder log_;
  WKConfigFile source_;
  Reader reader_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_CONFIG_SETTINGS_FIXTURE_H
