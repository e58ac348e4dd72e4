// Versions of TLS, servers that make no handshake, and clients with certificates.

#include "collectors/tls_fixture.h"

namespace wkagent::test {
namespace {

class SyslogTlsServers : public TlsTest {
 protected:
  static std::string Failed(const std::string& error) {
    return "SSL_connect failed: SSL_get_error=1, " + error + "\n";
  }

  const std::string kNoCertificate =
      Failed("error:0A000410:SSL routines::sslv3 alert handshake failure");

  // The server needs a certificate of its authority from its clients.
  void RequireClientCertificate(int version) {
    server_.clientCa = authority_.Certificate();
    server_.oldest = version;
    server_.newest = version;
  }

  // The sender presents this one.
  void Identify(const Identity& identity) {
    client_.mutual = true;
    client_.client = identity;
  }

  [[nodiscard]] Identity ClientOf(CertificateAuthority& authority) {
    return authority.Issue({.commonName = "agent"});
  }
};

TEST_F(SyslogTlsServers, ServerWithTls12OnlyIsReached) {
  server_.newest = TLS1_2_VERSION;
  EXPECT_TRUE(Delivers());
  EXPECT_EQ("TLSv1.2", Seen().version);
}

TEST_F(SyslogTlsServers, ServerWithTls13OnlyIsReached) {
  server_.oldest = TLS1_3_VERSION;
  EXPECT_TRUE(Delivers());
  EXPECT_EQ("TLSv1.3", Seen().version);
}

TEST_F(SyslogTlsServers, NewestVersionIsTaken) {
  EXPECT_TRUE(Delivers());
  EXPECT_EQ("TLSv1.3", Seen().version);
}

TEST_F(SyslogTlsServers, ServerThatClosesInItIsReported) {
  server_.handshake = DoubleSettings::Handshake::kCloses;
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(Failed("error:0A000126:SSL routines::unexpected eof while reading"), Diagnostics());
}

// OpenSSL has no words for an error of the system.
TEST_F(SyslogTlsServers, ServerThatResetsInItIsReported) {
  server_.handshake = DoubleSettings::Handshake::kResets;
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("SSL_connect failed: SSL_get_error=5, error:00000000:lib(0)::reason(0)\n",
            Diagnostics());
}

TEST_F(SyslogTlsServers, ServerThatSpeaksNoTlsIsReported) {
  server_.handshake = DoubleSettings::Handshake::kGarbage;
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(Failed("error:0A00010B:SSL routines::wrong version number"), Diagnostics());
}

TEST_F(SyslogTlsServers, ClientCertificateIsPresented) {
  Identify(ClientOf(authority_));
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    RequireClientCertificate(version);
    EXPECT_TRUE(Delivers());
    EXPECT_EQ("agent", Seen().clientName);
  }
  EXPECT_EQ("", Diagnostics());
}

TEST_F(SyslogTlsServers, ClientCertificateIsNotPresentedWithoutMutualTls) {
  RequireClientCertificate(TLS1_2_VERSION);
  Identify(ClientOf(authority_));
  client_.mutual = false;
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kNoCertificate, Diagnostics());
}

TEST_F(SyslogTlsServers, MissingClientCertificateIsReported) {
  RequireClientCertificate(TLS1_2_VERSION);
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kNoCertificate, Diagnostics());
}

TEST_F(SyslogTlsServers, ClientCertificateOfAnotherAuthorityIsReported) {
  RequireClientCertificate(TLS1_2_VERSION);
  CertificateAuthority other(home_.Path("tmp"), "other");
  Identify(ClientOf(other));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(Failed("error:0A000418:SSL routines::tlsv1 alert unknown ca"), Diagnostics());
}

TEST_F(SyslogTlsServers, ExpiredClientCertificateIsReported) {
  RequireClientCertificate(TLS1_2_VERSION);
  Identify(authority_.Issue({.commonName = "agent", .firstDay = -2, .lastDay = -1}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(Failed("error:0A000415:SSL routines::sslv3 alert certificate expired"), Diagnostics());
}

TEST_F(SyslogTlsServers, WithoutClientCertificateFileNoneIsPresented) {
  RequireClientCertificate(TLS1_2_VERSION);
  Identify({.certificate = home_.Path("missing.pem"), .key = ClientOf(authority_).key});
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("Failed to load client cert: " + client_.client.certificate + "\n" + kNoCertificate,
            Diagnostics());
}

TEST_F(SyslogTlsServers, WithoutItsKeyFileTheClientCertificateIsNotPresented) {
  RequireClientCertificate(TLS1_2_VERSION);
  Identify({.certificate = ClientOf(authority_).certificate, .key = home_.Path("missing.key")});
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("Failed to load client key: " + client_.client.key + "\n" + kNoCertificate,
            Diagnostics());
}

TEST_F(SyslogTlsServers, WithTheKeyOfAnotherTheClientCertificateIsNotPresented) {
  RequireClientCertificate(TLS1_2_VERSION);
  Identify({.certificate = ClientOf(authority_).certificate, .key = ClientOf(authority_).key});
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("Failed to load client key: " + client_.client.key + "\n" + kNoCertificate,
            Diagnostics());
}

TEST_F(SyslogTlsServers, ServerThatFailsIsStillNotTrustedAfterTheClientKeyWasNotRead) {
  Present(MakeSelfSigned(home_.Path("tmp"), "self", {.alternativeNames = "DNS:collector"}));
  Identify({.certificate = ClientOf(authority_).certificate, .key = home_.Path("missing.key")});
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("Failed to load client key: " + client_.client.key +
                "\nCertificate verify failed: self-signed certificate\n",
            Diagnostics());
}

}  // namespace
}  // namespace wkagent::test
