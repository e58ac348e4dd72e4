#include <memory>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/alert.h>

#include "support/counted_heap.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

static_assert(std::is_base_of_v<WKAlertObject, WKSMTPAlertObject>);
static_assert(!std::is_copy_constructible_v<WKSMTPAlertObject>);

std::string Shown(const char* text) { return text == nullptr ? "<unset>" : text; }

// The four texts of an object and its flag, in one line.
std::string Show(WKSMTPAlertObject& mail) {
  return Shown(mail.GetTo()) + " " + Shown(mail.GetCC()) + " " + Shown(mail.GetFrom()) + " " +
         Shown(mail.GetSubject()) + (mail.IsSMTPAlertActive() ? " on" : " off");
}

class SmtpAlertObject : public testing::Test {
 protected:
  std::unique_ptr<WKSMTPAlertObject> Clone() {
    return std::unique_ptr<WKSMTPAlertObject>(mail_.Clone());
  }

  WKSMTPAlertObject mail_;
};

TEST_F(SmtpAlertObject, StartsUnsetAndInactive) {
  EXPECT_EQ(mail_.alertType, 1);
  EXPECT_EQ(mail_.alertMessage.Get(), nullptr);
  EXPECT_EQ(mail_.logCallback, nullptr);
  EXPECT_EQ(Show(mail_), "<unset> <unset> <unset> <unset> off");
}

TEST_F(SmtpAlertObject, FieldsStandInTheirOrder) {
  EXPECT_LT(static_cast<void*>(&mail_.alertMessage), static_cast<void*>(&mail_.from));
  EXPECT_LT(&mail_.from, &mail_.subject);
  EXPECT_LT(&mail_.subject, &mail_.to);
  EXPECT_LT(&mail_.to, &mail_.cc);
  EXPECT_LT(static_cast<void*>(&mail_.cc), static_cast<void*>(&mail_.active));
}

TEST_F(SmtpAlertObject, AddSetsAllFourTexts) {
  EXPECT_EQ(mail_.Add("to", "cc", "from", "subject"), 0);
  EXPECT_EQ(Show(mail_), "to cc from subject on");
  EXPECT_STREQ(mail_.to, "to");
  EXPECT_STREQ(mail_.cc, "cc");
  EXPECT_STREQ(mail_.from, "from");
  EXPECT_STREQ(mail_.subject, "subject");
}

TEST_F(SmtpAlertObject, AddWithSenderAndSubjectAloneStaysInactive) {
  EXPECT_EQ(mail_.Add(nullptr, nullptr, "from", "subject"), 0);
  EXPECT_EQ(Show(mail_), "<unset> <unset> from subject off");
}

TEST_F(SmtpAlertObject, AddWithARecipientAloneActivates) {
  mail_.Add("to", nullptr, nullptr, nullptr);
  EXPECT_EQ(Show(mail_), "to <unset> <unset> <unset> on");
}

// All sixteen choices of given and null arguments, on an object that held all four before.
TEST_F(SmtpAlertObject, AddUnsetsWhatIsNullAndIsActiveByToOrCc) {
  for (int given = 0; given < 16; ++given) {
    const auto argument = [given](int bit, const char* text) {
      return (given & bit) != 0 ? text : nullptr;
    };
    mail_.Add("old", "old", "old", "old");
    mail_.Add(argument(1, "to"), argument(2, "cc"), argument(4, "from"), argument(8, "subject"));
    EXPECT_EQ(Show(mail_), Shown(argument(1, "to")) + " " + Shown(argument(2, "cc")) + " " +
                               Shown(argument(4, "from")) + " " + Shown(argument(8, "subject")) +
                               ((given & 3) != 0 ? " on" : " off"));
  }
}

TEST_F(SmtpAlertObject, AnEmptyRecipientIsGiven) {
  mail_.Add("", nullptr, nullptr, "");
  EXPECT_EQ(Show(mail_), " <unset> <unset>  on");
}

TEST_F(SmtpAlertObject, AddCopiesItsTexts) {
  std::string to = "before";
  mail_.Add(to.c_str(), nullptr, nullptr, nullptr);
  to = "after!";
  EXPECT_STREQ(mail_.GetTo(), "before");
}

TEST_F(SmtpAlertObject, ASecondAddReplacesTheFirst) {
  mail_.Add("to", "cc", "from", "subject");
  EXPECT_EQ(mail_.Add("to2", nullptr, "from2", nullptr), 0);
  EXPECT_EQ(Show(mail_), "to2 <unset> from2 <unset> on");
}

TEST_F(SmtpAlertObject, AddTakesItsOwnTexts) {
  mail_.Add("a", "b", "c", "d");
  mail_.Add(mail_.GetTo(), mail_.GetCC(), mail_.GetFrom(), mail_.GetSubject());
  EXPECT_EQ(Show(mail_), "a b c d on");
  mail_.Add(mail_.GetSubject(), mail_.GetFrom(), mail_.GetCC(), mail_.GetTo());
  EXPECT_EQ(Show(mail_), "d c b a on");
}

TEST_F(SmtpAlertObject, AddTurnsTheFlagBackOn) {
  mail_.Add("to", nullptr, nullptr, nullptr);
  mail_.SetSMTPAlert(false);
  mail_.Add("to", nullptr, nullptr, nullptr);
  EXPECT_TRUE(mail_.IsSMTPAlertActive());
  mail_.Add(nullptr, nullptr, nullptr, nullptr);
  EXPECT_FALSE(mail_.IsSMTPAlertActive());
}

TEST_F(SmtpAlertObject, AddLeavesTheMessage) {
  mail_.SetAlertMessage(Text("message"));
  mail_.Add("to", nullptr, nullptr, nullptr);
  mail_.Clear();
  EXPECT_STREQ(mail_.alertMessage, "message");
}

TEST_F(SmtpAlertObject, ClearUnsetsAllButTheSubject) {
  mail_.Add("to", "cc", "from", "subject");
  mail_.Clear();
  EXPECT_EQ(Show(mail_), "<unset> <unset> <unset> subject off");
  mail_.Clear();
  EXPECT_EQ(Show(mail_), "<unset> <unset> <unset> subject off");
}

TEST_F(SmtpAlertObject, AClearedObjectIsFilledAnew) {
  mail_.Add("to", "cc", "from", "subject");
  mail_.Clear();
  mail_.SetSubject(Text("new"));
  EXPECT_STREQ(mail_.GetSubject(), "new");
  mail_.Clear();
  mail_.Add(nullptr, "cc2", nullptr, nullptr);
  EXPECT_EQ(Show(mail_), "<unset> cc2 <unset> <unset> on");
}

TEST_F(SmtpAlertObject, ClearOfAFreshObjectChangesNothing) {
  mail_.Clear();
  EXPECT_EQ(Show(mail_), "<unset> <unset> <unset> <unset> off");
}

TEST_F(SmtpAlertObject, EachSetterSetsItsText) {
  mail_.SetTo(Text("to"));
  EXPECT_EQ(Show(mail_), "to <unset> <unset> <unset> off");
  mail_.SetCC(Text("cc"));
  EXPECT_EQ(Show(mail_), "to cc <unset> <unset> off");
  mail_.SetFrom(Text("from"));
  EXPECT_EQ(Show(mail_), "to cc from <unset> off");
  mail_.SetSubject(Text("subject"));
  EXPECT_EQ(Show(mail_), "to cc from subject off");
}

TEST_F(SmtpAlertObject, SettersLeaveTheFlag) {
  mail_.SetSMTPAlert(true);
  mail_.SetTo(Text("to"));
  mail_.SetFrom(Text("from"));
  EXPECT_TRUE(mail_.IsSMTPAlertActive());
}

TEST_F(SmtpAlertObject, ASecondSetterCallReplacesTheText) {
  for (const char* text : {"first", "second, which is much longer than the first", ""}) {
    mail_.SetTo(Text(text));
    mail_.SetCC(Text(text));
    mail_.SetFrom(Text(text));
    mail_.SetSubject(Text(text));
    EXPECT_STREQ(mail_.GetTo(), text);
    EXPECT_STREQ(mail_.GetCC(), text);
    EXPECT_STREQ(mail_.GetFrom(), text);
    EXPECT_STREQ(mail_.GetSubject(), text);
  }
}

TEST_F(SmtpAlertObject, SettersIgnoreNull) {
  mail_.SetTo(nullptr);
  EXPECT_EQ(mail_.GetTo(), nullptr);
  mail_.Add("to", "cc", "from", "subject");
  mail_.SetTo(nullptr);
  mail_.SetCC(nullptr);
  mail_.SetFrom(nullptr);
  mail_.SetSubject(nullptr);
  EXPECT_EQ(Show(mail_), "to cc from subject on");
}

TEST_F(SmtpAlertObject, SettersTakeTheObjectsOwnTexts) {
  mail_.Add("recipient", "copy", nullptr, nullptr);
  mail_.SetTo(mail_.to);
  mail_.SetCC(mail_.cc + 2);
  mail_.SetFrom(mail_.to);
  EXPECT_EQ(Show(mail_), "recipient py recipient <unset> on");
}

TEST_F(SmtpAlertObject, TextsAreNotCut) {
  const std::string list(100000, 'x');
  mail_.Add(list.c_str(), nullptr, nullptr, nullptr);
  mail_.SetSubject(Text(list));
  EXPECT_EQ(mail_.GetTo(), list);
  EXPECT_EQ(mail_.GetSubject(), list);
}

TEST_F(SmtpAlertObject, SetSmtpAlertSetsTheFlagAlone) {
  mail_.SetSMTPAlert(true);
  EXPECT_EQ(Show(mail_), "<unset> <unset> <unset> <unset> on");
  mail_.SetSMTPAlert(true);
  EXPECT_TRUE(mail_.IsSMTPAlertActive());
  mail_.SetSMTPAlert(false);
  EXPECT_FALSE(mail_.IsSMTPAlertActive());
}

TEST_F(SmtpAlertObject, ACloneHasTheSameTexts) {
  mail_.Add("to", "cc", "from", "subject");
  EXPECT_EQ(Show(*Clone()), "to cc from subject on");
  mail_.Add(nullptr, "cc", nullptr, nullptr);
  EXPECT_EQ(Show(*Clone()), "<unset> cc <unset> <unset> on");
}

TEST_F(SmtpAlertObject, ACloneWithARecipientIsActiveWhateverTheFlag) {
  mail_.Add("to", nullptr, nullptr, nullptr);
  mail_.SetSMTPAlert(false);
  EXPECT_TRUE(Clone()->IsSMTPAlertActive());
  EXPECT_FALSE(mail_.IsSMTPAlertActive());
}

TEST_F(SmtpAlertObject, ACloneWithoutRecipientIsInactiveWhateverTheFlag) {
  mail_.Add(nullptr, nullptr, "from", "subject");
  mail_.SetSMTPAlert(true);
  EXPECT_EQ(Show(*Clone()), "<unset> <unset> from subject off");
  EXPECT_TRUE(mail_.IsSMTPAlertActive());
}

TEST_F(SmtpAlertObject, ACloneHasTheSameCallbackAndType) {
  mail_.InitializeLogMessage(LogRecorder::Callback);
  mail_.alertType = 9;
  const auto clone = Clone();
  EXPECT_EQ(clone->logCallback, &LogRecorder::Callback);
  EXPECT_EQ(clone->alertType, 9);
}

TEST_F(SmtpAlertObject, ACloneHasNoMessage) {
  mail_.SetAlertMessage(Text("message"));
  EXPECT_EQ(Clone()->alertMessage.Get(), nullptr);
}

TEST_F(SmtpAlertObject, ACloneAndItsOriginalDoNotShareTexts) {
  mail_.Add("to", nullptr, nullptr, nullptr);
  const auto clone = Clone();
  mail_.SetTo(Text("other"));
  clone->SetFrom(Text("from"));
  EXPECT_EQ(Show(*clone), "to <unset> from <unset> on");
  EXPECT_EQ(Show(mail_), "other <unset> <unset> <unset> on");
}

TEST_F(SmtpAlertObject, ACloneOutlivesItsOriginal) {
  auto original = std::make_unique<WKSMTPAlertObject>();
  original->Add("to", "cc", "from", "subject");
  const std::unique_ptr<WKSMTPAlertObject> clone(original->Clone());
  const std::unique_ptr<WKSMTPAlertObject> second(clone->Clone());
  original.reset();
  EXPECT_EQ(Show(*clone), "to cc from subject on");
  EXPECT_EQ(Show(*second), "to cc from subject on");
}

TEST_F(SmtpAlertObject, EveryTextIsReleased) {
  const long before = LiveBlocks();
  {
    WKSMTPAlertObject mail;
    mail.Add("to", "cc", "from", "subject");
    mail.SetTo(Text("to2"));
    mail.SetSubject(Text("subject2"));
    mail.Clear();
    mail.SetSubject(Text("subject3"));
    mail.SetAlertMessage(Text("message"));
    const std::unique_ptr<WKSMTPAlertObject> clone(mail.Clone());
    mail.Add("to3", nullptr, nullptr, nullptr);
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace wkagent::test
