#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "eda_config_fixture.h"
#include "filter_support.h"

namespace wkagent::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class EdaConfig : public EdaConfigFixture {};

TEST_F(EdaConfig, StartsWithoutStatements) {
  EXPECT_EQ(nullptr, reader_.currentStatement);
  CLinkList out;
  reader_.GetFilterStatements(out);
  EXPECT_EQ(0, out.GetCount());
}

TEST_F(EdaConfig, FileWithoutFilterElementsHasNoStatements) {
  ReadElements("<Other/>");
  EXPECT_THAT(Statements(), IsEmpty());
  EXPECT_EQ(nullptr, reader_.currentStatement);
}

TEST_F(EdaConfig, EachFilterElementIsAStatementInFileOrder) {
  ReadElements(FilterElement("one") + FilterElement("two") + FilterElement("three"));
  EXPECT_THAT(Titles(), ElementsAre("one", "two", "three"));
  EXPECT_EQ(Statements().back(), reader_.currentStatement);
}

TEST_F(EdaConfig, FilterAttributesSetTitleFlagsAndContext) {
  const WKEDAFilterStatement& statement = ReadAttributes(
      "Title=\"Sales\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" StartTime=\"08:00:00 AM\""
      " EndTime=\"05:00:00 PM\" Context=\"OU=sales,O=acme\" IncludeSubContainers=\"1\"");
  EXPECT_STREQ("Sales", statement.title);
  EXPECT_TRUE(statement.include);
  EXPECT_TRUE(statement.enabled);
  EXPECT_TRUE(statement.allDay);
  EXPECT_STREQ("sales.acme", statement.auditedContext);
  EXPECT_FALSE(statement.allEDirectory);
  EXPECT_TRUE(statement.auditSubContexts);
}

TEST_F(EdaConfig, EachFilterFlagIsReadFromItsOwnAttribute) {
  for (const std::string on : {"IncludeExclude", "Enabled", "AllDay", "IncludeSubContainers"}) {
    std::string attributes;
    for (const std::string name : {"IncludeExclude", "Enabled", "AllDay", "IncludeSubContainers"}) {
      attributes += name + (name == on ? "=\"1\" " : "=\"0\" ");
    }
    const WKEDAFilterStatement& statement = ReadAttributes(attributes);
    EXPECT_EQ(on == "IncludeExclude", statement.include);
    EXPECT_EQ(on == "Enabled", statement.enabled);
    EXPECT_EQ(on == "AllDay", statement.allDay);
    EXPECT_EQ(on == "IncludeSubContainers", statement.auditSubContexts);
  }
}

TEST_F(EdaConfig, IncludeExcludeZeroMakesAnExcludeStatement) {
  EXPECT_TRUE(ReadAttributes("IncludeExclude=\"0\"").IsExcluded());
  EXPECT_FALSE(ReadAttributes("IncludeExclude=\"1\"").IsExcluded());
}

TEST_F(EdaConfig, EmptyContextCoversTheWholeDirectory) {
  WKEDAFilterStatement& statement = ReadOne(kAllElements);
  EXPECT_TRUE(statement.allEDirectory);
  EXPECT_EQ(nullptr, statement.auditedContext.Get());
  Event event;
  for (const char* object : {"jsmith", "jsmith.sales.acme", ".", "[Root]"}) {
    event.object = object;
    EXPECT_TRUE(Passes(statement, event)) << object;
  }
}

TEST_F(EdaConfig, MissingFilterAttributesReadAsEmptyAndFalse) {
  const WKEDAFilterStatement& statement = ReadAttributes("");
  EXPECT_STREQ("", statement.title);
  EXPECT_FALSE(statement.include || statement.enabled || statement.allDay);
  EXPECT_FALSE(statement.auditSubContexts);
  EXPECT_TRUE(statement.allEDirectory);
}

TEST_F(EdaConfig, StatementKeepsItsOtherDefaults) {
  WKEDAFilterStatement& statement = ReadOne("");
  EXPECT_TRUE(statement.allNodes);
  EXPECT_FALSE(statement.allUsers || statement.allObjects || statement.allClasses);
  EXPECT_FALSE(statement.allAttributes || statement.allValues || statement.allOperations);
  EXPECT_THAT(statement.operations, Each(0));
  EXPECT_EQ(0, statement.users.GetCount());
}

struct FlagElement {
  const char* element;
  const char* attribute;
  bool (*get)(WKEDAFilterStatement&);
};

constexpr FlagElement kFlagElements[] = {
    {"Operations", "AllOperations", [](WKEDAFilterStatement& read) { return read.allOperations; }},
    {"Users", "AllUsers", [](WKEDAFilterStatement& read) { return read.allUsers; }},
    {"Objects", "AllObjects", [](WKEDAFilterStatement& read) { return read.allObjects; }},
    {"Classes", "AllClasses", [](WKEDAFilterStatement& read) { return read.allClasses; }},
    {"Attributes", "AllAttributes", [](WKEDAFilterStatement& read) { return read.allAttributes; }},
    {"AttributeValues", "AllAttributeValues",
     [](WKEDAFilterStatement& read) { return read.allValues; }},
    {"Action", "ExcludeAlert", [](WKEDAFilterStatement& read) { return read.excludeAlert; }},
    {"SNMP", "Alert", [](WKEDAFilterStatement& read) { return read.IsSNMPAlertSet(); }},
    {"SysLog", "Alert", [](WKEDAFilterStatement& read) { return read.IsSyslogAlertSet(); }},
    {"SMTP", "Alert", [](WKEDAFilterStatement& read) { return read.IsSMTPAlertSet(); }},
};

// An element of one attribute.
std::string Flag(const FlagElement& entry, const std::string& value) {
  return std::string("<") + entry.element + " " + entry.attribute + "=\"" + value + "\"/>";
}

TEST_F(EdaConfig, EachFlagElementSetsItsFlagAlone) {
  for (const FlagElement& entry : kFlagElements) {
    WKEDAFilterStatement& statement = ReadOne(Flag(entry, "1"));
    for (const FlagElement& other : kFlagElements) {
      EXPECT_EQ(&entry == &other, other.get(statement))
          << entry.element << " and " << other.element;
    }
  }
}

TEST_F(EdaConfig, AnyNumberButZeroIsTrue) {
  for (const FlagElement& entry : kFlagElements) {
    for (const char* value : {"1", "2", "-1", "*1*", "007", "99999999999999999999"}) {
      EXPECT_TRUE(entry.get(ReadOne(Flag(entry, value)))) << entry.element << " " << value;
    }
    for (const char* value : {"0", "00", "-0", "", "true", "yes", "*", "x1"}) {
      EXPECT_FALSE(entry.get(ReadOne(Flag(entry, value)))) << entry.element << " " << value;
    }
  }
}

TEST_F(EdaConfig, MissingFlagAttributeIsFalse) {
  for (const FlagElement& entry : kFlagElements) {
    EXPECT_FALSE(entry.get(ReadOne(std::string("<") + entry.element + "/>"))) << entry.element;
  }
}

TEST_F(EdaConfig, LastFlagElementOfAKindCounts) {
  for (const FlagElement& entry : kFlagElements) {
    EXPECT_FALSE(entry.get(ReadOne(Flag(entry, "1") + Flag(entry, "0")))) << entry.element;
    EXPECT_TRUE(entry.get(ReadOne(Flag(entry, "0") + Flag(entry, "1")))) << entry.element;
  }
}

struct NameElement {
  const char* element;
  CLinkList& (*list)(WKEDAFilterStatement&);
  bool converted;
};

constexpr NameElement kNameElements[] = {
    {"User", [](WKEDAFilterStatement& read) -> CLinkList& { return read.users; }, true},
    {"Object", [](WKEDAFilterStatement& read) -> CLinkList& { return read.objects; }, true},
    {"Class", [](WKEDAFilterStatement& read) -> CLinkList& { return read.classes; }, false},
    {"Attribute", [](WKEDAFilterStatement& read) -> CLinkList& { return read.attributes; }, false},
    {"AttributeValue", [](WKEDAFilterStatement& read) -> CLinkList& { return read.values; }, false},
};

std::string Name(const NameElement& entry, const std::string& value) {
  return std::string("<") + entry.element + " Name=\"" + value + "\"/>";
}

TEST_F(EdaConfig, EachNameElementAppendsToItsListAlone) {
  for (const NameElement& entry : kNameElements) {
    WKEDAFilterStatement& statement = ReadOne(Name(entry, "one") + Name(entry, "two"));
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("one", "two")) << entry.element;
    for (const NameElement& other : kNameElements) {
      EXPECT_EQ(&entry == &other ? 2 : 0, other.list(statement).GetCount())
          << entry.element << " and " << other.element;
    }
  }
}

TEST_F(EdaConfig, UserAndObjectNamesAloneAreConverted) {
  for (const NameElement& entry : kNameElements) {
    WKEDAFilterStatement& statement = ReadOne(Name(entry, "CN=admin,OU=sales"));
    EXPECT_THAT(Entries(entry.list(statement)),
                ElementsAre(entry.converted ? "admin.sales" : "CN=admin,OU=sales"))
        << entry.element;
  }
}

TEST_F(EdaConfig, StarsAtTheEndsOfANameAreDropped) {
  for (const NameElement& entry : kNameElements) {
    WKEDAFilterStatement& statement = ReadOne(Name(entry, "*bob*") + Name(entry, "*bob") +
                                              Name(entry, "bob*") + Name(entry, "b*b"));
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("bob", "bob", "bob", "b*b"))
        << entry.element;
  }
}

TEST_F(EdaConfig, NameOfStarsAlone) {
  for (const NameElement& entry : kNameElements) {
    WKEDAFilterStatement& statement = ReadOne(Name(entry, "*") + Name(entry, "**"));
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("", "*")) << entry.element;
  }
}

TEST_F(EdaConfig, MissingNameIsAnEmptyEntry) {
  for (const NameElement& entry : kNameElements) {
    WKEDAFilterStatement& statement = ReadOne(std::string("<") + entry.element + " name=\"bob\"/>");
    EXPECT_THAT(Entries(entry.list(statement)), ElementsAre("")) << entry.element;
  }
}

TEST_F(EdaConfig, StarsAreDroppedFromTitleFlagsContextAndTimes) {
  const WKEDAFilterStatement& statement =
      ReadAttributes("Title=\"*Sales*\" Enabled=\"*1*\" Context=\"*O=acme*\"");
  EXPECT_STREQ("Sales", statement.title);
  EXPECT_TRUE(statement.enabled);
  EXPECT_STREQ("acme", statement.auditedContext);
  EXPECT_TRUE(ReadAttributes("Context=\"*\"").allEDirectory);
}

std::string Operation(const std::string& eventId) {
  return "<Operation EventId=\"" + eventId + "\" Condition=\"706\"/>";
}

TEST_F(EdaConfig, EachOperationSetsItsFlag) {
  for (int code = 20001; code <= 20016; ++code) {
    std::vector<int> expected(16);
    expected[static_cast<std::size_t>(code - 20001)] = 1;
    EXPECT_THAT(ReadOne(Operation(std::to_string(code))).operations, ElementsAreArray(expected));
  }
}

TEST_F(EdaConfig, OperationsAddUp) {
  const WKEDAFilterStatement& statement =
      ReadOne(Operation("20001") + Operation("20016") + Operation("20001"));
  EXPECT_EQ(1, statement.operations[0]);
  EXPECT_EQ(1, statement.operations[15]);
  EXPECT_EQ(0, statement.operations[7]);
}

TEST_F(EdaConfig, OperationOutOfRangeOrNoNumberAddsNothing) {
  // 4294987297 is 20001 beyond 32 bits; 18446744073709571617 is 20001 beyond 64.
  for (const char* eventId : {"20000", "20017", "0", "-20001", "", "create", "4294987297",
                              "18446744073709571617", "-99999999999999999999", "0x4e21"}) {
    EXPECT_THAT(ReadOne(Operation(eventId)).operations, Each(0)) << eventId;
  }
  EXPECT_THAT(ReadOne("<Operation Condition=\"20001\"/>").operations, Each(0));
}

TEST_F(EdaConfig, OperationNeedsNoCondition) {
  EXPECT_EQ(1, ReadOne("<Operation EventId=\"20003\"/>").operations[2]);
}

constexpr char kMailTexts[] = "From=\"from\" Subject=\"subject\" To=\"to\" Cc=\"cc\"/>";

TEST_F(EdaConfig, WantedMailReadsItsFourTexts) {
  WKEDAFilterStatement& statement = ReadOne(std::string("<SMTP Alert=\"1\" ") + kMailTexts);
  EXPECT_TRUE(statement.IsSMTPAlertSet());
  EXPECT_STREQ("from", statement.smtpAlert.GetFrom());
  EXPECT_STREQ("subject", statement.smtpAlert.GetSubject());
  EXPECT_STREQ("to", statement.smtpAlert.GetTo());
  EXPECT_STREQ("cc", statement.smtpAlert.GetCC());
}

TEST_F(EdaConfig, UnwantedMailLeavesItsTextsUnread) {
  WKEDAFilterStatement& statement = ReadOne(std::string("<SMTP Alert=\"0\" ") + kMailTexts);
  EXPECT_FALSE(statement.IsSMTPAlertSet());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetFrom());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetSubject());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetTo());
  EXPECT_EQ(nullptr, statement.smtpAlert.GetCC());
}

TEST_F(EdaConfig, MissingMailTextsAreEmpty) {
  WKEDAFilterStatement& statement = ReadOne("<SMTP Alert=\"1\" To=\"*ops*\" CC=\"unread\"/>");
  EXPECT_STREQ("ops", statement.smtpAlert.GetTo());
  EXPECT_STREQ("", statement.smtpAlert.GetCC());
  EXPECT_STREQ("", statement.smtpAlert.GetFrom());
  EXPECT_STREQ("", statement.smtpAlert.GetSubject());
}

TEST_F(EdaConfig, LaterMailElementSwitchesOffButKeepsTheTexts) {
  WKEDAFilterStatement& statement =
      ReadOne(std::string("<SMTP Alert=\"1\" ") + kMailTexts + "<SMTP Alert=\"0\"/>");
  EXPECT_FALSE(statement.IsSMTPAlertSet());
  EXPECT_STREQ("to", statement.smtpAlert.GetTo());
}

TEST_F(EdaConfig, ElementsBeforeTheFirstFilterAreIgnored) {
  std::string before;
  for (const FlagElement& entry : kFlagElements) before += Flag(entry, "1");
  for (const NameElement& entry : kNameElements) before += Name(entry, "before");
  ReadElements(before + Operation("20001") + FilterElement("only"));
  WKEDAFilterStatement& statement = *Statements().at(0);
  for (const FlagElement& entry : kFlagElements) EXPECT_FALSE(entry.get(statement));
  for (const NameElement& entry : kNameElements) EXPECT_EQ(0, entry.list(statement).GetCount());
  EXPECT_THAT(statement.operations, Each(0));
}

}  // namespace
}  // namespace wkagent::test
