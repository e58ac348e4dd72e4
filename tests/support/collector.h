#ifndef WKAGENT_TESTS_SUPPORT_COLLECTOR_H
#define WKAGENT_TESTS_SUPPORT_COLLECTOR_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <netinet/in.h>

#include "core/handles.h"

namespace wkagent::test {

// A port of 127.0.0.1.
[[nodiscard]] sockaddr_in Loopback(int port);

// A collector's end of one connection. What waits, throws at the deadline.
class CollectorEnd {
 public:
  explicit CollectorEnd(Fd socket) : socket_(std::move(socket)) {}

  // Waits for so many bytes.
  std::string Read(std::size_t size);

  // Waits for so many lines, without their line feeds.
  std::vector<std::string> ReadLines(std::size_t count);

  // Waits until the sender closes; what it had written.
  std::string ReadToEnd();

  void Write(const std::string& text) const;

  void Close() { socket_.Reset(); }

  // Closes as a collector that crashes.
  void Break();

 private:
  // Waits for further bytes. False at the end.
  bool ReadSome(std::string& text, std::size_t most);

  Fd socket_;
};

// Listens for connections on a port of this machine. The system takes them, and some of what comes
// in, without the collector's doing.
class Collector {
 public:
  // The size of the buffer in which the system keeps what nobody reads; 0 for the usual one.
  explicit Collector(int bufferSize = 0);

  [[nodiscard]] int Port() const { return port_; }

  // Waits for the next connection.
  CollectorEnd Accept();

  // True when somebody has connected who was not accepted yet.
  [[nodiscard]] bool HasVisitor() const;

  // Refuses connections from now on, and keeps the port from others.
  void Refuse();

 private:
  int port_ = 0;
  Fd socket_;
};

// A port of this machine where nobody listens.
class RefusingPort {
 public:
  RefusingPort();
  [[nodiscard]] int Port() const { return port_; }

 private:
  int port_ = 0;
  Fd socket_;
};

// A port of this machine that answers nobody: its queue of connections is full.
class DeafPort {
 public:
  DeafPort();
  [[nodiscard]] int Port() const { return port_; }

 private:
  int port_ = 0;
  Fd socket_;
  Fd filler_;
};

// Takes datagrams on a port of this machine.
class DatagramCollector {
 public:
  DatagramCollector();

  [[nodiscard]] int Port() const { return port_; }

  // Waits for the next datagram.
  std::string Receive();

  [[nodiscard]] bool IsEmpty() const;

 private:
  int port_ = 0;
  Fd socket_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_COLLECTOR_H
