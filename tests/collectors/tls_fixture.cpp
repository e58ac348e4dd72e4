#include "collectors/tls_fixture.h"

#include "support/wait_until.h"

namespace wkagent::test {

TlsTest::TlsTest() {
  client_.ca = authority_.Certificate();
  PresentName("DNS:collector");
}

void TlsTest::PresentName(const std::string& alternativeNames) {
  Present(authority_.Issue({.alternativeNames = alternativeNames}));
}

bool TlsTest::Delivers() {
  double_ = std::make_unique<CollectorDouble>(server_);
  UseTls(double_->Port(), client_);
  WKSyslogSender sender;
  EXPECT_TRUE(sender.send("a line"));
  const auto arrived = [this] { return double_->Text() == "a line\n"; };
  EXPECT_TRUE(WaitUntil([&] { return arrived() || sender.GetCounters().stored == 1; }));
  return arrived();
}

}  // namespace wkagent::test
