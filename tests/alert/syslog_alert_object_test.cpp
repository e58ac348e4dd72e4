#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/alert.h>

#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

static_assert(std::is_base_of_v<WKAlertObject, WKSyslogAlertObject>);

TEST(SyslogAlertObject, StartsInactiveWithItsType) {
  WKSyslogAlertObject object;
  EXPECT_EQ(object.alertType, 3);
  EXPECT_EQ(object.alertMessage.Get(), nullptr);
  EXPECT_EQ(object.logCallback, nullptr);
  EXPECT_FALSE(object.IsSyslogAlertActive());
}

TEST(SyslogAlertObject, TheFlagIsSetAndUnset) {
  WKSyslogAlertObject object;
  for (const bool on : {true, true, false, false, true}) {
    object.SetSyslogAlert(on);
    EXPECT_EQ(object.IsSyslogAlertActive(), on);
    EXPECT_EQ(object.active, on);
  }
}

TEST(SyslogAlertObject, MessageAndFlagAreApart) {
  WKSyslogAlertObject object;
  object.SetAlertMessage(Text("nine99999"));
  EXPECT_STREQ(object.alertMessage, "nine9999");
  EXPECT_FALSE(object.IsSyslogAlertActive());
}

TEST(SyslogAlertObject, LogsThroughTheHostsCallback) {
  const LogRecorder log;
  WKSyslogAlertObject object;
  object.InitializeLogMessage(LogRecorder::Callback);
  object.LogStatus(Text("status"));
  EXPECT_THAT(log.Messages(), testing::ElementsAre("status"));
}

}  // namespace
}  // namespace wkagent::test
