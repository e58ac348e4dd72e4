#include "forward/line_sink.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <sys/socket.h>

#include "support/free_port.h"

namespace wkagent::bench {
namespace {

struct SessionFreer {
  void operator()(SSL* session) const { SSL_free(session); }
};

long CountLineFeeds(const char* begin, const char* end) {
  long count = 0;
  while (begin < end) {
    const void* const found = std::memchr(begin, '\n', static_cast<std::size_t>(end - begin));
    if (found == nullptr) break;
    ++count;
    begin = static_cast<const char*>(found) + 1;
  }
  return count;
}

}  // namespace

LineSink::LineSink(const test::Identity* identity)
    : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  if (identity != nullptr) {
    tls_.reset(SSL_CTX_new(TLS_server_method()));
    if (SSL_CTX_use_certificate_file(tls_.get(), identity->certificate.c_str(), SSL_FILETYPE_PEM) !=
            1 ||
        SSL_CTX_use_PrivateKey_file(tls_.get(), identity->key.c_str(), SSL_FILETYPE_PEM) != 1) {
      throw std::runtime_error("the sink's certificate cannot be read");
    }
  }
  port_ = test::BindToLoopback(listener_);
  if (listen(listener_.Get(), SOMAXCONN) != 0) throw std::runtime_error("no port for the sink");
  acceptor_ = std::thread([this] { Accept(); });
}

LineSink::~LineSink() {
  shutdown(listener_.Get(), SHUT_RDWR);
  acceptor_.join();
  const MutexLock lock(mutex_);
  for (const int connection : connections_) shutdown(connection, SHUT_RDWR);
  for (std::thread& reader : readers_) reader.join();
  for (const int connection : connections_) const Fd closed(connection);
}

void LineSink::Accept() {
  while (true) {
    const int connection = accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0) return;
    const MutexLock lock(mutex_);
    connections_.push_back(connection);
    readers_.emplace_back([this, connection] { Read(connection); });
  }
}

void LineSink::Read(int connection) {
  if (tls_ == nullptr) {
    Count([connection](char* buffer, int size) {
      return static_cast<int>(recv(connection, buffer, static_cast<std::size_t>(size), 0));
    });
    return;
  }
  const std::unique_ptr<SSL, SessionFreer> session(SSL_new(tls_.get()));
  SSL_set_fd(session.get(), connection);
  if (SSL_accept(session.get()) != 1) return;
  Count([&session](char* buffer, int size) { return SSL_read(session.get(), buffer, size); });
}

template <typename Receive>
void LineSink::Count(Receive receive) {
  constexpr int kSize = 1 << 18;
  const auto buffer = std::make_unique_for_overwrite<char[]>(kSize);
  while (true) {
    const int length = receive(buffer.get(), kSize);
    if (length <= 0) return;
    lines_ += CountLineFeeds(buffer.get(), buffer.get() + length);
  }
}

}  // namespace wkagent::bench
