#include "agent/worker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/event_codes.h"
#include "support/agent_home.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;

constexpr char kKeepAll[] =
    "<F><Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" Context=\"\""
    " IncludeSubContainers=\"1\"/><Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/>"
    "<Objects AllObjects=\"1\"/><Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
    "<AttributeValues AllAttributeValues=\"1\"/></F>";

class WorkerTest : public ::testing::Test {
 protected:
  WorkerTest() {
    home_.Write("config/EDAFilter.xml", kKeepAll);
    EXPECT_EQ(kDone, pipeline_.Start());
  }

  void Send(int count) {
    tagWKEventData event{};
    event.EventID = kEntryAdded;
    for (int i = 0; i < count; ++i) sink_.OnEvent(event);
  }

  AgentHome home_;
  Pipeline pipeline_{"home", "feed"};
  EventQueue queue_{16};
  QueueSink sink_{queue_};
};

TEST_F(WorkerTest, TakesAllThatWasPushedBeforeItStops) {
  Worker worker(queue_, pipeline_);
  Send(400);
  worker.Stop();
  EXPECT_EQ(400, pipeline_.GetTotals().read);
  EXPECT_EQ(400, pipeline_.GetTotals().kept);
}

TEST_F(WorkerTest, ItsEndAlsoStopsIt) {
  {
    const Worker worker(queue_, pipeline_);
    Send(40);
  }
  EXPECT_EQ(40, pipeline_.GetTotals().read);
}

TEST_F(WorkerTest, TakesSettingsAndReloadsBetweenTheEvents) {
  ::testing::internal::CaptureStderr();
  Worker worker(queue_, pipeline_);
  Send(5);
  Settings settings;
  settings.archiveThreshold = 2;
  sink_.Push(settings);
  Send(5);
  home_.Write("config/EDAFilter.xml", "<F/>");
  sink_.Push(QueueItem::Kind::kReload, "EDAFilter.xml");
  Send(3);
  worker.Stop();
  const std::string printed = ::testing::internal::GetCapturedStderr();
  EXPECT_THAT(printed, HasSubstr("read again, 0 statements"));
  EXPECT_EQ(13, pipeline_.GetTotals().read);
  EXPECT_GE(pipeline_.GetTotals().archived, 2) << printed;
}

TEST_F(WorkerTest, AFullDiskIsAFailureThatNeverBlocksTheReader) {
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=64k");
    Pipeline small("home", "feed");
    ::testing::internal::CaptureStderr();
    ASSERT_EQ(kDone, small.Start());
    Worker worker(queue_, small);
    Send(1000);
    worker.Stop();
    EXPECT_TRUE(worker.Failed());
    EXPECT_LT(small.GetTotals().read, 1000);
    EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("cannot be written"));
  });
}

}  // namespace
}  // namespace wkagent::test
