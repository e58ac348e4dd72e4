// The pool hands the first live connection to whoever asks, also to several callers at once. So
// that none is destroyed under a caller, each connection counts its holders: one that leaves the
// pool while it is held is kept aside and closed when its last holder releases it. Counts and lists
// are guarded by poolMutex, the stream of one connection by its `writing`.

#include <algorithm>
#include <cerrno>

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>

#include <wkagent/syslog.h>

#include "core/handles.h"
#include "core/broken_pipe.h"
#include "syslog/diagnostic_log.h"
#include "syslog/sender_state.h"
#include "syslog/socket.h"
#include "syslog/tls_client.h"

namespace {

using Clock = std::chrono::steady_clock;
using Connection = WKSyslogSender::Connection;

constexpr int kLongestWait = 30;          // seconds, of one call, where delivery is safe
constexpr int kCloseMilliseconds = 200;   // for the peer to take the end of a TLS session
constexpr int kJudgeMilliseconds = 1000;  // for it to judge a certificate, where delivery is safe

bool HasExpired(const Connection& connection, Clock::time_point now) {
  return connection.lastUsed + std::chrono::seconds(WKSyslogSender::CONN_TIMEOUT) < now;
}

// A connection that its peer has closed would still take a batch, and lose it.
bool PeerHasClosed(Connection& connection) {
  const wkagent::Peer peer = wkagent::LookAtPeer(connection.socketFd);
  if (peer != wkagent::Peer::kSpeaks) return peer == wkagent::Peer::kClosed;
  const std::unique_lock<std::mutex> lock(connection.writing, std::try_to_lock);
  if (!lock.owns_lock()) return false;  // whoever writes will find out
  if (connection.ssl == nullptr) return wkagent::DiscardInput(connection.socketFd, 0);
  return wkagent::DiscardTlsInput(connection.ssl, connection.socketFd);
}

void Close(Connection& connection) {
  const int socket = std::exchange(connection.socketFd, -1);
  if (ssl_st* const ssl = std::exchange(connection.ssl, nullptr); ssl != nullptr) {
    wkagent::EndTls(wkagent::SslPtr(ssl), socket);
    // Tickets that the peer sent and nobody read would make close() reset the connection.
    ::shutdown(socket, SHUT_WR);
    wkagent::DiscardInput(socket, kCloseMilliseconds);
  } else if (socket >= 0) {
    wkagent::DiscardInput(socket, 0);
  }
  const wkagent::Fd closed(socket);
}

}  // namespace

void WKSyslogSender::cleanupStaleConnections() {
  const Clock::time_point now = Clock::now();
  const wkagent::MutexLock lock(poolMutex);
  std::erase_if(connectionPool, [&](Connection* connection) {
    poolMutex.AssertHeld();
    if (!connection->destroyed && !HasExpired(*connection, now)) return false;
    Discard(connection);
    return true;
  });
}

WKSyslogSender::Connection* WKSyslogSender::getConnection() {
  cleanupStaleConnections();
  const wkagent::MutexLock lock(poolMutex);
  std::erase_if(connectionPool, [&](Connection* connection) {
    poolMutex.AssertHeld();
    if (connection->socketFd < 0 || !PeerHasClosed(*connection)) return false;
    Discard(connection);
    return true;
  });
  const auto live = std::find_if(connectionPool.begin(), connectionPool.end(),
                                 [](Connection* connection) { return connection->socketFd >= 0; });
  Connection* connection = live == connectionPool.end() ? nullptr : *live;
  if (connection == nullptr) {
    // Room for it, and for all that leave the pool: nothing may fail once it is open.
    connectionPool.reserve(MAX_POOL_SIZE);
    state_->retired.reserve(state_->retired.size() + connectionPool.size() + 1);
    connection = Connect().release();
    if (connection == nullptr) return nullptr;
    AddToPool(connection);
  }
  connection->lastUsed = Clock::now();
  connection->listed = true;
  ++connection->users;
  return connection;
}

// Called with poolMutex held, so that callers who wait for a connection share one.
std::unique_ptr<WKSyslogSender::Connection> WKSyslogSender::Connect() {
  auto connection = std::make_unique<Connection>();
  wkagent::Fd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.IsOpen()) {
    wkagent::senderLog.ReportError("TCP socket creation failed: ", errno);
    return nullptr;
  }
  wkagent::KeepAlive(socket.Get());
  if (state_->safe) wkagent::LimitWaits(socket.Get(), kLongestWait);
  sockaddr_in address{};
  if (!wkagent::ToAddress(serverHost, serverPort, address)) {
    wkagent::senderLog.Report("Invalid server address: ", serverHost);
    return nullptr;
  }
  const wkagent::BlockingCalls::Scope scope(state_->calls, socket.Get());
  if (state_->calls.BrokenOff()) {
    wkagent::senderLog.ReportError("Connect failed: ", ECONNABORTED);
    return nullptr;
  }
  if (::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    wkagent::senderLog.ReportError("Connect failed: ", errno);
    return nullptr;
  }
  if (protocol == TLS) {
    const int patience = state_->safe ? kJudgeMilliseconds : 0;
    connection->ssl = wkagent::StartTls(sslContext, socket.Get(), *this, patience).release();
    if (connection->ssl == nullptr) return nullptr;
  }
  connection->socketFd = socket.Release();
  ++state_->connectionsOpened;
  return connection;
}

void WKSyslogSender::AddToPool(Connection* connection) {
  if (connectionPool.size() < MAX_POOL_SIZE) {
    connectionPool.push_back(connection);
    return;
  }
  const auto oldest = std::min_element(
      connectionPool.begin(), connectionPool.end(),
      [](const Connection* a, const Connection* b) { return a->lastUsed < b->lastUsed; });
  Discard(std::exchange(*oldest, connection));
}

// Ends a connection that has just left the pool, or leaves that to its last holder.
void WKSyslogSender::Discard(Connection* connection) {
  connection->listed = false;
  if (connection->users == 0) return cleanupConnection(connection);
  connection->destroyed = true;
  state_->retired.push_back(connection);
}

void WKSyslogSender::releaseConnection(Connection* connection) {
  const wkagent::MutexLock lock(poolMutex);
  const auto held = std::find(state_->retired.begin(), state_->retired.end(), connection);
  const bool retired = held != state_->retired.end();
  const auto end = connectionPool.end();
  if (!retired && std::find(connectionPool.begin(), end, connection) == end) return;  // gone
  connection->lastUsed = Clock::now();
  connection->users = std::max(connection->users - 1, 0);
  if (!retired || connection->users > 0) return;
  state_->retired.erase(held);
  cleanupConnection(connection);
}

void WKSyslogSender::cleanupConnection(Connection* connection) {
  if (connection == nullptr) return;
  connection->destroyed = true;
  // Another holder may be writing. That fails now, and closing is left to the last to release it.
  if (connection->users > 1) {
    ::shutdown(connection->socketFd, SHUT_RDWR);
    return;
  }
  Close(*connection);
  if (!connection->listed && connection->users == 0) delete connection;
}

// Ends a connection on which a write failed, so that nobody gets it any more.
void WKSyslogSender::DestroyFailed(Connection* connection) {
  const wkagent::MutexLock lock(poolMutex);
  if (std::erase(connectionPool, connection) > 0) {
    connection->listed = false;
    if (connection->users > 0) state_->retired.push_back(connection);
  }
  cleanupConnection(connection);
}

// For the destructor, when no thread uses a connection any more, whatever the counts say.
void WKSyslogSender::DestroyAll() {
  const wkagent::MutexLock lock(poolMutex);
  for (std::vector<Connection*>* const list : {&connectionPool, &state_->retired}) {
    for (Connection* const connection : std::exchange(*list, {})) {
      connection->listed = false;
      connection->users = 0;
      cleanupConnection(connection);
    }
  }
}
