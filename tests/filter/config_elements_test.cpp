#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_support.h"
#include "reader_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

// The elements of a statement, as the kind's tables have them.
template <typename Kind>
class ConfigElements : public ReaderFixture<Kind> {};
TYPED_TEST_SUITE(ConfigElements, FilterKinds, KindName);

// An element of one attribute.
template <typename Statement>
std::string Flag(const FlagElement<Statement>& entry, const std::string& value) {
  return std::string("<") + entry.element + " " + entry.attribute + "=\"" + value + "\"/>";
}

TYPED_TEST(ConfigElements, EachFlagElementSetsItsFlagAlone) {
  for (const auto& entry : TypeParam::kFlagElements) {
    typename TypeParam::Statement& statement = this->ReadOne(Flag(entry, "1"));
    for (const auto& other : TypeParam::kFlagElements) {
      EXPECT_EQ(&entry == &other, other.get(statement))
          << entry.element << " and " << other.element;
    }
  }
}

TYPED_TEST(ConfigElements, AnyNumberButZeroIsTrue) {
  for (const auto& entry : TypeParam::kFlagElements) {
    for (const char* value : {"1", "2", "-1", "*1*", "007", "99999999999999999999"}) {
      EXPECT_TRUE(entry.get(this->ReadOne(Flag(entry, value)))) << entry.element << " " << value;
    }
    for (const char* value : {"0", "00", "-0", "", "true", "yes", "*", "x1"}) {
      EXPECT_FALSE(entry.get(this->ReadOne(Flag(entry, value)))) << entry.element << " " << value;
    }
  }
}

TYPED_TEST(ConfigElements, MissingFlagAttributeIsFalse) {
  for (const auto& entry : TypeParam::kFlagElements) {
    EXPECT_FALSE(entry.get(this->ReadOne(std::string("<") + entry.element + "/>")))
        << entry.element;
  }
}

TYPED_TEST(ConfigElements, LastFlagElementOfAKindCounts) {
  for (const auto& entry : TypeParam::kFlagElements) {
    EXPECT_FALSE(entry.get(this->ReadOne(Flag(entry, "1") + Flag(entry, "0")))) << entry.element;
    EXPECT_TRUE(entry.get(this->ReadOne(Flag(entry, "0") + Flag(entry, "1")))) << entry.element;
  }
}

template <typename Statement>
std::string Name(const NameElement<Statement>& entry, const std::string& value) {
  return std::string("<") + entry.element + " Name=\"" + value + "\"/>";
}

TYPED_TEST(ConfigElements, EachNameElementAppendsToItsListAlone) {
  for (const auto& entry : TypeParam::kNameElements) {
    typename TypeParam::Statement& statement =
        this->ReadOne(Name(entry, "one") + Name(entry, "two"));
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("one", "two")) << entry.element;
    for (const auto& other : TypeParam::kNameElements) {
      EXPECT_EQ(&entry == &other ? 2 : 0, other.list(statement).GetCount())
          << entry.element << " and " << other.element;
    }
  }
}

TYPED_TEST(ConfigElements, NamesOfUsersAndObjectsAloneAreConverted) {
  for (const auto& entry : TypeParam::kNameElements) {
    typename TypeParam::Statement& statement = this->ReadOne(Name(entry, "CN=admin,OU=sales"));
    EXPECT_THAT(Entries(entry.list(statement)),
                ElementsAre(entry.converted ? "admin.sales" : "CN=admin,OU=sales"))
        << entry.element;
  }
}

TYPED_TEST(ConfigElements, StarsAtTheEndsOfANameAreDropped) {
  for (const auto& entry : TypeParam::kNameElements) {
    typename TypeParam::Statement& statement = this->ReadOne(
        Name(entry, "*bob*") + Name(entry, "*bob") + Name(entry, "bob*") + Name(entry, "b*b"));
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("bob", "bob", "bob", "b*b"))
        << entry.element;
  }
}

TYPED_TEST(ConfigElements, NameOfStarsAlone) {
  for (const auto& entry : TypeParam::kNameElements) {
    typename TypeParam::Statement& statement = this->ReadOne(Name(entry, "*") + Name(entry, "**"));
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("", "*")) << entry.element;
  }
}

TYPED_TEST(ConfigElements, MissingNameIsAnEmptyEntry) {
  for (const auto& entry : TypeParam::kNameElements) {
    typename TypeParam::Statement& statement =
        this->ReadOne(std::string("<") + entry.element + " name=\"bob\"/>");
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("")) << entry.element;
  }
}

constexpr char kMailTexts[] = "From=\"from\" Subject=\"subject\" To=\"to\" Cc=\"cc\"/>";

TYPED_TEST(ConfigElements, WantedMailReadsItsFourTexts) {
  typename TypeParam::Statement& statement =
      this->ReadOne(std::string("<SMTP Alert=\"1\" ") + kMailTexts);
  EXPECT_TRUE(statement.IsSMTPAlertSet());
  EXPECT_STREQ("from", statement.smtpAlert.GetFrom());
  EXPECT_STREQ("subject", statement.smtpAlert.GetSubject());
  EXPECT_STREQ("to", statement.smtpAlert.GetTo());
  EXPECT_STREQ("cc", statement.smtpAlert.GetCC());
}

TYPED_TEST(ConfigElements, UnwantedMailLeavesItsTextsUnread) {
  typename TypeParam::Statement& statement =
      this->ReadOne(std::string("<SMTP Alert=\"0\" ") + kMailTexts);
  EXPECT_FALSE(statement.IsSMTPAlertSet());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetFrom());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetSubject());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetTo());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetCC());
}

TYPED_TEST(ConfigElements, MissingMailTextsAreEmpty) {
  typename TypeParam::Statement& statement =
      this->ReadOne("<SMTP Alert=\"1\" To=\"*ops*\" CC=\"unread\"/>");
  EXPECT_STREQ("ops", statement.smtpAlert.GetTo());
  EXPECT_STREQ("", statement.smtpAlert.GetCC());
  EXPECT_STREQ("", statement.smtpAlert.GetFrom());
  EXPECT_STREQ("", statement.smtpAlert.GetSubject());
}

TYPED_TEST(ConfigElements, LaterMailElementSwitchesOffButKeepsTheTexts) {
  typename TypeParam::Statement& statement =
      this->ReadOne(std::string("<SMTP Alert=\"1\" ") + kMailTexts + "<SMTP Alert=\"0\"/>");
  EXPECT_FALSE(statement.IsSMTPAlertSet());
  EXPECT_STREQ("to", statement.smtpAlert.GetTo());
}

TYPED_TEST(ConfigElements, ElementsBeforeTheFirstFilterAreIgnored) {
  std::string before;
  for (const auto& entry : TypeParam::kFlagElements) before += Flag(entry, "1");
  for (const auto& entry : TypeParam::kNameElements) before += Name(entry, "before");
  this->ReadElements(before + "<Operation EventId=\"20001\"/><Operation EventId=\"21001\"/>" +
                     FilterElement("only"));
  typename TypeParam::Statement& statement = *this->Statements().at(0);
  for (const auto& entry : TypeParam::kFlagElements) EXPECT_FALSE(entry.get(statement));
  for (const auto& entry : TypeParam::kNameElements) EXPECT_EQ(0, entry.list(statement).GetCount());
  EXPECT_THAT(statement.operations, Each(0));
}

}  // namespace
}  // namespace wkagent::test
