#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>

#include <wkagent/monitor.h>

#include "monitor/watched_folder.h"
#include "support/agent_home.h"
#include "support/counted_heap.h"
#include "support/log_recorder.h"
#include "support/open_files.h"
#include "support/printed.h"
#include "support/text.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<WKLogStatus, WKFileMonitor1>);
static_assert(!std::is_copy_constructible_v<WKFileMonitor1>);
static_assert(std::is_same_v<decltype(WKFileMonitor1::watchDescriptors), int[3]>);
static_assert(std::is_same_v<decltype(WKFileMonitor1::patterns), std::vector<std::string>>);

// Records the names that monitors call back with. The callback has no context argument, so the
// record is the process's: at most one CallRecorder at a time.
class CallRecorder {
 public:
  CallRecorder() {
    const std::lock_guard lock(mutex_);
    names_.clear();
  }

  // For RegisterCallBack.
  static void Callback(char* name) {
    const std::lock_guard lock(mutex_);
    names_.emplace_back(name);
    thread_ = std::this_thread::get_id();
  }

  [[nodiscard]] static std::vector<std::string> Names() {
    const std::lock_guard lock(mutex_);
    return names_;
  }

  [[nodiscard]] static std::thread::id Thread() {
    const std::lock_guard lock(mutex_);
    return thread_;
  }

 private:
  static inline std::mutex mutex_;
  static inline std::vector<std::string> names_;
  static inline std::thread::id thread_;
};

void OtherCallback(char* /*name*/) {}

class FileMonitor1 : public testing::Test {
 protected:
  FileMonitor1() : monitor_(std::make_unique<WKFileMonitor1>()) {
    monitor_->InitializeLogMessage(LogRecorder::Callback);
  }

  int Watch(const std::string& path) { return monitor_->SetDirectoryToMonitor(Text(path)); }
  void Add(const std::string& pattern) { EXPECT_EQ(monitor_->AddFileToMonitor(Text(pattern)), 0); }
  int Required(const std::string& name) { return monitor_->NotificationRequired(Text(name)); }

  // Watches the folder for files of this pattern, and starts.
  void StartFor(const std::string& pattern, unsigned int timeout = 0) {
    EXPECT_EQ(monitor_->RegisterCallBack(CallRecorder::Callback), 0);
    monitor_->SetTimeout(timeout);
    EXPECT_EQ(Watch(folder_.Path()), 0);
    if (!pattern.empty()) Add(pattern);
    EXPECT_EQ(monitor_->StartMonitoring(), 0);
  }

  // Waits until so many names were called back, and gives them.
  static std::vector<std::string> Names(std::size_t count) {
    EXPECT_TRUE(WaitUntil([=] { return CallRecorder::Names().size() >= count; }));
    return CallRecorder::Names();
  }

  // Waits until every event of the monitor has been read.
  static void WaitUntilRead(const WKFileMonitor1& monitor) {
    EXPECT_TRUE(WaitUntil([&] {
      int pending = 1;
      return ioctl(monitor.inotifyFd, FIONREAD, &pending) == 0 && pending == 0;
    }));
  }

  AgentHome home_;
  WatchedFolder folder_{home_.Path("watched")};
  LogRecorder log_;
  CallRecorder calls_;
  std::unique_ptr<WKFileMonitor1> monitor_;
};

TEST_F(FileMonitor1, StartsWithNothingSet) {
  EXPECT_EQ(monitor_->watchCount, 0U);
  EXPECT_EQ(monitor_->GetTimeout(), 0U);
  EXPECT_EQ(monitor_->TerminateThread(), 0U);
  EXPECT_THAT(monitor_->patterns, IsEmpty());
  EXPECT_EQ(WKFileMonitor1::callback_function, nullptr);
}

TEST_F(FileMonitor1, FieldsStandInTheirOrder) {
  const WKFileMonitor1& monitor = *monitor_;
  EXPECT_LT(static_cast<const void*>(&monitor.patterns),
            static_cast<const void*>(&monitor.inotifyFd));
  EXPECT_LT(&monitor.inotifyFd, monitor.watchDescriptors);
  EXPECT_LT(static_cast<const void*>(monitor.watchDescriptors),
            static_cast<const void*>(&monitor.watchCount));
  EXPECT_LT(&monitor.watchCount, &monitor.timeout);
  EXPECT_LT(&monitor.timeout, &monitor.terminate);
  EXPECT_LT(static_cast<const void*>(&monitor.terminate),
            static_cast<const void*>(&monitor.thread));
  EXPECT_LT(static_cast<const void*>(&monitor.thread),
            static_cast<const void*>(&monitor.threadAttributes));
}

TEST_F(FileMonitor1, DescriptorNeitherBlocksNorCrossesExec) {
  EXPECT_NE(fcntl(monitor_->inotifyFd, F_GETFL) & O_NONBLOCK, 0);
  EXPECT_NE(fcntl(monitor_->inotifyFd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(FileMonitor1, TimeoutIsAnyNumberOfSeconds) {
  for (const unsigned int seconds : {1U, 5U, 0U, 4294967295U}) {
    monitor_->SetTimeout(seconds);
    EXPECT_EQ(monitor_->GetTimeout(), seconds);
    EXPECT_EQ(monitor_->timeout, seconds);
  }
}

TEST_F(FileMonitor1, SecondCallbackIsRefused) {
  EXPECT_EQ(monitor_->RegisterCallBack(CallRecorder::Callback), 0);
  EXPECT_EQ(monitor_->RegisterCallBack(OtherCallback), 1);
  EXPECT_EQ(monitor_->RegisterCallBack(CallRecorder::Callback), 1);
  EXPECT_EQ(monitor_->RegisterCallBack(nullptr), 1);
  EXPECT_EQ(WKFileMonitor1::callback_function, &CallRecorder::Callback);
}

TEST_F(FileMonitor1, CallbackIsTheProcesses) {
  WKFileMonitor1 second;
  EXPECT_EQ(monitor_->RegisterCallBack(CallRecorder::Callback), 0);
  EXPECT_EQ(second.RegisterCallBack(OtherCallback), 1);
}

TEST_F(FileMonitor1, NewObjectResetsTheCallback) {
  EXPECT_EQ(monitor_->RegisterCallBack(CallRecorder::Callback), 0);
  WKFileMonitor1 second;
  EXPECT_EQ(WKFileMonitor1::callback_function, nullptr);
  EXPECT_EQ(monitor_->StartMonitoring(), EINVAL);
  EXPECT_EQ(second.RegisterCallBack(OtherCallback), 0);
}

TEST_F(FileMonitor1, NewObjectTakesOverTheDescriptorThatThreadsRead) {
  EXPECT_EQ(WKFileMonitor1::gfd, monitor_->inotifyFd);
  {
    WKFileMonitor1 second;
    EXPECT_NE(second.inotifyFd, monitor_->inotifyFd);
    EXPECT_EQ(WKFileMonitor1::gfd, second.inotifyFd);
  }
  EXPECT_EQ(WKFileMonitor1::gfd, -1);
}

TEST_F(FileMonitor1, EndOfAnOlderObjectLeavesTheDescriptor) {
  WKFileMonitor1 second;
  monitor_.reset();
  EXPECT_EQ(WKFileMonitor1::gfd, second.inotifyFd);
}

TEST_F(FileMonitor1, FourthDirectoryIsRefused) {
  for (const char* path : {"../watched", "../tmp", "../outbox"}) EXPECT_EQ(Watch(path), 0);
  EXPECT_EQ(monitor_->watchCount, 3U);
  EXPECT_EQ(Complaints([&] {
              EXPECT_EQ(Watch("../config"), 1);
              EXPECT_EQ(Watch("../missing"), 1);
            }),
            "");
  EXPECT_EQ(monitor_->watchCount, 3U);
}

TEST_F(FileMonitor1, DirectoryThatIsSetTwiceCountsTwiceAndReportsOnce) {
  EXPECT_EQ(Watch(folder_.Path()), 0);
  EXPECT_EQ(Watch(folder_.Path()), 0);
  StartFor("*");
  EXPECT_EQ(monitor_->watchCount, 3U);
  folder_.Write("a");
  folder_.Write("b");
  EXPECT_THAT(Names(2), ElementsAre("a", "b"));
}

TEST_F(FileMonitor1, MissingDirectoryIsPrintedNotLoggedNorCounted) {
  EXPECT_EQ(Complaints([&] { EXPECT_EQ(Watch("../missing"), 1); }),
            "Error stat: No such file or directory\n");
  EXPECT_EQ(monitor_->SetDirectoryToMonitor(nullptr), 1);
  EXPECT_EQ(monitor_->watchCount, 0U);
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
  EXPECT_EQ(Watch("../watched"), 0);
  EXPECT_EQ(monitor_->watchCount, 1U);
  EXPECT_GE(monitor_->watchDescriptors[0], 0);
}

TEST_F(FileMonitor1, MonitorWithoutInotifySaysSoAndCannotWatch) {
  std::optional<WKFileMonitor1> blind;
  EXPECT_EQ(monitor_->RegisterCallBack(CallRecorder::Callback), 0);
  EXPECT_EQ(Complaints([&] {
              const NoMoreFiles none;
              blind.emplace();
            }),
            "inotify_init: Too many open files\n");
  EXPECT_EQ(WKFileMonitor1::gfd, monitor_->inotifyFd);
  EXPECT_EQ(WKFileMonitor1::callback_function, nullptr);
  EXPECT_EQ(Complaints([&] { EXPECT_EQ(blind->SetDirectoryToMonitor(Text("../watched")), 1); }),
            "inotify_add_watch: Bad file descriptor\n");
  EXPECT_EQ(blind->watchCount, 0U);
}

TEST_F(FileMonitor1, PatternsAreKeptInTheOrderAdded) {
  std::string pattern = "b*";
  EXPECT_EQ(monitor_->AddFileToMonitor(pattern.data()), 0);
  pattern = "x*";
  for (const char* added : {"", "a*", "b*"}) Add(added);
  EXPECT_THAT(monitor_->patterns, ElementsAre("b*", "", "a*", "b*"));
}

TEST_F(FileMonitor1, NullPatternIsALogicError) {
  EXPECT_THROW(monitor_->AddFileToMonitor(nullptr), std::logic_error);
  EXPECT_THAT(monitor_->patterns, IsEmpty());
}

TEST_F(FileMonitor1, EveryPatternIsAWildcard) {
  EXPECT_EQ(Required("a.xml"), 0);
  EXPECT_EQ(Required(""), 0);
  Add("*.xml");
  Add("log?.txt");
  for (const char* name : {"a.xml", "log1.txt", "log?.txt"}) EXPECT_EQ(Required(name), 1) << name;
  for (const char* name : {"a.xmlx", "log.txt", "A.XML", ""}) EXPECT_EQ(Required(name), 0) << name;
  EXPECT_EQ(monitor_->NotificationRequired(nullptr), 0);
}

TEST_F(FileMonitor1, LongPatternIsNotCut) {
  Add(std::string(200, 'n') + "?");
  EXPECT_EQ(Required(std::string(201, 'n')), 1);
  EXPECT_EQ(Required(std::string(64, 'n')), 0);
}

TEST_F(FileMonitor1, WildcmpGivesOneOrZero) {
  EXPECT_EQ(monitor_->wildcmp("log?.txt", "log1.txt"), 1);
  EXPECT_EQ(monitor_->wildcmp("a*b*c", "abc"), 1);
  EXPECT_EQ(monitor_->wildcmp("a*b*c", "abca"), 0);
}

TEST_F(FileMonitor1, StartingWithoutACallbackIsRefused) {
  EXPECT_EQ(monitor_->StartMonitoring(), EINVAL);
  EXPECT_EQ(monitor_->RegisterCallBack(CallRecorder::Callback), 0);
  EXPECT_EQ(monitor_->StartMonitoring(), 0);
}

TEST_F(FileMonitor1, StartingTwiceIsRefused) {
  StartFor("*");
  EXPECT_EQ(monitor_->StartMonitoring(), EBUSY);
  folder_.Write("a");
  EXPECT_THAT(Names(1), ElementsAre("a"));
}

TEST_F(FileMonitor1, WrittenAndClosedFileIsCalledBackOnAnotherThread) {
  StartFor("*.xml");
  folder_.Write("a.xml");
  EXPECT_THAT(Names(1), ElementsAre("a.xml"));
  EXPECT_NE(CallRecorder::Thread(), std::this_thread::get_id());
}

TEST_F(FileMonitor1, FilesWrittenBeforeTheStartAreCalledBack) {
  EXPECT_EQ(Watch(folder_.Path()), 0);
  folder_.Write("a.xml");
  StartFor("*");
  EXPECT_THAT(Names(1), ElementsAre("a.xml"));
}

TEST_F(FileMonitor1, EachCloseIsCalledBackInOrder) {
  EXPECT_EQ(Watch(folder_.Path()), 0);
  for (const char* name : {"a", "b", "a", "c"}) folder_.Write(name);
  StartFor("*");
  EXPECT_THAT(Names(4), ElementsAre("a", "b", "a", "c"));
  folder_.Write("a");
  EXPECT_THAT(Names(5), ElementsAre("a", "b", "a", "c", "a"));
}

TEST_F(FileMonitor1, FilesThatAreReadMovedOrOfOtherNamesAreNotCalledBack) {
  home_.Write("tmp/moved.xml", "text");
  folder_.Write("read.xml");
  StartFor("*.xml");
  folder_.Read("read.xml");
  std::filesystem::rename(home_.Path("tmp/moved.xml"), folder_.Path("moved.xml"));
  folder_.Write("other.txt");
  folder_.Write("last.xml");
  EXPECT_THAT(Names(1), ElementsAre("last.xml"));
}

TEST_F(FileMonitor1, ThreeDirectoriesAreWatched) {
  EXPECT_EQ(Watch(home_.Path("tmp")), 0);
  EXPECT_EQ(Watch(home_.Path("outbox")), 0);
  StartFor("*");
  home_.Write("tmp/a", "");
  home_.Write("outbox/b", "");
  folder_.Write("c");
  EXPECT_THAT(Names(3), ElementsAre("a", "b", "c"));
}

TEST_F(FileMonitor1, WithoutPatternsTheCallbackIsNeverCalled) {
  StartFor("");
  folder_.Write("a.xml");
  WaitUntilRead(*monitor_);
  monitor_.reset();
  EXPECT_THAT(CallRecorder::Names(), IsEmpty());
}

TEST_F(FileMonitor1, LongNameIsWhole) {
  StartFor("*");
  const std::string name(255, 'n');
  folder_.Write(name);
  EXPECT_THAT(Names(1), ElementsAre(name));
}

TEST_F(FileMonitor1, BurstIsCalledBackWholeAndInOrder) {
  StartFor("*.xml");
  folder_.WriteBurst(10'000);
  EXPECT_EQ(Names(10'000), BurstNames(10'000));
}

TEST_F(FileMonitor1, BurstThatWaitedForTheStartIsCalledBackAsWell) {
  EXPECT_EQ(Watch(folder_.Path()), 0);
  folder_.WriteBurst(10'000);
  StartFor("*.xml");
  EXPECT_EQ(Names(10'000), BurstNames(10'000));
}

TEST_F(FileMonitor1, NothingIsCalledBackBeforeTheTimeOut) {
  StartFor("*", 3600);
  folder_.Write("a");
  monitor_.reset();
  EXPECT_THAT(CallRecorder::Names(), IsEmpty());
}

TEST_F(FileMonitor1, TerminateThreadEndsNothing) {
  StartFor("*");
  EXPECT_EQ(monitor_->TerminateThread(), 0U);
  EXPECT_EQ(monitor_->TerminateThread(), 0U);
  folder_.Write("a");
  EXPECT_THAT(Names(1), ElementsAre("a"));
}

TEST_F(FileMonitor1, EndOfAMonitorThatNeverStartedDoesNotWait) {
  Watch(folder_.Path());
  Add("*");
  monitor_->SetTimeout(3600);
  monitor_.reset();
  EXPECT_EQ(WKFileMonitor1::gfd, -1);
}

// A thread that slept out its two seconds each time would take far longer than the deadline.
TEST_F(FileMonitor1, EndDoesNotWaitForTheTimeOut) {
  const auto end = std::chrono::steady_clock::now() + kDeadline;
  for (int round = 0; round < 30; ++round) {
    monitor_ = std::make_unique<WKFileMonitor1>();
    StartFor("*", 3600);
    monitor_.reset();
  }
  EXPECT_LT(std::chrono::steady_clock::now(), end);
}

TEST_F(FileMonitor1, EndDuringABurstWaitsForTheThreadAlone) {
  StartFor("*.xml");
  folder_.WriteBurst(2000);
  monitor_.reset();
  const std::vector<std::string> names = CallRecorder::Names();
  const std::vector<std::string> all = BurstNames(2000);
  ASSERT_LE(names.size(), all.size());
  EXPECT_TRUE(std::equal(names.begin(), names.end(), all.begin()));
}

TEST_F(FileMonitor1, MonitorsFollowEachOther) {
  for (const std::string name : {"a", "b", "c"}) {
    monitor_.reset();
    monitor_ = std::make_unique<WKFileMonitor1>();
    StartFor("*");
    folder_.Write(name);
    EXPECT_TRUE(WaitUntil([&] {
      const std::vector<std::string> names = CallRecorder::Names();
      return !names.empty() && names.back() == name;
    }));
  }
  EXPECT_THAT(CallRecorder::Names(), ElementsAre("a", "b", "c"));
}

TEST_F(FileMonitor1, ThreadReadsTheDescriptorOfTheNewestObject) {
  StartFor("*.xml");
  WKFileMonitor1 second;
  EXPECT_EQ(second.RegisterCallBack(CallRecorder::Callback), 0);
  EXPECT_EQ(second.SetDirectoryToMonitor(Text(home_.Path("tmp"))), 0);
  home_.Write("tmp/a.txt", "");
  home_.Write("tmp/a.xml", "");
  EXPECT_THAT(Names(1), ElementsAre("a.xml"));
}

TEST_F(FileMonitor1, ThreadOutlivesTheNewestObjectAndALostCallback) {
  StartFor("*");
  {
    WKFileMonitor1 second;  // unregisters the callback
    EXPECT_EQ(second.SetDirectoryToMonitor(Text(home_.Path("tmp"))), 0);
    home_.Write("tmp/a", "");
    WaitUntilRead(second);
  }
  monitor_.reset();
  EXPECT_THAT(CallRecorder::Names(), IsEmpty());
}

TEST_F(FileMonitor1, EndClosesTheDescriptorAndReleasesEverything) {
  char path[] = "../watched";
  char pattern[] = "*.xml";
  const long files = OpenFiles();
  const long before = LiveBlocks();
  {
    WKFileMonitor1 monitor;
    monitor.RegisterCallBack(OtherCallback);
    monitor.SetDirectoryToMonitor(path);
    monitor.AddFileToMonitor(pattern);
    monitor.StartMonitoring();
  }
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
  EXPECT_EQ(OpenFiles(), files);
}

}  // namespace
}  // namespace wkagent::test
