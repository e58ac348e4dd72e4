#include "support/collector.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <stdexcept>
#include <system_error>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include "support/wait_until.h"

namespace wkagent::test {
namespace {

void Require(bool condition, const char* what) {
  if (!condition) throw std::system_error(errno, std::generic_category(), what);
}

// Whether another socket with the same wish may have the same port, unless one of them listens.
void ShareAddress(const Fd& socket, bool share) {
  const int value = share ? 1 : 0;
  setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &value, sizeof(value));
}

// A socket on a port of 127.0.0.1; where that is 0, on one that the system chooses.
Fd BoundSocket(int type, int& port, int bufferSize = 0) {
  Fd owner(socket(AF_INET, type | SOCK_CLOEXEC, 0));
  if (bufferSize > 0) {
    setsockopt(owner.Get(), SOL_SOCKET, SO_RCVBUF, &bufferSize, sizeof(bufferSize));
  }
  // Only for a port that is this test's already; else two tests could get the same.
  ShareAddress(owner, port != 0);
  sockaddr_in address = Loopback(port);
  socklen_t size = sizeof(address);
  auto* const place = reinterpret_cast<sockaddr*>(&address);
  Require(bind(owner.Get(), place, size) == 0, "bind");
  Require(getsockname(owner.Get(), place, &size) == 0, "getsockname");
  port = ntohs(address.sin_port);
  ShareAddress(owner, true);
  return owner;
}

bool IsReadable(const Fd& socket, int milliseconds) {
  pollfd events{socket.Get(), POLLIN, 0};
  return poll(&events, 1, milliseconds) > 0;
}

void AwaitReadable(const Fd& socket) {
  const std::chrono::milliseconds deadline = kDeadline;
  if (!IsReadable(socket, static_cast<int>(deadline.count()))) {
    throw std::runtime_error("nothing came to the collector");
  }
}

}  // namespace

sockaddr_in Loopback(int port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<std::uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

bool CollectorEnd::ReadSome(std::string& text, std::size_t most) {
  AwaitReadable(socket_);
  std::array<char, 65536> block{};
  const ssize_t length = recv(socket_.Get(), block.data(), std::min(most, block.size()), 0);
  Require(length >= 0, "recv");
  text.append(block.data(), static_cast<std::size_t>(length));
  return length > 0;
}

std::string CollectorEnd::Read(std::size_t size) {
  std::string text;
  while (text.size() < size) {
    if (!ReadSome(text, size - text.size())) throw std::runtime_error("ended after: " + text);
  }
  return text;
}

std::vector<std::string> CollectorEnd::ReadLines(std::size_t count) {
  std::vector<std::string> lines;
  while (lines.size() < count) {
    std::string& line = lines.emplace_back();
    for (std::string next = Read(1); next != "\n"; next = Read(1)) line += next;
  }
  return lines;
}

std::string CollectorEnd::ReadToEnd() {
  std::string text;
  while (ReadSome(text, text.max_size())) {
  }
  return text;
}

void CollectorEnd::Write(const std::string& text) const {
  const ssize_t size = static_cast<ssize_t>(text.size());
  Require(sendto(socket_.Get(), text.data(), text.size(), MSG_NOSIGNAL, nullptr, 0) == size,
          "sendto");
}

void CollectorEnd::Break() {
  const linger none = {1, 0};
  setsockopt(socket_.Get(), SOL_SOCKET, SO_LINGER, &none, sizeof(none));
  socket_.Reset();
}

Collector::Collector(int bufferSize) : socket_(BoundSocket(SOCK_STREAM, port_, bufferSize)) {
  Require(listen(socket_.Get(), SOMAXCONN) == 0, "listen");
}

CollectorEnd Collector::Accept() {
  AwaitReadable(socket_);
  Fd end(accept4(socket_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
  Require(end.IsOpen(), "accept");
  return CollectorEnd(std::move(end));
}

void Collector::Refuse() {
  socket_.Reset();
  socket_ = BoundSocket(SOCK_STREAM, port_);
}

bool Collector::HasVisitor() const { return IsReadable(socket_, 0); }

RefusingPort::RefusingPort() : socket_(BoundSocket(SOCK_STREAM, port_)) {}

DeafPort::DeafPort() : socket_(BoundSocket(SOCK_STREAM, port_)) {
  Require(listen(socket_.Get(), 0) == 0, "listen");
  filler_.Reset(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = Loopback(port_);
  Require(connect(filler_.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0,
          "connect");
}

DatagramCollector::DatagramCollector() : socket_(BoundSocket(SOCK_DGRAM, port_)) {}

std::string DatagramCollector::Receive() {
  AwaitReadable(socket_);
  std::string text(65536, '\0');
  const ssize_t length = recv(socket_.Get(), text.data(), text.size(), 0);
  Require(length >= 0, "recv");
  text.resize(static_cast<std::size_t>(length));
  return text;
}

bool DatagramCollector::IsEmpty() const { return !IsReadable(socket_, 0); }

}  // namespace wkagent::test
