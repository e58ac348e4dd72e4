#include <cstring>
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

static_assert(std::is_base_of_v<WKLogStatus, WKAlertObject>);
static_assert(!std::is_copy_constructible_v<WKAlertObject>);
static_assert(sizeof(WKAlertObject::alertType) == 4);

TEST(AlertObject, StartsWithItsTypeAndNoMessage) {
  const WKAlertObject object(7);
  EXPECT_EQ(object.alertType, 7);
  EXPECT_EQ(object.alertMessage.Get(), nullptr);
  EXPECT_EQ(object.logCallback, nullptr);
}

TEST(AlertObject, FieldsStandInTheirOrder) {
  const WKAlertObject object(1);
  EXPECT_LT(static_cast<const void*>(&object.logCallback),
            static_cast<const void*>(&object.alertType));
  EXPECT_LT(static_cast<const void*>(&object.alertType),
            static_cast<const void*>(&object.alertMessage));
}

TEST(AlertObject, AMessageOfUpToEightCharactersIsKept) {
  WKAlertObject object(1);
  for (const char* message : {"", "a", "seven77", "eight888"}) {
    object.SetAlertMessage(Text(message));
    EXPECT_STREQ(object.alertMessage, message);
  }
}

TEST(AlertObject, AMessageOfNineCharactersIsCut) {
  WKAlertObject object(1);
  object.SetAlertMessage(Text("nine99999"));
  EXPECT_STREQ(object.alertMessage, "nine9999");
  object.SetAlertMessage(Text(std::string(100000, 'x')));
  EXPECT_STREQ(object.alertMessage, "xxxxxxxx");
}

TEST(AlertObject, ReadsNoMoreOfAMessageThanItKeeps) {
  const std::unique_ptr<char[]> unterminated(new char[8]);
  std::memset(unterminated.get(), 'a', 8);
  WKAlertObject object(1);
  object.SetAlertMessage(unterminated.get());
  EXPECT_STREQ(object.alertMessage, "aaaaaaaa");
}

TEST(AlertObject, TheMessageIsACopy) {
  std::string message = "before";
  WKAlertObject object(1);
  object.SetAlertMessage(message.data());
  message = "after!";
  EXPECT_STREQ(object.alertMessage, "before");
}

TEST(AlertObject, ASecondMessageReplacesTheFirst) {
  WKAlertObject object(1);
  object.SetAlertMessage(Text("first"));
  object.SetAlertMessage(Text("2"));
  EXPECT_STREQ(object.alertMessage, "2");
}

TEST(AlertObject, ANullMessageIsIgnored) {
  WKAlertObject object(1);
  object.SetAlertMessage(nullptr);
  EXPECT_EQ(object.alertMessage.Get(), nullptr);
  object.SetAlertMessage(Text("kept"));
  object.SetAlertMessage(nullptr);
  EXPECT_STREQ(object.alertMessage, "kept");
}

TEST(AlertObject, TakesItsOwnMessageOrAPartOfIt) {
  WKAlertObject object(1);
  object.SetAlertMessage(Text("eight888"));
  object.SetAlertMessage(object.alertMessage);
  EXPECT_STREQ(object.alertMessage, "eight888");
  object.SetAlertMessage(object.alertMessage + 5);
  EXPECT_STREQ(object.alertMessage, "888");
}

TEST(AlertObject, EveryMessageIsReleased) {
  const long before = LiveBlocks();
  {
    WKAlertObject object(1);
    object.SetAlertMessage(Text("first"));
    object.SetAlertMessage(Text("second"));
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

TEST(AlertObject, LogsThroughTheHostsCallback) {
  const LogRecorder log;
  WKAlertObject object(1);
  object.InitializeLogMessage(LogRecorder::Callback);
  object.LogStatus(Text("status"));
  EXPECT_THAT(log.Messages(), testing::ElementsAre("status"));
}

}  // namespace
}  // namespace wkagent::test
