// The position in a log, which follows the records.

#include "agent/pipeline_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;

TEST_F(PipelineTest, ThePositionIsSavedWithTheRecords) {
  ASSERT_EQ(kDone, Start());
  pipeline_->KeepPosition("the log", {});
  Send("bob");
  pipeline_->OnEntryRead("20261120204603.000012Z#000000#000#000000", "a");
  EXPECT_FALSE(home_.Exists("tmp/accesslog.position"));
  pipeline_->Idle();
  LogPosition position;
  EXPECT_TRUE(position.FromText(home_.Read("tmp/accesslog.position"), "the log"));
  EXPECT_TRUE(position.Contains("a"));
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), HasSubstr("object0.acme"));
}

TEST_F(PipelineTest, ThePositionIsSavedAtTheEnd) {
  ASSERT_EQ(kDone, Start());
  pipeline_->KeepPosition("the log", {});
  pipeline_->OnEntryRead("20261120204603.000012Z#000000#000#000000", "a");
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Read("tmp/accesslog.position"), HasSubstr(" a\n"));
}

TEST_F(PipelineTest, APositionThatCannotBeSavedIsReportedOnce) {
  ASSERT_EQ(kDone, Start());
  pipeline_->KeepPosition("the log", {});
  std::filesystem::create_directory(home_.Path("tmp/accesslog.position.new"));
  for (int i = 0; i < 3; ++i) {
    pipeline_->OnEntryRead("20261120204603.000012Z#000000#000#000000", std::to_string(i));
    Quietly([&] {
      pipeline_->Idle();
      return 0;
    });
    EXPECT_EQ(i == 0,
              printed_.find("/tmp/accesslog.position: Is a directory;") != std::string::npos);
  }
}

}  // namespace
}  // namespace wkagent::test
