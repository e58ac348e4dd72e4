#include "alert/spool_file.h"

#include <atomic>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/agent_home.h"

namespace wkagent::test {
namespace {

constexpr char kPath[] = "../tmp/SNMP.1.txt";

class SpoolReplayerTest : public ::testing::Test {
 protected:
  // Replays the lines "one" and "two", of which the second is taken or not, and appends "late" when
  // both have been read: the result.
  int ReplayWhileAppending(bool secondIsTaken) {
    home_.Write("tmp/SNMP.1.txt", "one\ntwo\n");
    File file = OpenSpool(kPath);
    char lines[9] = {};
    EXPECT_EQ(8U, std::fread(lines, 1, 8, file.get()));
    SpoolReplayer replayer({.keep = true, .stop = &stop_});
    replayer.Try("one\n", [] { return true; });
    replayer.Try("two\n", [=] { return secondIsTaken; });
    std::ofstream(kPath, std::ios::app) << "late\n";
    return replayer.Finish(kPath, std::move(file));
  }

  std::atomic<bool> stop_ = false;
  AgentHome home_;
};

TEST_F(SpoolReplayerTest, KeepsWhatIsAppendedAfterTheLastReadBehindWhatIsLeft) {
  EXPECT_EQ(0, ReplayWhileAppending(false));
  EXPECT_EQ("two\nlate\n", home_.Read("tmp/SNMP.1.txt"));
}

TEST_F(SpoolReplayerTest, KeepsWhatIsAppendedAfterTheLastReadWhereNothingIsLeft) {
  EXPECT_EQ(0, ReplayWhileAppending(true));
  EXPECT_EQ("late\n", home_.Read("tmp/SNMP.1.txt"));
}

TEST_F(SpoolReplayerTest, HasNothingToDoWhereTheFileHasGone) {
  home_.Write("tmp/SNMP.1.txt", "one\n");
  File file = OpenSpool(kPath);
  SpoolReplayer replayer({.keep = true, .stop = &stop_});
  replayer.Try("one\n", [] { return true; });
  std::filesystem::remove(kPath);
  EXPECT_EQ(0, replayer.Finish(kPath, std::move(file)));
  EXPECT_FALSE(home_.Exists("tmp/SNMP.1.txt"));
}

}  // namespace
}  // namespace wkagent::test
