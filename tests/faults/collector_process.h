#ifndef WKAGENT_TESTS_FAULTS_COLLECTOR_PROCESS_H
#define WKAGENT_TESTS_FAULTS_COLLECTOR_PROCESS_H

#include <cstddef>
#include <string>

#include <sys/types.h>

#include "support/test_certificates.h"

namespace wkagent::test {

// A syslog collector in a process of its own, so that faults of the test's process do not meet it:
// on one port of 127.0.0.1 over UDP, and over TCP or, with a certificate, TLS. It ends with the
// object.
class CollectorProcess {
 public:
  CollectorProcess() : CollectorProcess(Identity{}) {}
  explicit CollectorProcess(const Identity& identity);
  ~CollectorProcess();
  CollectorProcess(const CollectorProcess&) = delete;
  CollectorProcess& operator=(const CollectorProcess&) = delete;

  [[nodiscard]] int Port() const { return port_; }

  // What has come in since the last call of Forget, from all connections.
  [[nodiscard]] std::string Received() const;
  void Forget();

 private:
  struct Shared;

  Shared* shared_;
  std::size_t from_ = 0;
  int port_ = 0;
  pid_t process_ = -1;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FAULTS_COLLECTOR_PROCESS_H
