#include "support/stalling_proxy.h"

#include <array>
#include <cerrno>
#include <limits>
#include <system_error>

#include <poll.h>
#include <sys/socket.h>

#include "support/collector.h"
#include "support/free_port.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr int kLook = 20;  // milliseconds, between two looks whether it is to end

Fd StreamSocket() { return Fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)); }

}  // namespace

StallingProxy::StallingProxy(int serverPort)
    : listener_(StreamSocket()),
      port_(BindToLoopback(listener_)),
      left_(std::numeric_limits<std::size_t>::max()) {
  if (listen(listener_.Get(), 1) != 0) {
    throw std::system_error(errno, std::generic_category(), "listen");
  }
  thread_ = std::thread([this, serverPort] { Run(serverPort); });
}

StallingProxy::~StallingProxy() {
  stopped_ = true;
  shutdown(listener_.Get(), SHUT_RDWR);
  thread_.join();
}

bool StallingProxy::WaitForStall() const {
  return WaitUntil([this] { return stalled_.load(); });
}

void StallingProxy::Run(int serverPort) {
  const Fd client(accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
  const Fd server = StreamSocket();
  const sockaddr_in address = Loopback(serverPort);
  const auto* const any = reinterpret_cast<const sockaddr*>(&address);
  if (!client.IsOpen() || connect(server.Get(), any, sizeof(address)) != 0) return;
  bool open = true;
  while (open && !stopped_) {
    std::array<pollfd, 2> ends = {{{client.Get(), POLLIN, 0}, {server.Get(), POLLIN, 0}}};
    if (poll(ends.data(), ends.size(), kLook) <= 0) continue;
    if (ends[0].revents != 0) open = PassOn(client, server, false);
    if (open && ends[1].revents != 0) open = PassOn(server, client, true);
  }
}

bool StallingProxy::PassOn(const Fd& from, const Fd& to, bool fromServer) {
  std::array<char, 4096> buffer{};
  const ssize_t length = recv(from.Get(), buffer.data(), buffer.size(), 0);
  if (length <= 0) return false;
  auto size = static_cast<std::size_t>(length);
  if (fromServer && size > left_) {
    size = left_;
    left_ = 0;
    stalled_ = true;
  }
  return size == 0 || send(to.Get(), buffer.data(), size, MSG_NOSIGNAL) > 0;
}

}  // namespace wkagent::test
