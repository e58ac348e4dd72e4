// Alerts in a folder that takes no changes, and beside servers that are away or hang.

#include <filesystem>
#include <fstream>
#include <future>
#include <memory>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "agent/spool_replay.h"
#include "support/agent_home.h"
#include "support/captured_errors.h"
#include "support/deaf_log.h"
#include "support/fake_components.h"
#include "support/private_dev.h"
#include "support/private_root.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::SizeIs;

constexpr std::chrono::seconds kNever(3600);
constexpr std::chrono::seconds kSoon(1);

class SpoolTrouble : public ::testing::Test {
 protected:
  // A file of one alert each, from some seconds ago.
  void WriteMail(int number) const {
    std::string record(768, '\0');
    record.replace(512, 4, "text");
    Write("SMTP.202611150822" + std::to_string(number) + ".txt", record);
  }
  void Write(const std::string& name, const std::string& text) const {
    home_.Write("tmp/" + name, text);
    const timespec before = {std::time(nullptr) - 10, 0};
    const timespec times[] = {before, before};
    ASSERT_EQ(utimensat(AT_FDCWD, home_.Path("tmp/" + name).c_str(), times, 0), 0);
  }

  [[nodiscard]] static std::size_t Tries() { return FakeComponents::ValuesOf(30).size(); }

  // True once a thread of this process sleeps for want of room in a socket.
  [[nodiscard]] static bool WaitForBlockedSend() {
    return WaitUntil([] {
      for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(task.path() / "comm");
        std::string name;
        std::getline(file, name);
        std::ifstream call(task.path() / "syscall");
        std::string number;
        call >> number;
        if (name == "wk-alert-log" && (number == "44" || number == "46")) return true;
      }
      return false;
    });
  }

  AgentHome home_;
  FakeComponents components_;
};

TEST_F(SpoolTrouble, AFolderThatTakesNoChangesIsReportedAndWaitedFor) {
  InPrivateRoot([this] {
    WriteMail(10);
    MountReadOnly(home_.Path("tmp"));
    const CapturedErrors errors;
    const SpoolReplay replay("HOME", kSoon);
    EXPECT_TRUE(WaitUntil([&] {
      return errors.Hold("HOME/tmp: Read-only file system; mails wait until it can be written\n");
    }));
    EXPECT_EQ(0U, Tries());
    Unmount(home_.Path("tmp"));
    EXPECT_TRUE(WaitUntil([this] { return home_.List("tmp").empty(); }));
    EXPECT_EQ(1U, Tries());
  });
}

TEST_F(SpoolTrouble, APassEndsWhereOneFileAfterTheOtherCannotBeSent) {
  FakeComponents::doResult = 1;
  for (int number = 10; number < 30; ++number) WriteMail(number);
  {
    const SpoolReplay replay("HOME", kNever);
    EXPECT_TRUE(WaitUntil([] { return Tries() == 5; }));
  }
  EXPECT_EQ(5U, Tries());
  EXPECT_THAT(home_.List("tmp"), SizeIs(20));
}

TEST_F(SpoolTrouble, FilesThatCannotBeSentDoNotKeepTheOthersWaitingForEver) {
  for (int number = 10; number < 16; ++number) WriteMail(number);
  FakeComponents::doResult = 1;
  const SpoolReplay replay("HOME", kSoon);
  EXPECT_TRUE(WaitUntil([] { return Tries() > 5; }));
  FakeComponents::doResult = 0;
  EXPECT_TRUE(WaitUntil([this] { return home_.List("tmp").empty(); }));
}

TEST_F(SpoolTrouble, ALogDaemonThatHangsDoesNotHoldUpTheEnd) {
  InPrivateDev([this] {
    const DeafLog log;
    std::string lines;
    for (int number = 0; number < 5000; ++number) lines += "line\n";
    Write("SysLog.20261115082205.txt", lines);
    auto replay = std::make_unique<SpoolReplay>("HOME", kNever);
    ASSERT_TRUE(WaitForBlockedSend());
    const auto end = std::async(std::launch::async, [&] { replay.reset(); });
    ASSERT_EQ(std::future_status::ready, end.wait_for(kDeadline));
    const std::string left = home_.Read("tmp/SysLog.20261115082205.txt");
    EXPECT_LT(left.size(), lines.size());
    EXPECT_GT(left.size(), lines.size() / 2);
  });
}

}  // namespace
}  // namespace wkagent::test
