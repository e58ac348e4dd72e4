// TLS with collectors that do not speak it, and with certificates that are not there.

#include <string>

#include "syslog/sender_fixture.h"

namespace wkagent::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

class SyslogTlsHandshake : public SenderTest {
 protected:
  void StartTls(const std::string& elements = "") {
    Start("TLS", collector_.Port(), "<tls>" + elements + "</tls>");
  }

  std::string StartTlsSays(const std::string& elements) {
    return SenderSays([&] { StartTls(elements); });
  }

  // What the sender says about a line for a collector that answers the hand with this.
  std::string SaysAfterAnswer(const std::string& answer) {
    return SenderSays([&] {
      Send({"line"});
      CollectorEnd end = collector_.Accept();
      (void)ReadHello(end);
      if (!answer.empty()) end.Write(answer);
      end.Close();
      EXPECT_TRUE(QueueEmpties());
    });
  }

  // The first record of a connection.
  static std::string ReadHello(CollectorEnd& end) {
    const std::string head = end.Read(5);
    EXPECT_EQ(head[0], '\x16');
    return end.Read(static_cast<unsigned char>(head[3]) * 256U +
                    static_cast<unsigned char>(head[4]));
  }
};

TEST_F(SyslogTlsHandshake, AnsweredByGarbageFails) {
  StartTls();
  EXPECT_THAT(SaysAfterAnswer("this is no TLS\r\n"),
              MatchesRegex("SSL_connect failed: SSL_get_error=1, error:[0-9A-F]{8}:SSL "
                           "routines:.*:wrong version number\n"));
  EXPECT_THAT(Pool(), IsEmpty());
  EXPECT_EQ(StoredText(), "line\n");
  EXPECT_EQ(Counters().connectionsOpened, 0U);
}

TEST_F(SyslogTlsHandshake, EndedByTheCollectorFails) {
  StartTls();
  EXPECT_THAT(SaysAfterAnswer(""),
              MatchesRegex("SSL_connect failed: SSL_get_error=[0-9]+, error:[0-9A-F]{8}:.*\n"));
  EXPECT_EQ(StoredText(), "line\n");
}

TEST_F(SyslogTlsHandshake, ThatFailsIsTriedAgainWithTheNextLine) {
  StartTls();
  EXPECT_EQ(SaysAfterAnswer("this is no TLS\r\n"), SaysAfterAnswer("this is no TLS\r\n"));
  EXPECT_EQ(StoredText(), "line\nline\n");
}

TEST_F(SyslogTlsHandshake, RefusedConnectionIsReported) {
  StartTls();
  collector_.Refuse();
  EXPECT_EQ(SenderSays([this] { EXPECT_FALSE(sender_->sendTLS("line")); }),
            "Connect failed: Connection refused\n");
}

TEST_F(SyslogTlsHandshake, MakesAContextForTlsOnly) {
  StartTls();
  EXPECT_NE(sender_->sslContext, nullptr);
  for (const char* protocol : {"UDP", "TCP"}) {
    Start(protocol, 514, "<tls><ca_cert>/none.pem</ca_cert></tls>");
    EXPECT_EQ(sender_->sslContext, nullptr);
  }
  EXPECT_EQ(ReadFile(kSenderLog), "");
}

TEST_F(SyslogTlsHandshake, WithoutAContextFails) {
  StartTcp();
  sender_->protocol = SyslogConfig::TLS;
  EXPECT_EQ(SenderSays([this] { EXPECT_EQ(sender_->getConnection(), nullptr); }),
            "SSL_new failed\n");
}

TEST_F(SyslogTlsHandshake, MissingTrustIsReportedAndTheSenderBuilt) {
  EXPECT_EQ(StartTlsSays("<ca_cert>/none.pem</ca_cert>"), "Failed to load CA cert: /none.pem\n");
  EXPECT_NE(sender_->sslContext, nullptr);
  EXPECT_THAT(SaysAfterAnswer("this is no TLS\r\n"), HasSubstr("SSL_get_error=1, error:"));
  EXPECT_EQ(StoredText(), "line\n");
}

TEST_F(SyslogTlsHandshake, MissingClientCertificateIsReported) {
  EXPECT_EQ(StartTlsSays("<mutual_tls>1</mutual_tls><client_cert>/cert.pem</client_cert>"
                         "<client_key>/key.pem</client_key>"),
            "Failed to load client cert: /cert.pem\n");
}

TEST_F(SyslogTlsHandshake, MissingClientKeyIsReported) {
  EXPECT_EQ(StartTlsSays("<mutual_tls>1</mutual_tls><client_key>/key.pem</client_key>"),
            "Failed to load client key: /key.pem\n");
}

TEST_F(SyslogTlsHandshake, MissingTrustIsReportedBeforeAMissingClientCertificate) {
  EXPECT_EQ(StartTlsSays("<mutual_tls>1</mutual_tls><client_cert>/cert.pem</client_cert>"
                         "<ca_cert>/none.pem</ca_cert>"),
            "Failed to load CA cert: /none.pem\n");
}

TEST_F(SyslogTlsHandshake, ClientCertificateIsLeftOutUnlessItIsAskedFor) {
  EXPECT_EQ(StartTlsSays("<client_cert>/cert.pem</client_cert><client_key>/key.pem</client_key>"),
            "");
  EXPECT_EQ(StartTlsSays("<mutual_tls>1</mutual_tls>"), "");
}

TEST_F(SyslogTlsHandshake, ContextIsMadeAgainOnRequest) {
  StartTls();
  EXPECT_TRUE(sender_->initializeTLSContext());
  sender_->tlsCACertPath = "/none.pem";
  EXPECT_EQ(SenderSays([this] { EXPECT_FALSE(sender_->initializeTLSContext()); }),
            "Failed to load CA cert: /none.pem\n");
  EXPECT_NE(sender_->sslContext, nullptr);
}

TEST_F(SyslogTlsHandshake, NamesTheServerWhereItHasAName) {
  for (const char* verify : {"true", "false"}) {
    StartTls("<server_name>collector.example</server_name><verify_server_cert>" +
             std::string(verify) + "</verify_server_cert>");
    Send({"line"});
    CollectorEnd end = collector_.Accept();
    EXPECT_THAT(ReadHello(end), HasSubstr("collector.example")) << verify;
    end.Close();
    (void)Complaints([this] { EXPECT_TRUE(QueueEmpties()); });
  }
}

TEST_F(SyslogTlsHandshake, NamesNoServerByItsAddress) {
  for (const char* verify : {"true", "false"}) {
    StartTls("<verify_server_cert>" + std::string(verify) + "</verify_server_cert>");
    Send({"line"});
    CollectorEnd end = collector_.Accept();
    EXPECT_THAT(ReadHello(end), Not(HasSubstr("127.0.0.1"))) << verify;
    end.Close();
    (void)Complaints([this] { EXPECT_TRUE(QueueEmpties()); });
  }
}

}  // namespace
}  // namespace wkagent::test
