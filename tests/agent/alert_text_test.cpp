#include "agent/alert_text.h"

#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/event_codes.h"
#include "agent/field_text.h"
#include "support/local_time.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class AlertTextTest : public ::testing::Test {
 protected:
  AlertTextTest() {
    event_.EventID = kValueAdded;
    event_.EventTime = 1795219199;  // 2026-11-20T23:59:59Z
    SetField(event_.Object1, "bob.sales.acme");
  }

  const TimeZone zone_{"UTC"};
  tagWKEventData event_{};
};

TEST_F(AlertTextTest, TellsWhatWhoWhereAndWhen) {
  SetField(event_.Attribute1, "title");
  SetField(event_.AttributeValue, "clerk");
  SetField(event_.UserName, "admin.acme");
  SetField(event_.NodeAddress, "192.0.2.1");
  EXPECT_EQ(AlertText(event_),
            "attribute value added: bob.sales.acme, title=clerk; by admin.acme from 192.0.2.1 at "
            "2026-11-20 23:59:59, status 0");
}

TEST_F(AlertTextTest, LeavesOutWhatIsNotKnown) {
  event_.EventID = kEntryDeleted;
  EXPECT_EQ(AlertText(event_), "object deleted: bob.sales.acme at 2026-11-20 23:59:59, status 0");
}

TEST_F(AlertTextTest, NamesTheMemberOfAGroupAndTheStatus) {
  event_.EventID = kMembershipAdded;
  event_.Status = -669;
  SetField(event_.Object2, "admins.acme");
  EXPECT_EQ(AlertText(event_),
            "membership added: bob.sales.acme, admins.acme at 2026-11-20 23:59:59, status -669");
}

TEST_F(AlertTextTest, NamesEveryCode) {
  for (unsigned short code = kEntryAdded; code <= kSchemaChanged; ++code) {
    event_.EventID = code;
    EXPECT_THAT(AlertText(event_), ::testing::Not(StartsWith("event "))) << code;
  }
  event_.EventID = 30000;
  EXPECT_THAT(AlertText(event_), StartsWith("event 30000: bob"));
}

TEST_F(AlertTextTest, IsOneLine) {
  std::memset(event_.Object1, '\n', 20);
  event_.Object1[5] = '\x7F';
  EXPECT_EQ(AlertText(event_).find_first_of("\n\x7F"), std::string::npos);
}

TEST_F(AlertTextTest, FitsAnAlertAndEndsWithAWholeCharacter) {
  std::string text;
  while (text.size() < 280) text += "\xC3\xBC";
  SetField(event_.AttributeValue, text);
  const std::string alert = AlertText(event_);
  EXPECT_LE(alert.size(), 255u);
  EXPECT_GE(alert.size(), 254u);
  EXPECT_FALSE(IsBinary(alert));
}

}  // namespace
}  // namespace wkagent::test
