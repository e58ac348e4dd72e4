// Logins in the pipeline: a filter and a live file of their own.

#include "agent/jsonl_feed.h"
#include "agent/pipeline_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

TEST_F(PipelineTest, WithoutALoginFilterLoginsAreDropped) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 1, kLogin);
  Send("bob", 1, kLogout);
  EXPECT_EQ(2, GetTotals().dropped);
  EXPECT_EQ(0, GetTotals().kept);
  EXPECT_FALSE(home_.Exists("tmp/ELALive.xml"));
}

TEST_F(PipelineTest, LoginsHaveAFilterAndALiveFileOfTheirOwn) {
  home_.Write("config/EDAFilter.xml", "<F/>");
  home_.Write("config/ELAFilter.xml", Logins("bob", "0"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 1, kLogin);
  Send("eve", 1, kLogin);
  Send("bob", 1, kLogout);
  Send("bob", 1, kEntryAdded);
  EXPECT_EQ(kDone, Finish());
  EXPECT_EQ(2, GetTotals().dropped);
  const std::vector<Record> records = RecordsIn(home_.Path("tmp/ELALive.xml"));
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ("Login", ValueOf(records[0], "Category"));
  EXPECT_EQ("Logout", ValueOf(records[1], "Category"));
}

TEST_F(PipelineTest, TheConditionOfALoginDecides) {
  home_.Write("config/ELAFilter.xml", Logins("bob", "706"));
  ASSERT_EQ(kDone, Start());
  JsonlFeed feed(*pipeline_);
  feed.Take("{\"EventID\":21001,\"UserName\":\"bob\",\"Condition\":706}\n");
  feed.Take("{\"EventID\":21001,\"UserName\":\"bob\",\"Condition\":705}\n");
  feed.Take("{\"EventID\":21001,\"UserName\":\"bob\"}\n");
  EXPECT_EQ(1, GetTotals().kept);
  EXPECT_EQ(2, GetTotals().dropped);
}

TEST_F(PipelineTest, ArchivesOfTheTwoKindsBearTheirLetters) {
  home_.Write("config/ELAFilter.xml", Logins("", "0"));
  ASSERT_EQ(kDone, Start());
  Settings settings;
  settings.archiveThreshold = 2;
  pipeline_->Apply(settings);
  Send("bob", 3, kLogin);
  Send("bob", 3, kEntryAdded);
  EXPECT_THAT(home_.Archives(), ElementsAre(StartsWith("EDA"), StartsWith("ELA")));
}

TEST_F(PipelineTest, ABrokenLoginFilterIsBadConfiguration) {
  home_.Write("config/ELAFilter.xml", "<F>");
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr(root_ + "/config/ELAFilter.xml:1: "));
}

TEST_F(PipelineTest, ALoginFilterThatComesLaterIsTakenOver) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 1, kLogin);
  home_.Write("config/ELAFilter.xml", Logins("", "0"));
  Quietly([&] {
    pipeline_->Reload("ELAFilter.xml");
    return 0;
  });
  EXPECT_THAT(printed_, HasSubstr(root_ + "/config/ELAFilter.xml: read again, 1 statements\n"));
  Send("bob", 1, kLogin);
  EXPECT_EQ(1, GetTotals().kept);
  EXPECT_EQ(1, GetTotals().dropped);
}

TEST_F(PipelineTest, ABrokenLoginFilterThatComesLaterIsReported) {
  ASSERT_EQ(kDone, Start());
  home_.Write("config/ELAFilter.xml", "<F>");
  Quietly([&] {
    pipeline_->Reload();
    return 0;
  });
  EXPECT_THAT(printed_, HasSubstr("; there is no filter yet that could stay in force\n"));
  Send("bob", 1, kLogin);
  EXPECT_EQ(1, GetTotals().dropped);
}

TEST_F(PipelineTest, AReloadByNameLeavesTheOtherFilterAlone) {
  ASSERT_EQ(kDone, Start());
  home_.Write("config/EDAFilter.xml", "<F/>");
  Quietly([&] {
    pipeline_->Reload("ELAFilter.xml");
    return 0;
  });
  EXPECT_EQ("", printed_);
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
}

}  // namespace
}  // namespace wkagent::test
