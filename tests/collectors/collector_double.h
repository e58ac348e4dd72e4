#ifndef WKAGENT_TESTS_COLLECTORS_COLLECTOR_DOUBLE_H
#define WKAGENT_TESTS_COLLECTORS_COLLECTOR_DOUBLE_H

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <openssl/ssl.h>

#include <wkagent/mutex.h>

#include "core/handles.h"
#include "support/test_certificates.h"

namespace wkagent::test {

// What a double does other than a good collector.
struct DoubleSettings {
  enum class Handshake { kGood, kCloses, kResets, kGarbage };

  Identity identity;     // of the server; empty for plain TCP
  std::string clientCa;  // where clients need a certificate of this authority
  int oldest = TLS1_2_VERSION;
  int newest = TLS1_3_VERSION;
  std::size_t tickets = 2;  // sent to each client of TLS 1.3
  Handshake handshake = Handshake::kGood;
  int resets = 0;              // so many connections are reset
  std::size_t resetAfter = 0;  // once they have brought so many bytes
};

// What a double knows of a client.
struct Session {
  bool complete = false;  // the handshake, or plain TCP
  std::string version;
  std::string serverName;  // as the client asked for it; empty where it did not
  std::string clientName;  // of its certificate; empty where it had none
};

// A collector over TCP or TLS in a thread of the test, which serves one connection after the other.
class CollectorDouble {
 public:
  explicit CollectorDouble(DoubleSettings settings);
  ~CollectorDouble();
  CollectorDouble(const CollectorDouble&) = delete;
  CollectorDouble& operator=(const CollectorDouble&) = delete;

  [[nodiscard]] int Port() const { return port_; }

  // All that has arrived, over all connections.
  [[nodiscard]] std::string Text() const;

  // The connections that are over or past their handshake, oldest first.
  [[nodiscard]] std::vector<Session> Sessions() const;

 private:
  struct ContextFreer {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
  };

  void MakeContext();
  void Run();
  void Answer(const Fd& client);
  void Serve(const Fd& client);
  void ServeTls(const Fd& client);
  bool Keep(const char* bytes, std::size_t length, std::size_t& taken);
  void Remember(Session session);
  void SetCurrent(int socket);

  const DoubleSettings settings_;
  std::unique_ptr<SSL_CTX, ContextFreer> context_;
  Fd listener_;
  int port_ = 0;
  mutable Mutex mutex_;
  std::string text_ WKAGENT_GUARDED_BY(mutex_);
  std::vector<Session> sessions_ WKAGENT_GUARDED_BY(mutex_);
  int current_ WKAGENT_GUARDED_BY(mutex_) = -1;  // the connection that is being served
  bool stopped_ WKAGENT_GUARDED_BY(mutex_) = false;
  int resets_ = 0;
  std::thread thread_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_COLLECTOR_DOUBLE_H
