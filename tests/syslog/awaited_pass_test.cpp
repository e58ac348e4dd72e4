// Passes that take long, as with a slow collector, while somebody waits to save a line.

#include <optional>
#include <thread>

#include "support/fixed_steady_clock.h"
#include "support/threads.h"
#include "syslog/retry_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;

constexpr char kPrefix[] = "nsa_batch_20261115_082205_4711_";

class SyslogAwaitedPass : public RetryTest {
 protected:
  static void PutFile(int counter, const std::string& text) {
    PutBatchFile(kPrefix + std::to_string(counter) + ".log", text);
  }

  // Makes a pass during whose first line another thread begins to save one, and waits; and each of
  // whose lines takes this time. The lines that were offered.
  std::vector<std::string> PassAwaited(std::chrono::seconds lineTakes) {
    std::thread saver;
    std::optional<FixedSteadyClock> clock;
    handler_.setSenderCallback([&](const std::string& line) {
      const auto later = std::chrono::steady_clock::now() + lineTakes;
      if (!saver.joinable()) saver = StartSaver();
      clock.reset();  // two must not overlap
      clock.emplace(later);
      return recipient_.Take(line);
    });
    handler_.retryPendingFiles();
    saver.join();
    return recipient_.Offered();
  }

 private:
  std::thread StartSaver() {
    std::thread saver([this] {
      pthread_setname_np(pthread_self(), "saver");
      EXPECT_TRUE(handler_.saveToBatchFile("saved"));
    });
    EXPECT_TRUE(WaitUntil([] {
      const auto threads = Threads("saver");
      return threads.size() == 1 && ThreadStatus(threads[0], "State").starts_with("S");
    }));
    return saver;
  }
};

TEST_F(SyslogAwaitedPass, EndsWithTheFileThatItIsSending) {
  handler_.SetRetryCurrentFile(true);
  PutFile(1, "a\nb\n");
  PutFile(2, "c\n");
  EXPECT_THAT(PassAwaited(std::chrono::seconds(0)), ElementsAre("a", "b"));
  EXPECT_EQ(StoredText(), "c\nsaved\n");
}

TEST_F(SyslogAwaitedPass, EndsAmidAFileThatTakesLong) {
  handler_.SetRetryCurrentFile(true);
  PutFile(1, "a\nb\nc\nd\n");
  EXPECT_THAT(PassAwaited(std::chrono::seconds(3)), ElementsAre("a", "b", "c"));
  EXPECT_EQ(StoredText(), "a\nb\nc\nd\nsaved\n");
}

TEST_F(SyslogAwaitedPass, GoesOnUnlessItIsAskedFor) {
  PutFile(1, "a\nb\nc\n");
  PutFile(2, "d\n");
  EXPECT_THAT(PassAwaited(std::chrono::seconds(10)), ElementsAre("a", "b", "c", "d"));
  EXPECT_EQ(StoredText(), "saved\n");
}

}  // namespace
}  // namespace wkagent::test
