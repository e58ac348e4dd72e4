// Which certificates of a server a sender accepts.

#include "collectors/tls_fixture.h"

namespace wkagent::test {
namespace {

using SyslogTlsCertificates = TlsTest;

TEST_F(SyslogTlsCertificates, RightNameIsAcceptedAndAskedFor) {
  EXPECT_TRUE(Delivers());
  EXPECT_EQ("collector", Seen().serverName);
  EXPECT_EQ("", Diagnostics());
}

TEST_F(SyslogTlsCertificates, NameMayBeOneOfSeveral) {
  PresentName("DNS:other,DNS:COLLECTOR,IP:127.0.0.1");
  EXPECT_TRUE(Delivers());
}

TEST_F(SyslogTlsCertificates, OtherNameIsRefused) {
  PresentName("DNS:other");
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
  EXPECT_FALSE(Seen().complete);
}

TEST_F(SyslogTlsCertificates, WildcardIsRefused) {
  PresentName("DNS:*.example.com");
  client_.serverName = "collector.example.com";
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, NameBelowTheRightOneIsRefused) {
  PresentName("DNS:a.collector,DNS:collector.example.com");
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, CommonNameCountsWhereNoOtherNameIsGiven) {
  for (const char* others : {"", "IP:127.0.0.2"}) {
    Present(authority_.Issue({.commonName = "collector", .alternativeNames = others}));
    EXPECT_TRUE(Delivers()) << others;
  }
}

TEST_F(SyslogTlsCertificates, CommonNameDoesNotCountBesideAnotherName) {
  Present(authority_.Issue({.commonName = "collector", .alternativeNames = "DNS:other"}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, AddressIsRequiredWhereThereIsNoServerName) {
  PresentName("IP:127.0.0.1");
  client_.serverName = "";
  EXPECT_TRUE(Delivers());
  EXPECT_EQ("", Seen().serverName) << "no name is asked for";
}

TEST_F(SyslogTlsCertificates, OtherAddressIsRefused) {
  PresentName("IP:127.0.0.2,DNS:collector");
  client_.serverName = "";
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, AddressInTheCommonNameIsRefused) {
  Present(authority_.Issue({.commonName = "127.0.0.1", .alternativeNames = ""}));
  client_.serverName = "";
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, AddressDoesNotCountBesideAServerName) {
  Present(authority_.Issue({.commonName = "other", .alternativeNames = "IP:127.0.0.1"}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
  EXPECT_EQ("collector", Seen().serverName);
}

TEST_F(SyslogTlsCertificates, ExpiredOneIsRefused) {
  Present(authority_.Issue({.alternativeNames = "DNS:collector", .firstDay = -2, .lastDay = -1}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, OneThatIsNotValidYetIsRefused) {
  Present(authority_.Issue({.alternativeNames = "DNS:collector", .firstDay = 1, .lastDay = 2}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, SelfSignedOneIsRefused) {
  Present(MakeSelfSigned(home_.Path("tmp"), "self", {.alternativeNames = "DNS:collector"}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, SelfSignedOneIsAcceptedWhereItIsTheTrustedOne) {
  Present(MakeSelfSigned(home_.Path("tmp"), "self", {.alternativeNames = "DNS:collector"}));
  client_.ca = server_.identity.certificate;
  EXPECT_TRUE(Delivers());
}

TEST_F(SyslogTlsCertificates, OneOfAnotherAuthorityIsRefused) {
  CertificateAuthority other(home_.Path("tmp"), "other");
  Present(other.Issue({.alternativeNames = "DNS:collector"}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, OneOfAnotherAuthorityOfTheSameNameIsRefused) {
  CertificateAuthority other(home_.Path("tmp"), "authority");
  Present(other.Issue({.alternativeNames = "DNS:collector"}));
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("SSL_connect failed: SSL_get_error=1, error:06880006:asn1 encoding routines::EVP lib\n",
            Diagnostics());
}

TEST_F(SyslogTlsCertificates, WithoutAnAuthorityTheSystemsDecide) {
  client_.ca = "";
  EXPECT_FALSE(Delivers());
  EXPECT_EQ(kRefused, Diagnostics());
}

TEST_F(SyslogTlsCertificates, AnyIsAcceptedWithoutVerification) {
  Present(MakeSelfSigned(home_.Path("tmp"), "self", {.commonName = "other", .lastDay = 0}));
  client_.verify = false;
  EXPECT_TRUE(Delivers());
  EXPECT_EQ("collector", Seen().serverName);
  EXPECT_EQ("", Diagnostics());
}

TEST_F(SyslogTlsCertificates, NoneIsAcceptedWithAnAuthorityThatCannotBeRead) {
  client_.ca = home_.Path("missing.pem");
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("Failed to load CA cert: " + client_.ca +
                "\nCertificate verify failed: unable to get local issuer certificate\n",
            Diagnostics());
}

TEST_F(SyslogTlsCertificates, NoneIsAcceptedWithAnAuthorityThatIsNoCertificate) {
  home_.Write("tmp/text.pem", "no certificate");
  client_.ca = home_.Path("tmp/text.pem");
  EXPECT_FALSE(Delivers());
  EXPECT_EQ("Failed to load CA cert: " + client_.ca +
                "\nCertificate verify failed: unable to get local issuer certificate\n",
            Diagnostics());
}

}  // namespace
}  // namespace wkagent::test
