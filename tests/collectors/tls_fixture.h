#ifndef WKAGENT_TESTS_COLLECTORS_TLS_FIXTURE_H
#define WKAGENT_TESTS_COLLECTORS_TLS_FIXTURE_H

#include <memory>
#include <string>

#include "collectors/collector_double.h"
#include "collectors/delivery_fixture.h"

namespace wkagent::test {

// A sender that is to reach "collector" at 127.0.0.1, and a TLS server that is it, or is not.
class TlsTest : public DeliveryTest {
 protected:
  // What the sender says of any certificate that it does not accept.
  static constexpr char kRefused[] =
      "SSL_connect failed: SSL_get_error=1, error:0A000086:SSL routines::certificate verify "
      "failed\n";

  TlsTest();

  // The server's side. To be set before Delivers.
  void Present(const Identity& identity) { server_.identity = identity; }
  void PresentName(const std::string& alternativeNames);

  // Sends a line with a sender of its own; true when the server got it, false when the sender
  // stored it. One of the two comes.
  [[nodiscard]] bool Delivers();

  // What the server saw of the sender.
  [[nodiscard]] Session Seen() const { return double_->Sessions().at(0); }

  DoubleSettings server_;
  SenderTls client_;

 private:
  std::unique_ptr<CollectorDouble> double_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COLLECTORS_TLS_FIXTURE_H
