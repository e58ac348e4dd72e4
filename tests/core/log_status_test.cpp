#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LogStatus : public testing::Test {
 protected:
  // What logging `message` writes to standard error.
  std::string Stderr(const std::string& message) {
    testing::internal::CaptureStderr();
    status_.LogStatus(Text(message));
    return testing::internal::GetCapturedStderr();
  }

  LogRecorder log_;
  WKLogStatus status_;
};

static_assert(std::is_same_v<decltype(WKLogStatus::logCallback), void (*)(int, char*, char*)>);

TEST_F(LogStatus, StartsWithoutACallback) { EXPECT_EQ(status_.logCallback, nullptr); }

TEST_F(LogStatus, InitializeLogMessageStoresTheCallback) {
  status_.InitializeLogMessage(LogRecorder::Callback);
  EXPECT_EQ(status_.logCallback, &LogRecorder::Callback);
}

TEST_F(LogStatus, TheCallbackGetsLevelZeroTheMessageAndAnEmptyText) {
  status_.InitializeLogMessage(LogRecorder::Callback);
  status_.LogStatus(Text("archived"));
  ASSERT_EQ(log_.Lines().size(), 1U);
  EXPECT_EQ(log_.Lines()[0].level, 0);
  EXPECT_EQ(log_.Lines()[0].message, "archived");
  EXPECT_EQ(log_.Lines()[0].extra, "");
}

TEST_F(LogStatus, TheCallbackGetsPercentSignsAsTheyAre) {
  status_.InitializeLogMessage(LogRecorder::Callback);
  status_.LogStatus(Text("100%% %s %n\n"));
  status_.LogStatus(Text(""));
  EXPECT_THAT(log_.Messages(), ElementsAre("100%% %s %n\n", ""));
}

TEST_F(LogStatus, WithACallbackStandardErrorStaysEmpty) {
  status_.InitializeLogMessage(LogRecorder::Callback);
  EXPECT_EQ(Stderr("archived"), "");
  EXPECT_THAT(log_.Messages(), ElementsAre("archived"));
}

TEST_F(LogStatus, WithoutACallbackTheMessageGoesToStandardErrorAsItStands) {
  EXPECT_EQ(Stderr("no line end"), "no line end");
  EXPECT_EQ(Stderr("one\ntwo\n"), "one\ntwo\n");
  EXPECT_EQ(Stderr(""), "");
  EXPECT_EQ(Stderr(std::string(100000, 'x')), std::string(100000, 'x'));
}

TEST_F(LogStatus, OnStandardErrorTheMessageIsItsOwnFormat) {
  EXPECT_EQ(Stderr("100%%"), "100%");
  EXPECT_EQ(Stderr("%%%%"), "%%");
  EXPECT_EQ(Stderr("%%s"), "%s");
}

TEST_F(LogStatus, AConversionIsPrintedAsItStands) {
  for (const char* message : {"%s", "%n", "%d of %d", "%1000000d", "%*.*f", "%2$s", "100%", "% "}) {
    EXPECT_EQ(Stderr(message), message);
  }
}

TEST_F(LogStatus, ASecondCallbackReplacesTheFirst) {
  static std::vector<std::string> others;
  others.clear();
  status_.InitializeLogMessage(LogRecorder::Callback);
  status_.InitializeLogMessage([](int, char* text, char*) { others.emplace_back(text); });
  status_.LogStatus(Text("second"));
  EXPECT_THAT(log_.Messages(), IsEmpty());
  EXPECT_THAT(others, ElementsAre("second"));
}

TEST_F(LogStatus, NullRemovesTheCallback) {
  status_.InitializeLogMessage(LogRecorder::Callback);
  status_.InitializeLogMessage(nullptr);
  EXPECT_EQ(Stderr("on stderr"), "on stderr");
  EXPECT_THAT(log_.Messages(), IsEmpty());
}

TEST_F(LogStatus, ANullMessageIsIgnored) {
  testing::internal::CaptureStderr();
  status_.LogStatus(nullptr);
  status_.InitializeLogMessage(LogRecorder::Callback);
  status_.LogStatus(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(log_.Messages(), IsEmpty());
}

TEST_F(LogStatus, EachObjectHasItsOwnCallback) {
  WKLogStatus other;
  other.InitializeLogMessage(LogRecorder::Callback);
  EXPECT_EQ(Stderr("mine"), "mine");
  other.LogStatus(Text("other's"));
  EXPECT_THAT(log_.Messages(), ElementsAre("other's"));
}

TEST_F(LogStatus, TheCallbackMayLogThroughAnotherObject) {
  static WKLogStatus inner;
  inner.InitializeLogMessage(LogRecorder::Callback);
  status_.InitializeLogMessage([](int, char* text, char*) { inner.LogStatus(text); });
  status_.LogStatus(Text("passed on"));
  EXPECT_THAT(log_.Messages(), ElementsAre("passed on"));
}

}  // namespace
}  // namespace wkagent::test
