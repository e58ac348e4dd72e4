// The order of the members that hosts may have compiled into them.

#include <algorithm>
#include <vector>

#include <wkagent/syslog.h>

#include "syslog/syslog_fixture.h"

namespace wkagent::test {
namespace {

using Places = std::vector<const void*>;

class SyslogLayout : public SyslogTest {
 protected:
  SyslogLayout() { WriteSettings(""); }
};

TEST_F(SyslogLayout, SettingsStandFirstInTheSender) {
  const WKSyslogSender s;
  const Places places = {&s,
                         &s.serverPort,
                         &s.protocol,
                         &s.tlsCACertPath,
                         &s.tlsClientCertPath,
                         &s.tlsClientKeyPath,
                         &s.tlsServerName,
                         &s.mutualTLS,
                         &s.verifyServerCert,
                         &s.configPath};
  EXPECT_EQ(static_cast<const void*>(&s.serverHost), &s);
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST_F(SyslogLayout, MembersOfTheSenderStandInTheirOrder) {
  const WKSyslogSender s;
  const Places places = {&s.configPath,     &s.poolMutex,    &s.connectionPool, &s.queueMutex,
                         &s.queueCondition, &s.messageQueue, &s.running,        &s.worker,
                         &s.sslContext,     &s.retryHandler};
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
}

TEST_F(SyslogLayout, MembersOfTheRetryHandlerStandInTheirOrder) {
  const WKSyslogRetryHandler h;
  const Places places = {&h.batchFile,     &h.currentBatchPath, &h.linesInBatch, &h.batchCounter,
                         &h.fileMutex,     &h.retryThread,      &h.retryMutex,   &h.retryCondition,
                         &h.stopRequested, &h.senderCallback};
  EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
  EXPECT_EQ(static_cast<const void*>(&h), &h.batchFile);
}

}  // namespace
}  // namespace wkagent::test
