#include <iterator>
#include <utility>

#include <openssl/ssl.h>
#include <pthread.h>

#include <wkagent/syslog.h>

#include "core/broken_pipe.h"
#include "syslog/bounded_wait.h"
#include "syslog/diagnostic_log.h"
#include "syslog/eager_lock.h"
#include "syslog/sender_state.h"

namespace {

using std::chrono::milliseconds;

constexpr std::size_t kQueueLimit = 100000;  // lines, where delivery is safe
constexpr milliseconds kStopGrace(500);      // for calls under way, before they are broken off
constexpr milliseconds kStopStep(50);

}  // namespace

WKSyslogSender::WKSyslogSender() : state_(std::make_unique<State>()) {
  if (!loadXMLConfig(configPath)) {
    wkagent::senderLog.Report("Failed to load syslog config from: ", configPath);
  }
  state_->workerRuns = true;
  try {
    if (protocol == TLS) (void)initializeTLSContext();
    worker = std::thread([this] {
      pthread_setname_np(pthread_self(), "wk-syslog");
      wkagent::BlockSignalsInThisThread();
      workerThread();
      const wkagent::MutexLock lock(queueMutex);
      state_->workerRuns = false;
      state_->workerChanged.notify_all();
    });
  } catch (const std::exception&) {
    SSL_CTX_free(sslContext);
    throw;
  }
  retryHandler.setSenderCallback([this](const std::string& line) { return SendStored(line); });
}

// The retry thread writes on pooled connections, so it ends before they go.
WKSyslogSender::~WKSyslogSender() {
  {
    const wkagent::MutexLock lock(queueMutex);
    running = false;
  }
  queueCondition.notify_all();
  retryHandler.RequestStop();
  WaitForThreads();
  if (worker.joinable()) worker.join();
  if (state_->safe) StoreQueue();
  retryHandler.shutdown();
  DestroyAll();
  SSL_CTX_free(sslContext);
}

// Waits until both threads are at their end. Calls that take too long are broken off.
void WKSyslogSender::WaitForThreads() {
  const auto haveEnded = [this](milliseconds timeout) {
    wkagent::MutexLock lock(queueMutex);
    return state_->workerChanged.wait_for(lock.Native(), timeout, [this] {
      return !state_->workerRuns;
    }) && retryHandler.WaitForThread(timeout);
  };
  if (haveEnded(kStopGrace)) return;
  do {
    state_->calls.BreakOff();
    retryHandler.RequestStop();  // again: its wake-up may come too early
  } while (!haveEnded(kStopStep));
}

bool WKSyslogSender::send(const std::string& message) {
  if (protocol == UDP) {
    const bool sent = sendUDP(message);
    if (!sent) ++state_->dropped;
    return sent;
  }
  bool full = false;
  {
    const wkagent::EagerLock lock(queueMutex);
    full = state_->safe && messageQueue.size() >= kQueueLimit;
    if (!full) state_->Queue(message, messageQueue);
  }
  if (full) return StoreAtOnce(message);
  queueCondition.notify_one();
  return true;
}

bool WKSyslogSender::StoreAtOnce(const std::string& message) {
  const bool stored = retryHandler.saveToBatchFile(message);
  ++(stored ? state_->stored : state_->dropped);
  return stored;
}

bool WKSyslogSender::WaitUntilEmpty(milliseconds timeout) {
  wkagent::MutexLock lock(queueMutex);
  return state_->workerChanged.wait_for(lock.Native(), wkagent::Bounded(timeout), [this] {
    queueMutex.AssertHeld();
    return messageQueue.empty() && !state_->batchInHand;
  });
}

void WKSyslogSender::SetSafeDelivery(bool on) {
  state_->safe = on;
  retryHandler.SetRetryCurrentFile(on);
}

WKSyslogSender::Counters WKSyslogSender::GetCounters() const {
  return {.queued = state_->queued,
          .sent = state_->sent,
          .stored = state_->stored,
          .retried = retryHandler.RetriedCount(),
          .dropped = state_->dropped,
          .connectionsOpened = state_->connectionsOpened};
}

std::chrono::system_clock::time_point WKSyslogSender::LastSuccess() const {
  return State::Clock::time_point(State::Clock::duration(state_->lastSuccess));
}
