#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/monitor.h>

#include "monitor/watched_folder.h"
#include "support/agent_home.h"
#include "support/counted_heap.h"
#include "support/log_recorder.h"
#include "support/open_files.h"
#include "support/printed.h"
#include "support/text.h"
#include "tests/core/list_inspection.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<WKLogStatus, WKFileMonitor>);
static_assert(!std::is_copy_constructible_v<WKFileMonitor>);

constexpr int kNothing = -1;
constexpr int kShortName = 16;  // the length of a padded name of up to 15 bytes

class FileMonitor : public testing::Test {
 protected:
  FileMonitor() { monitor_.InitializeLogMessage(LogRecorder::Callback); }

  int Watch(const std::string& path) { return monitor_.SetDirectoryToMonitor(Text(path)); }
  void Add(const std::string& pattern) { EXPECT_EQ(monitor_.AddFileToMonitor(Text(pattern)), 0); }
  int Required(const std::string& name) { return monitor_.NotificationRequired(Text(name)); }

  // Watches the folder for files of this pattern.
  void WatchFor(const std::string& pattern) {
    EXPECT_EQ(Watch(folder_.Path()), 0);
    Add(pattern);
  }

  // One look; what it appended stays in `changed_`.
  int Look() { return monitor_.IsFileModified(changed_); }

  // The names that the next look reports.
  std::vector<std::string> Reported() {
    changed_.ClearList();
    Look();
    return Names();
  }

  // Those in `changed_`.
  std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (const std::string& block : Blocks(changed_)) {
      EXPECT_EQ(block.size(), 50U);
      names.push_back(block.substr(0, block.find('\0')));
    }
    return names;
  }

  AgentHome home_;
  WatchedFolder folder_{home_.Path("watched")};
  LogRecorder log_;
  WKFileMonitor monitor_;
  CLinkList changed_;
};

TEST_F(FileMonitor, StartsWithADescriptorThatNeitherBlocksNorCrossesExec) {
  EXPECT_GE(monitor_.inotifyFd, 0);
  EXPECT_NE(fcntl(monitor_.inotifyFd, F_GETFL) & O_NONBLOCK, 0);
  EXPECT_NE(fcntl(monitor_.inotifyFd, F_GETFD) & FD_CLOEXEC, 0);
  EXPECT_EQ(monitor_.directory.Get(), nullptr);
  EXPECT_EQ(monitor_.patterns.GetCount(), 0);
}

TEST_F(FileMonitor, FieldsStandInTheirOrder) {
  EXPECT_LT(static_cast<void*>(&monitor_.patterns), static_cast<void*>(&monitor_.inotifyFd));
  EXPECT_LT(&monitor_.inotifyFd, &monitor_.watchDescriptor);
  EXPECT_LT(static_cast<void*>(&monitor_.watchDescriptor), static_cast<void*>(&monitor_.directory));
  EXPECT_LT(static_cast<void*>(&monitor_.directory), static_cast<void*>(monitor_.errorText));
}

TEST_F(FileMonitor, NothingPendingIsMinusOne) {
  EXPECT_EQ(Look(), kNothing);
  WatchFor("*");
  EXPECT_EQ(Look(), kNothing);
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(changed_.GetCount(), 0);
}

TEST_F(FileMonitor, WrittenAndClosedFileIsReportedOnce) {
  WatchFor("*.xml");
  folder_.Write("a.xml");
  EXPECT_EQ(Look(), kShortName);
  EXPECT_THAT(Blocks(changed_), ElementsAre("a.xml" + std::string(45, '\0')));
  EXPECT_EQ(Look(), kNothing);
  EXPECT_EQ(changed_.GetCount(), 1);
}

TEST_F(FileMonitor, FileThatWasOnlyOpenForWritingIsReported) {
  folder_.Write("a.xml");
  WatchFor("*.xml");
  for (const char* mode : {"a", "r+", "w"}) {
    { const File file = folder_.Open("a.xml", mode); }
    EXPECT_THAT(Reported(), ElementsAre("a.xml")) << mode;
  }
}

TEST_F(FileMonitor, FileIsReportedWhenItIsClosed) {
  WatchFor("*.xml");
  {
    const File file = folder_.Open("a.xml", "w");
    std::fputs("text", file.get());
    std::fflush(file.get());
    EXPECT_EQ(Look(), kNothing);
  }
  EXPECT_THAT(Reported(), ElementsAre("a.xml"));
}

TEST_F(FileMonitor, FileThatIsOnlyReadIsNotReported) {
  folder_.Write("a.xml");
  WatchFor("*");
  folder_.Read("a.xml");
  EXPECT_EQ(Look(), kNothing);
}

TEST_F(FileMonitor, MovedLinkedRemovedAndMadeAreNotReported) {
  home_.Write("tmp/a.xml", "text");
  WatchFor("*");
  std::filesystem::rename(home_.Path("tmp/a.xml"), folder_.Path("a.xml"));
  std::filesystem::rename(folder_.Path("a.xml"), folder_.Path("b.xml"));
  std::filesystem::create_hard_link(folder_.Path("b.xml"), folder_.Path("c.xml"));
  std::filesystem::create_symlink("b.xml", folder_.Path("d.xml"));
  std::filesystem::permissions(folder_.Path("b.xml"), std::filesystem::perms::owner_read);
  std::filesystem::create_directory(folder_.Path("e.xml"));
  std::filesystem::remove(folder_.Path("b.xml"));
  EXPECT_EQ(Look(), kNothing);
}

TEST_F(FileMonitor, FilesBelowTheFolderAreNotReported) {
  const WatchedFolder below(folder_.Path("below"));
  WatchFor("*");
  below.Write("a.xml");
  EXPECT_EQ(Look(), kNothing);
}

TEST_F(FileMonitor, FilesOfBeforeAreNotReported) {
  folder_.Write("a.xml");
  WatchFor("*");
  EXPECT_EQ(Look(), kNothing);
}

TEST_F(FileMonitor, EachCloseIsReportedInOrder) {
  WatchFor("*");
  for (const char* name : {"a", "b", "a", "c"}) folder_.Write(name);
  EXPECT_THAT(Reported(), ElementsAre("a", "b", "a", "c"));
  folder_.Write("a");
  EXPECT_THAT(Reported(), ElementsAre("a"));
}

// The kernel itself makes one event of equal ones that follow each other unread.
TEST_F(FileMonitor, ClosesOfOneFileInARowAreReportedAsOne) {
  WatchFor("*");
  for (int i = 0; i < 3; ++i) folder_.Write("a");
  EXPECT_THAT(Reported(), ElementsAre("a"));
}

TEST_F(FileMonitor, NamesAreAppendedToTheHostsList) {
  WatchFor("*");
  char block[] = "mine";
  changed_.AddNode(block, 4);
  folder_.Write("a");
  EXPECT_EQ(Look(), kShortName);
  EXPECT_EQ(changed_.GetCount(), 2);
  EXPECT_EQ(Blocks(changed_)[0], "mine");
}

TEST_F(FileMonitor, FilesOfOtherNamesAreReadAndNotReported) {
  WatchFor("*.xml");
  folder_.Write("a.xmlx");
  EXPECT_EQ(Look(), kShortName);
  EXPECT_EQ(changed_.GetCount(), 0);
  folder_.Write("b.txt");
  folder_.Write("c.xml");
  EXPECT_THAT(Reported(), ElementsAre("c.xml"));
}

TEST_F(FileMonitor, WithoutPatternsNothingIsReported) {
  EXPECT_EQ(Watch(folder_.Path()), 0);
  folder_.Write("a.xml");
  EXPECT_EQ(Look(), kShortName);
  EXPECT_EQ(changed_.GetCount(), 0);
  EXPECT_EQ(Required("a.xml"), 0);
  EXPECT_EQ(Required(""), 0);
}

TEST_F(FileMonitor, ResultIsTheLengthOfTheLastPaddedName) {
  WatchFor("*.xml");
  folder_.Write(std::string(16, 'n'));
  EXPECT_EQ(Look(), 32);
  folder_.Write(std::string(200, 'n'));
  folder_.Write("a.xml");
  EXPECT_EQ(Look(), kShortName);
  EXPECT_EQ(changed_.GetCount(), 1);
}

TEST_F(FileMonitor, NamesAreCutAt50BytesWithoutTerminator) {
  WatchFor("*");
  for (const std::size_t size : {1U, 49U, 50U, 51U, 255U, 2U}) {
    const std::string name(size, 'n');
    folder_.Write(name);
    changed_.ClearList();
    Look();
    std::string expected = name + std::string(50, '\0');
    expected.resize(50);
    EXPECT_THAT(Blocks(changed_), ElementsAre(expected)) << size;
  }
}

TEST_F(FileMonitor, ShortNameAfterALongOneIsPaddedWithZeros) {
  WatchFor("*");
  folder_.Write(std::string(255, 'n'));
  folder_.Write("a");
  Look();
  EXPECT_THAT(Blocks(changed_), ElementsAre(std::string(50, 'n'), "a" + std::string(49, '\0')));
}

TEST_F(FileMonitor, BurstIsReportedInReadsOf32768Bytes) {
  WatchFor("*.xml");
  folder_.WriteBurst(10'000);
  EXPECT_EQ(Look(), kShortName);
  EXPECT_EQ(changed_.GetCount(), 32768 / 32);
  int looks = 1;
  while (Look() > 0) ++looks;
  EXPECT_EQ(looks, 10);
  std::vector<std::string> names;
  for (const std::string& block : Blocks(changed_)) names.emplace_back(block.c_str());
  EXPECT_EQ(names, BurstNames(10'000));
}

// What the kernel had to drop, it tells by an event without a name.
TEST_F(FileMonitor, EventsBeyondTheKernelsQueueEndWithALengthOfZero) {
  int limit = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
  ASSERT_GT(limit, 0);
  WatchFor("*.xml");
  folder_.WriteBurst(limit + 10);
  int result = 0;
  while ((result = Look()) > 0) continue;
  EXPECT_EQ(result, 0);
  EXPECT_EQ(changed_.GetCount(), limit);
  EXPECT_EQ(Look(), kNothing);
  folder_.Write("after.xml");
  EXPECT_THAT(Reported(), ElementsAre("after.xml"));
}

TEST_F(FileMonitor, RemovedFolderEndsTheEvents) {
  WatchFor("*");
  std::filesystem::remove(folder_.Path());
  EXPECT_EQ(Look(), 0);
  EXPECT_EQ(Look(), kNothing);
  EXPECT_EQ(changed_.GetCount(), 0);
}

TEST_F(FileMonitor, DistinctMonitorsReportTheSameFile) {
  WKFileMonitor other;
  EXPECT_EQ(other.SetDirectoryToMonitor(Text(folder_.Path())), 0);
  EXPECT_EQ(other.AddFileToMonitor(Text("*")), 0);
  WatchFor("*");
  folder_.Write("a");
  CLinkList changed;
  EXPECT_EQ(other.IsFileModified(changed), kShortName);
  EXPECT_EQ(changed.GetCount(), 1);
  EXPECT_THAT(Reported(), ElementsAre("a"));
}

TEST_F(FileMonitor, SecondDirectoryIsRefused) {
  EXPECT_EQ(Watch(folder_.Path()), 0);
  EXPECT_EQ(Watch(folder_.Path()), 1);
  EXPECT_EQ(Watch(home_.Path("tmp")), 1);
  EXPECT_EQ(monitor_.directory.Get(), folder_.Path());
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
  Add("*");
  home_.Write("tmp/a", "");
  EXPECT_EQ(Look(), kNothing);
}

TEST_F(FileMonitor, MissingDirectoryIsReportedAndCanBeSetLater) {
  int result = 0;
  EXPECT_EQ(Complaints([&] { result = Watch("../missing"); }),
            "Error stat: No such file or directory\n");
  EXPECT_EQ(result, 1);
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Error - Unable to locate path ../missing to monitor\n"));
  EXPECT_STREQ(monitor_.errorText, "Error - Unable to locate path ../missing to monitor\n");
  EXPECT_EQ(monitor_.directory.Get(), nullptr);
  WatchFor("*");
  folder_.Write("a");
  EXPECT_THAT(Reported(), ElementsAre("a"));
}

TEST_F(FileMonitor, NullDirectoryIsRefused) {
  EXPECT_EQ(monitor_.SetDirectoryToMonitor(nullptr), 1);
  EXPECT_EQ(Watch(folder_.Path()), 0);
}

TEST_F(FileMonitor, MessageOfALongPathIsCut) {
  std::string path;
  for (int i = 0; i < 100; ++i) path += "missing%s/";
  Complaints([&] { EXPECT_EQ(Watch(path), 1); });
  const std::string whole = "Error - Unable to locate path " + path + " to monitor\n";
  EXPECT_EQ(monitor_.errorText, whole.substr(0, sizeof(monitor_.errorText) - 1));
}

// A monitor that could not open inotify.
class FileMonitorWithoutInotify : public FileMonitor {
 protected:
  FileMonitorWithoutInotify() {
    complaints_ = Complaints([this] {
      const NoMoreFiles none;
      blind_.emplace();
    });
    blind_->InitializeLogMessage(LogRecorder::Callback);
  }

  std::optional<WKFileMonitor> blind_;
  std::string complaints_;
};

TEST_F(FileMonitorWithoutInotify, SaysSo) {
  EXPECT_EQ(complaints_, "inotify_init: Too many open files\nError initializing inotify\n");
  EXPECT_STREQ(blind_->errorText, "Error initializing inotify\n");
}

TEST_F(FileMonitorWithoutInotify, CannotWatchAndKeepsThePath) {
  int result = 0;
  EXPECT_EQ(Complaints([&] { result = blind_->SetDirectoryToMonitor(Text(folder_.Path())); }),
            "inotify_add_watch: Bad file descriptor\n");
  EXPECT_EQ(result, 1);
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Unable to set watch for " + folder_.Path() + "\n"));
  EXPECT_EQ(blind_->directory.Get(), folder_.Path());
  EXPECT_EQ(blind_->SetDirectoryToMonitor(Text(folder_.Path())), 1);
  EXPECT_EQ(LogRecorder::Lines().size(), 1U);
}

TEST_F(FileMonitorWithoutInotify, FindsNothingAndStillMatches) {
  EXPECT_EQ(blind_->IsFileModified(changed_), -1);
  EXPECT_EQ(blind_->AddFileToMonitor(Text("*.xml")), 0);
  EXPECT_EQ(blind_->NotificationRequired(Text("a.xml")), 1);
}

TEST_F(FileMonitor, PatternsAreKeptWithoutTerminator) {
  Add("*.xml");
  Add("");
  Add("*.xml");
  EXPECT_THAT(Blocks(monitor_.patterns), ElementsAre("*.xml", "", "*.xml"));
  EXPECT_EQ(monitor_.AddFileToMonitor(nullptr), 1);
  EXPECT_EQ(monitor_.patterns.GetCount(), 3);
}

TEST_F(FileMonitor, AnyPatternMayMatch) {
  Add("*.xml");
  Add("b.txt");
  for (const char* name : {"a.xml", "b.txt", ".xml"}) EXPECT_EQ(Required(name), 1) << name;
  for (const char* name : {"a.xmlx", "a.txt", "B.TXT", "b.txt2", ""}) {
    EXPECT_EQ(Required(name), 0) << name;
  }
  EXPECT_EQ(Required("a.xml"), 1);
}

TEST_F(FileMonitor, QuestionMarkWithoutAStarStandsForItself) {
  Add("log?.txt");
  EXPECT_EQ(Required("log1.txt"), 0);
  EXPECT_EQ(Required("log?.txt"), 1);
  Add("log?.t*");
  EXPECT_EQ(Required("log1.txt"), 1);
}

TEST_F(FileMonitor, EmptyPatternMatchesAnEmptyNameAlone) {
  Add("");
  EXPECT_EQ(Required(""), 1);
  EXPECT_EQ(Required("a"), 0);
  EXPECT_EQ(monitor_.NotificationRequired(nullptr), 0);
}

TEST_F(FileMonitor, LongPatternCountsWith64Characters) {
  for (const std::size_t size : {64U, 65U, 200U}) {
    Add(std::string(size, 'n'));
    EXPECT_EQ(Required(std::string(64, 'n')), 1) << size;
    EXPECT_EQ(Required(std::string(63, 'n')), 0) << size;
    EXPECT_EQ(Required(std::string(65, 'n')), 0) << size;
    EXPECT_EQ(Required(std::string(size, 'n')), size == 64 ? 1 : 0);
  }
}

TEST_F(FileMonitor, StarBeyond64CharactersIsCutOff) {
  Add(std::string(64, 'n') + "*");
  EXPECT_EQ(Required(std::string(64, 'n')), 1);
  EXPECT_EQ(Required(std::string(65, 'n')), 0);
  Add(std::string(63, 'n') + "*");
  EXPECT_EQ(Required(std::string(65, 'n')), 1);
}

TEST_F(FileMonitor, ShortPatternAfterALongOneIsItselfAlone) {
  Add(std::string(100, 'n'));
  Add("a");
  EXPECT_EQ(Required("a"), 1);
  EXPECT_EQ(Required("a" + std::string(63, 'n')), 0);
}

TEST_F(FileMonitor, WildcmpGivesOneOrZero) {
  EXPECT_EQ(monitor_.wildcmp("log?.txt", "log1.txt"), 1);
  EXPECT_EQ(monitor_.wildcmp("a*b*c", "axxbyyc"), 1);
  EXPECT_EQ(monitor_.wildcmp("a*b*c", "abca"), 0);
  EXPECT_EQ(monitor_.wildcmp(nullptr, "a"), 0);
}

TEST_F(FileMonitor, EndClosesTheDescriptorAndReleasesEverything) {
  char path[] = "../watched";
  char pattern[] = "*.xml";
  const long files = OpenFiles();
  const long before = LiveBlocks();
  {
    WKFileMonitor monitor;
    monitor.SetDirectoryToMonitor(path);
    monitor.AddFileToMonitor(pattern);
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
  EXPECT_EQ(OpenFiles(), files);
}

// Writes two files in turn, so that no event is like the one before, until none can be queued.
void OverflowQueue(const WatchedFolder& folder) {
  long limit = 0;
  std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> limit;
  for (long i = 0; i <= limit; ++i) folder.Write(i % 2 == 0 ? "even.xml" : "odd.xml");
}

TEST_F(FileMonitor, FindsAllThatWasWritten) {
  WatchFor("*.xml");
  for (const char* name : {"b.xml", "a.xml", "b.xml", "c.txt"}) folder_.Write(name);
  EXPECT_EQ(monitor_.FindModifiedFiles(changed_), 2);
  EXPECT_THAT(Names(), ElementsAre("a.xml", "b.xml"));
  EXPECT_EQ(monitor_.FindModifiedFiles(changed_), 0);
}

TEST_F(FileMonitor, FindsWhatWasWrittenWhenNoMoreEventsCouldBeQueued) {
  WatchFor("*.xml");
  OverflowQueue(folder_);
  folder_.Write("late.xml");
  EXPECT_EQ(monitor_.FindModifiedFiles(changed_), 3);
  EXPECT_THAT(Names(), ElementsAre("even.xml", "late.xml", "odd.xml"));
  folder_.Write("later.xml");
  changed_.ClearList();
  EXPECT_EQ(monitor_.FindModifiedFiles(changed_), 1);
  EXPECT_THAT(Names(), ElementsAre("later.xml"));
}

TEST_F(FileMonitor, SaysThatItCouldNotFindWhatWasWritten) {
  WatchFor("*.xml");
  OverflowQueue(folder_);
  std::filesystem::remove_all(folder_.Path());
  EXPECT_EQ(monitor_.FindModifiedFiles(changed_), -1);
  EXPECT_THAT(Names(), ElementsAre("even.xml", "odd.xml"));
  EXPECT_THAT(LogRecorder::Messages().back(), testing::StartsWith("Unable to list "));
}

}  // namespace
}  // namespace wkagent::test
