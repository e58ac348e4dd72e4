#include "syslog/blocking_calls.h"

#include <array>
#include <thread>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "core/handles.h"
#include "support/collector.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

class SyslogBlockingCalls : public testing::Test {
 protected:
  SyslogBlockingCalls() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    here_.Reset(ends[0]);
    there_.Reset(ends[1]);
  }

  // The result of a read that does not wait: 0 at the end, -1 where nothing has come.
  static ssize_t Read(const Fd& socket) {
    char byte = 0;
    return recv(socket.Get(), &byte, 1, MSG_DONTWAIT);
  }

  static bool IsConnecting(const Fd& socket) {
    tcp_info info{};
    socklen_t size = sizeof(info);
    EXPECT_EQ(getsockopt(socket.Get(), IPPROTO_TCP, TCP_INFO, &info, &size), 0);
    return info.tcpi_state == TCP_SYN_SENT;
  }

  Fd here_;
  Fd there_;
  BlockingCalls calls_;
};

TEST_F(SyslogBlockingCalls, AreLeftAloneUntilTheyAreBrokenOff) {
  const BlockingCalls::Scope scope(calls_, here_.Get());
  EXPECT_FALSE(calls_.BrokenOff());
  EXPECT_EQ(Read(here_), -1);
  EXPECT_EQ(Read(there_), -1);
}

TEST_F(SyslogBlockingCalls, UnderWayAreEndedInBothDirections) {
  const BlockingCalls::Scope scope(calls_, here_.Get());
  calls_.BreakOff();
  EXPECT_TRUE(calls_.BrokenOff());
  EXPECT_EQ(Read(here_), 0);
  EXPECT_EQ(Read(there_), 0);
}

TEST_F(SyslogBlockingCalls, ToComeAreEndedAtOnce) {
  calls_.BreakOff();
  const BlockingCalls::Scope scope(calls_, here_.Get());
  EXPECT_EQ(Read(here_), 0);
}

TEST_F(SyslogBlockingCalls, ThatAreOverAreNotTouched) {
  { const BlockingCalls::Scope scope(calls_, here_.Get()); }
  calls_.BreakOff();
  EXPECT_EQ(Read(here_), -1);
}

TEST_F(SyslogBlockingCalls, OfSeveralThreadsOnOneSocketAreCountedEach) {
  const BlockingCalls::Scope first(calls_, here_.Get());
  { const BlockingCalls::Scope second(calls_, here_.Get()); }
  calls_.BreakOff();
  EXPECT_EQ(Read(here_), 0);
}

TEST_F(SyslogBlockingCalls, MayBeBrokenOffAgain) {
  calls_.BreakOff();
  const BlockingCalls::Scope scope(calls_, here_.Get());
  calls_.BreakOff();
  EXPECT_TRUE(calls_.BrokenOff());
  EXPECT_EQ(Read(here_), 0);
}

TEST_F(SyslogBlockingCalls, ReadThatWaitsIsEnded) {
  const BlockingCalls::Scope scope(calls_, here_.Get());
  std::thread reader([this] {
    char byte = 0;
    EXPECT_EQ(recv(here_.Get(), &byte, 1, 0), 0);
  });
  calls_.BreakOff();
  reader.join();
}

TEST_F(SyslogBlockingCalls, ConnectThatWaitsIsEnded) {
  const DeafPort port;
  const Fd caller(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const BlockingCalls::Scope scope(calls_, caller.Get());
  std::thread connecting([&] {
    sockaddr_in address = Loopback(port.Port());
    EXPECT_NE(connect(caller.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  });
  ASSERT_TRUE(WaitUntil([&] { return IsConnecting(caller); }));
  calls_.BreakOff();
  connecting.join();
}

}  // namespace
}  // namespace wkagent::test
