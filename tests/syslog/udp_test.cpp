// Lines over UDP.

#include <string>

#include "support/open_files.h"
#include "syslog/sender_fixture.h"
#include "support/threads.h"

namespace wkagent::test {
namespace {

using testing::IsEmpty;

class SyslogUdp : public SenderTest {
 protected:
  SyslogUdp() { Start("UDP", datagrams_.Port()); }

  DatagramCollector datagrams_;
};

TEST_F(SyslogUdp, LineIsOneDatagramOfTheSameBytes) {
  for (const std::string& line : {std::string("<13>1 - host app"), std::string("two\nlines\n"),
                                  std::string("\0\xff\r ", 4), std::string(60000, 'x')}) {
    EXPECT_TRUE(sender_->send(line));
    EXPECT_EQ(datagrams_.Receive(), line);
  }
  EXPECT_TRUE(datagrams_.IsEmpty());
}

TEST_F(SyslogUdp, EmptyLineIsAnEmptyDatagram) {
  EXPECT_TRUE(sender_->send(""));
  EXPECT_EQ(datagrams_.Receive(), "");
}

TEST_F(SyslogUdp, LineHasLeftWhenTheCallReturns) {
  EXPECT_TRUE(sender_->send("line"));
  EXPECT_EQ(Counters().sent, 1U);
  EXPECT_TRUE(sender_->WaitUntilEmpty(std::chrono::milliseconds(0)));
  EXPECT_EQ(datagrams_.Receive(), "line");
}

TEST_F(SyslogUdp, LinesArriveInTheirOrder) {
  Send(Numbered("line", 50));
  for (const std::string& line : Numbered("line", 50)) EXPECT_EQ(datagrams_.Receive(), line);
}

TEST_F(SyslogUdp, LargestDatagramIsSentAndNoneLarger) {
  const std::string largest(65507, 'x');
  EXPECT_TRUE(sender_->send(largest));
  EXPECT_EQ(datagrams_.Receive(), largest);
  EXPECT_EQ(SenderSays([&] { EXPECT_FALSE(sender_->send(largest + 'x')); }),
            "UDP send failed: Message too long\n");
}

TEST_F(SyslogUdp, LineThatIsTooLongIsReportedAndNotStored) {
  EXPECT_EQ(SenderSays([this] { EXPECT_FALSE(sender_->send(std::string(70000, 'x'))); }),
            "UDP send failed: Message too long\n");
  EXPECT_TRUE(datagrams_.IsEmpty());
  EXPECT_THAT(BatchFiles(), IsEmpty());
}

TEST_F(SyslogUdp, SendUDPIsTheSame) {
  EXPECT_TRUE(sender_->sendUDP("line"));
  EXPECT_EQ(datagrams_.Receive(), "line");
  EXPECT_EQ(SenderSays([this] { EXPECT_FALSE(sender_->sendUDP(std::string(70000, 'x'))); }),
            "UDP send failed: Message too long\n");
}

TEST_F(SyslogUdp, NobodyListeningIsNoFailure) {
  const RefusingPort port;
  sender_->serverPort = port.Port();
  Send({"line", "line"});
}

TEST_F(SyslogUdp, WithoutDescriptorsTheLineIsRefused) {
  Send({"line"});
  // The log and its error texts are used once before.
  (void)SenderSays([this] { EXPECT_FALSE(sender_->send(std::string(70000, 'x'))); });
  EXPECT_EQ(SenderSays([this] {
              const NoMoreFiles none;
              EXPECT_FALSE(sender_->send("line"));
            }),
            "UDP socket creation failed: Too many open files\n");
}

TEST_F(SyslogUdp, CallsKeepNothing) {
  const long files = OpenFiles();
  Send({"line"});
  (void)SenderSays([this] { EXPECT_FALSE(sender_->send(std::string(70000, 'x'))); });
  sender_->serverHost = "nowhere";
  (void)SenderSays([this] { EXPECT_FALSE(sender_->send("line")); });
  EXPECT_EQ(OpenFiles(), files);
  EXPECT_THAT(Pool(), IsEmpty());
}

TEST_F(SyslogUdp, WorkerIsThereButIdle) {
  EXPECT_TRUE(ThreadsAre("wk-syslog", 1));
  Send({"line"});
  EXPECT_FALSE(collector_.HasVisitor());
  EXPECT_EQ(Counters().queued, 0U);
}

}  // namespace
}  // namespace wkagent::test
