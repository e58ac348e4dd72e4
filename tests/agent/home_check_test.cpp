#include "agent/home_check.h"

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace fs = std::filesystem;

constexpr uid_t kStranger = 4711;

class HomeCheckTest : public ::testing::Test {
 protected:
  HomeCheckTest() {
    for (const char* const name :
         {"EDAFilter.xml", "ELAFilter.xml", "DaemonSettings.xml", "WKMemorySettings.xml",
          "SMTPSettings.cfg", "SNMPSettings.cfg"}) {
      home_.Write(std::string("config/") + name, "");
    }
  }

  [[nodiscard]] std::string Home() const { return fs::path(home_.Path("bin")).parent_path(); }

  [[nodiscard]] std::string At(const std::string& name) const {
    return name.empty() ? Home() : home_.Path(name);
  }

  [[nodiscard]] std::vector<std::string> Check(const std::vector<std::string>& more = {}) const {
    return CheckHome(Home(), account_, more);
  }

  void SetMode(const std::string& name, mode_t mode) const {
    ASSERT_EQ(0, chmod(At(name).c_str(), mode));
  }

  AgentHome home_;
  Account account_ = {"wkagent", geteuid(), getegid()};
};

TEST_F(HomeCheckTest, HomeOfTheAgentsOwnIsRight) { EXPECT_THAT(Check(), IsEmpty()); }

TEST_F(HomeCheckTest, MissingFilesAndOutboxAreNoProblemOfThisCheck) {
  for (const char* const folder : {"config", "outbox"}) fs::remove_all(home_.Path(folder));
  EXPECT_THAT(Check(), IsEmpty());
}

class PlaceInTheHome : public HomeCheckTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(PlaceInTheHome, MustNotBeWritableByEverybody) {
  SetMode(GetParam(), 0757);
  EXPECT_THAT(Check(), ElementsAre(StartsWith(At(GetParam()) + ": its mode 0757 lets others ")));
}

TEST_P(PlaceInTheHome, MustNotBelongToAStranger) {
  ASSERT_EQ(0, chown(At(GetParam()).c_str(), kStranger, getegid()));
  EXPECT_THAT(Check(), ElementsAre(At(GetParam()) + ": belongs to user 4711; chown wkagent it"));
}

TEST_P(PlaceInTheHome, MayBelongToTheAgentsAccountOrToRoot) {
  account_.user = kStranger;
  ASSERT_EQ(0, chown(At(GetParam()).c_str(), kStranger, getegid()));
  EXPECT_THAT(Check(), IsEmpty());
}

TEST_P(PlaceInTheHome, IsWrittenToByItsGroupInTheOutboxOnly) {
  SetMode(GetParam(), 0770);
  const bool outbox = std::string(GetParam()) == "outbox";
  EXPECT_THAT(Check(), ::testing::SizeIs(outbox ? 0 : 1));
}

INSTANTIATE_TEST_SUITE_P(Places, PlaceInTheHome,
                         ::testing::Values("", "bin", "config", "tmp", "outbox",
                                           "config/EDAFilter.xml", "config/ELAFilter.xml",
                                           "config/DaemonSettings.xml",
                                           "config/WKMemorySettings.xml", "config/SMTPSettings.cfg",
                                           "config/SNMPSettings.cfg"));

TEST_F(HomeCheckTest, SettingsElsewhereAreLookedAtToo) {
  home_.Write("LDAPSettings.xml", "");
  SetMode("LDAPSettings.xml", 0602);
  EXPECT_THAT(Check({home_.Path("LDAPSettings.xml")}),
              ElementsAre(home_.Path("LDAPSettings.xml") +
                          ": its mode 0602 lets others write to it; chmod go-w it"));
}

TEST_F(HomeCheckTest, LinksMayLeadFromPlaceToPlaceInTheHome) {
  fs::rename(home_.Path("outbox"), home_.Path("finished"));
  fs::create_directory_symlink("finished", home_.Path("outbox"));
  fs::rename(home_.Path("config/EDAFilter.xml"), home_.Path("config/filter.1"));
  fs::create_symlink("filter.1", home_.Path("config/EDAFilter.xml"));
  EXPECT_THAT(Check(), IsEmpty());
}

TEST_F(HomeCheckTest, LinksMustNotLeadOutOfTheHome) {
  const AgentHome other;
  fs::remove(home_.Path("outbox"));
  fs::create_directory_symlink(other.Path("outbox"), home_.Path("outbox"));
  fs::remove(home_.Path("config/EDAFilter.xml"));
  fs::create_symlink("/etc/passwd", home_.Path("config/EDAFilter.xml"));
  EXPECT_THAT(Check(),
              ElementsAre(StartsWith(home_.Path("outbox") + ": leads out of the home, to " +
                                     other.Path("outbox")),
                          StartsWith(home_.Path("config/EDAFilter.xml") +
                                     ": leads out of the home, to /etc/passwd")));
}

TEST_F(HomeCheckTest, HomeMayItselfBeReachedByALink) {
  const AgentHome other;
  fs::create_directory_symlink(Home(), other.Path("link"));
  EXPECT_THAT(CheckHome(other.Path("link"), account_, {}), IsEmpty());
}

// What somebody may have put under a name that the agent writes to.
struct Plant {
  const char* name;
  std::function<void(const std::string& path, const std::string& victim)> put;
};

void PrintTo(const Plant& plant, std::ostream* out) { *out << plant.name; }

class PlantInTheHome : public HomeCheckTest, public ::testing::WithParamInterface<Plant> {};

TEST_P(PlantInTheHome, IsFoundUnderEachNameThatTheAgentWrites) {
  home_.Write("victim", "");
  for (const char* const name : {"EDALive.xml", "ELALive.xml", "wkagentd.lock", "wkagentd.status",
                                 "accesslog.position", "other.position"}) {
    const std::string path = home_.Path(std::string("tmp/") + name);
    GetParam().put(path, home_.Path("victim"));
    EXPECT_THAT(Check(), ElementsAre(StartsWith(path + ": is a link, has a second name, or is no "
                                                       "file; the agent does not write to it.")));
    fs::remove(path);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, PlantInTheHome,
    ::testing::Values(
        Plant{"SymbolicLink",
              [](const auto& path, const auto& victim) { fs::create_symlink(victim, path); }},
        Plant{"LinkToNothing",
              [](const auto& path, const auto&) { fs::create_symlink("/nowhere/at/all", path); }},
        Plant{"HardLink",
              [](const auto& path, const auto& victim) { fs::create_hard_link(victim, path); }},
        Plant{"Pipe", [](const auto& path, const auto&) { mkfifo(path.c_str(), 0600); }},
        Plant{"Folder", [](const auto& path, const auto&) { fs::create_directory(path); }}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(HomeCheckTest, FoldersAboveAreRightBelowAStickyOne) {
  EXPECT_EQ("", CheckFoldersAbove(Home(), account_));
}

TEST_F(HomeCheckTest, FolderAboveThatOthersMayChangeIsNamed) {
  fs::create_directories(home_.Path("above/home"));
  SetMode("above", 0777);
  EXPECT_THAT(CheckFoldersAbove(home_.Path("above/home"), account_),
              StartsWith(home_.Path("above") + ": others may write to it, who could put"));
  SetMode("above", 01777);
  EXPECT_EQ("", CheckFoldersAbove(home_.Path("above/home"), account_));
}

TEST_F(HomeCheckTest, FolderAboveOfAStrangerIsNamed) {
  fs::create_directories(home_.Path("above/home"));
  ASSERT_EQ(0, chown(home_.Path("above").c_str(), kStranger, getegid()));
  EXPECT_THAT(CheckFoldersAbove(home_.Path("above/home"), account_),
              StartsWith(home_.Path("above") + ": belongs to user 4711, who could put"));
}

}  // namespace
}  // namespace wkagent::test
