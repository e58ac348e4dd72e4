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
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class EdaConfig : public ReaderFixture<Directory> {};

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
  DirectoryEvent event;
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
  // 18446744073709571617 is 20001 beyond 64 bits.
  for (const char* eventId : {"20000", "20017", "0", "-20001", "", "create", "18446744073709571617",
                              "-99999999999999999999", "0x4e21"}) {
    EXPECT_THAT(ReadOne(Operation(eventId)).operations, Each(0)) << eventId;
  }
  EXPECT_THAT(ReadOne("<Operation Condition=\"20001\"/>").operations, Each(0));
}

TEST_F(EdaConfig, OperationIsTheLow32BitsOfItsNumber) {
  EXPECT_EQ(1, ReadOne(Operation("4294987297")).operations[0]);
}

TEST_F(EdaConfig, OperationNeedsNoCondition) {
  EXPECT_EQ(1, ReadOne("<Operation EventId=\"20003\"/>").operations[2]);
}

}  // namespace
}  // namespace wkagent::test
