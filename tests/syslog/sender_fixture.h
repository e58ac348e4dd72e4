#ifndef WKAGENT_TESTS_SYSLOG_SENDER_FIXTURE_H
#define WKAGENT_TESTS_SYSLOG_SENDER_FIXTURE_H

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

#include <wkagent/syslog.h>

#include "support/collector.h"
#include "support/wait_until.h"
#include "syslog/batch_files.h"
#include "syslog/syslog_fixture.h"

namespace wkagent::test {

// A sender, once it is started, and a collector.
class SenderTest : public SyslogTest {
 protected:
  using Connection = WKSyslogSender::Connection;

  // Starts a sender to a port of this machine, or with further settings that overrule this.
  void Start(const std::string& protocol, int port, const std::string& elements = "") {
    WriteSettings("<protocol>" + protocol + "</protocol><port>" + std::to_string(port) + "</port>" +
                  elements);
    sender_ = std::make_unique<WKSyslogSender>();
  }

  // Starts a sender over TCP to the collector.
  void StartTcp() { Start("TCP", collector_.Port()); }

  void Send(const std::vector<std::string>& lines) const {
    for (const std::string& line : lines) EXPECT_TRUE(sender_->send(line)) << line;
  }

  // Lets several threads call `act` with lines of their own; all the lines.
  template <typename Act>
  static std::vector<std::string> FromThreads(Act act) {
    std::vector<std::string> all;
    std::vector<std::thread> threads;
    for (const char* word : {"red", "green", "blue"}) {
      const std::vector<std::string> lines = Numbered(word, 100);
      all.insert(all.end(), lines.begin(), lines.end());
      threads.emplace_back([act, lines] { std::for_each(lines.begin(), lines.end(), act); });
    }
    for (std::thread& thread : threads) thread.join();
    return all;
  }

  // Puts lines into the queue that the worker finds together.
  void QueueTogether(const std::vector<std::string>& lines) const {
    const MutexLock lock(sender_->queueMutex);
    sender_->messageQueue.insert(sender_->messageQueue.end(), lines.begin(), lines.end());
  }

  [[nodiscard]] std::size_t QueueSize() const {
    const MutexLock lock(sender_->queueMutex);
    return sender_->messageQueue.size();
  }

  // Waits until the worker has dealt with all lines.
  [[nodiscard]] bool QueueEmpties() const { return sender_->WaitUntilEmpty(kDeadline); }

  void SendAndWait(const std::vector<std::string>& lines) const {
    Send(lines);
    EXPECT_TRUE(QueueEmpties());
  }

  // Ends the sender. False when that takes much longer than a second.
  [[nodiscard]] bool SenderEndsSoon() {
    const auto ended = std::async(std::launch::async, [this] { sender_.reset(); });
    return ended.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
  }

  // Waits until what the collector did has come to the sender's end of its first connection: POLLIN
  // for a text, POLLRDHUP for the end.
  [[nodiscard]] bool Arrives(short event) const {
    return WaitUntil([&] {
      pollfd events{Pool().at(0)->socketFd, event, 0};
      return poll(&events, 1, 0) > 0;
    });
  }

  [[nodiscard]] std::vector<Connection*> Pool() const {
    const MutexLock lock(sender_->poolMutex);
    return sender_->connectionPool;
  }

  [[nodiscard]] WKSyslogSender::Counters Counters() const { return sender_->GetCounters(); }

  // A file in the folder's place, so that no line can be stored.
  static void BlockStore() {
    std::filesystem::remove_all(kStore);
    WriteFile(kStore, "");
  }
  static void UnblockStore() { std::filesystem::remove(kStore); }

  Collector collector_;
  std::unique_ptr<WKSyslogSender> sender_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SYSLOG_SENDER_FIXTURE_H
