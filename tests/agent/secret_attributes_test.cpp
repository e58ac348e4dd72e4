#include "agent/secret_attributes.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(BaseName, LeavesOptionsOut) {
  EXPECT_EQ("cn", BaseName("cn"));
  EXPECT_EQ("cn", BaseName("cn;lang-en"));
  EXPECT_EQ("userCertificate", BaseName("userCertificate;lang-en;binary"));
  EXPECT_EQ("", BaseName(";binary"));
  EXPECT_EQ("", BaseName(""));
}

TEST(SecretAttributes, PasswordsAreSecretWhateverCaseAndOptions) {
  for (const char* const name :
       {"userPassword", "USERPASSWORD", "userpassword", "userPassword;x-a",
        "userPassword;lang-en;x-b", "2.5.4.35", "2.5.4.35;x-a", "authPassword", "sambaNTPassword",
        "clearTextPassword", "password"}) {
    EXPECT_TRUE(IsSecretAttribute(name)) << name;
  }
}

TEST(SecretAttributes, SoAreOtherPasswordsAndKeys) {
  for (const char* const name : {"olcRootPW", "olcrootpw", "olcDbPass", "pwdHistory", "unicodePwd",
                                 "oathSecret", "krbPrincipalKey", "krbMKey", "ipaNTHash",
                                 "dhcpKeySecret", "userPKCS12", "sambaLMHash", "sambaNTHash"}) {
    EXPECT_TRUE(IsSecretAttribute(name)) << name;
  }
}

TEST(SecretAttributes, SoAreThoseOfTheServersOwnConfiguration) {
  for (const char* const name : {"olcDbACLPasswd", "olcDbIDAssertPasswd", "olcDbCryptKey",
                                 "olcTLSCertificateKey", "olcTLSCertificateKey;binary"}) {
    EXPECT_TRUE(IsSecretAttribute(name)) << name;
  }
}

// The server ships these with its schema "msuser".
TEST(SecretAttributes, SoAreThoseOfDomainAccounts) {
  for (const char* const name :
       {"dBCSPwd", "lmPwdHistory", "ntPwdHistory", "supplementalCredentials", "trustAuthIncoming",
        "trustAuthOutgoing"}) {
    EXPECT_TRUE(IsSecretAttribute(name)) << name;
  }
}

TEST(SecretAttributes, OthersAreNot) {
  for (const char* const name :
       {"cn", "", "mail", "member", "pwdChangedTime", "pwdPolicySubentry", "userCertificate",
        "olcSyncrepl", "2.5.4.3", "2.5.4.351", "12.5.4.35", "olcRootDN", "cn;x-password"}) {
    EXPECT_FALSE(IsSecretAttribute(name)) << name;
  }
}

constexpr char kBefore[] = "rid=001 provider=ldap://b bindmethod=simple ";

// The value of olcSyncrepl with `credentials` in its middle, as it may be shown.
std::string Shown(const std::string& credentials) {
  return WithoutCredentials("olcSyncrepl", kBefore + credentials + " retry=\"5 5\"");
}

TEST(WithoutCredentials, ReplacesThem) {
  EXPECT_EQ(std::string(kBefore) + "credentials=*** retry=\"5 5\"", Shown("credentials=s3cret"));
}

TEST(WithoutCredentials, ReplacesThemAtTheEnd) {
  EXPECT_EQ("{0}rid=1 credentials=***",
            WithoutCredentials("olcSyncrepl", "{0}rid=1 credentials=s3cret"));
  EXPECT_EQ("credentials=***", WithoutCredentials("olcSyncrepl", "credentials=s3cret"));
}

TEST(WithoutCredentials, LooksAtNeitherCaseNorOptions) {
  EXPECT_THAT(Shown("Credentials=s3cret"), Not(HasSubstr("s3cret")));
  EXPECT_THAT(WithoutCredentials("OLCSYNCREPL;x-a", "CREDENTIALS=s3cret"),
              Not(HasSubstr("s3cret")));
}

TEST(WithoutCredentials, ReplacesQuotedOnes) {
  EXPECT_THAT(Shown("credentials=\"s3cret\""), Not(HasSubstr("s3cret")));
  EXPECT_THAT(Shown("credentials=\"my s3cret\""), Not(HasSubstr("s3cret")));
  EXPECT_THAT(Shown("credentials=\"my s3cret\""), HasSubstr("retry=\"5 5\""));
}

// The server takes a backslash for an escape, and a quote also in the middle of a word.
TEST(WithoutCredentials, ReplacesThemWholeHoweverTheyAreQuoted) {
  EXPECT_THAT(Shown(R"(credentials="a\" s3cret")"), Not(HasSubstr("s3cret")));
  EXPECT_THAT(Shown(R"(credentials=a\ s3cret)"), Not(HasSubstr("s3cret")));
  EXPECT_THAT(Shown(R"(credentials=a" s3cret")"), Not(HasSubstr("s3cret")));
  EXPECT_THAT(Shown(R"(credentials="a b"s3cret)"), Not(HasSubstr("s3cret")));
  EXPECT_THAT(Shown(R"("credentials=a s3cret")"), Not(HasSubstr("s3cret")));
}

TEST(WithoutCredentials, ReplacesQuotedOnesThatDoNotEnd) {
  EXPECT_EQ("credentials=***", WithoutCredentials("olcSyncrepl", "credentials=\"my s3cret"));
}

TEST(WithoutCredentials, ReplacesEveryOne) {
  const std::string shown =
      WithoutCredentials("olcDbIDAssertBind",
                         "credentials=s3cret1 mode=self credentials=s3cret2 x credentials=s3cret3");
  EXPECT_EQ("credentials=*** mode=self credentials=*** x credentials=***", shown);
}

TEST(WithoutCredentials, ReplacesThePasswordOfARewriteMap) {
  EXPECT_EQ("{0}rwm-rewriteMap ldap m ldap://b binddn=cn=x bindpw=*** bindwhen=now",
            WithoutCredentials("olcRwmRewrite",
                               "{0}rwm-rewriteMap ldap m ldap://b binddn=cn=x "
                               "bindpw=s3cret bindwhen=now"));
}

TEST(WithoutCredentials, LeavesEmptyOnesInPeace) {
  EXPECT_EQ("credentials=", WithoutCredentials("olcSyncrepl", "credentials=").substr(0, 12));
  EXPECT_THAT(WithoutCredentials("olcSyncrepl", "credentials= rid=1"), HasSubstr(" rid=1"));
}

TEST(WithoutCredentials, LeavesOtherValuesAlone) {
  EXPECT_EQ("rid=1 provider=ldap://b",
            WithoutCredentials("olcSyncrepl", "rid=1 provider=ldap://b"));
  EXPECT_EQ("credentials=public", WithoutCredentials("description", "credentials=public"));
  EXPECT_EQ("", WithoutCredentials("olcSyncrepl", ""));
}

}  // namespace
}  // namespace wkagent::test
