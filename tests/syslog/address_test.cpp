// The collector's address.

#include <filesystem>
#include <string>

#include "support/open_files.h"
#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

class SyslogAddress : public SenderTest {
 protected:
  static std::string Host(const std::string& host) { return "<host>" + host + "</host>"; }
};

constexpr const char* kNoAddresses[] = {
    "localhost", "collector.example", "::1",        "::ffff:127.0.0.1", "256.0.0.1", "127.0.1",
    "",          " 127.0.0.1",        "127.0.0.1 ", "0x7f000001",       "2130706433"};

TEST_F(SyslogAddress, OtherThanIPv4IsInvalidOverUdp) {
  for (const std::string host : kNoAddresses) {
    Start("UDP", 514, Host(host));
    EXPECT_EQ(SenderSays([this] { EXPECT_FALSE(sender_->send("line")); }),
              "Invalid server address: " + host + '\n');
  }
  EXPECT_EQ(StoredText(), "");
}

TEST_F(SyslogAddress, OtherThanIPv4IsInvalidOverTcp) {
  for (const std::string host : kNoAddresses) {
    Start("TCP", collector_.Port(), Host(host));
    EXPECT_EQ(SenderSays([&] { SendAndWait({"for " + host}); }),
              "Invalid server address: " + host + '\n');
    EXPECT_EQ(StoredText(), "for " + host + '\n');
    sender_.reset();
    std::filesystem::remove_all(kStore);
  }
}

TEST_F(SyslogAddress, OtherThanIPv4IsInvalidOverTls) {
  for (const std::string host : {"localhost", "::1"}) {
    Start("TLS", collector_.Port(), Host(host));
    EXPECT_EQ(SenderSays([this] { EXPECT_FALSE(sender_->sendTLS("line")); }),
              "Invalid server address: " + host + '\n');
  }
  EXPECT_EQ(StoredText(), "");
}

TEST_F(SyslogAddress, InvalidOneGivesNoConnection) {
  Start("TCP", collector_.Port(), Host("localhost"));
  EXPECT_EQ(SenderSays([this] {
              EXPECT_EQ(sender_->getConnection(), nullptr);
              EXPECT_FALSE(sender_->sendTCP("line"));
            }),
            "Invalid server address: localhost\nInvalid server address: localhost\n");
  EXPECT_THAT(Pool(), testing::IsEmpty());
  EXPECT_FALSE(collector_.HasVisitor());
}

TEST_F(SyslogAddress, OfPortTheLow16BitsCountOverTcp) {
  for (const int offset : {65536, 0x7fff0000, -65536}) {
    Start("TCP", collector_.Port() + offset);
    SendAndWait({"line"});
    EXPECT_EQ(collector_.Accept().ReadLines(1).at(0), "line") << offset;
  }
  EXPECT_EQ(ReadFile(kSenderLog), "");
}

TEST_F(SyslogAddress, OfPortTheLow16BitsCountOverUdp) {
  DatagramCollector datagrams;
  for (const int offset : {65536, 0x7fff0000, -65536}) {
    Start("UDP", datagrams.Port() + offset);
    Send({"line"});
    EXPECT_EQ(datagrams.Receive(), "line") << offset;
  }
}

TEST_F(SyslogAddress, RefusedConnectionIsReported) {
  const RefusingPort port;
  Start("TCP", port.Port());
  EXPECT_EQ(SenderSays([this] { EXPECT_FALSE(sender_->sendTCP("line")); }),
            "Connect failed: Connection refused\n");
  EXPECT_EQ(StoredText(), "");  // who called knows that the line is not sent
}

TEST_F(SyslogAddress, WithoutDescriptorsThereIsNoConnection) {
  Start("TCP", 514, Host("localhost"));
  (void)SenderSays([this] { EXPECT_EQ(sender_->getConnection(), nullptr); });
  EXPECT_EQ(SenderSays([this] {
              const NoMoreFiles none;
              EXPECT_EQ(sender_->getConnection(), nullptr);
            }),
            "TCP socket creation failed: Too many open files\n");
}

}  // namespace
}  // namespace wkagent::test
