#include <array>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include "alert/sender_fixture.h"
#include "core/handles.h"
#include "support/private_dev.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Takes what is logged on this machine, in a /dev of its own.
class LogSocket {
 public:
  LogSocket() : socket_(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "/dev/log");
    if (bind(socket_.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
      throw std::runtime_error("/dev/log");
    }
  }

  // The messages since the last call, without the time; the process is written as "PID".
  [[nodiscard]] std::vector<std::string> Take() const {
    std::vector<std::string> messages;
    std::array<char, 4096> buffer{};
    for (ssize_t length; (length = recv(socket_.Get(), buffer.data(), buffer.size(), 0)) >= 0;) {
      std::string message(buffer.data(), static_cast<std::size_t>(length));
      message.erase(message.find('>') + 1, std::strlen("Nov 21 18:00:00 "));
      const std::string id = std::to_string(getpid());
      if (const std::size_t at = message.find(id); at != std::string::npos) {
        message.replace(at, id.size(), "PID");
      }
      messages.push_back(message);
    }
    return messages;
  }

 private:
  Fd socket_;
};

class SysLogTest : public SenderTest {};

TEST_F(SysLogTest, LogsAsUserInfoWithItsIdentity) {
  InPrivateDev([] {
    const LogSocket log;
    WKSysLog entry;
    entry.SetMessage(Text("bob 100% %s logged in"));
    entry.SendMessage();
    EXPECT_THAT(log.Take(), ElementsAre("<14>WKAgent[PID]: bob 100% %s logged in\n"));
  });
}

TEST_F(SysLogTest, LogsAndSpoolsNoEmptyMessage) {
  InPrivateDev([this] {
    const LogSocket log;
    WKSysLog entry;
    entry.SendMessage();
    entry.Serialize();
    EXPECT_THAT(log.Take(), IsEmpty());
    EXPECT_THAT(SpoolFiles("SysLog"), IsEmpty());
  });
}

TEST_F(SysLogTest, LetsAllPrioritiesPass) {
  setlogmask(1);
  const WKSysLog entry;
  EXPECT_EQ(setlogmask(0), 255);
}

TEST_F(SysLogTest, AnEmptyTextLeavesTheMessage) {
  WKSysLog entry;
  entry.SetMessage(Text("old"));
  entry.SetMessage(Text(""));
  entry.SetMessage(nullptr);
  EXPECT_STREQ(entry.message, "old");
}

TEST_F(SysLogTest, SpoolsALine) {
  WKSysLog entry;
  entry.SetMessage(Text("one"));
  entry.Serialize();
  entry.SetMessage(Text(std::string(300, 'x')));
  entry.Serialize();
  EXPECT_EQ(Spooled("SysLog"), "one\n" + std::string(255, 'x') + "\n");
  EXPECT_THAT(SpoolFiles("SysLog")[0], ::testing::MatchesRegex("SysLog\\.[0-9]{14}\\.txt"));
}

TEST_F(SysLogTest, ReplaysEachLineWithItsLineEndAndDeletesTheFile) {
  InPrivateDev([this] {
    const LogSocket log;
    home_.Write("tmp/SysLog.1.txt", "one\ntwo\n" + std::string(300, 'x') + "\n");
    WKSysLog entry;
    WKSysLog::SysLogAlertAvailable("SysLog.1.txt");
    EXPECT_THAT(log.Take(), ElementsAre("<14>WKAgent[PID]: one\n\n", "<14>WKAgent[PID]: two\n\n",
                                        "<14>WKAgent[PID]: " + std::string(255, 'x') + "\n",
                                        "<14>WKAgent[PID]: " + std::string(45, 'x') + "\n\n"));
    EXPECT_FALSE(home_.Exists("tmp/SysLog.1.txt"));
  });
}

TEST_F(SysLogTest, LeavesAFileThatCannotBeOpenedAndNamesThatLeadElsewhere) {
  home_.Write("config/victim", "one\n");
  WKSysLog entry;
  entry.InitializeLogMessage(LogRecorder::Callback);
  EXPECT_EQ(entry.Deserialize(Text("../tmp/nothing")), 0);
  WKSysLog::SysLogAlertAvailable("../config/victim");
  EXPECT_TRUE(home_.Exists("config/victim"));
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Not the name of a spool file: ../config/victim"));
}

TEST_F(SysLogTest, TheStaticEntryDoesNothingWhereTheCurrentObjectHasEnded) {
  home_.Write("tmp/SysLog.1.txt", "one\n");
  { const WKSysLog ended; }
  EXPECT_NE(WKSysLog::SysLogPtr, nullptr);
  WKSysLog::SysLogAlertAvailable("SysLog.1.txt");
  EXPECT_TRUE(home_.Exists("tmp/SysLog.1.txt"));
}

}  // namespace
}  // namespace wkagent::test
