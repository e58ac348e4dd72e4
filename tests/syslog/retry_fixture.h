#ifndef WKAGENT_TESTS_SYSLOG_RETRY_FIXTURE_H
#define WKAGENT_TESTS_SYSLOG_RETRY_FIXTURE_H

#include <set>
#include <string>
#include <utility>
#include <vector>

#include <wkagent/syslog.h>

#include "support/wait_until.h"
#include "syslog/batch_files.h"
#include "syslog/syslog_fixture.h"

namespace wkagent::test {

// Gets the lines of passes and takes all but those that it is told to refuse.
class Recipient {
 public:
  void Refuse(const std::string& line) { refused_.insert(line); }
  void RefuseNothing() { refused_.clear(); }

  bool Take(const std::string& line) {
    const MutexLock lock(mutex_);
    lines_.push_back(line);
    return !refused_.contains(line);
  }

  // What was offered since the last call, what was refused, too.
  [[nodiscard]] std::vector<std::string> Offered() {
    const MutexLock lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  std::set<std::string> refused_;
  Mutex mutex_;
  std::vector<std::string> lines_ WKAGENT_GUARDED_BY(mutex_);
};

// A handler with a recipient.
class RetryTest : public SyslogTest {
 protected:
  RetryTest() {
    handler_.setSenderCallback([this](const std::string& line) { return recipient_.Take(line); });
  }

  void Save(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) EXPECT_TRUE(handler_.saveToBatchFile(line)) << line;
  }

  std::vector<std::string> PassOffers() {
    handler_.retryPendingFiles();
    return recipient_.Offered();
  }

  // What the handler says during a pass.
  std::string PassSays() {
    return RetrySays([this] { handler_.retryPendingFiles(); });
  }

  int Counter() { return CounterOf(handler_); }
  static int CounterOf(WKSyslogRetryHandler& handler) {
    const MutexLock lock(handler.fileMutex);
    return handler.batchCounter;
  }
  int LinesInBatch() {
    const MutexLock lock(handler_.fileMutex);
    return handler_.linesInBatch;
  }
  std::string CurrentPath() {
    const MutexLock lock(handler_.fileMutex);
    return handler_.currentBatchPath;
  }
  bool FileIsOpen() {
    const MutexLock lock(handler_.fileMutex);
    return handler_.batchFile.is_open();
  }

  // Wakes the retry thread again and again until the condition is true.
  template <typename Condition>
  [[nodiscard]] bool WakeUntil(Condition condition) {
    return WaitUntil([&] {
      handler_.retryCondition.notify_all();
      return condition();
    });
  }

  Recipient recipient_;
  WKSyslogRetryHandler handler_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SYSLOG_RETRY_FIXTURE_H
