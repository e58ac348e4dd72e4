#ifndef WKAGENT_BENCHMARKS_FORWARD_PLAIN_SENDER_H
#define WKAGENT_BENCHMARKS_FORWARD_PLAIN_SENDER_H

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <openssl/ssl.h>

#include "core/handles.h"

namespace wkagent::bench {

// A queue and a worker as one writes them first: the host's thread copies a line into a deque under
// a mutex, the worker takes up to 100 into a fresh vector, puts them into a fresh buffer and writes
// that with one call. It looks neither for a peer that has closed nor for failures.
class PlainSender {
 public:
  // Connects to a port of this machine; speaks TLS where it gets the path of an authority.
  PlainSender(int port, const std::string& authority);
  ~PlainSender();
  PlainSender(const PlainSender&) = delete;
  PlainSender& operator=(const PlainSender&) = delete;

  void Send(const std::string& line);

  // The lines that the system has taken so far.
  [[nodiscard]] long Sent() const { return sent_; }

 private:
  struct TlsFreer {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    void operator()(SSL* session) const { SSL_free(session); }
  };

  void Work();
  void Write(const std::string& text) const;

  Fd socket_;
  std::unique_ptr<SSL_CTX, TlsFreer> context_;
  std::unique_ptr<SSL, TlsFreer> session_;
  std::atomic<long> sent_ = 0;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::string> queue_;  // guarded by mutex_
  bool stops_ = false;             // guarded by mutex_

  std::thread worker_;
};

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_FORWARD_PLAIN_SENDER_H
