#include "support/hostile_server.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include "support/free_port.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr std::chrono::milliseconds kDripInterval(20);

bool Say(int client, std::string_view text) {
  while (!text.empty()) {
    const ssize_t sent = send(client, text.data(), text.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    text.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// Listens until the client has said the text; true at once for none.
bool Hear(int client, const std::string& awaited) {
  std::string heard;
  std::array<char, 4096> buffer{};
  while (heard.find(awaited) == std::string::npos) {
    const ssize_t length = recv(client, buffer.data(), buffer.size(), 0);
    if (length <= 0) return false;
    heard.append(buffer.data(), static_cast<std::size_t>(length));
  }
  return true;
}

void HearToEnd(int client) {
  std::array<char, 4096> buffer{};
  while (recv(client, buffer.data(), buffer.size(), 0) > 0) {
  }
}

// Until the client has gone, or the connection was shut down.
void WaitForEnd(int client) {
  pollfd socket = {client, POLLRDHUP, 0};
  poll(&socket, 1, -1);
}

}  // namespace

HostileServer::HostileServer(std::vector<Step> steps, Fault fault)
    : steps_(std::move(steps)),
      fault_(std::move(fault)),
      listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      port_(BindToLoopback(listener_)) {
  if (listen(listener_.Get(), SOMAXCONN) != 0) {
    throw std::system_error(errno, std::generic_category(), "listen");
  }
  thread_ = std::thread([this] { Listen(); });
}

HostileServer::~HostileServer() {
  {
    const MutexLock lock(mutex_);
    stopped_ = true;
    shutdown(listener_.Get(), SHUT_RDWR);
    for (const int client : clients_) shutdown(client, SHUT_RDWR);
  }
  thread_.join();
}

int HostileServer::Victims() const {
  const MutexLock lock(mutex_);
  return victims_;
}

bool HostileServer::WaitForVictim() const {
  return WaitUntil([this] { return Victims() > 0; });
}

bool HostileServer::IsStopped() const {
  const MutexLock lock(mutex_);
  return stopped_;
}

void HostileServer::Listen() {
  while (true) {
    const int client = accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) break;
    {
      const MutexLock lock(mutex_);
      clients_.push_back(client);
      if (stopped_) shutdown(client, SHUT_RDWR);
    }
    servants_.emplace_back([this, client] { Serve(client); });
  }
  for (std::thread& servant : servants_) servant.join();
}

void HostileServer::Serve(int client) {
  if (PlaySteps(client)) {
    {
      const MutexLock lock(mutex_);
      ++victims_;
    }
    Misbehave(client);
  }
  const Fd closed(client);
  const MutexLock lock(mutex_);
  std::erase(clients_, client);
}

bool HostileServer::PlaySteps(int client) const {
  const bool played = std::all_of(steps_.begin(), steps_.end(), [&](const Step& step) {
    return Hear(client, step.awaited) && Say(client, step.answer);
  });
  return played && Hear(client, fault_.awaited);
}

void HostileServer::Misbehave(int client) const {
  const linger reset{1, 0};
  switch (fault_.manner) {
    case Fault::Manner::kSilence:
      return HearToEnd(client);
    case Fault::Manner::kDeaf:
      return WaitForEnd(client);
    case Fault::Manner::kSays:
      if (Say(client, fault_.text)) HearToEnd(client);
      return;
    case Fault::Manner::kEndless:
      return Repeat(client, false);
    case Fault::Manner::kDrip:
      return Repeat(client, true);
    case Fault::Manner::kClose:
      shutdown(client, SHUT_WR);
      return HearToEnd(client);
    case Fault::Manner::kReset:
      setsockopt(client, SOL_SOCKET, SO_LINGER, &reset, sizeof(reset));
  }
}

void HostileServer::Repeat(int client, bool slowly) const {
  std::string many;
  while (many.size() < 65536) many += fault_.text;
  while (!slowly && Say(client, many)) {
  }
  for (std::size_t i = 0; slowly && !IsStopped(); ++i) {
    if (!Say(client, {&fault_.text[i % fault_.text.size()], 1})) return;
    pollfd socket = {client, POLLRDHUP, 0};
    if (poll(&socket, 1, kDripInterval.count()) > 0) return;
  }
}

}  // namespace wkagent::test
