#include <string>
#include <vector>

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
using ::testing::IsEmpty;

class ElaConfig : public ReaderFixture<Login> {
 protected:
  // The set operations and conditions of a statement read from these elements.
  std::vector<int> Codes(const std::string& elements) {
    const WKELAFilterStatement& statement = ReadOne(elements);
    std::vector<int> codes;
    for (int i = 0; i < 2; ++i) {
      if (statement.operations[i] != 0) codes.push_back(21001 + i);
    }
    for (int i = 0; i < 3; ++i) {
      if (statement.conditions[i] != 0) codes.push_back(705 + i);
    }
    return codes;
  }
};

std::string Operation(const std::string& eventId, const std::string& condition) {
  return "<Operation EventId=\"" + eventId + "\" Condition=\"" + condition + "\"/>";
}

TEST_F(ElaConfig, StartsWithoutStatements) {
  EXPECT_EQ(nullptr, reader_.currentStatement);
  EXPECT_THAT(Statements(), IsEmpty());
}

TEST_F(ElaConfig, FilterAttributesSetTitleAndFlags) {
  const WKELAFilterStatement& statement = ReadAttributes(
      "Title=\"*Logins*\" IncludeExclude=\"1\" Enabled=\"*1*\" AllDay=\"1\""
      " StartTime=\"08:00:00 AM\" EndTime=\"05:00:00 PM\" Context=\"O=acme\"");
  EXPECT_STREQ("Logins", statement.title);
  EXPECT_TRUE(statement.include && statement.enabled && statement.allDay);
}

TEST_F(ElaConfig, MissingFilterAttributesReadAsEmptyAndFalse) {
  const WKELAFilterStatement& statement = ReadAttributes("");
  EXPECT_STREQ("", statement.title);
  EXPECT_FALSE(statement.include || statement.enabled || statement.allDay);
}

TEST_F(ElaConfig, EachFilterFlagIsReadFromItsOwnAttribute) {
  for (const std::string on : {"IncludeExclude", "Enabled", "AllDay"}) {
    const WKELAFilterStatement& statement = ReadAttributes(on + "=\"1\"");
    EXPECT_EQ(on == "IncludeExclude", statement.include);
    EXPECT_EQ(on == "Enabled", statement.enabled);
    EXPECT_EQ(on == "AllDay", statement.allDay);
  }
}

TEST_F(ElaConfig, StatementKeepsItsOtherDefaults) {
  WKELAFilterStatement& statement = ReadOne("");
  EXPECT_FALSE(statement.allNodes || statement.allUsers || statement.allOperations);
  EXPECT_THAT(statement.operations, Each(0));
  EXPECT_THAT(statement.conditions, Each(0));
}

TEST_F(ElaConfig, OperationSetsItsCodeAndItsCondition) {
  EXPECT_THAT(Codes(Operation("21001", "705")), ElementsAre(21001, 705));
  EXPECT_THAT(Codes(Operation("21001", "706")), ElementsAre(21001, 706));
  EXPECT_THAT(Codes(Operation("21002", "707")), ElementsAre(21002, 707));
}

TEST_F(ElaConfig, ConditionThatIsMissingOrNoNumberIsTheFirst) {
  EXPECT_THAT(Codes("<Operation EventId=\"21001\"/>"), ElementsAre(21001, 705));
  for (const char* condition : {"0", "-1", "", "x", "*", "-99999999999"}) {
    EXPECT_THAT(Codes(Operation("21001", condition)), ElementsAre(21001, 705)) << condition;
  }
}

TEST_F(ElaConfig, OtherConditionsSetNothing) {
  for (const char* condition : {"1", "704", "708", "2147483647"}) {
    EXPECT_THAT(Codes(Operation("21002", condition)), ElementsAre(21002)) << condition;
  }
}

TEST_F(ElaConfig, OtherOperationsSetTheirConditionAlone) {
  // 4294988297 is 21001 beyond 32 bits, of which the low ones count.
  for (const char* eventId : {"21000", "21003", "20001", "0", "", "login"}) {
    EXPECT_THAT(Codes(Operation(eventId, "706")), ElementsAre(706)) << eventId;
  }
  EXPECT_THAT(Codes(Operation("4294988297", "4294968001")), ElementsAre(21001, 705));
}

TEST_F(ElaConfig, OperationsAddUp) {
  EXPECT_THAT(
      Codes(Operation("21001", "706") + Operation("21002", "707") + Operation("21001", "0")),
      ElementsAre(21001, 21002, 705, 706, 707));
}

TEST_F(ElaConfig, NodesAreKeptAsWritten) {
  WKELAFilterStatement& statement =
      ReadOne("<Node Name=\"CN=ws1,OU=sales\"/><Node Name=\"*10.0.*\"/>");
  EXPECT_THAT(Entries(statement.nodes), ElementsAre("CN=ws1,OU=sales", "10.0."));
}

TEST_F(ElaConfig, ElementsOfDirectoryStatementsAreIgnored) {
  WKELAFilterStatement& statement = ReadOne(
      "<Objects AllObjects=\"1\"><Object Name=\"a\"/></Objects><Class Name=\"b\"/>"
      "<Attribute Name=\"c\"/><AttributeValue Name=\"d\"/>");
  EXPECT_EQ(0, statement.users.GetCount() + statement.nodes.GetCount());
}

}  // namespace
}  // namespace wkagent::test
