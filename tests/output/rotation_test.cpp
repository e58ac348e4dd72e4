// The record threshold, and archives as they are without SetSafeArchive.

#include <ctime>
#include <string>

#include "output/output_fixture.h"
#include "output/zones.h"
#include "support/local_time.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Rotation : public OutputTest {
 protected:
  // Two rotations within one second of the clock, each of one record; false when the second changed
  // between them.
  bool RotateTwiceInOneSecond(WKOutputFile& output) const {
    output.SetThresholdLimit(1);
    output.OpenFile();
    const std::time_t before = std::time(nullptr);
    WriteNumbers(output, 1, 3);
    output.CloseFile();
    return before == std::time(nullptr);
  }

  void Clear() const {
    for (const std::string& archive : Archives()) std::filesystem::remove(archive);
    std::filesystem::remove("live.xml");
  }
};

class Threshold : public Rotation, public ::testing::WithParamInterface<int> {};

TEST_P(Threshold, EachFileHoldsThatManyRecords) {
  const int limit = GetParam();
  LoggedOutput output;
  output.SetThresholdLimit(limit);
  ASSERT_EQ(0, output.OpenFile());
  for (int file = 0; file < 3; ++file) {
    ASSERT_EQ(0, WriteNumbers(output, file * limit + 1, (file + 1) * limit));
    EXPECT_EQ(limit, output.recordCount);
    EXPECT_EQ(file == 0 ? std::vector<int>{} : Range((file - 1) * limit + 1, file * limit),
              TakeArchive());
  }
  output.CloseFile();
  EXPECT_EQ(Range(2 * limit + 1, 3 * limit), ParseAuditFile("live.xml").Numbers());
}

INSTANTIATE_TEST_SUITE_P(Limits, Threshold, ::testing::Values(1, 2, 3, 500, 501),
                         ::testing::PrintToStringParamName());

TEST_F(Rotation, HappensWhenTheNextRecordBegins) {
  LoggedOutput output;
  output.SetThresholdLimit(2);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 2));
  EXPECT_THAT(Archives(), IsEmpty());
  ASSERT_EQ(0, output.WriteStartRecord("Record"));
  EXPECT_EQ(Range(1, 2), TakeArchive());
  EXPECT_EQ(0, output.recordCount);
}

TEST_F(Rotation, RecordOfTheNextFileIsItsFirst) {
  LoggedOutput output;
  output.SetThresholdLimit(2);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  EXPECT_EQ(1, output.recordCount);
  output.CloseFile();
  EXPECT_EQ(Range(3, 3), ParseAuditFile("live.xml").Numbers());
}

TEST_F(Rotation, ComesAfter500RecordsByDefault) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 500));
  EXPECT_THAT(Archives(), IsEmpty());
  ASSERT_EQ(0, WriteNumbers(output, 501, 501));
  output.CloseFile();
  EXPECT_EQ(Range(1, 500), TakeArchive());
  EXPECT_EQ(Range(501, 501), ParseAuditFile("live.xml").Numbers());
}

TEST_F(Rotation, NeverComesAtAThresholdOfZeroOrLess) {
  for (const int limit : {0, -1, -500, -2'147'483'647 - 1}) {
    SCOPED_TRACE(limit);
    LoggedOutput output;
    output.SetThresholdLimit(limit);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, 1, 1203));
    output.CloseFile();
    EXPECT_THAT(Archives(), IsEmpty());
    EXPECT_EQ(Range(1, 1203), ParseAuditFile("live.xml").Numbers());
    Clear();
  }
}

TEST_F(Rotation, NeverComesOnceTheCountIsPastTheThreshold) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  output.SetThresholdLimit(2);
  ASSERT_EQ(0, WriteNumbers(output, 4, 10));
  EXPECT_THAT(Archives(), IsEmpty());
}

TEST_F(Rotation, ThresholdCanChangeWhileAFileIsOpen) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  output.SetThresholdLimit(3);
  ASSERT_EQ(0, WriteNumbers(output, 4, 4));
  EXPECT_EQ(Range(1, 3), TakeArchive());
}

TEST_F(Rotation, ThresholdLimitReachedDoesNothingWithoutARecord) {
  LoggedOutput output;
  EXPECT_EQ(0, output.ThresholdLimitReached());
  EXPECT_EQ(nullptr, output.writer);
  ASSERT_EQ(0, output.OpenFile());
  _xmlTextWriter* const document = output.writer;
  EXPECT_EQ(0, output.ThresholdLimitReached());
  EXPECT_EQ(document, output.writer);
  EXPECT_THAT(Archives(), IsEmpty());
}

TEST_F(Rotation, ThresholdLimitReachedRotatesBeforeTheThreshold) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 2));
  EXPECT_EQ(0, output.ThresholdLimitReached());
  EXPECT_EQ(0, output.recordCount);
  EXPECT_EQ(Range(1, 2), TakeArchive());
  EXPECT_EQ(0, output.ThresholdLimitReached());
  EXPECT_THAT(Archives(), IsEmpty());
}

TEST_F(Rotation, RecordsTooSmallFor64BytesAreRemoved) {
  LoggedOutput output("live.xml", "A", "B");
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, output.WriteStartRecord("R") + output.WriteEndRecord());
  ASSERT_EQ(0, output.WriteStartRecord("R") + output.WriteEndRecord());
  EXPECT_THAT(Archives(), IsEmpty());
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
}

TEST_F(Rotation, ArchiveIsNamedByTheLocalTime) {
  for (const char* zone : {"UTC0", kNewYork, kKathmandu}) {
    SCOPED_TRACE(zone);
    const TimeZone local(zone);
    home_.Write("bin/live.xml", std::string(64, 'x'));
    LoggedOutput output;
    const std::time_t begin = std::time(nullptr);
    ASSERT_EQ(0, output.RenameLog());
    ASSERT_EQ(1U, Archives().size());
    EXPECT_TRUE(IsStampSince(begin, Archives()[0], "../outbox/EDA%Y%m%d%H%M%S.xml"));
    EXPECT_EQ("Created archive file " + Archives()[0], output.GetError());
    Clear();
  }
}

TEST_F(Rotation, ArchiveNameBeginsWithThreeLettersOfTheRoot) {
  for (const std::string root : {"", "E", "ED", "EDA", "EDAu", "ABCDEFGHIJKLMNOPQRSTUVWX",
                                 "ABCDEFGHIJKLMNOPQRSTUVWXYZABCD"}) {
    SCOPED_TRACE(root);
    home_.Write("bin/live.xml", std::string(64, 'x'));
    LoggedOutput output("live.xml", root);
    ASSERT_EQ(0, output.OpenFile());
    output.CloseFile();
    ASSERT_EQ(1U, Archives().size());
    EXPECT_THAT(home_.List("outbox")[0],
                ::testing::MatchesRegex(root.substr(0, 3) + "[0-9]{14}\\.xml"));
    Clear();
  }
}

TEST_F(Rotation, DocumentWithoutRootNameHasTheGroupAsItsRoot) {
  LoggedOutput output("live.xml", "", "Group");
  EXPECT_EQ(0, output.OpenFile());
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("Error in start element \n"));
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  output.CloseFile();
  EXPECT_THAT(ParseAuditFile("live.xml").Names(), ElementsAre("Group", "Record"));
}

TEST_F(Rotation, SecondArchiveOfASecondReplacesTheFirst) {
  const std::time_t deadline = std::time(nullptr) + 60;
  LoggedOutput output;
  while (!RotateTwiceInOneSecond(output)) {
    ASSERT_LT(std::time(nullptr), deadline);
    Clear();
  }
  EXPECT_EQ(Range(2, 2), TakeArchive());
  EXPECT_EQ(Range(3, 3), ParseAuditFile("live.xml").Numbers());
}

TEST_F(Rotation, FileThatCannotBeArchivedIsOverwritten) {
  LoseOutbox();
  LoggedOutput output;
  output.SetThresholdLimit(2);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 5));
  output.CloseFile();
  EXPECT_EQ(Range(5, 5), ParseAuditFile("live.xml").Numbers());
  EXPECT_THAT(home_.List("bin"), ElementsAre("live.xml"));
  EXPECT_EQ(0, output.GetArchivedCount());
}

TEST_F(Rotation, OutboxThatReturnsIsUsedAgain) {
  LoseOutbox();
  LoggedOutput output;
  output.SetThresholdLimit(2);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  RestoreOutbox();
  ASSERT_EQ(0, WriteNumbers(output, 4, 5));
  EXPECT_EQ(Range(3, 4), TakeArchive());
}

TEST_F(Rotation, ArchivesAreCounted) {
  LoggedOutput output;
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 4));
  EXPECT_EQ(3, output.GetArchivedCount());
  ASSERT_EQ(0, output.RenameLog());
  EXPECT_EQ(4, output.GetArchivedCount());
  ASSERT_EQ(-1, output.RenameLog());
  EXPECT_EQ(4, output.GetArchivedCount());
}

}  // namespace
}  // namespace wkagent::test
