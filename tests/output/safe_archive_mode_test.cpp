// SetSafeArchive: nothing is lost, nothing is doubled. Records are numbered, and the numbers in all
// files must be those that were written, in their order.

#include <algorithm>
#include <functional>
#include <iterator>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>

#include "output/output_fixture.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;
using ::testing::StartsWith;

class SafeOutput final : public LoggedOutput {
 public:
  explicit SafeOutput(int limit, const std::string& file = "live.xml",
                      const std::string& root = "EDAuditData",
                      const std::string& group = "EDADataRecords")
      : LoggedOutput(file, root, group) {
    SetThresholdLimit(limit);
    SetSafeArchive(true);
  }
};

class SafeArchiveMode : public OutputTest {
 protected:
  // A file name to which nothing can be appended.
  const std::string kLongName = std::string(230, 'n') + ".xml";

  // The archives, what is set aside and the live file, oldest first.
  [[nodiscard]] std::vector<std::string> AllFiles() const {
    std::vector<std::string> files = Archives();
    for (const std::string& file : SetAside()) files.push_back(file);
    if (home_.Exists("bin/live.xml")) files.emplace_back("live.xml");
    return files;
  }

  // Records that leave a file smaller than 64 bytes.
  static int WriteSmallRecord(WKOutputFile& output) {
    return output.WriteStartRecord("R") + output.WriteEndRecord();
  }

  // The records 1 to 5 in files that are set aside, record 6 in the live file; the outbox is away.
  void SetFiveAside() const {
    LoseOutbox();
    SafeOutput output(1);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, 1, 6));
  }
};

TEST_F(SafeArchiveMode, EveryArchiveOfASecondHasANameOfItsOwn) {
  SafeOutput output(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 51));
  EXPECT_EQ(50, output.GetArchivedCount());
  EXPECT_EQ(Range(1, 50), Numbers(Archives()));
  std::set<std::string> stamps;
  for (const std::string& name : home_.List("outbox")) stamps.insert(name.substr(3, 14));
  EXPECT_LT(stamps.size(), 50U);
  EXPECT_THAT(home_.List("outbox"), Each(MatchesRegex("EDA[0-9]{14}(_[0-9]{4})?\\.xml")));
}

TEST_F(SafeArchiveMode, EachArchiveIsReportedUnderItsName) {
  SafeOutput output(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 4));
  std::vector<std::string> messages;
  for (const std::string& archive : Archives()) {
    messages.push_back("Created archive file " + archive);
  }
  EXPECT_THAT(messages, SizeIs(3));
  EXPECT_EQ(messages, LogRecorder::Messages());
}

TEST_F(SafeArchiveMode, IsOffUnlessCalledWithTrue) {
  LoseOutbox();
  SafeOutput output(1);
  output.SetSafeArchive(false);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  output.CloseFile();
  EXPECT_THAT(home_.List("bin"), ElementsAre("live.xml"));
  EXPECT_EQ(Range(3, 3), Numbers(AllFiles()));
}

TEST_F(SafeArchiveMode, OffLeavesAloneWhatWasSetAside) {
  SetFiveAside();
  RestoreOutbox();
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(Range(6, 6), TakeArchive());
  EXPECT_EQ(Range(1, 5), Numbers(SetAside()));
}

TEST_F(SafeArchiveMode, FilesAreSetAsideWhileTheOutboxIsMissing) {
  SetFiveAside();
  EXPECT_THAT(SetAside(), SizeIs(5));
  EXPECT_THAT(SetAside(), Each(MatchesRegex("../bin/live\\.xml\\.[0-9]{14}_[0-9]{4}\\.pending")));
  EXPECT_EQ(Range(1, 5), Numbers(SetAside()));
  EXPECT_EQ(Range(1, 6), Numbers(AllFiles()));
  EXPECT_THAT(LogRecorder::Messages(), Each(StartsWith("Rename error - From:live.xml")));
  EXPECT_THAT(LogRecorder::Messages(), Each(EndsWith("Error Code:2")));
}

TEST_F(SafeArchiveMode, FilesAreSetAsideBesideTheLiveFile) {
  LoseOutbox();
  SafeOutput output(1, "../tmp/live.xml");
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  EXPECT_THAT(home_.List("bin"), IsEmpty());
  EXPECT_THAT(home_.List("tmp"), SizeIs(3));
  RestoreOutbox();
  EXPECT_EQ(0, output.RetryArchive());
  EXPECT_THAT(home_.List("tmp"), ElementsAre("live.xml"));
  EXPECT_EQ(Range(1, 2), Numbers(Archives()));
}

TEST_F(SafeArchiveMode, RetryArchiveCountsWhatIsStillSetAside) {
  SetFiveAside();
  SafeOutput output(1);
  EXPECT_EQ(5, output.RetryArchive());
  EXPECT_EQ(5, output.RetryArchive());
  EXPECT_EQ(0, output.GetArchivedCount());
  RestoreOutbox();
  EXPECT_EQ(0, output.RetryArchive());
  EXPECT_EQ(5, output.GetArchivedCount());
  EXPECT_EQ(Range(1, 5), Numbers(Archives()));
  EXPECT_THAT(SetAside(), IsEmpty());
  EXPECT_EQ(Range(1, 6), Numbers(AllFiles()));
}

TEST_F(SafeArchiveMode, RetryArchiveEndsAtTheFirstThatFails) {
  SetFiveAside();
  const std::string oldest = SetAside().front().substr(std::string("../bin/").size());
  const std::size_t before = LogRecorder::Lines().size();
  SafeOutput output(1);
  EXPECT_EQ(5, output.RetryArchive());
  EXPECT_EQ(before + 1, LogRecorder::Lines().size());
  EXPECT_THAT(output.GetError(), StartsWith("Rename error - From:" + oldest + " To "));
}

TEST_F(SafeArchiveMode, RetryArchiveLeavesTheOpenDocumentAlone) {
  LoseOutbox();
  SafeOutput output(2);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  RestoreOutbox();
  EXPECT_EQ(0, output.RetryArchive());
  ASSERT_EQ(0, WriteNumbers(output, 4, 4));
  output.CloseFile();
  EXPECT_EQ(Range(1, 2), Numbers(Archives()));
  EXPECT_EQ(Range(3, 4), ParseAuditFile("live.xml").Numbers());
}

TEST_F(SafeArchiveMode, RetryArchiveWithNothingSetAsideIsSilent) {
  SafeOutput output(1);
  EXPECT_EQ(0, output.RetryArchive());
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, output.RetryArchive());
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
}

TEST_F(SafeArchiveMode, NextRotationArchivesWhatWasSetAside) {
  LoseOutbox();
  SafeOutput output(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 4));
  RestoreOutbox();
  ASSERT_EQ(0, WriteNumbers(output, 5, 5));
  output.CloseFile();
  EXPECT_EQ(Range(1, 4), Numbers(Archives()));
  EXPECT_THAT(SetAside(), IsEmpty());
  EXPECT_EQ(Range(1, 5), Numbers(AllFiles()));
}

TEST_F(SafeArchiveMode, NewObjectArchivesWhatAnEarlierOneSetAside) {
  SetFiveAside();
  RestoreOutbox();
  SafeOutput output(1);
  ASSERT_EQ(0, output.OpenFile());
  output.CloseFile();
  EXPECT_EQ(6, output.GetArchivedCount());
  EXPECT_EQ(Range(1, 6), Numbers(Archives()));
  EXPECT_EQ(Range(1, 6), Numbers(AllFiles()));
}

TEST_F(SafeArchiveMode, NewObjectSetsAsideWhatAnEarlierOneLeft) {
  SetFiveAside();
  SafeOutput output(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 7, 7));
  output.CloseFile();
  EXPECT_EQ(Range(1, 6), Numbers(SetAside()));
  EXPECT_EQ(Range(1, 7), Numbers(AllFiles()));
}

TEST_F(SafeArchiveMode, OpenDocumentIsArchivedWithAllItsRecords) {
  for (const int records : {3, 1000}) {
    SCOPED_TRACE(records);
    SafeOutput output(0);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, 1, records));
    ASSERT_EQ(0, output.OpenFile());
    EXPECT_EQ(Range(1, records), TakeArchive());
    std::filesystem::remove("live.xml");
  }
}

TEST_F(SafeArchiveMode, SmallFileWithARecordIsKept) {
  SafeOutput output(1, "live.xml", "A", "B");
  ASSERT_EQ(0, output.OpenFile());
  for (int i = 0; i < 3; ++i) ASSERT_EQ(0, WriteSmallRecord(output));
  output.CloseFile();
  EXPECT_LT(std::filesystem::file_size("live.xml"), 64U);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_THAT(Archives(), SizeIs(3));
  for (const AuditFile& file : ParseAuditFiles(Archives())) EXPECT_THAT(file.Records(), SizeIs(1));
}

TEST_F(SafeArchiveMode, SmallFileWithARecordIsSetAside) {
  LoseOutbox();
  SafeOutput output(1, "live.xml", "A", "B");
  ASSERT_EQ(0, output.OpenFile());
  for (int i = 0; i < 3; ++i) ASSERT_EQ(0, WriteSmallRecord(output));
  EXPECT_THAT(SetAside(), SizeIs(2));
  RestoreOutbox();
  EXPECT_EQ(0, output.RetryArchive());
  EXPECT_THAT(Archives(), SizeIs(2));
}

TEST_F(SafeArchiveMode, SmallFileOfAnEarlierProcessIsKept) {
  {
    SafeOutput earlier(1, "live.xml", "A", "B");
    ASSERT_EQ(0, earlier.OpenFile());
    ASSERT_EQ(0, WriteSmallRecord(earlier));
  }
  SafeOutput output(1, "live.xml", "A", "B");
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_THAT(Archives(), SizeIs(1));
  EXPECT_THAT(ParseAuditFile(Archives()[0]).Records(), SizeIs(1));
}

TEST_F(SafeArchiveMode, SmallFileIsKeptHoweverOftenOpenFileFails) {
  LoseOutbox();
  SafeOutput output(1, kLongName, "A", "B");
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteSmallRecord(output));
  output.CloseFile();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(1, output.OpenFile());
  EXPECT_THAT(ParseAuditFile(kLongName).Records(), SizeIs(1));
}

TEST_F(SafeArchiveMode, SmallFileWithoutRecordIsRemoved) {
  for (const std::string text : {"", "<?xml version=\"1.0\"?>\n<A>\n  <B/>\n</A>\n"}) {
    home_.Write("bin/live.xml", text);
    SafeOutput output(1, "live.xml", "A", "B");
    ASSERT_EQ(0, output.OpenFile());
    output.CloseFile();
    ASSERT_EQ(0, output.OpenFile());
  }
  EXPECT_THAT(Archives(), IsEmpty());
  EXPECT_THAT(SetAside(), IsEmpty());
}

TEST_F(SafeArchiveMode, FileThatCannotBeSetAsideIsNotOverwritten) {
  LoseOutbox();
  SafeOutput output(10, kLongName);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  output.CloseFile();
  const std::string before = home_.Read("bin/" + kLongName);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(1, output.OpenFile());
    EXPECT_EQ(nullptr, output.writer);
    EXPECT_EQ(before, home_.Read("bin/" + kLongName));
    EXPECT_THAT(output.GetError(),
                StartsWith("Cannot set aside " + kLongName + " as " + kLongName));
    EXPECT_EQ(output.GetError(), LogRecorder::Messages().back());
  }
  EXPECT_EQ(6U, LogRecorder::Messages().size());
}

TEST_F(SafeArchiveMode, RotationThatCannotSetAsideFailsAndKeepsTheFile) {
  LoseOutbox();
  SafeOutput output(2, kLongName);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 2));
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre(StartsWith("Rename error - From:"), StartsWith("Cannot set aside "),
                          "Error in new file", "Error in start element Record\n"));
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  EXPECT_EQ(Range(1, 2), ParseAuditFile(kLongName).Numbers());
}

TEST_F(SafeArchiveMode, FailedRotationIsMadeUpForByOpenFile) {
  LoseOutbox();
  SafeOutput output(2, kLongName);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 2));
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  RestoreOutbox();
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 3, 4));
  output.CloseFile();
  EXPECT_EQ(Range(1, 2), Numbers(Archives()));
  EXPECT_EQ(Range(3, 4), ParseAuditFile(kLongName).Numbers());
}

// Nearly the names of files that are set aside for live.xml.
constexpr const char* kOthers[] = {"live.xml.20261115082205_0001",
                                   "live.xml.20261115082205_0001.pending.bak",
                                   "live.xml.pending",
                                   "live.xml20261115082205_0001.pending",
                                   "live.xml.2026111508220_0001.pending",
                                   "live.xml.2026111508220x_0001.pending",
                                   "live.xml.20261115082205.pending",
                                   "live.xml.20261115082205_.pending",
                                   "live.xml.20261115082205_00x1.pending",
                                   "other.xml.20261115082205_0001.pending",
                                   "live.xml.b.20261115082205_0001.pending"};

TEST_F(SafeArchiveMode, FilesOfOtherNamesAreLeftAlone) {
  for (const std::string name : kOthers) home_.Write("bin/" + name, std::string(100, 'x'));
  SafeOutput output(1);
  EXPECT_EQ(0, output.RetryArchive());
  EXPECT_THAT(Archives(), IsEmpty());
  for (const std::string name : kOthers) EXPECT_TRUE(home_.Exists("bin/" + name)) << name;
}

TEST_F(SafeArchiveMode, LiveFilesThatBeginAlikeKeepTheirOwn) {
  LoseOutbox();
  SafeOutput one(1, "live.xml", "One");
  SafeOutput two(1, "live.xml.login", "Two");
  ASSERT_EQ(0, one.OpenFile() + two.OpenFile());
  ASSERT_EQ(0, WriteNumbers(one, 1, 3) + WriteNumbers(two, 11, 13));
  RestoreOutbox();
  EXPECT_EQ(0, one.RetryArchive());
  EXPECT_EQ(Range(1, 2), Numbers(Archives()));
  EXPECT_EQ(0, two.RetryArchive());
  EXPECT_EQ((std::vector<int>{1, 2, 11, 12}), Numbers(Archives()));
}

// A host that writes numbered records while things happen to it.
class BusyHost {
 public:
  BusyHost() { Restart(); }

  [[nodiscard]] int Written() const { return written_; }

  void WriteRecord() {
    ++written_;
    EXPECT_EQ(0, WriteNumbers(*output_, written_, written_));
  }
  void Reopen() {
    output_->CloseFile();
    EXPECT_EQ(0, output_->OpenFile());
  }
  void Restart() {
    Stop();
    output_.emplace(3);
    EXPECT_EQ(0, output_->OpenFile());
  }
  void Rotate() { EXPECT_EQ(0, output_->ThresholdLimitReached()); }
  void Flush() { EXPECT_EQ(0, output_->FlushFile()); }
  void Retry() { output_->RetryArchive(); }
  void Stop() { output_.reset(); }

 private:
  std::optional<SafeOutput> output_;
  int written_ = 0;
};

TEST_F(SafeArchiveMode, LosesAndDoublesNothingWhateverHappens) {
  std::mt19937 random(RandomSeed());
  BusyHost host;
  const std::function<void()> happenings[] = {
      [&] { home_.Exists("outbox") ? LoseOutbox() : RestoreOutbox(); },
      [&] { host.Reopen(); },
      [&] { host.Restart(); },
      [&] { host.Rotate(); },
      [&] { host.Flush(); },
      [&] { host.Retry(); }};
  for (int i = 0; i < 400; ++i) {
    host.WriteRecord();
    if (random() % 2 == 0) happenings[random() % std::size(happenings)]();
  }
  host.Stop();
  if (!home_.Exists("outbox")) RestoreOutbox();
  EXPECT_EQ(Range(1, host.Written()), Numbers(AllFiles()));
  host.Restart();
  EXPECT_EQ(Range(1, host.Written()), Numbers(Archives()));
  EXPECT_THAT(SetAside(), IsEmpty());
}

void LogNothing(int, char*, char*) {}

// Writes the records 1 to 100 of the thread into files of two.
void WriteInThread(int thread) {
  WKOutputFile output(Text("live" + std::to_string(thread)), "EDAuditData", "EDADataRecords");
  output.InitializeLogMessage(&LogNothing);
  output.SetSafeArchive(true);
  output.SetThresholdLimit(2);
  EXPECT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, WriteNumbers(output, thread * 100 + 1, thread * 100 + 100));
  EXPECT_EQ(0, output.ThresholdLimitReached());
}

TEST_F(SafeArchiveMode, ObjectsOfSeveralThreadsShareTheOutbox) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) threads.emplace_back(&WriteInThread, thread);
  for (std::thread& thread : threads) thread.join();
  std::vector<int> numbers = Numbers(Archives());
  std::sort(numbers.begin(), numbers.end());
  EXPECT_EQ(Range(1, 400), numbers);
}

}  // namespace
}  // namespace wkagent::test
