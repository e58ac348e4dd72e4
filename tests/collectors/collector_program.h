#ifndef WKAGENT_TESTS_COLLECTORS_COLLECTOR_PROGRAM_H
#define WKAGENT_TESTS_COLLECTORS_COLLECTOR_PROGRAM_H

#include <memory>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/test_certificates.h"

namespace wkagent::test {

enum class Program { kRsyslog, kSyslogNg };
enum class Transport { kUdp, kTcp, kTls };

// A collector's part in TLS: the path of its authority's certificate, its own, who may send, and
// the oldest and newest version, "1.2" or "1.3".
struct CollectorTls {
  std::string ca;
  Identity identity = {};
  bool asksForCertificate = false;
  std::string oldest = "1.2";
  std::string newest = "1.3";
};

// A syslog collector of the test's own on loopback, with the configuration that docs/syslog shows,
// but for its address and paths. It writes each line that it gets to one file, unchanged. It ends
// with the object.
class CollectorProgram {
 public:
  // Keeps its files in `folder`, which exists. Returns once it listens; throws where it does not.
  CollectorProgram(Program program, Transport transport, std::string folder,
                   const CollectorTls& tls = {});

  [[nodiscard]] int Port() const { return port_; }

  // All that it has written.
  [[nodiscard]] std::string Text() const;
  [[nodiscard]] std::size_t TextSize() const;
  [[nodiscard]] bool EndsWith(const std::string& line) const;

  // Ends it, asking it to (what it has read is then written) or not; starts it again on the same
  // port.
  void Stop();
  void Kill();
  void StartAgain();

  // Halts it where it is, and lets it go on.
  void Freeze() const;
  void Thaw() const;

 private:
  [[nodiscard]] std::string Configuration(const CollectorTls& tls) const;
  [[nodiscard]] std::vector<std::string> Command() const;
  [[nodiscard]] bool Start();
  [[nodiscard]] bool Listens() const;
  void End(int signal);

  const Program program_;
  const Transport transport_;
  const std::string folder_;
  const std::string lines_;
  int port_ = 0;
  std::unique_ptr<Process> process_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_COLLECTOR_PROGRAM_H
