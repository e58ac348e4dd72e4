// What the library does where the host has forbidden commands.

#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <wkagent/core.h>

#include "support/agent_home.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

constexpr int kFailed = 1 << 8;

class ForbiddenCommands : public testing::Test {
 protected:
  ForbiddenCommands() {
    setenv("PATH", "/nowhere", 1);  // no command can be found
    WKCommands::SetForbidden(true);
  }
  ~ForbiddenCommands() override {
    WKCommands::SetForbidden(false);
    setenv("PATH", path_.c_str(), 1);
  }

  static int Create(const char* name) {
    WKStatusFile file(Text{name});
    file.InitializeLogMessage(LogRecorder::Callback);
    return file.CreateFile();
  }

  AgentHome home_;
  const std::string path_ = getenv("PATH");
};

TEST_F(ForbiddenCommands, LeaveMarkersAsTheyAre) {
  EXPECT_EQ(0, Create("Daemon"));
  ASSERT_THAT(home_.List("outbox"), SizeIs(1));
  const std::string name = home_.List("outbox")[0];
  EXPECT_THAT(name, testing::MatchesRegex("Daemon\\.[0-9]{14}\\.xml"));
  EXPECT_THAT(home_.Read("outbox/" + name), IsEmpty());
}

TEST_F(ForbiddenCommands, LeaveMarkersToTheGroupAtMost) {
  const mode_t mask = umask(0);
  EXPECT_EQ(0, Create("Daemon"));
  umask(mask);
  ASSERT_THAT(home_.List("outbox"), SizeIs(1));
  const auto status = std::filesystem::status(home_.Path("outbox/" + home_.List("outbox")[0]));
  EXPECT_EQ(std::filesystem::perms(0640), status.permissions());
}

TEST_F(ForbiddenCommands, HaveTheFailureOfACommand) {
  std::filesystem::remove(home_.Path("outbox"));
  EXPECT_EQ(kFailed, Create("Daemon"));
}

TEST_F(ForbiddenCommands, AreAllowedAgain) {
  WKCommands::SetForbidden(false);
  EXPECT_EQ(127 << 8, Create("a name"));
}

}  // namespace
}  // namespace wkagent::test
