// The mail component against a real SMTP server.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/components.h>

#include "components/event_log.h"
#include "components/mail_server.h"
#include "support/agent_home.h"
#include "support/printed.h"
#include "support/test_certificates.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

enum Property { kCc = 6, kFrom = 16, kServer = 22, kText = 30, kTo = 36, kSubject = 38 };

class MailComponent : public ::testing::Test {
 protected:
  MailComponent() : mailer_(FileMailer_Create(EventLog::Sink, &log_, "")) {
    Set(kFrom, "agent@acme.example");
    Set(kTo, "ops@acme.example");
    Set(kSubject, "subject");
    Set(kText, "text");
  }
  ~MailComponent() override { EXPECT_EQ(0, FileMailer_Destroy(mailer_)); }

  void Set(int property, const std::string& value) {
    FileMailer_Set(mailer_, property, 0, value.c_str(), 0);
  }

  int Send(const std::string& server) {
    Set(kServer, server);
    int result = -1;
    printed_ = Complaints([&] { result = FileMailer_Do(mailer_, 11, 0, nullptr, nullptr); });
    return result;
  }

  std::string Folder() const { return home_.Path("tmp"); }

  AgentHome home_;
  EventLog log_{3};
  std::string printed_;
  void* const mailer_;
};

TEST_F(MailComponent, DeliversAMail) {
  const MailServer server(Folder());
  Set(kCc, "boss@acme.example; second@acme.example");
  ASSERT_EQ(0, Send(server.Address())) << printed_;
  ASSERT_TRUE(server.WaitForMail(1));
  EXPECT_EQ(server.Envelope(1),
            "agent@acme.example\nops@acme.example\nboss@acme.example\nsecond@acme.example");
  EXPECT_EQ(server.Decoded(1, "From"), "agent@acme.example");
  EXPECT_EQ(server.Decoded(1, "To"), "ops@acme.example");
  EXPECT_EQ(server.Decoded(1, "Cc"), "boss@acme.example, second@acme.example");
  EXPECT_EQ(server.Decoded(1, "Subject"), "subject");
  EXPECT_EQ(server.Decoded(1, ""), "text\n");
  EXPECT_THAT(server.Decoded(1, "Message-ID"), ::testing::MatchesRegex("<[^ <>@]+@[^ <>@]+>"));
  EXPECT_THAT(server.Decoded(1, "Date"), HasSubstr(" 20"));
  EXPECT_THAT(log_.events, ::testing::AllOf(::testing::Contains(1), ::testing::Contains(5),
                                            ::testing::Contains(6), ::testing::Contains(2)));
  EXPECT_THAT(log_.errors, IsEmpty());
  EXPECT_EQ(printed_, "");
}

TEST_F(MailComponent, DeliversTextInAnyLanguageUnchanged) {
  const MailServer server(Folder());
  const std::string subject =
      "\xC3\x84nderung \xE2\x80\x93 \xF0\x9F\x94\x91 Passwort in Z\xC3\xBCrich "
      "ge\xC3\xA4ndert, und noch viel mehr Text, der umbrochen werden muss";
  const std::string text =
      ".\n..dots\nFrom here\n" + std::string(2000, 'x') + "\n\xC3\xBC\xE2\x82\xAC=20";
  Set(kSubject, subject);
  Set(kText, text);
  ASSERT_EQ(0, Send(server.Address())) << printed_;
  ASSERT_TRUE(server.WaitForMail(1));
  EXPECT_EQ(server.Decoded(1, "Subject"), subject);
  EXPECT_EQ(server.Decoded(1, ""), text + "\n");
}

TEST_F(MailComponent, UsesStartTlsWhereItIsOffered) {
  const Identity identity = MakeSelfSigned(home_.Path("config"), "mail", {});
  const MailServer server(Folder(), {identity.certificate, identity.key});
  ASSERT_EQ(0, Send(server.Address())) << printed_;
  ASSERT_TRUE(server.WaitForMail(1));
  EXPECT_EQ(server.Envelope(1), "agent@acme.example\nops@acme.example\nTLS");
}

TEST_F(MailComponent, OneWrongRecipientDoesNotKeepTheOthersFromHearing) {
  const MailServer server(Folder());
  Set(kTo, "nobody@acme.example, not an address, ops@acme.example");
  EXPECT_EQ(0, Send(server.Address()));
  ASSERT_TRUE(server.WaitForMail(1));
  EXPECT_EQ(server.Envelope(1), "agent@acme.example\nops@acme.example");
  EXPECT_THAT(log_.errors,
              ElementsAre("not an address: not an address", "the server says: 550 no such user"));
  EXPECT_THAT(printed_, HasSubstr("mail: the server says: 550 no such user\n"));
}

TEST_F(MailComponent, ManyRecipientsAllGetIt) {
  const MailServer server(Folder());
  std::string list;
  for (int i = 0; i < 90; ++i) list += "user" + std::to_string(i) + "@acme.example;";
  Set(kTo, list);
  ASSERT_EQ(0, Send(server.Address())) << printed_;
  ASSERT_TRUE(server.WaitForMail(1));
  const std::string envelope = server.Envelope(1);
  EXPECT_EQ(std::count(envelope.begin(), envelope.end(), '\n'), 90);
}

TEST_F(MailComponent, TakesNoHeaderOrCommandFromItsProperties) {
  const MailServer server(Folder());
  Set(kSubject, "s\r\nBcc: victim@acme.example\r\n\r\nother text");
  Set(kTo, "ops@acme.example>\r\nRCPT TO:<victim@acme.example, second@acme.example");
  ASSERT_EQ(0, Send(server.Address())) << printed_;
  ASSERT_TRUE(server.WaitForMail(1));
  EXPECT_EQ(server.Envelope(1), "agent@acme.example\nsecond@acme.example");
  EXPECT_EQ(server.Decoded(1, "Bcc"), "");
  EXPECT_EQ(server.Decoded(1, ""), "text\n");
}

TEST_F(MailComponent, TellsWhatIsMissing) {
  EXPECT_NE(0, Send(""));
  EXPECT_NE(0, Send("mail.acme.example/path"));
  Set(kFrom, "nonsense");
  EXPECT_NE(0, Send("127.0.0.1:1"));
  Set(kFrom, "agent@acme.example");
  Set(kTo, ",");
  EXPECT_NE(0, Send("127.0.0.1:1"));
  EXPECT_THAT(log_.errors,
              ElementsAre("no mail server: ", "no mail server: mail.acme.example/path",
                          "not the address of a sender: nonsense", "nobody to send it to"));
}

TEST_F(MailComponent, TellsThatNobodyListens) {
  EXPECT_NE(0, Send("127.0.0.1:1"));
  ASSERT_THAT(log_.errors, ::testing::SizeIs(1));
  EXPECT_THAT(log_.errors[0], HasSubstr("127.0.0.1:1: Failed to connect"));
  EXPECT_EQ(printed_, "mail: " + log_.errors[0] + "\n");
}

TEST_F(MailComponent, DoesNothingForAnotherMethodOrWithoutAHandle) {
  EXPECT_EQ(0, FileMailer_Do(mailer_, 5, 0, nullptr, nullptr));
  EXPECT_EQ(1, FileMailer_Do(nullptr, 11, 0, nullptr, nullptr));
  EXPECT_EQ(1, FileMailer_Set(nullptr, 22, 0, "x", 0));
  EXPECT_EQ(0, FileMailer_Destroy(nullptr));
  EXPECT_THAT(log_.events, IsEmpty());
}

}  // namespace
}  // namespace wkagent::test
