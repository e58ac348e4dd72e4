#include <cstring>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/log_recorder.h"

namespace wkagent::test {
namespace {

// A sender, as far as the base carries it.
class Sender : public WKAlert {
 public:
  void Report(const char* text) {
    std::strncpy(statusText, text, sizeof(statusText) - 1);
    LogStatus(statusText);
  }
};

TEST(Alert, HoldsTwoTextsOf256CharactersInTheirOrder) {
  WKAlert alert;
  EXPECT_EQ(sizeof(alert.statusText), 256U);
  EXPECT_EQ(sizeof(alert.message), 256U);
  EXPECT_EQ(alert.statusText + 256, alert.message);
}

TEST(Alert, StartsWithEmptyTextsAndNoCallback) {
  WKAlert alert;
  EXPECT_STREQ(alert.statusText, "");
  EXPECT_STREQ(alert.message, "");
  EXPECT_EQ(alert.logCallback, nullptr);
}

TEST(Alert, ASenderLogsItsStatusTextThroughTheCallback) {
  const LogRecorder log;
  Sender sender;
  sender.InitializeLogMessage(LogRecorder::Callback);
  sender.Report("Mail component not available");
  EXPECT_THAT(log.Messages(), testing::ElementsAre("Mail component not available"));
}

TEST(Alert, ASenderWithoutCallbackLogsToStandardError) {
  Sender sender;
  testing::internal::CaptureStderr();
  sender.Report("Mail component not available");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Mail component not available");
}

}  // namespace
}  // namespace wkagent::test
