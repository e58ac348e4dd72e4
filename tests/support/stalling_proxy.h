#ifndef WKAGENT_TESTS_SUPPORT_STALLING_PROXY_H
#define WKAGENT_TESTS_SUPPORT_STALLING_PROXY_H

#include <atomic>
#include <thread>

#include "core/handles.h"

namespace wkagent::test {

// Stands on loopback between one client and a server, and passes on what they say; until it stalls.
class StallingProxy {
 public:
  explicit StallingProxy(int serverPort);
  ~StallingProxy();
  StallingProxy(const StallingProxy&) = delete;
  StallingProxy& operator=(const StallingProxy&) = delete;

  [[nodiscard]] int Port() const { return port_; }

  // From now on, of what the server says only so many bytes reach the client.
  void StallAfter(std::size_t bytes) { left_ = bytes; }

  [[nodiscard]] bool WaitForStall() const;

 private:
  void Run(int serverPort);
  [[nodiscard]] bool PassOn(const Fd& from, const Fd& to, bool fromServer);

  Fd listener_;
  int port_ = 0;
  std::atomic<std::size_t> left_;
  std::atomic<bool> stalled_ = false;
  std::atomic<bool> stopped_ = false;
  std::thread thread_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_STALLING_PROXY_H
