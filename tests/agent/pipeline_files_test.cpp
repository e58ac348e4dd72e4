// The files of the pipeline, from the feed to the archive.

#include "agent/auditlog_fixture.h"
#include "agent/jsonl_feed.h"
#include "agent/pipeline_fixture.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;

TEST_F(PipelineTest, FullFilesAreArchived) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 1200);
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Archives(), SizeIs(2));
  EXPECT_EQ(2, GetTotals().archived);
  EXPECT_THAT(RecordsIn(home_.Path("tmp/EDALive.xml")), SizeIs(200));
  EXPECT_EQ(Numbers(1200), Written());
}

TEST_F(PipelineTest, WhatAnEarlierProcessLeftIsArchived) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 3);
  EXPECT_EQ(kDone, Finish());
  pipeline_.reset();
  ASSERT_EQ(kDone, Start());
  EXPECT_THAT(home_.Archives(), SizeIs(1));
  EXPECT_THAT(printed_, HasSubstr("wkagentd: Created archive file"));
  Send("bob", 2);
  EXPECT_EQ(kDone, Finish());
  EXPECT_EQ(Numbers(5), Written());
}

TEST_F(PipelineTest, WithoutOutboxNothingIsLost) {
  std::filesystem::remove(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 1100);
  EXPECT_THAT(printed_, HasSubstr("wkagentd: Rename error"));
  EXPECT_FALSE(pipeline_->Failed());
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: 2 files wait in " + root_ + "/tmp to be archived\n"));
  EXPECT_EQ(0, GetTotals().archived);
  std::filesystem::create_directory(home_.Path("outbox"));
  EXPECT_EQ(Numbers(1100), Written());
}

TEST_F(PipelineTest, WhatWaitedIsArchivedOnceTheOutboxIsBack) {
  std::filesystem::remove(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 1100);
  std::filesystem::create_directory(home_.Path("outbox"));
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Archives(), SizeIs(2));
  EXPECT_THAT(home_.List("tmp"), ElementsAre("EDALive.xml", "wkagentd.status"));
  EXPECT_EQ(Numbers(1100), Written());
}

TEST_F(PipelineTest, WhatAnEarlierProcessCouldNotArchiveIsArchivedAtStart) {
  std::filesystem::remove(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 501);
  EXPECT_EQ(kDone, Finish());
  pipeline_.reset();
  std::filesystem::create_directory(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Archives(), SizeIs(2));
  EXPECT_EQ(Numbers(501), Written());
}

TEST_F(PipelineTest, IdleMakesRecordsVisible) {
  ASSERT_EQ(kDone, Start());
  Send("bob");
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), Not(HasSubstr("object0.acme")));
  pipeline_->Idle();
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), HasSubstr("object0.acme"));
  EXPECT_FALSE(pipeline_->Failed());
}

TEST_F(PipelineTest, AFullDiskFailsWithTheFilesName) {
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=32k");
    ASSERT_EQ(kDone, Start());
    for (int i = 0; i < 1000 && !pipeline_->Failed(); ++i) Send("bob", 1);
    EXPECT_TRUE(pipeline_->Failed());
    EXPECT_THAT(printed_, EndsWith("wkagentd: " + root_ +
                                   "/tmp/EDALive.xml: cannot be written: No space left on device; "
                                   "the feed can be read again\n"));
    const std::int64_t read = GetTotals().read;
    EXPECT_GT(read, 0);
    Send("bob", 10);
    EXPECT_EQ("", printed_);
    EXPECT_EQ(read, GetTotals().read);
    EXPECT_EQ(kOutputFailed, Finish());
    Unmount(home_.Path("tmp"));
  });
}

TEST_F(PipelineTest, ADiskThatIsFullAtTheEndFails) {
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=8k");
    ASSERT_EQ(kDone, Start());
    home_.Write("tmp/ballast", std::string(std::size_t{8} << 10, 'x'));
    Send("bob", 2);
    EXPECT_EQ(kOutputFailed, Finish());
    EXPECT_THAT(printed_, HasSubstr(root_ + "/tmp/EDALive.xml: cannot be "));
    Unmount(home_.Path("tmp"));
  });
}

TEST_F(PipelineTest, ADiskThatIsFullWhenIdleFails) {
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=8k");
    ASSERT_EQ(kDone, Start());
    home_.Write("tmp/ballast", std::string(std::size_t{8} << 10, 'x'));
    Send("bob", 2);
    Quietly([&] {
      pipeline_->Idle();
      return 0;
    });
    EXPECT_TRUE(pipeline_->Failed());
    EXPECT_THAT(printed_, HasSubstr("No space left on device"));
    EXPECT_EQ(kOutputFailed, Finish());
    Unmount(home_.Path("tmp"));
  });
}

TEST_F(PipelineTest, EveryTextOfAnEventArrivesInItsRecord) {
  ASSERT_EQ(kDone, Start());
  JsonlFeed feed(*pipeline_);
  feed.Take(
      "{\"EventID\":20005,\"Status\":-601,\"UserName\":\"a\\\"<&>'b\",\"NodeAddress\":\"::1\","
      "\"Class1\":\"c\",\"Object1\":\"J\u00FCrgen \\ud83d\\ude00\",\"Attribute1\":\"d\","
      "\"AttributeValue\":\"1\\n2\\t3\\r\\u0000\\u001b\\uffff\",\"Class2\":\"e\",\"Object2\":"
      "\"]]>\",\"ServerName\":\"s\",\"TreeName\":\"t\",\"EventTime\":0}\n");
  EXPECT_EQ(kDone, Finish());
  const std::vector<Record> records = RecordsIn(home_.Path("tmp/EDALive.xml"));
  ASSERT_THAT(records, SizeIs(1));
  const Record& record = records[0];
  EXPECT_EQ("20005", ValueOf(record, "EventID"));
  EXPECT_EQ("-601", ValueOf(record, "Status"));
  EXPECT_EQ("a\"<&>'b", ValueOf(record, "UserName"));
  EXPECT_EQ("J\u00FCrgen \U0001F600", ValueOf(record, "Object1"));
  EXPECT_EQ("1\n2\t3\r\uFFFD\uFFFD\uFFFD", ValueOf(record, "AttributeValue"));
  EXPECT_EQ("]]>", ValueOf(record, "Object2"));
  EXPECT_EQ("1970-01-01T00:00:00", ValueOf(record, "UTCDate"));
}

TEST_F(PipelineTest, TheSampleLogsEventsAreAllWrittenAndNoPassword) {
  ASSERT_EQ(kDone, Start());
  AuditlogFeed feed(*pipeline_, "dir1");
  Quietly([&] {
    TakeInBlocks(feed, SampleLog(), 4096);
    return 0;
  });
  EXPECT_EQ(kDone, Finish());
  std::size_t records = 0;
  std::string text;
  for (const std::string folder : {"outbox", "tmp"}) {
    for (const std::string& name : home_.List(folder)) {
      text += home_.Read(folder + "/" + name);
      if (!name.starts_with("EDA")) continue;
      records += RecordsIn(home_.Path(folder + "/" + name)).size();
    }
  }
  EXPECT_EQ(Found(SampleLog()).events.size(), records);
  EXPECT_EQ(static_cast<std::int64_t>(records), GetTotals().kept);
  for (const char* const trace : {"c2VjcmV0", "\"secret\"", "{SSHA}", "e1NTSEF9"}) {
    EXPECT_THAT(text, Not(HasSubstr(trace)));
  }
}

}  // namespace
}  // namespace wkagent::test
