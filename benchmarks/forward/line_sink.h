#ifndef WKAGENT_BENCHMARKS_FORWARD_LINE_SINK_H
#define WKAGENT_BENCHMARKS_FORWARD_LINE_SINK_H

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include <openssl/ssl.h>

#include <wkagent/mutex.h>

#include "core/handles.h"
#include "support/test_certificates.h"

namespace wkagent::bench {

// A collector on loopback that counts the lines of all connections, and throws them away.
class LineSink {
 public:
  // Speaks TLS where it gets an identity.
  explicit LineSink(const test::Identity* identity = nullptr);
  ~LineSink();
  LineSink(const LineSink&) = delete;
  LineSink& operator=(const LineSink&) = delete;

  [[nodiscard]] int Port() const { return port_; }

  // The lines that have come so far. Any thread.
  [[nodiscard]] long Lines() const { return lines_; }

 private:
  struct ContextFreer {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  };

  void Accept();
  void Read(int connection);
  template <typename Receive>
  void Count(Receive receive);

  std::unique_ptr<SSL_CTX, ContextFreer> tls_;
  Fd listener_;
  int port_ = 0;
  std::atomic<long> lines_ = 0;

  Mutex mutex_;
  std::vector<int> connections_ WKAGENT_GUARDED_BY(mutex_);
  std::vector<std::thread> readers_ WKAGENT_GUARDED_BY(mutex_);

  std::thread acceptor_;
};

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_FORWARD_LINE_SINK_H
