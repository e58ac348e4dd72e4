// What the pipeline decides: its start, its totals, its filters that are read again.

#include "agent/pipeline_fixture.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

// Start.

TEST_F(PipelineTest, StartsQuietlyAndOpensTheLiveFile) {
  EXPECT_EQ(kDone, Start());
  EXPECT_EQ("", printed_);
  EXPECT_TRUE(home_.Exists("tmp/EDALive.xml"));
  EXPECT_FALSE(pipeline_->Failed());
}

TEST_F(PipelineTest, AMissingFilterFileIsBadConfiguration) {
  std::filesystem::remove(home_.Path("config/EDAFilter.xml"));
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ +
                                  "/config/EDAFilter.xml: No such file or directory\n"));
  EXPECT_FALSE(home_.Exists("tmp/EDALive.xml"));
}

TEST_F(PipelineTest, AMalformedFilterFileIsBadConfigurationWithItsLine) {
  home_.Write("config/EDAFilter.xml", "<Filters>\n\n<Filter a=\"1\" a=\"2\"/>\n</Filters>\n");
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ + "/config/EDAFilter.xml:3: "));
}

TEST_F(PipelineTest, AnEmptyFileIsBadConfigurationToo) {
  for (const char* const text : {"", "\n", "not XML", "<Filters>", "\0", "<a/><b/>"}) {
    home_.Write("config/EDAFilter.xml", text);
    EXPECT_EQ(kBadConfiguration, Start()) << text;
    EXPECT_THAT(printed_, HasSubstr(root_ + "/config/EDAFilter.xml:")) << text;
  }
}

TEST_F(PipelineTest, AFolderIsNoFilterFile) {
  std::filesystem::remove(home_.Path("config/EDAFilter.xml"));
  std::filesystem::create_directory(home_.Path("config/EDAFilter.xml"));
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr("/config/EDAFilter.xml: Is a directory\n"));
}

TEST_F(PipelineTest, WithoutStatementsEveryEventIsDroppedAndTheOperatorToldSo) {
  home_.Write("config/EDAFilter.xml", "<Filters/>\n");
  EXPECT_EQ(kDone, Start());
  EXPECT_EQ("wkagentd: " + root_ +
                "/config/EDAFilter.xml: it has no Filter element, so every event "
                "is dropped\n",
            printed_);
  Send("a", 3);
  EXPECT_EQ(3, GetTotals().dropped);
}

TEST_F(PipelineTest, WithoutItsFolderTheLiveFileCannotBeWritten) {
  std::filesystem::remove(home_.Path("tmp"));
  EXPECT_EQ(kOutputFailed, Start());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ + "/tmp/EDALive.xml: cannot be written\n"));
}

TEST_F(PipelineTest, InAReadOnlyFolderTheLiveFileCannotBeWritten) {
  InPrivateRoot([&] {
    MountReadOnly(home_.Path("tmp"));
    EXPECT_EQ(kOutputFailed, Start());
    EXPECT_THAT(printed_, HasSubstr(root_ + "/tmp/EDALive.xml: cannot be written\n"));
  });
}

// Decisions and totals.

TEST_F(PipelineTest, KeptEventsAreWrittenAndDroppedOnesAreNot) {
  home_.Write("config/EDAFilter.xml", Filters(Statement("bob") + Statement("bobby", false)));
  ASSERT_EQ(kDone, Start());
  Send("bob.acme");     // object 0
  Send("eve.acme");     // 1, covered by no statement
  Send("bobby.acme");   // 2, excluded
  Send("bob.it.acme");  // 3
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(Written(), ElementsAre(0, 3));
  const Totals totals = GetTotals();
  EXPECT_EQ(4, totals.read);
  EXPECT_EQ(2, totals.kept);
  EXPECT_EQ(2, totals.dropped);
  EXPECT_EQ(0, totals.malformed);
}

TEST_F(PipelineTest, AlertsOfKeptEventsAreCounted) {
  home_.Write("config/EDAFilter.xml",
              Filters(Statement("bob", true, kAllAlerts) + Statement("eve", false, kAllAlerts) +
                      Statement("zoe", true)));
  ASSERT_EQ(kDone, Start());
  Send("bob");
  Send("eve");
  Send("zoe");
  Send("bob");
  EXPECT_EQ(6, GetTotals().alerts);
}

TEST_F(PipelineTest, MalformedEntriesAreReportedWithFeedAndLine) {
  ASSERT_EQ(kDone, Start());
  Quietly([&] {
    pipeline_->OnMalformed(12, "not a JSON object");
    pipeline_->OnMalformed(13, "EventID is missing");
    return 0;
  });
  EXPECT_EQ(
      "wkagentd: the feed:12: not a JSON object; skipped\n"
      "wkagentd: the feed:13: EventID is missing; skipped\n",
      printed_);
  EXPECT_EQ(2, GetTotals().malformed);
  EXPECT_EQ(0, GetTotals().read);
}

TEST_F(PipelineTest, TotalsAreOneLine) {
  EXPECT_EQ(
      "wkagentd: totals: read 5, malformed 1, kept 3, dropped 2, files archived 4, alerts "
      "gathered 6",
      Describe({5, 1, 3, 2, 4, 6}));
  EXPECT_EQ(
      "wkagentd: totals: read 0, malformed 0, kept 0, dropped 0, files archived 0, alerts "
      "gathered 0",
      Describe({}));
}

// Reload.

TEST_F(PipelineTest, ReloadedFiltersDecideTheEventsThatFollow) {
  ASSERT_EQ(kDone, Start());
  Send("bob");
  Reload(Filters(Statement("eve") + Statement("zoe")));
  EXPECT_EQ("wkagentd: " + root_ + "/config/EDAFilter.xml: read again, 2 statements\n", printed_);
  Send("bob");
  Send("eve");
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(Written(), ElementsAre(0, 2));
}

TEST_F(PipelineTest, AReloadThatFailsLeavesTheOldFiltersInForce) {
  ASSERT_EQ(kDone, Start());
  Reload("<Filters>\n<Filter\n");
  EXPECT_THAT(printed_, AllOf(HasSubstr(root_ + "/config/EDAFilter.xml:"),
                              HasSubstr("; the filters read before stay in force\n")));
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
  Reload(Filters(Statement("eve")));
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
  EXPECT_EQ(1, GetTotals().dropped);
}

TEST_F(PipelineTest, AReloadOfAMissingFileLeavesTheOldFiltersInForce) {
  ASSERT_EQ(kDone, Start());
  std::filesystem::remove(home_.Path("config/EDAFilter.xml"));
  Quietly([&] {
    pipeline_->Reload();
    return 0;
  });
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ +
                                  "/config/EDAFilter.xml: No such file or directory; the filters "
                                  "read before stay in force\n"));
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
}

}  // namespace
}  // namespace wkagent::test
