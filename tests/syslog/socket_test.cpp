#include "syslog/socket.h"

#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include "core/handles.h"
#include "support/collector.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

// "address:port" as the library makes it, or "none".
std::string Converted(const std::string& host, std::int32_t port) {
  sockaddr_in address{};
  if (!ToAddress(host, port, address)) return "none";
  EXPECT_EQ(address.sin_family, AF_INET);
  char text[INET_ADDRSTRLEN] = {};
  inet_ntop(AF_INET, &address.sin_addr, text, sizeof(text));
  return std::string(text) + ':' + std::to_string(ntohs(address.sin_port));
}

TEST(SyslogSocket, AddressIsIPv4OrIPv6InFigures) {
  for (const char* host : {"10.0.0.5", "0.0.0.0", "::1", "::ffff:10.0.0.5", "fe80::1"}) {
    EXPECT_TRUE(IsAddress(host)) << host;
  }
  for (const char* host : {"", "localhost", "10.0.0", "10.0.0.256", "10.0.0.5 ", "[::1]",
                           "fe80::1%lo", "10.0.0.05x"}) {
    EXPECT_FALSE(IsAddress(host)) << host;
  }
}

TEST(SyslogSocket, CollectorsAddressIsIPv4) {
  EXPECT_EQ(Converted("10.0.0.5", 514), "10.0.0.5:514");
  EXPECT_EQ(Converted("255.255.255.255", 65535), "255.255.255.255:65535");
  for (const char* host : {"", "localhost", "::1", "10.0.0", " 10.0.0.5"}) {
    EXPECT_EQ(Converted(host, 514), "none") << host;
  }
}

TEST(SyslogSocket, PortIsTheLow16Bits) {
  EXPECT_EQ(Converted("10.0.0.5", 65536), "10.0.0.5:0");
  EXPECT_EQ(Converted("10.0.0.5", 70000), "10.0.0.5:4464");
  EXPECT_EQ(Converted("10.0.0.5", -1), "10.0.0.5:65535");
}

TEST(SyslogSocket, BlockingCanBeSwitched) {
  const Fd any(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const int before = fcntl(any.Get(), F_GETFL);
  SetBlocking(any.Get(), false);
  EXPECT_EQ(fcntl(any.Get(), F_GETFL), before | O_NONBLOCK);
  SetBlocking(any.Get(), true);
  EXPECT_EQ(fcntl(any.Get(), F_GETFL), before);
  SetBlocking(-1, true);
}

// A connection to a collector.
class SyslogSocketPeer : public testing::Test {
 protected:
  static Fd Connected(int port) {
    Fd caller(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address = Loopback(port);
    EXPECT_EQ(connect(caller.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    return caller;
  }

  [[nodiscard]] Peer Look() const { return LookAtPeer(here_.Get()); }
  [[nodiscard]] bool BecomesClosed() const {
    return WaitUntil([this] { return Look() == Peer::kClosed; });
  }
  [[nodiscard]] bool Speaks() const {
    return WaitUntil([this] { return Look() == Peer::kSpeaks; });
  }

  Collector collector_;
  Fd here_ = Connected(collector_.Port());
  CollectorEnd there_ = collector_.Accept();
};

TEST_F(SyslogSocketPeer, IsSilentAtFirst) {
  EXPECT_EQ(Look(), Peer::kSilent);
  EXPECT_FALSE(DiscardInput(here_.Get(), 0));
}

TEST_F(SyslogSocketPeer, SpeaksUntilItsInputIsDiscarded) {
  there_.Write(std::string(50000, 'x'));
  EXPECT_TRUE(Speaks());
  EXPECT_TRUE(WaitUntil([this] {
    EXPECT_FALSE(DiscardInput(here_.Get(), 0));
    return Look() == Peer::kSilent;
  }));
}

TEST_F(SyslogSocketPeer, HasClosed) {
  there_.Close();
  EXPECT_TRUE(BecomesClosed());
  EXPECT_TRUE(DiscardInput(here_.Get(), 0));
}

TEST_F(SyslogSocketPeer, HasBrokenOff) {
  there_.Break();
  EXPECT_TRUE(BecomesClosed());
  EXPECT_TRUE(DiscardInput(here_.Get(), 0));
}

TEST_F(SyslogSocketPeer, HasSpokenAndClosed) {
  there_.Write("good bye");
  there_.Close();
  EXPECT_TRUE(BecomesClosed());
  EXPECT_TRUE(DiscardInput(here_.Get(), 0));
}

TEST_F(SyslogSocketPeer, IsWaitedForToClose) {
  there_.Write("good bye");
  there_.Close();
  EXPECT_TRUE(DiscardInput(here_.Get(), 30000));
}

TEST_F(SyslogSocketPeer, IsNotWaitedForLongerThanAllowed) {
  there_.Write("still here");
  EXPECT_FALSE(DiscardInput(here_.Get(), 1));
}

}  // namespace
}  // namespace wkagent::test
