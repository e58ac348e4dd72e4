#include "components/mail/message.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/local_time.h"

namespace wkagent::components {
namespace {

using test::TimeZone;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr std::time_t kTime = 1795219199;  // 2026-11-20T23:59:59Z

std::size_t LongestLine(const std::string& text) {
  std::size_t longest = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find("\r\n", begin), text.size());
    longest = std::max(longest, end - begin);
    begin = end + 2;
  }
  return longest;
}

Mail Simple() {
  Mail mail;
  mail.from = "agent@acme.example";
  mail.to = "ops@acme.example";
  mail.subject = "Password changed";
  mail.text = "text";
  return mail;
}

std::string Built(const Mail& mail) { return BuildMessage(mail, kTime, "id", "host"); }

TEST(MailAddresses, AreSplitAtCommasAndSemicolons) {
  EXPECT_THAT(SplitAddresses("a@b, c@d;e@f"), ElementsAre("a@b", "c@d", "e@f"));
  EXPECT_THAT(SplitAddresses(" ,; a@b ;;"), ElementsAre("a@b"));
  EXPECT_THAT(SplitAddresses(""), IsEmpty());
  EXPECT_THAT(SplitAddresses(","), IsEmpty());
}

TEST(MailAddresses, AreTakenOutOfAngleBrackets) {
  EXPECT_THAT(SplitAddresses("Bob Smith <bob@acme>, <c@d>"), ElementsAre("bob@acme", "c@d"));
  EXPECT_THAT(SplitAddresses("<>"), IsEmpty());
}

TEST(MailAddresses, HoldNoControlCharacters) {
  EXPECT_THAT(SplitAddresses("a@b\r\nBcc: c@d"), ElementsAre("a@b  Bcc: c@d"));
  EXPECT_FALSE(IsAddress("a@b  Bcc: c@d"));
}

TEST(MailAddresses, ThatMayStandInAnEnvelope) {
  for (const char* right : {"a@b", "first.last+tag@mail.acme.example", "a@127.0.0.1"}) {
    EXPECT_TRUE(IsAddress(right)) << right;
  }
  for (const std::string wrong : {"", "a", "@b", "a@", "a b@c", "a@b>", "a@b\r", "a@b,c", "\"a\"@b",
                                  "z\xC3\xBC@b", "a@b SIZE=1"}) {
    EXPECT_FALSE(IsAddress(wrong)) << wrong;
  }
  EXPECT_TRUE(IsAddress("a@" + std::string(252, 'b')));
  EXPECT_FALSE(IsAddress("a@" + std::string(253, 'b')));
}

TEST(MailHeader, IsLeftAsItIsWhereItIsShortAscii) {
  EXPECT_EQ(EncodeHeader("Password changed", 9), "Password changed");
  EXPECT_EQ(EncodeHeader("", 9), "");
}

TEST(MailHeader, IsEncodedWhereItIsNotAscii) {
  EXPECT_EQ(EncodeHeader("Z\xC3\xBCrich a=b_c?", 9), "=?UTF-8?Q?Z=C3=BCrich_a=3Db=5Fc=3F?=");
}

TEST(MailHeader, IsEncodedWhereItLooksEncoded) {
  EXPECT_EQ(EncodeHeader("=?x?Q?y?=", 9), "=?UTF-8?Q?=3D=3Fx=3FQ=3Fy=3F=3D?=");
}

TEST(MailHeader, NeverHoldsALineEndOfTheText) {
  EXPECT_EQ(EncodeHeader("a\r\nBcc: b\x7F", 9), "a  Bcc: b ");
}

TEST(MailHeader, IsFoldedBetweenWholeCharacters) {
  std::string text;
  for (int i = 0; i < 60; ++i) text += "\xF0\x9F\x94\x91";
  const std::string header = EncodeHeader(text, 9);
  EXPECT_LE(LongestLine(std::string(9, 'x') + header), 76u);
  EXPECT_THAT(header, Not(HasSubstr("=F0?=")));
  EXPECT_THAT(header, HasSubstr("?=\r\n =?UTF-8?Q?=F0=9F=94=91"));
}

TEST(MailHeader, OfALongAsciiTextIsFoldedToo) {
  EXPECT_LE(LongestLine(EncodeHeader(std::string(500, 'x'), 9)), 76u);
}

TEST(MailBody, EndsEachLineWithCrLf) {
  EXPECT_EQ(EncodeBody("a\nb"), "a\r\nb\r\n");
  EXPECT_EQ(EncodeBody("a\r\nb\n"), "a\r\nb\r\n\r\n");
  EXPECT_EQ(EncodeBody(""), "\r\n");
}

TEST(MailBody, EncodesWhatIsNotPlain) {
  EXPECT_EQ(EncodeBody("\xC3\xBC=\x01\r!"), "=C3=BC=3D=01=0D!\r\n");
  EXPECT_EQ(EncodeBody("a \tb \nc\t"), "a \tb=20\r\nc=09\r\n");
}

TEST(MailBody, FoldsLongLines) {
  const std::string body = EncodeBody(std::string(1000, 'x') + std::string(500, '='));
  EXPECT_LE(LongestLine(body), 76u);
  EXPECT_THAT(body, HasSubstr("=\r\n"));
}

TEST(MailMessage, HasTheHeadersOfTheStandard) {
  const TimeZone zone("EST5");
  EXPECT_EQ(Built(Simple()),
            "Date: Fri, 20 Nov 2026 18:59:59 -0500\r\n"
            "Message-ID: <id@host>\r\n"
            "From: agent@acme.example\r\n"
            "To: ops@acme.example\r\n"
            "Subject: Password changed\r\n"
            "Auto-Submitted: auto-generated\r\n"
            "MIME-Version: 1.0\r\n"
            "Content-Type: text/plain; charset=UTF-8\r\n"
            "Content-Transfer-Encoding: quoted-printable\r\n"
            "\r\n"
            "text\r\n");
}

TEST(MailMessage, BearsTheOffsetOfOddTimeZones) {
  const TimeZone zone("IST-5:30");
  EXPECT_THAT(Built(Simple()), StartsWith("Date: Sat, 21 Nov 2026 05:29:59 +0530\r\n"));
}

TEST(MailMessage, NamesACopyListOnlyWhereThereIsOne) {
  Mail mail = Simple();
  EXPECT_THAT(Built(mail), Not(HasSubstr("Cc:")));
  mail.cc = "a@b;c@d";
  EXPECT_THAT(Built(mail), HasSubstr("\r\nCc: a@b, c@d\r\n"));
}

TEST(MailMessage, FoldsLongLists) {
  Mail mail = Simple();
  mail.to.clear();
  for (int i = 0; i < 40; ++i) mail.to += "someone" + std::to_string(i) + "@mail.acme.example,";
  const std::string message = Built(mail);
  EXPECT_LE(LongestLine(message), 76u);
  EXPECT_THAT(message, HasSubstr("someone39@mail.acme.example\r\nSubject:"));
}

TEST(MailMessage, TakesNoHeaderFromSubjectOrAddresses) {
  Mail mail = Simple();
  mail.subject = "s\r\nBcc: x@y\r\n\r\nbody";
  mail.to = "ops@acme.example\r\nBcc: x@y";
  mail.from = "agent@acme.example\nX-Evil: 1";
  const std::string message = Built(mail);
  EXPECT_THAT(message, Not(HasSubstr("\nBcc:")));
  EXPECT_THAT(message, Not(HasSubstr("\nX-Evil:")));
}

}  // namespace
}  // namespace wkagent::components
