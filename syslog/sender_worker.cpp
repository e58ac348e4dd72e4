#include <algorithm>
#include <cerrno>
#include <climits>
#include <iterator>
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

}  // namespace

void WKSyslogSender::workerThread() {
  std::vector<std::string> batch;
  std::vector<std::string> used;
  while (running) {
    used.clear();
    used.swap(batch);
    if (!TakeBatch(batch, used)) continue;
    Connection* const connection = getConnection();
    const std::size_t done = Deliver(connection, batch);
    releaseConnection(connection);
    if (done < batch.size()) KeepForLater(batch, done);
  }
  const wkagent::MutexLock lock(queueMutex);
  FinishBatch(batch);
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
  std::vector<std::string>& spare = state_->spare;
  for (std::string& line : used) {
    if (spare.size() == kMostSpare) break;
    if (line.capacity() <= kLongestSpare) spare.push_back(std::move(line));
  }
  state_->batchInHand = false;
  if (messageQueue.empty()) state_->workerChanged.notify_all();
}

// Writes a batch, or stores it where there is no connection or the write fails. Returns the number
// of lines that are dealt with; the others are to be kept.
std::size_t WKSyslogSender::Deliver(Connection* connection, const std::vector<std::string>& batch) {
  if (connection != nullptr && WriteBatch(*connection, batch)) return batch.size();
  const std::size_t stored = Store(batch);
  if (connection != nullptr) DestroyFailed(connection);
  return stored;
}

void WKSyslogSender::sendBatch(Connection* connection, const std::vector<std::string>& batch) {
  const std::size_t done = Deliver(connection, batch);
  state_->dropped += batch.size() - done;
}

bool WKSyslogSender::WriteBatch(Connection& connection, const std::vector<std::string>& batch) {
  const std::string_view text = wkagent::FramedLines(batch);
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
      wkagent::senderLog.Report("Batch send failed (TLS): SSL error code " + std::to_string(code));
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

// Puts lines back to the front of the queue and waits a while, unless the sender ends.
void WKSyslogSender::KeepForLater(const std::vector<std::string>& batch, std::size_t first) {
  wkagent::MutexLock lock(queueMutex);
  messageQueue.insert(messageQueue.begin(), batch.begin() + static_cast<std::ptrdiff_t>(first),
                      batch.end());
  state_->batchInHand = false;
  queueCondition.wait_for(lock.Native(), kNextAttempt, [this] { return !running; });
}

// Stores what is queued when the sender ends.
void WKSyslogSender::StoreQueue() {
  std::vector<std::string> lines;
  {
    const wkagent::MutexLock lock(queueMutex);
    lines.assign(std::make_move_iterator(messageQueue.begin()),
                 std::make_move_iterator(messageQueue.end()));
    messageQueue.clear();
  }
  if (const std::size_t lost = lines.size() - Store(lines); lost > 0) {
    wkagent::senderLog.Report("Lines lost: " + std::to_string(lost));
  }
}

bool WKSyslogSender::sendTCP(const std::string& message) { return SendOne(message); }

bool WKSyslogSender::sendTLS(const std::string& message) { return SendOne(message); }

bool WKSyslogSender::SendOne(const std::string& message) {
  Connection* const connection = getConnection();
  if (connection == nullptr) return false;
  const std::vector<std::string> batch = {message};
  bool handled = true;
  if (!retryHandler.IsInPass()) {
    sendBatch(connection, batch);
  } else if (!WriteBatch(*connection, batch)) {
    // The file that is being sent again has the line, and keeps it.
    DestroyFailed(connection);
    handled = false;
  }
  releaseConnection(connection);
  return handled;
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
