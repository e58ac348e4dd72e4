#include <algorithm>
#include <cerrno>
#include <climits>
#include <iterator>
#include <memory>
#include <new>
#include <span>
#include <string_view>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>

#include <wkagent/syslog.h>

#include "core/broken_pipe.h"
#include "syslog/diagnostic_log.h"
#include "syslog/eager_lock.h"
#include "syslog/framed_lines.h"
#include "syslog/sender_state.h"

namespace {

constexpr std::size_t kMostSpare = 4000;         // strings
constexpr std::size_t kLongestSpare = 1000;      // bytes
constexpr std::chrono::seconds kNextAttempt(1);  // after lines could be neither sent nor stored

// Holds a pooled connection, or none.
class Lease {
 public:
  explicit Lease(WKSyslogSender& sender) : sender_(sender), connection_(sender.getConnection()) {}
  ~Lease() { sender_.releaseConnection(connection_); }
  Lease(const Lease&) = delete;
  Lease& operator=(const Lease&) = delete;

  [[nodiscard]] WKSyslogSender::Connection* Get() const { return connection_; }

 private:
  WKSyslogSender& sender_;
  WKSyslogSender::Connection* const connection_;
};

}  // namespace

void WKSyslogSender::workerThread() {
  std::vector<std::string> batch;  // in hand: taken from the queue, and not dealt with
  std::vector<std::string> used;
  while (running) {
    try {
      if (batch.empty()) {
        const bool taken = TakeBatch(batch, used);
        used.clear();
        if (!taken) continue;
      }
      DeliverBatch(batch);
      used.swap(batch);
    } catch (const std::bad_alloc&) {
      wkagent::senderLog.Report("Out of memory: lines wait");
      AwaitNextAttempt();
    }
  }
  PutBack(batch);
}

// Delivers the batch, or puts what cannot be dealt with now back into the queue.
void WKSyslogSender::DeliverBatch(std::vector<std::string>& batch) {
  std::size_t done = 0;
  {
    const Lease connection(*this);
    done = Deliver(connection.Get(), batch);
  }
  if (done == batch.size()) return;
  batch.erase(batch.begin(), batch.begin() + static_cast<std::ptrdiff_t>(done));
  PutBack(batch);
  AwaitNextAttempt();
}

// Ends the batch before, whose lines were `used`, waits for lines and takes what one write may
// carry. False when there are none.
bool WKSyslogSender::TakeBatch(std::vector<std::string>& batch, std::vector<std::string>& used) {
  batch.reserve(BATCH_SIZE);
  wkagent::EagerLock lock(queueMutex);
  FinishBatch(used);
  const auto ready = [this] {
    queueMutex.AssertHeld();
    return !messageQueue.empty() || !running;
  };
  queueCondition.wait_for(lock.Native(), std::chrono::milliseconds(QUEUE_WAIT), ready);
  const auto end =
      messageQueue.begin() + static_cast<std::ptrdiff_t>(std::min(messageQueue.size(), BATCH_SIZE));
  std::move(messageQueue.begin(), end, std::back_inserter(batch));
  messageQueue.erase(messageQueue.begin(), end);
  state_->batchInHand = !batch.empty();
  return state_->batchInHand;
}

// Keeps the memory of lines that are done with, as long as that is no waste; the caller frees the
// others when it has unlocked.
void WKSyslogSender::FinishBatch(std::vector<std::string>& used) {
  state_->batchInHand = false;
  if (messageQueue.empty()) state_->workerChanged.notify_all();
  std::vector<std::string>& spare = state_->spare;
  for (std::string& line : used) {
    if (spare.size() == kMostSpare) break;
    if (line.capacity() <= kLongestSpare) spare.push_back(std::move(line));
  }
}

// Writes a batch, or stores it where there is no connection or the write fails. Returns the number
// of lines that are dealt with; the others are to be kept.
std::size_t WKSyslogSender::Deliver(Connection* connection, const std::vector<std::string>& batch) {
  if (connection != nullptr && WriteBatch(*connection, batch)) return batch.size();
  const auto destroy = [this](Connection* failed) { DestroyFailed(failed); };
  const std::unique_ptr<Connection, decltype(destroy)> failed(connection, destroy);
  return Store(batch);
}

void WKSyslogSender::sendBatch(Connection* connection, const std::vector<std::string>& batch) {
  const std::size_t done = Deliver(connection, batch);
  state_->dropped += batch.size() - done;
}

bool WKSyslogSender::WriteBatch(Connection& connection, const std::vector<std::string>& batch) {
  const wkagent::FramedLines framed(batch);
  const std::string_view text = framed.View();
  const wkagent::MutexLock lock(connection.writing);
  const wkagent::BrokenPipeGuard guard;
  const wkagent::BlockingCalls::Scope scope(state_->calls, connection.socketFd);
  const bool written =
      protocol == TLS ? WriteTls(connection.ssl, text) : WriteTcp(connection.socketFd, text);
  if (written && !retryHandler.IsInPass()) state_->CountSent(batch.size());
  return written;
}

bool WKSyslogSender::WriteTcp(int socket, std::string_view text) {
  std::size_t done = 0;
  do {
    const ssize_t result = ::send(socket, text.data() + done, text.size() - done, 0);
    if (result <= 0) {
      wkagent::senderLog.ReportError("Batch send failed (TCP): ", errno);
      return false;
    }
    done += static_cast<std::size_t>(result);
    // A stop that broke the call off is not the peer's doing, so it is no partial success.
  } while (done < text.size() && (state_->safe || state_->calls.BrokenOff()));
  return true;
}

bool WKSyslogSender::WriteTls(ssl_st* session, std::string_view text) {
  std::size_t done = 0;
  do {
    ERR_clear_error();
    const auto size = static_cast<int>(std::min<std::size_t>(text.size() - done, INT_MAX));
    const int result = session == nullptr ? -1 : SSL_write(session, text.data() + done, size);
    if (result <= 0) {
      const int code = session == nullptr ? SSL_ERROR_SSL : SSL_get_error(session, result);
      wkagent::senderLog.Report("Batch send failed (TLS): SSL error code ", std::to_string(code));
      ERR_clear_error();
      return false;
    }
    done += static_cast<std::size_t>(result);
  } while (done < text.size() && state_->safe);
  return true;
}

// Stores the lines in their order. Returns the number of those that are dealt with: all, unless
// delivery is safe and one could not be stored.
std::size_t WKSyslogSender::Store(const std::vector<std::string>& batch) {
  std::span<const std::string> left = batch;
  while (!left.empty()) {
    const std::size_t stored = retryHandler.SaveLines(left);
    state_->stored += stored;
    left = left.subspan(stored);
    if (left.empty() || state_->safe) break;
    ++state_->dropped;
    left = left.subspan(1);
  }
  return batch.size() - left.size();
}

// Puts the batch in hand back to the front of the queue. Without memory for that it stays in hand,
// unless the worker ends.
void WKSyslogSender::PutBack(std::vector<std::string>& batch) {
  const wkagent::MutexLock lock(queueMutex);
  try {
    messageQueue.insert(messageQueue.begin(), batch.begin(), batch.end());
  } catch (const std::bad_alloc&) {
    if (running) throw;
    state_->dropped += batch.size();
    wkagent::senderLog.Report("Lines lost: ", std::to_string(batch.size()));
  }
  batch.clear();
  state_->batchInHand = false;
  if (messageQueue.empty()) state_->workerChanged.notify_all();
}

void WKSyslogSender::AwaitNextAttempt() {
  wkagent::MutexLock lock(queueMutex);
  queueCondition.wait_for(lock.Native(), kNextAttempt, [this] { return !running; });
}

// Stores what is queued when the sender ends. Where memory runs out it tries once more; some lines
// may then be stored twice.
void WKSyslogSender::StoreQueue() {
  std::vector<std::string> lines;
  std::size_t lost = 0;
  for (int attempts = 2; attempts > 0; --attempts) {
    try {
      const wkagent::MutexLock lock(queueMutex);
      lost = lines.size() + messageQueue.size();
      lines.insert(lines.end(), std::make_move_iterator(messageQueue.begin()),
                   std::make_move_iterator(messageQueue.end()));
      messageQueue.clear();
      lost -= Store(lines);
      break;
    } catch (const std::bad_alloc&) {
      wkagent::senderLog.Report("Out of memory");
    }
  }
  if (lost > 0) wkagent::senderLog.Report("Lines lost: ", std::to_string(lost));
}

bool WKSyslogSender::sendTCP(const std::string& message) { return SendOne(message); }

bool WKSyslogSender::sendTLS(const std::string& message) { return SendOne(message); }

bool WKSyslogSender::SendOne(const std::string& message) {
  const Lease connection(*this);
  if (connection.Get() == nullptr) return false;
  const std::vector<std::string> batch = {message};
  if (!retryHandler.IsInPass()) {
    sendBatch(connection.Get(), batch);
    return true;
  }
  if (WriteBatch(*connection.Get(), batch)) return true;
  // The file that is being sent again has the line, and keeps it.
  DestroyFailed(connection.Get());
  return false;
}

// What the retry handler calls for each stored line.
bool WKSyslogSender::SendStored(const std::string& message) {
  switch (protocol) {
    case UDP:
      return sendUDP(message);
    case TCP:
      return sendTCP(message);
    case TLS:
      return sendTLS(message);
  }
  return false;
}
