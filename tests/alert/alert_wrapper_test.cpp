#include <climits>
#include <memory>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/alert.h>

#include "support/counted_heap.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

static_assert(std::is_base_of_v<WKLogStatus, AlertWrapper>);
static_assert(!std::is_copy_constructible_v<AlertWrapper>);
static_assert(sizeof(AlertWrapper::alertType) == 4);

WKSMTPAlertObject* NewMail(const char* to) {
  auto* mail = new WKSMTPAlertObject;
  mail->Add(to, nullptr, nullptr, nullptr);
  return mail;
}

TEST(AlertWrapper, StartsWithItsTypeAndNoSettings) {
  for (const int type : {1, 2, 3, 0, -1, INT_MAX}) {
    AlertWrapper wrapper(type);
    EXPECT_EQ(wrapper.GetAlertType(), type);
    EXPECT_EQ(wrapper.alertType, type);
    EXPECT_EQ(wrapper.GetSMTPAlertInfo(), nullptr);
    EXPECT_EQ(wrapper.logCallback, nullptr);
  }
}

TEST(AlertWrapper, FieldsStandInTheirOrder) {
  AlertWrapper wrapper(1);
  EXPECT_LT(static_cast<void*>(&wrapper.logCallback), static_cast<void*>(&wrapper.alertType));
  EXPECT_LT(static_cast<void*>(&wrapper.alertType), static_cast<void*>(&wrapper.smtpAlert));
}

TEST(AlertWrapper, HoldsTheSettingsItWasGiven) {
  WKSMTPAlertObject* const mail = NewMail("ops");
  AlertWrapper wrapper(1);
  wrapper.SetSMTPAlert(mail);
  EXPECT_EQ(wrapper.GetSMTPAlertInfo(), mail);
  EXPECT_EQ(wrapper.GetSMTPAlertInfo(), mail);
  EXPECT_EQ(wrapper.smtpAlert, mail);
  EXPECT_STREQ(wrapper.GetSMTPAlertInfo()->GetTo(), "ops");
}

TEST(AlertWrapper, DestroysItsSettingsWithTheirTexts) {
  const long before = LiveBlocks();
  {
    AlertWrapper wrapper(1);
    wrapper.SetSMTPAlert(NewMail("ops"));
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

TEST(AlertWrapper, WithoutSettingsItEndsHarmlessly) {
  const long before = LiveBlocks();
  { const AlertWrapper wrapper(2); }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

TEST(AlertWrapper, SettingsHeldBeforeAreTheCallersAgain) {
  const std::unique_ptr<WKSMTPAlertObject> first(NewMail("first"));
  {
    AlertWrapper wrapper(1);
    wrapper.SetSMTPAlert(first.get());
    wrapper.SetSMTPAlert(NewMail("second"));
    EXPECT_STREQ(wrapper.GetSMTPAlertInfo()->GetTo(), "second");
  }
  EXPECT_STREQ(first->GetTo(), "first");
}

TEST(AlertWrapper, NullLeavesItWithoutSettings) {
  const std::unique_ptr<WKSMTPAlertObject> mail(NewMail("ops"));
  AlertWrapper wrapper(1);
  wrapper.SetSMTPAlert(mail.get());
  wrapper.SetSMTPAlert(nullptr);
  EXPECT_EQ(wrapper.GetSMTPAlertInfo(), nullptr);
}

TEST(AlertWrapper, ACloneOutlivesTheStatementItCameFrom) {
  AlertWrapper wrapper(1);
  {
    WKSMTPAlertObject statements;
    statements.Add("ops", nullptr, "agent", "Password changed");
    wrapper.SetSMTPAlert(statements.Clone());
  }
  EXPECT_STREQ(wrapper.GetSMTPAlertInfo()->GetTo(), "ops");
  EXPECT_STREQ(wrapper.GetSMTPAlertInfo()->GetSubject(), "Password changed");
}

TEST(AlertWrapper, LogsThroughTheHostsCallback) {
  const LogRecorder log;
  AlertWrapper wrapper(1);
  wrapper.InitializeLogMessage(LogRecorder::Callback);
  wrapper.LogStatus(Text("status"));
  EXPECT_THAT(log.Messages(), testing::ElementsAre("status"));
}

}  // namespace
}  // namespace wkagent::test
