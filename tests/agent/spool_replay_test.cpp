#include "agent/spool_replay.h"

#include <filesystem>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "support/agent_home.h"
#include "support/fake_components.h"
#include "support/printed.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kMail[] = "SMTP.20261115082205.txt";
constexpr std::chrono::seconds kNever(3600);

TEST(SpoolName, IsAKindFourteenDigitsAndTxt) {
  EXPECT_TRUE(IsSpoolName("SMTP.20261115082205.txt"));
  EXPECT_TRUE(IsSpoolName("SNMP.00000000000000.txt"));
  EXPECT_TRUE(IsSpoolName("SysLog.20261115082205.txt"));
  for (const std::string name :
       {"", "SMTP.", "SMTP.txt", "SMTP.2026111508220.txt", "SMTP.202611150822055.txt",
        "SMTP.2026111508220x.txt", "SMTP.20261115082205.txt.new", "SMTP.20261115082205.TXT",
        "smtp.20261115082205.txt", "Syslog.20261115082205.txt", "../SMTP.20261115082205.txt",
        "SMTP.20261115082205;txt", "xSMTP.20261115082205.txt", "SMTP 20261115082205.txt"}) {
    EXPECT_FALSE(IsSpoolName(name)) << name;
  }
}

class SpoolReplayTest : public ::testing::Test {
 protected:
  // One mail with this text, written some seconds ago.
  void WriteMail(const std::string& name, const std::string& text, int secondsAgo = 10) {
    std::string record(768, '\0');
    record.replace(512, text.size(), text);
    home_.Write("tmp/" + name, record);
    Touch(name, secondsAgo);
  }

  void Touch(const std::string& name, int secondsAgo) const {
    const timespec now = {std::time(nullptr) - secondsAgo, 0};
    const timespec times[] = {now, now};
    ASSERT_EQ(utimensat(AT_FDCWD, home_.Path("tmp/" + name).c_str(), times, 0), 0);
  }

  // Replays until `done`, and ends; what was reported meanwhile.
  template <typename Done>
  std::string Replay(Done done, std::chrono::seconds interval = kNever) {
    return Complaints([&] {
      const SpoolReplay replay("HOME", interval);
      EXPECT_TRUE(WaitUntil(done));
    });
  }

  AgentHome home_;
  FakeComponents components_;
};

TEST_F(SpoolReplayTest, SendsWhatAnEarlierRunLeftAtOnce) {
  WriteMail(kMail, "left");
  Replay([&] { return !home_.Exists(std::string("tmp/") + kMail); });
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("left"));
}

TEST_F(SpoolReplayTest, SendsTheOldestFirst) {
  WriteMail("SMTP.20261115082207.txt", "third");
  WriteMail("SMTP.20261115082205.txt", "first");
  WriteMail("SMTP.20261115082206.txt", "second");
  Replay([&] { return home_.List("tmp").empty(); });
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("first", "second", "third"));
}

TEST_F(SpoolReplayTest, LeavesAFileOfTheRunningSecondForTheNextPass) {
  WriteMail(kMail, "fresh", 0);
  Touch(kMail, -1);  // one second ahead: still running when the first pass comes
  Replay([&] { return home_.List("tmp").empty(); }, std::chrono::seconds(1));
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("fresh"));
}

TEST_F(SpoolReplayTest, DoesNotWaitForAFileOfAClockThatWasSetBack) {
  WriteMail(kMail, "future", -86400);
  Replay([&] { return home_.List("tmp").empty(); });
}

TEST_F(SpoolReplayTest, KeepsWhatCannotBeSentAndTriesAgain) {
  FakeComponents::doResult = 1;
  WriteMail(kMail, "kept");
  const std::string reports = Replay(
      [&] {
        if (FakeComponents::Calls().size() > 12) FakeComponents::doResult = 0;
        return home_.List("tmp").empty();
      },
      std::chrono::seconds(1));
  EXPECT_GE(FakeComponents::ValuesOf(30).size(), 2u);
  EXPECT_EQ(reports, "wkagentd: HOME/tmp/" + std::string(kMail) +
                         ": not all of it could be sent; it is tried again\n");
}

TEST_F(SpoolReplayTest, TouchesNoOtherNameAndReportsItOnce) {
  const std::vector<std::string> names = {"SMTP.$(touch ran).txt", "SMTP.;touch ran;.txt",
                                          "SNMP. 20261115082205.txt", "SysLog.20261115082205.txt\n",
                                          "SMTP." + std::string(240, 'n') + ".txt"};
  for (const std::string& name : names) home_.Write("tmp/" + name, "text\n");
  home_.Write("tmp/unrelated", "");
  WriteMail(kMail, "sent");
  WriteMail("SMTP.20261115082209.txt", "later", -1);
  const std::string reports =
      Replay([&] { return !home_.Exists("tmp/SMTP.20261115082209.txt"); }, std::chrono::seconds(1));
  for (const std::string& name : names) {
    EXPECT_TRUE(home_.Exists("tmp/" + name)) << name;
    const std::string report = "HOME/tmp/" + name + ": not the name of a spool file; left alone\n";
    const std::size_t first = reports.find(report);
    EXPECT_NE(first, std::string::npos) << name;
    EXPECT_EQ(reports.find(report, first + 1), std::string::npos) << name;
  }
  EXPECT_FALSE(home_.Exists("bin/ran"));
  EXPECT_THAT(reports, ::testing::Not(HasSubstr("unrelated")));
}

TEST_F(SpoolReplayTest, FollowsNoLink) {
  home_.Write("config/secret", "secret\n");
  std::filesystem::create_symlink("../config/secret", home_.Path("tmp/SNMP.20261115082205.txt"));
  WriteMail(kMail, "sent");
  WriteMail("SysLog.20261115082205.txt", "");  // comes after the link
  Replay([&] { return !home_.Exists("tmp/SysLog.20261115082205.txt"); });
  EXPECT_EQ(home_.Read("config/secret"), "secret\n");
  EXPECT_THAT(FakeComponents::ValuesOf(10), IsEmpty());
}

TEST_F(SpoolReplayTest, EndsAtOnceWhileItWaits) {
  for (int i = 0; i < 50; ++i) const SpoolReplay replay("HOME", kNever);
}

}  // namespace
}  // namespace wkagent::test
