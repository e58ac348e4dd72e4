#ifndef WKAGENT_TESTS_SYSLOG_SENDER_FIXTURE_H
#define WKAGENT_TESTS_SYSLOG_SENDER_FIXTURE_H

#include <chrono>
#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <vector>

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
