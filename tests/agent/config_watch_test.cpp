#include "agent/config_watch.h"

#include <filesystem>
#include <set>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ConfigWatchTest : public ::testing::Test {
 protected:
  ConfigWatchTest() { home_.Write("config/a.xml", "<a/>"); }

  // Waits for the next change and returns the names that came with it.
  [[nodiscard]] static std::vector<std::string> Next(ConfigWatch& watch) {
    std::vector<std::string> names;
    EXPECT_TRUE(WaitUntil([&] {
      names = watch.TakeChanges();
      return !names.empty();
    }));
    return names;
  }

  // Everything told of up to the change of a file that is made last.
  [[nodiscard]] std::set<std::string> UntilMark(ConfigWatch& watch) const {
    home_.Write("config/mark.xml", "<mark/>");
    std::set<std::string> all;
    while (!all.contains("mark.xml")) {
      for (const std::string& name : Next(watch)) all.insert(name);
    }
    return all;
  }

  AgentHome home_;
};

TEST_F(ConfigWatchTest, AFileThatIsWrittenInPlaceHasChanged) {
  ConfigWatch watch({"a.xml", "mark.xml"});
  home_.Write("config/a.xml", "<b/>");
  EXPECT_THAT(Next(watch), ElementsAre("a.xml"));
}

TEST_F(ConfigWatchTest, AFileThatAnotherWasRenamedToHasChanged) {
  ConfigWatch watch({"a.xml", "mark.xml"});
  home_.Write("tmp/new.xml", "<b/>");
  std::filesystem::rename(home_.Path("tmp/new.xml"), home_.Path("config/a.xml"));
  EXPECT_THAT(Next(watch), ElementsAre("a.xml"));
}

TEST_F(ConfigWatchTest, ANewFileHasChanged) {
  ConfigWatch watch({"a.xml", "b.xml"});
  home_.Write("config/b.xml", "<b/>");
  EXPECT_THAT(Next(watch), ElementsAre("b.xml"));
}

TEST_F(ConfigWatchTest, AFileIsToldOfOnceAChange) {
  ConfigWatch watch({"a.xml", "mark.xml"});
  home_.Write("config/a.xml", "<b/>");
  EXPECT_THAT(Next(watch), ElementsAre("a.xml"));
  EXPECT_THAT(UntilMark(watch), ElementsAre("mark.xml"));
  home_.Write("config/a.xml", "<c/>");
  EXPECT_THAT(Next(watch), ElementsAre("a.xml"));
}

TEST_F(ConfigWatchTest, UnchangedOtherAndVanishedFilesAreNotToldOf) {
  home_.Write("config/b.xml", "<b/>");
  ConfigWatch watch({"a.xml", "b.xml", "mark.xml"});
  EXPECT_EQ("<a/>", home_.Read("config/a.xml"));
  home_.Write("config/other.xml", "<o/>");
  std::filesystem::remove(home_.Path("config/b.xml"));
  EXPECT_THAT(UntilMark(watch), ElementsAre("mark.xml"));
}

TEST_F(ConfigWatchTest, AFileThatComesBackHasChanged) {
  ConfigWatch watch({"a.xml", "mark.xml"});
  std::filesystem::remove(home_.Path("config/a.xml"));
  EXPECT_THAT(UntilMark(watch), ElementsAre("mark.xml"));
  home_.Write("config/a.xml", "<a/>");
  EXPECT_THAT(Next(watch), ElementsAre("a.xml"));
}

TEST_F(ConfigWatchTest, OnlyPathsIntoTheFolderHaveANameInTheHome) {
  EXPECT_EQ("a.xml", ConfigWatch::NameInHome(home_.Path("config/a.xml")));
  EXPECT_EQ("none.xml", ConfigWatch::NameInHome(home_.Path("bin/../config/none.xml")));
  EXPECT_EQ("", ConfigWatch::NameInHome(home_.Path("tmp/a.xml")));
  EXPECT_EQ("", ConfigWatch::NameInHome("/nowhere/a.xml"));
  EXPECT_EQ("", ConfigWatch::NameInHome(""));
}

}  // namespace
}  // namespace wkagent::test
