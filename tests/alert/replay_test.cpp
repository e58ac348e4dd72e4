// Replays that are safe, and end when they are told to.

#include <atomic>
#include <chrono>
#include <optional>

#include "alert/sender_fixture.h"
#include "support/deaf_log.h"
#include "support/fixed_steady_clock.h"
#include "support/private_dev.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr char kSpool[] = "SMTP.20261115082205.txt";
constexpr std::size_t kRecordSize = 768;

std::string Record(const std::string& message) {
  std::string record(kRecordSize, '\0');
  record.replace(512, message.size(), message);
  return record;
}

class AlertReplay : public SenderTest {
 protected:
  void WriteMails(const std::vector<std::string>& messages) const {
    std::string records;
    for (const std::string& message : messages) records += Record(message);
    home_.Write(std::string("tmp/") + kSpool, records);
  }

  // Replays the mails with a sender of its own; the result.
  int ReplayMails() {
    WKSMTPAlert mail;
    return mail.Replay(Text(std::string("../tmp/") + kSpool), stop_);
  }

  // The messages of the mails that are left.
  [[nodiscard]] std::vector<std::string> MailsLeft() const {
    const std::string records = Spooled("SMTP");
    std::vector<std::string> messages;
    for (std::size_t at = 0; at < records.size(); at += kRecordSize) {
      messages.emplace_back(records.substr(at + 512).c_str());
    }
    return messages;
  }

  // Each send from now on fails after this time, by the clock.
  void FailAfter(std::chrono::seconds time) {
    FakeComponents::doResult = 1;
    FakeComponents::duringDo = [this, time](ComponentEventSink, void*) {
      const auto later = std::chrono::steady_clock::now() + time;
      clock_.reset();  // two must not overlap
      clock_.emplace(later);
    };
  }

  std::optional<FixedSteadyClock> clock_;
  std::atomic<bool> stop_ = false;
};

TEST_F(AlertReplay, SendsAllAndDeletesTheFile) {
  WriteMails({"one", "two"});
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("one", "two"));
  EXPECT_THAT(SpoolFiles("SMTP"), IsEmpty());
}

TEST_F(AlertReplay, KeepsWhatIsNotTaken) {
  WriteMails({"one", "two"});
  FakeComponents::doResult = 1;
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(MailsLeft(), ElementsAre("one", "two"));
}

TEST_F(AlertReplay, SendsNothingOnceItIsToStop) {
  WriteMails({"one", "two"});
  stop_ = true;
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
  EXPECT_THAT(MailsLeft(), ElementsAre("one", "two"));
}

TEST_F(AlertReplay, EndsAfterTheMailDuringWhichItIsToStop) {
  WriteMails({"one", "two", "three"});
  FakeComponents::duringDo = [this](ComponentEventSink, void*) { stop_ = true; };
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("one"));
  EXPECT_THAT(MailsLeft(), ElementsAre("two", "three"));
}

TEST_F(AlertReplay, TellsTheComponentToBreakAMailOff) {
  WriteMails({"one"});
  std::vector<int> answers;
  FakeComponents::duringDo = [&](ComponentEventSink sink, void* wrapper) {
    char text[] = "";
    void* params[] = {nullptr, nullptr, text};
    int lengths[] = {0, 0, 0};
    for (const bool stop : {false, true}) {
      stop_ = stop;
      answers.push_back(sink(wrapper, 6, 3, params, lengths));
    }
  };
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(answers, ElementsAre(0, 1));
}

TEST_F(AlertReplay, EndsAfterAFailureThatTookLongAndBeginsWithTheNextMail) {
  WriteMails({"one", "two", "three"});
  FailAfter(std::chrono::seconds(6));
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("one"));
  EXPECT_THAT(MailsLeft(), ElementsAre("two", "three", "one"));
}

TEST_F(AlertReplay, GoesOnAfterAFailureThatTookLittle) {
  WriteMails({"one", "two", "three"});
  FailAfter(std::chrono::seconds(4));
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(FakeComponents::ValuesOf(30), ElementsAre("one", "two", "three"));
}

TEST_F(AlertReplay, KeepsWhatIsAppendedMeanwhile) {
  WriteMails({"one", "two"});
  FakeComponents::duringDo = [this](ComponentEventSink, void*) {
    stop_ = true;
    home_.Write(std::string("tmp/") + kSpool, Spooled("SMTP") + Record("late"));
  };
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(MailsLeft(), ElementsAre("two", "late"));
}

TEST_F(AlertReplay, KeepsTheRestOnADiskWithoutRoomForAnotherFile) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=2");  // the folder and the spool file
    WriteMails({"one", "two"});
    FakeComponents::duringDo = [this](ComponentEventSink, void*) { stop_ = true; };
    EXPECT_EQ(0, ReplayMails());
    EXPECT_THAT(MailsLeft(), ElementsAre("two"));
  });
}

TEST_F(AlertReplay, TellsThatTheFileCannotBeChanged) {
  InPrivateRoot([this] {
    WriteMails({"one"});
    MountReadOnly(home_.Path("tmp"));
    EXPECT_NE(0, ReplayMails());
    EXPECT_THAT(MailsLeft(), ElementsAre("one"));
  });
}

TEST_F(AlertReplay, KeepsTrapsAndEntriesToo) {
  stop_ = true;
  home_.Write("tmp/SNMP.1.txt", "one\ntwo\n");
  home_.Write("tmp/SysLog.1.txt", "one\ntwo\n");
  WKSNMPAlert trap;
  WKSysLog entry;
  EXPECT_EQ(0, trap.Replay(Text("../tmp/SNMP.1.txt"), stop_));
  EXPECT_EQ(0, entry.Replay(Text("../tmp/SysLog.1.txt"), stop_));
  EXPECT_EQ("one\ntwo\n", Spooled("SNMP"));
  EXPECT_EQ("one\ntwo\n", Spooled("SysLog"));
}

TEST_F(AlertReplay, KeepsEntriesUntilALogDaemonListens) {
  InPrivateDev([this] {
    home_.Write("tmp/SysLog.1.txt", "one\ntwo\n");
    WKSysLog entry;
    entry.InitializeLogMessage(LogRecorder::Callback);
    EXPECT_EQ(0, entry.Replay(Text("../tmp/SysLog.1.txt"), stop_));
    EXPECT_EQ("one\ntwo\n", Spooled("SysLog"));
    EXPECT_THAT(LogRecorder::Messages(), ElementsAre("No log daemon listens"));
    const DeafLog log;
    EXPECT_EQ(0, entry.Replay(Text("../tmp/SysLog.1.txt"), stop_));
    EXPECT_THAT(SpoolFiles("SysLog"), IsEmpty());
  });
}

TEST_F(AlertReplay, LeavesNothingOfALineWithZeroBytes) {
  home_.Write("tmp/SNMP.1.txt", std::string("a\0b\n", 4) + "two\n");
  WKSNMPAlert trap;
  EXPECT_EQ(0, trap.Replay(Text("../tmp/SNMP.1.txt"), stop_));
  EXPECT_THAT(SpoolFiles("SNMP"), IsEmpty());
}

TEST_F(AlertReplay, LeavesAMissingFileAndALinkAlone) {
  EXPECT_EQ(0, ReplayMails());
  home_.Write("config/secret", Record("secret"));
  std::filesystem::create_symlink("../config/secret", home_.Path(std::string("tmp/") + kSpool));
  EXPECT_EQ(0, ReplayMails());
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
  EXPECT_THAT(SpoolFiles("SMTP"), SizeIs(1));
}

}  // namespace
}  // namespace wkagent::test
