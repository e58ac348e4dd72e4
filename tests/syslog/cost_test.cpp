// What lines may cost: calls of the system and memory, in a sender that has been at work for a
// while.

#include <string>
#include <vector>

#include "support/counted_calls.h"
#include "support/counted_heap.h"
#include "support/intercepted_send.h"
#include "syslog/retry_fixture.h"
#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using testing::SizeIs;

class SyslogCost : public SenderTest {
 protected:
  SyslogCost() {
    StartTcp();
    SendAndWait({"the line that opens the connection"});
  }

  // Sends bursts of lines of a usual length and waits for each. False when one is not taken.
  [[nodiscard]] bool SendBursts(int count) const {
    const std::string line(300, 'x');
    bool taken = true;
    for (int burst = 0; burst < count; ++burst) {
      for (int i = 0; i < 100; ++i) taken = sender_->send(line) && taken;
      taken = QueueEmpties() && taken;
    }
    return taken;
  }
};

TEST_F(SyslogCost, OfABatchIsOneWriteAndOneLookAtThePeer) {
  const InterceptedSend sends;
  const CountedCalls calls;
  QueueTogether(Numbered("line", 500));
  ASSERT_TRUE(QueueEmpties());
  EXPECT_EQ(calls.Text(), "poll 5");
  EXPECT_THAT(sends.Calls(), SizeIs(5));
}

TEST_F(SyslogCost, OfLinesIsNoMemoryOfTheirOwn) {
  ASSERT_TRUE(SendBursts(3));
  const long before = Allocations();
  const bool taken = SendBursts(5);
  const long allocations = Allocations() - before;
  EXPECT_TRUE(taken);
  EXPECT_LE(allocations, 50);  // for 500 lines: the deque's blocks
}

TEST_F(SyslogCost, OfLongLinesIsNotKept) {
  ASSERT_TRUE(SendBursts(1));
  const long before = LiveBlocks();
  for (int i = 0; i < 200; ++i) sender_->send(std::string(1500, 'x'));
  ASSERT_TRUE(QueueEmpties());
  SendAndWait({"the batch before has ended"});
  EXPECT_LT(LiveBlocks(), before + 100);
}

class SyslogStoreCost : public RetryTest {
 protected:
  SyslogStoreCost() { Save({"the line that opens the file"}); }
};

TEST_F(SyslogStoreCost, OfALineIsOneWriteAndOneLookAtItsFile) {
  const CountedCalls calls;
  const bool saved = handler_.saveToBatchFile("line");
  EXPECT_EQ(calls.Text(), "stat 1 write 1");
  EXPECT_TRUE(saved);
}

TEST_F(SyslogStoreCost, OfABatchIsTheSame) {
  const std::vector<std::string> lines = Numbered("line", 100);
  const CountedCalls calls;
  const std::size_t saved = handler_.SaveLines(lines);
  EXPECT_EQ(calls.Text(), "stat 1 write 1");
  EXPECT_EQ(saved, 100U);
}

}  // namespace
}  // namespace wkagent::test
