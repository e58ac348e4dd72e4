#ifndef WKAGENT_SYSLOG_SENDER_STATE_H
#define WKAGENT_SYSLOG_SENDER_STATE_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include <wkagent/syslog.h>

#include "syslog/blocking_calls.h"

// What a sender owns beside its listed members.
class WKSyslogSender::State {
 public:
  using Clock = std::chrono::system_clock;

  void CountSent(std::size_t lines) {
    sent += lines;
    lastSuccess = Clock::now().time_since_epoch().count();
  }

  // Adds a line to the sender's queue. Called with queueMutex held.
  void Queue(const std::string& line, std::deque<std::string>& queue) {
    if (spare.empty() || spare.back().capacity() < line.size()) {
      queue.push_back(line);
    } else {
      queue.emplace_back(std::move(spare.back())).assign(line);
      spare.pop_back();
    }
    // Under the lock nobody else adds, and an addition that others may join costs a lot more.
    queued.store(queued.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  }

  wkagent::BlockingCalls calls;
  std::atomic<bool> safe = false;

  // Strings whose memory the next lines are copied to. Guarded by the sender's queueMutex.
  std::vector<std::string> spare;

  // Connections that left the pool while somebody held them. Guarded by the sender's poolMutex.
  std::vector<Connection*> retired;

  // Guarded by the sender's queueMutex.
  std::condition_variable workerChanged;  // one of the two below, or the queue is empty
  bool batchInHand = false;
  bool workerRuns = false;

  std::atomic<std::uint64_t> queued = 0;
  std::atomic<std::uint64_t> sent = 0;
  std::atomic<std::uint64_t> stored = 0;
  std::atomic<std::uint64_t> dropped = 0;
  std::atomic<std::uint64_t> connectionsOpened = 0;
  std::atomic<Clock::rep> lastSuccess = 0;
};

#endif  // WKAGENT_SYSLOG_SENDER_STATE_H
