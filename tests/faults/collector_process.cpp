#include "faults/collector_process.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <list>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include <netinet/in.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/handles.h"
#include "support/collector.h"

namespace wkagent::test {

struct CollectorProcess::Shared {
  static constexpr std::size_t kRoom = std::size_t{64} << 20;

  void Append(const char* text, std::size_t length) {
    const std::size_t at = size;
    if (at + length > kRoom) return;
    std::memcpy(bytes + at, text, length);
    size = at + length;
  }

  std::atomic<std::size_t> size;
  char bytes[kRoom];
};

namespace {

struct SslFreer {
  void operator()(SSL* session) const { SSL_free(session); }
};
struct ContextFreer {
  void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
using Context = std::unique_ptr<SSL_CTX, ContextFreer>;

// One sender's connection.
struct Visitor {
  Fd socket;
  std::unique_ptr<SSL, SslFreer> session;

  // What it has sent; nothing at its end.
  std::size_t Read(std::array<char, 65536>& block) const {
    const int room = static_cast<int>(block.size());
    const ssize_t length = session != nullptr ? SSL_read(session.get(), block.data(), room)
                                              : recv(socket.Get(), block.data(), block.size(), 0);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
  }
};

void Require(bool condition, const char* what) {
  if (!condition) throw std::system_error(errno, std::generic_category(), what);
}

Context ContextFor(const Identity& identity) {
  if (identity.certificate.empty()) return nullptr;
  Context context(SSL_CTX_new(TLS_server_method()));
  SSL_CTX_use_certificate_file(context.get(), identity.certificate.c_str(), SSL_FILETYPE_PEM);
  SSL_CTX_use_PrivateKey_file(context.get(), identity.key.c_str(), SSL_FILETYPE_PEM);
  return context;
}

// False where the sender breaks the handshake off.
bool Greet(Visitor& visitor, SSL_CTX* context) {
  if (context == nullptr) return true;
  const timeval limit = {2, 0};
  setsockopt(visitor.socket.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
  visitor.session.reset(SSL_new(context));
  SSL_set_fd(visitor.session.get(), visitor.socket.Get());
  return SSL_accept(visitor.session.get()) == 1;
}

template <typename Take>
[[noreturn]] void Serve(const Fd& listener, const Fd& datagrams, SSL_CTX* context, Take take) {
  std::list<Visitor> visitors;
  std::array<char, 65536> block{};
  while (true) {
    std::vector<pollfd> events = {{listener.Get(), POLLIN, 0}, {datagrams.Get(), POLLIN, 0}};
    for (const Visitor& visitor : visitors) events.push_back({visitor.socket.Get(), POLLIN, 0});
    if (poll(events.data(), events.size(), -1) < 0) continue;
    std::size_t place = 2;
    for (auto visitor = visitors.begin(); visitor != visitors.end();) {
      const bool speaks = events[place++].revents != 0;
      const std::size_t length = speaks ? visitor->Read(block) : 0;
      take(block.data(), length);
      visitor = speaks && length == 0 ? visitors.erase(visitor) : std::next(visitor);
    }
    if (events[1].revents != 0) {
      const ssize_t length = recv(datagrams.Get(), block.data(), block.size(), 0);
      take(block.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
    if (events[0].revents == 0) continue;
    Visitor visitor{Fd(accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC)), nullptr};
    if (visitor.socket.IsOpen() && Greet(visitor, context)) visitors.push_back(std::move(visitor));
  }
}

}  // namespace

CollectorProcess::CollectorProcess(const Identity& identity) {
  void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  Require(memory != MAP_FAILED, "mmap");
  shared_ = static_cast<Shared*>(memory);
  const Fd listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const Fd datagrams(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = Loopback(0);
  socklen_t size = sizeof(address);
  auto* const place = reinterpret_cast<sockaddr*>(&address);
  Require(bind(listener.Get(), place, size) == 0 && listen(listener.Get(), SOMAXCONN) == 0,
          "listen");
  Require(getsockname(listener.Get(), place, &size) == 0, "getsockname");
  Require(bind(datagrams.Get(), place, size) == 0, "bind");
  port_ = ntohs(address.sin_port);
  process_ = fork();
  if (process_ != 0) return;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::signal(SIGPIPE, SIG_IGN);
  const Context context = ContextFor(identity);
  Serve(listener, datagrams, context.get(),
        [this](const char* text, std::size_t length) { shared_->Append(text, length); });
}

CollectorProcess::~CollectorProcess() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  munmap(shared_, sizeof(Shared));
}

std::string CollectorProcess::Received() const {
  return {shared_->bytes + from_, shared_->size - from_};
}

void CollectorProcess::Forget() { from_ = shared_->size; }

}  // namespace wkagent::test
