// A disk that is full: the agent says so and ends, and the feed can be read again.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>

#include <sys/mount.h>

#include "integration/agent_test.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;

class FullDisk : public AgentTest {
 protected:
  static constexpr int kEvents = 1500;

  FullDisk() : events_(HomePath() + "-events") { WriteEvents(kEvents); }
  ~FullDisk() override { std::filesystem::remove(events_); }

  void WriteEvents(int count) const { std::ofstream(events_) << Numbered(0, count); }

  // From here on, the whole home lies on a disk of this size. Only in a private root.
  void UseDisk(const std::string& size) const {
    MountTmpfs(HomePath(), "size=" + size);
    for (const char* folder : {"bin", "config", "outbox", "tmp"}) {
      std::filesystem::create_directory(home_.Path(folder));
    }
    home_.Write("config/EDAFilter.xml", FilterFile({KeepAll()}));
  }

  void GrowDisk(const std::string& size) const {
    RequireMounted(
        mount(nullptr, HomePath().c_str(), nullptr, MS_REMOUNT, ("size=" + size).c_str()),
        "again, larger");
  }

  [[nodiscard]] Ended ReadFeed() const { return RunAgent("jsonl:" + events_); }

  [[nodiscard]] std::string LiveFile() const { return HomePath() + "/tmp/EDALive.xml"; }

  [[nodiscard]] std::set<int> DifferentNumbers() const {
    const std::vector<int> numbers = Numbers();
    return {numbers.begin(), numbers.end()};
  }

  [[nodiscard]] static std::set<int> AllNumbers() {
    const std::vector<int> numbers = Range(0, kEvents);
    return {numbers.begin(), numbers.end()};
  }

  const std::string events_;  // on another disk than the home
};

TEST_F(FullDisk, EndsTheAgentWithStatus73AndNamesTheFile) {
  InPrivateRoot([this] {
    UseDisk("64k");
    const Ended ended = ReadFeed();
    EXPECT_EQ(73, ended.status);
    EXPECT_THAT(ended.errors, HasSubstr(LiveFile() + ": cannot be written: No space left"));
    ASSERT_EQ(1U, TotalsIn(ended.output).size());
    EXPECT_LT(TotalsIn(ended.output).back().kept, kEvents);
  });
}

TEST_F(FullDisk, FeedCanBeReadAgainOnceThereIsSpace) {
  InPrivateRoot([this] {
    UseDisk("64k");
    ASSERT_EQ(73, ReadFeed().status);
    GrowDisk("8m");
    const Ended ended = ReadFeed();
    EXPECT_EQ(0, ended.status) << ended.errors;
    EXPECT_EQ(kEvents, TotalsIn(ended.output).at(0).kept);
    EXPECT_EQ(AllNumbers(), DifferentNumbers());
  });
}

TEST_F(FullDisk, SecondReadingWritesEveryRecordOnce) {
  InPrivateRoot([this] {
    UseDisk("64k");
    ASSERT_EQ(73, ReadFeed().status);
    std::filesystem::remove(home_.Path("tmp/EDALive.xml"));
    GrowDisk("8m");
    EXPECT_EQ(0, ReadFeed().status);
    std::vector<int> numbers = Numbers();
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(Range(0, kEvents), numbers);
  });
}

TEST_F(FullDisk, StillFullAtTheNextStartIsStatus73Again) {
  InPrivateRoot([this] {
    UseDisk("64k");
    ASSERT_EQ(73, ReadFeed().status);
    const Ended ended = ReadFeed();
    EXPECT_EQ(73, ended.status);
    EXPECT_THAT(ended.errors, HasSubstr(HomePath() + "/tmp/"));
    GrowDisk("8m");
    EXPECT_EQ(0, ReadFeed().status);
    EXPECT_EQ(AllNumbers(), DifferentNumbers());
  });
}

TEST_F(FullDisk, WithoutRoomForAnyFileIsStatus73) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=1");
    const Ended ended = ReadFeed();
    EXPECT_EQ(73, ended.status);
    EXPECT_THAT(ended.errors, HasSubstr(HomePath() + "/tmp/"));
  });
}

TEST_F(FullDisk, WithoutRoomForTheLiveFileIsStatus73) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=2");  // the folder and the lock
    const Ended ended = ReadFeed();
    EXPECT_EQ(73, ended.status);
    EXPECT_THAT(ended.errors, HasSubstr(LiveFile()));
  });
}

TEST_F(FullDisk, ReadOnlyDiskIsStatus73) {
  InPrivateRoot([this] {
    MountReadOnly(home_.Path("tmp"));
    const Ended ended = ReadFeed();
    EXPECT_EQ(73, ended.status);
    EXPECT_THAT(ended.errors, HasSubstr(HomePath() + "/tmp/"));
  });
}

TEST_F(FullDisk, EndsAFollowingAgentAsSoonAsItIsIdle) {
  InPrivateRoot([this] {
    UseDisk("64k");
    Process agent(Command("jsonl:" + events_, {"--follow"}));
    EXPECT_EQ(73, agent.Wait());
    EXPECT_THAT(agent.Errors(), HasSubstr(LiveFile()));
  });
}

// The last write of a file, its closing elements among it, fails at some size of the disk: at every
// size either all is said to be written and is, or the agent says that it could not.
TEST_F(FullDisk, AtEverySizeTheStatusTellsWhetherTheRecordsAreThere) {
  WriteEvents(130);  // 16 pages of 4 KiB and a little
  InPrivateRoot([this] {
    for (int pages = 1; pages <= 20; ++pages) {
      UseDisk(std::to_string(4 * pages) + "k");
      const Ended ended = ReadFeed();
      if (ended.status == 0) {
        EXPECT_EQ(Range(0, 130), Numbers()) << pages;
      } else {
        EXPECT_EQ(73, ended.status) << pages;
        EXPECT_THAT(ended.errors, HasSubstr(LiveFile())) << pages;
      }
      Unmount(HomePath());
    }
  });
}

}  // namespace
}  // namespace wkagent::test
