#ifndef WKAGENT_TESTS_COLLECTORS_PACED_FEED_H
#define WKAGENT_TESTS_COLLECTORS_PACED_FEED_H

#include <condition_variable>
#include <thread>

#include <wkagent/mutex.h>
#include <wkagent/syslog.h>

namespace wkagent::test {

// Sends numbered lines in a thread of its own, ten bursts a second, as far as it is allowed: so
// that what the test does meanwhile finds lines on their way.
class PacedFeed {
 public:
  explicit PacedFeed(WKSyslogSender& sender);
  ~PacedFeed();
  PacedFeed(const PacedFeed&) = delete;
  PacedFeed& operator=(const PacedFeed&) = delete;

  // Lets it go on, up to but not including this number.
  void Allow(int end);

  // Waits until it has sent all that it may.
  [[nodiscard]] bool WaitForEnd();

 private:
  void Run();

  WKSyslogSender& sender_;
  Mutex mutex_;
  std::condition_variable allowed_;
  int next_ WKAGENT_GUARDED_BY(mutex_) = 0;
  int end_ WKAGENT_GUARDED_BY(mutex_) = 0;
  bool stopped_ WKAGENT_GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_PACED_FEED_H
