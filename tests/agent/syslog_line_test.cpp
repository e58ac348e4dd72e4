#include "agent/syslog_line.h"

#include <cstdint>
#include <cstring>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/field_text.h"

namespace wkagent::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

tagWKEventData Change() {
  tagWKEventData event{};
  event.EventID = 20005;
  event.EventTime = 1795219199;  // 2026-11-20T23:59:59Z
  return event;
}

class SyslogLineTest : public ::testing::Test {
 protected:
  // The line of a change with this attribute value.
  const std::string& WithValue(const std::string& value) {
    tagWKEventData event = Change();
    SetField(event.AttributeValue, value);
    return line_.Format(event, "EDA");
  }

  SyslogLine line_{"ldap1.acme.example", 4711};
};

TEST_F(SyslogLineTest, OfAFullEventHoldsEveryFieldInTheRecordsOrder) {
  tagWKEventData event = Change();
  SetField(event.UserName, "admin.acme");
  SetField(event.NodeAddress, "192.0.2.1");
  SetField(event.Class1, "User");
  SetField(event.Object1, "bob.sales.acme");
  SetField(event.Attribute1, "title");
  SetField(event.AttributeValue, "clerk");
  SetField(event.Class2, "Group");
  SetField(event.Object2, "clerks.acme");
  SetField(event.ServerName, "ldap1");
  SetField(event.TreeName, "acme");
  EXPECT_EQ(line_.Format(event, "EDA"),
            "<110>1 2026-11-20T23:59:59Z ldap1.acme.example wkagentd 4711 EDA "
            "[wkaudit@32473 EventID=\"20005\" Status=\"0\" UserName=\"admin.acme\" "
            "NodeAddress=\"192.0.2.1\" Class1=\"User\" Object1=\"bob.sales.acme\" "
            "Attribute1=\"title\" AttributeValue=\"clerk\" Class2=\"Group\" "
            "Object2=\"clerks.acme\" ServerName=\"ldap1\" TreeName=\"acme\"]");
}

TEST_F(SyslogLineTest, LeavesEmptyFieldsOut) {
  EXPECT_EQ(line_.Format(Change(), "ELA"),
            "<110>1 2026-11-20T23:59:59Z ldap1.acme.example wkagentd 4711 ELA "
            "[wkaudit@32473 EventID=\"20005\" Status=\"0\"]");
}

TEST_F(SyslogLineTest, IsAWarningWhereTheStatusIsNot0) {
  tagWKEventData event = Change();
  event.Status = -669;
  EXPECT_THAT(line_.Format(event, "ELA"),
              AllOf(StartsWith("<108>1 "), HasSubstr(" Status=\"-669\"]")));
}

TEST_F(SyslogLineTest, EscapesWhatEndsAValue) {
  EXPECT_THAT(WithValue(R"(a"b\c]d)"), EndsWith(R"( AttributeValue="a\"b\\c\]d"])"));
}

TEST_F(SyslogLineTest, EscapesControlCharactersByTheirOctalNumber) {
  EXPECT_THAT(WithValue("a\tb\nc\rd\x7F"), EndsWith("=\"a#011b#012c#015d#177\"]"));
  EXPECT_THAT(WithValue("a\xC2\x85z\xC2\x9F\xC2\x80"), EndsWith("=\"a#205z#237#200\"]"));
}

TEST_F(SyslogLineTest, LeavesOtherCharactersAsTheyAre) {
  EXPECT_THAT(WithValue("Z\xC3\xBCrich \xC2\xA0\xF0\x9F\x94\x91 ~"),
              EndsWith("=\"Z\xC3\xBCrich \xC2\xA0\xF0\x9F\x94\x91 ~\"]"));
}

TEST_F(SyslogLineTest, NeverHoldsALineFeed) {
  tagWKEventData event = Change();
  std::memset(event.Object1, '\n', sizeof(event.Object1));
  EXPECT_THAT(line_.Format(event, "EDA"), Not(HasSubstr("\n")));
}

TEST_F(SyslogLineTest, TakesAFieldWithoutTerminatorAsLongAsItIs) {
  tagWKEventData event = Change();
  std::memset(event.NodeAddress, 'n', sizeof(event.NodeAddress));
  EXPECT_THAT(line_.Format(event, "EDA"),
              EndsWith(" NodeAddress=\"" + std::string(sizeof(event.NodeAddress), 'n') + "\"]"));
}

TEST_F(SyslogLineTest, BearsTheTimeOfEachEvent) {
  tagWKEventData event = Change();
  (void)line_.Format(event, "EDA");
  ++event.EventTime;
  EXPECT_THAT(line_.Format(event, "EDA"), StartsWith("<110>1 2026-11-21T00:00:00Z "));
  event.EventTime = 0;
  EXPECT_THAT(line_.Format(event, "EDA"), StartsWith("<110>1 1970-01-01T00:00:00Z "));
}

TEST_F(SyslogLineTest, HasNoTimeWhereTheStandardCannotWriteIt) {
  tagWKEventData event = Change();
  for (const std::time_t time :
       {std::numeric_limits<std::time_t>::max(), std::numeric_limits<std::time_t>::min(),
        std::time_t{253402300800}, std::time_t{-62167219201}}) {
    event.EventTime = time;
    EXPECT_THAT(line_.Format(event, "EDA"), StartsWith("<110>1 - ldap1")) << time;
  }
}

TEST(SyslogLineOrigin, IsADashWhereTheHostHasNoUsableName) {
  for (const char* host : {"", "a b", "a\tb", "z\xC3\xBCrich"}) {
    SyslogLine line(host, 1);
    EXPECT_THAT(line.Format(Change(), "EDA"), HasSubstr("Z - wkagentd 1 EDA ")) << host;
  }
  SyslogLine longest(std::string(255, 'h'), 1);
  EXPECT_THAT(longest.Format(Change(), "EDA"), HasSubstr(" " + std::string(255, 'h') + " "));
  SyslogLine tooLong(std::string(256, 'h'), 1);
  EXPECT_THAT(tooLong.Format(Change(), "EDA"), HasSubstr("Z - wkagentd"));
}

}  // namespace
}  // namespace wkagent::test
