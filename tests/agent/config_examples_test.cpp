// The examples of the documentation and the sample home pass the check without a word.

#include <filesystem>
#include <fstream>
#include <map>

#include <wkagent/config.h>

#include "agent/config_check_fixture.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

struct Example {
  int line;
  std::string file;
  std::string text;
};

// The blocks of XML of a document; the line with text before each names its file: `config/NAME`.
std::vector<Example> ExamplesOf(const std::string& document) {
  std::ifstream input(std::string(WKAGENT_SOURCE_DIR) + "/" + document);
  std::vector<Example> examples;
  std::string line;
  std::string before;
  bool inside = false;
  for (int number = 1; std::getline(input, line); ++number) {
    if (inside && line == "```") {
      inside = false;
    } else if (inside) {
      examples.back().text += line + "\n";
    } else if (line == "```xml") {
      inside = true;
      const std::size_t slash = before.find("`config/") + 8;
      examples.push_back({number, before.substr(slash, before.find('`', slash) - slash), ""});
    } else if (!line.empty()) {
      before = line;
    }
  }
  return examples;
}

constexpr char kDocument[] = "docs/configuration.md";
constexpr char kSharedSettings[] = "SharedSettings.xml";  // for the library alone

std::vector<Example> CheckedExamples() {
  std::vector<Example> examples = ExamplesOf(kDocument);
  std::erase_if(examples, [](const Example& example) { return example.file == kSharedSettings; });
  return examples;
}

class ConfigExamples : public ConfigCheckTest, public ::testing::WithParamInterface<Example> {};

TEST_P(ConfigExamples, PassTheCheck) {
  const Example& example = GetParam();
  ASSERT_TRUE(home_.Exists("config/" + example.file)) << example.file << " is checked by nobody";
  Write(example.file, example.text);
  const Answer answer = Check();
  EXPECT_EQ("", answer.err);
  EXPECT_EQ(0, answer.status);
}

INSTANTIATE_TEST_SUITE_P(OfTheDocument, ConfigExamples, ::testing::ValuesIn(CheckedExamples()),
                         [](const ::testing::TestParamInfo<Example>& test) {
                           return "Line" + std::to_string(test.param.line);
                         });

TEST(ConfigDocument, HasAnExampleOfEveryFile) {
  std::map<std::string, int> count;
  for (const Example& example : ExamplesOf(kDocument)) ++count[example.file];
  for (const char* const file :
       {"EDAFilter.xml", "ELAFilter.xml", "DaemonSettings.xml", "WKMemorySettings.xml",
        "LDAPSettings.xml", "ManagerList.xml", kSharedSettings}) {
    EXPECT_EQ(1, count[file]) << file;
  }
}

TEST(ConfigDocument, ItsManagingServerIsReadWithItsAddress) {
  const AgentHome home;
  for (const Example& example : ExamplesOf(kDocument)) {
    home.Write("config/" + example.file, example.text);
  }
  WKManagerList managers;
  EXPECT_EQ(0, managers.Read(Text("../config/SharedSettings.xml")));
  WKShareFolderSetting& primary = *managers.GetPrimaryServer();
  EXPECT_STREQ("manager1", primary.GetMachineName());
  EXPECT_STREQ("192.0.2.1", primary.GetMachineIpAddress());
  EXPECT_STREQ("CORP", primary.GetPrimaryDomain());
  EXPECT_STREQ("auditor", primary.GetPrimaryUser());
  EXPECT_STREQ("audit/incoming", primary.GetShareFolderPath());
}

class SampleHome : public ConfigCheckTest {
 protected:
  // Takes the files of the sample home instead of the fixture's.
  SampleHome() {
    const std::filesystem::path sample = WKAGENT_SOURCE_DIR "/agent/home/config";
    for (const std::string& file : home_.List("config")) {
      std::filesystem::remove(home_.Path("config/" + file));
    }
    std::filesystem::copy(sample, home_.Path("config"));
  }
};

TEST_F(SampleHome, PassesTheCheck) {
  const Answer answer = Check();
  EXPECT_EQ("", answer.err);
  EXPECT_THAT(answer.out, ::testing::EndsWith("wkagentd: 4 files checked, 0 errors, 0 warnings\n"));
}

TEST_F(SampleHome, ItsLdapExamplePassesTheCheckOnceItIsInstalled) {
  std::filesystem::rename(Path("LDAPSettings.xml.example"), Path("LDAPSettings.xml"));
  std::filesystem::permissions(Path("LDAPSettings.xml"), std::filesystem::perms(0600));
  const Answer answer = Check();
  EXPECT_EQ("", answer.err);
  EXPECT_THAT(answer.out, ::testing::HasSubstr("wkagentd: 5 files checked"));
}

TEST_F(SampleHome, ShowsTheDefaults) {
  const std::string settings = home_.Read("config/DaemonSettings.xml");
  const std::string memory = home_.Read("config/WKMemorySettings.xml");
  EXPECT_THAT(settings, ::testing::HasSubstr("<PollInterval>10</PollInterval>"));
  EXPECT_THAT(settings, ::testing::HasSubstr("<ArmThreshold>500</ArmThreshold>"));
  EXPECT_THAT(memory, ::testing::HasSubstr("<MaxEDIRMemoryBlocks>5000</MaxEDIRMemoryBlocks>"));
}

}  // namespace
}  // namespace wkagent::test
