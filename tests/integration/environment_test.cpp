// A machine that gives out while the agent runs, and recovers: descriptors, inodes, a folder that
// cannot be written, the clock. Each event is an alert too.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>

#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include "integration/agent_test.h"
#include "support/collector.h"
#include "support/conservation.h"
#include "support/memory.h"
#include "support/private_root.h"
#include "support/set_clock.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr std::uintmax_t kRecordSize = 768;  // of a mail in a spool file

std::string WithMail(std::string filter) {
  const std::string without = "<SMTP Alert=\"0\"/>";
  return filter.replace(filter.find(without), without.size(),
                        "<SMTP Alert=\"1\" From=\"a@acme.example\" Subject=\"s\" "
                        "To=\"ops@acme.example\" Cc=\"\"/>");
}

class Environment : public AgentTest {
 protected:
  Environment() { WriteFilter(); }

  void WriteFilter() const {
    home_.Write("config/EDAFilter.xml", FilterFile({WithMail(KeepAll())}));
  }

  // Starts an agent, and lets it write the events of these numbers.
  void StartAndFeed(int first, int end) {
    agent_.emplace(Command("jsonl:-"), Input::kFromTest);
    Feed(first, end);
  }

  // Feeds events and waits until the last can be read.
  void Feed(int first, int end) {
    agent_->Write(Numbered(first, end));
    ASSERT_TRUE(WaitForEvent(end - 1)) << agent_->Errors();
  }

  void Finish() {
    agent_->CloseInput();
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
  }

  [[nodiscard]] bool WaitForMessage(const std::string& text) const {
    return WaitUntil([&] { return agent_->Errors().find(text) != std::string::npos; });
  }

  void LimitDescriptors(rlim_t most) const {
    const rlimit limit = {most, 1024};
    ASSERT_EQ(0, prlimit(agent_->Id(), RLIMIT_NOFILE, &limit, nullptr));
  }

  [[nodiscard]] std::vector<int> SortedNumbers() const {
    std::vector<int> numbers = Numbers();
    std::sort(numbers.begin(), numbers.end());
    return numbers;
  }

  // How many mails wait.
  [[nodiscard]] int Mails() const {
    std::uintmax_t size = 0;
    for (const std::string& name : home_.List("tmp")) {
      if (name.starts_with("SMTP.")) size += std::filesystem::file_size(home_.Path("tmp/" + name));
    }
    return static_cast<int>(size / kRecordSize);
  }

  // What is lost must have been said, an alert a line.
  void ExpectOtherAlertsReported(int all, const std::string& reason) const {
    const std::string line = "wkagentd: Cannot write SMTP spool file: " + reason + "\n";
    const std::string errors = agent_->Errors();
    int reported = 0;
    for (std::size_t at = 0; (at = errors.find(line, at)) != std::string::npos; ++at) ++reported;
    EXPECT_EQ(all, Mails() + reported);
    EXPECT_GT(reported, 0);
  }

  std::optional<Process> agent_;
};

TEST_F(Environment, WithoutDescriptorsTheAgentSaysSoAndTheNextLosesNothing) {
  const std::string events = home_.Path("config/events");
  std::ofstream(events) << Numbered(0, 10);
  agent_.emplace(Unwatched(Command("jsonl:" + events, {"--follow"})));
  ASSERT_TRUE(WaitForEvent(9)) << agent_->Errors();
  LimitDescriptors(3);
  std::ofstream(events, std::ios::app) << Numbered(10, 600);
  EXPECT_EQ(73, agent_->Wait()) << agent_->Errors();
  EXPECT_THAT(agent_->Errors(), HasSubstr("/tmp/EDALive.xml: cannot be written"));
  EXPECT_EQ(0, RunAgent("jsonl:" + events).status);
  const std::vector<int> numbers = Numbers();
  EXPECT_EQ(600U, std::set<int>(numbers.begin(), numbers.end()).size());
}

TEST_F(Environment, TooFewDescriptorsForAStartAreReported) {
  for (int most = 4; most <= 7; ++most) {
    const Ended ended =
        RunToEnd(Through({"prlimit", "--nofile=" + std::to_string(most)}, Command("jsonl:-")),
                 Numbered(0, 10));
    EXPECT_THAT((std::vector{66, 73, 78}), ::testing::Contains(ended.status)) << most;
    EXPECT_THAT(ended.errors, HasSubstr("Too many open files")) << most;
  }
}

TEST_F(Environment, WithoutFreeInodesRecordsAreWrittenAndLostAlertsReported) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=20");
    StartAndFeed(0, 10);
    int fillers = 0;
    const auto name = [&] { return home_.Path("tmp/filler" + std::to_string(fillers)); };
    while (std::ofstream(name()).is_open()) ++fillers;
    ASSERT_TRUE(WaitUntil([&] {
      agent_->Write(Numbered(1000));
      return !agent_->Errors().empty();
    }));
    while (fillers-- > 0) std::filesystem::remove(name());
    Feed(20, 30);
    Finish();
    const auto records = static_cast<int>(TotalsIn(agent_->Output()).at(0).kept);
    EXPECT_EQ(records, static_cast<int>(Numbers().size()));
    ExpectOtherAlertsReported(records, "No space left on device");
  });
}

TEST_F(Environment, AFolderThatBecomesReadOnlyLosesNoRecord) {
  InPrivateRoot([this] {
    StartAndFeed(0, 10);
    MountReadOnly(home_.Path("tmp"));
    agent_->Write(Numbered(10, 20));
    ASSERT_TRUE(WaitForMessage("Cannot write SMTP spool file: Read-only file system"));
    Unmount(home_.Path("tmp"));
    Feed(20, 1200);
    Finish();
    EXPECT_EQ(Range(0, 1200), SortedNumbers());
    ExpectOtherAlertsReported(1200, "Read-only file system");
  });
}

TEST_F(Environment, AClockThatIsSetBackAndForthLosesNothing) {
  const SetClock clock(home_.Path("config/clock"));
  agent_.emplace(clock.WithClock(Command("jsonl:-")), Input::kFromTest);
  Feed(0, 600);
  clock.Set(-3600);
  Feed(600, 1200);
  clock.Set(3600);
  Feed(1200, 1800);
  clock.Set(0);
  Feed(1800, 2400);
  Finish();
  EXPECT_EQ(Range(0, 2400), SortedNumbers());
  EXPECT_EQ(2400, Mails());
  EXPECT_THAT(agent_->Errors(), Not(HasSubstr("Cannot")));
}

TEST_F(Environment, ATimeZoneThatIsChangedIsTakenOver) {
  const auto event = [](int number) {
    return R"({"EventID":20001,"EventTime":1000000000,"Object1":")" + NumberedName(number) +
           "\"}\n";
  };
  home_.Write("config/rules", "Zone Test 9:00 - TEST\n");
  OutputOf({"zic", "-d", home_.Path("config"), home_.Path("config/rules")});
  InPrivateRoot([&] {
    unsetenv("TZ");
    agent_.emplace(Command("jsonl:-"), Input::kFromTest);
    agent_->Write(event(0));
    ASSERT_TRUE(WaitForEvent(0));
    const std::string zone = home_.Path("config/Test");
    RequireMounted(mount(zone.c_str(), "/etc/localtime", nullptr, MS_BIND, nullptr), zone);
    EXPECT_TRUE(WaitUntil([&] {
      agent_->Write(event(1));
      return home_.Read("tmp/EDALive.xml").find("LogDate=\"2001-09-09T10:46:40\"") !=
             std::string::npos;
    }));
    Finish();
    EXPECT_EQ("2001-09-09T01:46:40", Records().back().utcDate);
    EXPECT_NE("2001-09-09T10:46:40", Records().front().logDate);
  });
}

TEST_F(Environment, APositionThatCannotBeWrittenIsReportedAndWrittenLater) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=20");
    home_.Write("config/EDAFilter.xml", FilterFile({KeepAll()}));
    const std::string events = home_.Path("config/events");
    const auto append = [&](int first, int end) {
      std::ofstream(events, std::ios::app) << Numbered(first, end);
      ASSERT_TRUE(WaitForEvent(end - 1)) << agent_->Errors();
    };
    const auto stop = [&] {
      agent_->Signal(SIGTERM);
      EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
    };
    home_.Write("config/events", "");
    agent_.emplace(Command("jsonl:" + events, {"--follow"}));
    append(0, 10);
    std::vector<std::string> fillers;
    do {
      fillers.push_back(home_.Path("tmp/filler" + std::to_string(fillers.size())));
    } while (std::ofstream(fillers.back()).is_open());
    append(10, 20);
    ASSERT_TRUE(
        WaitForMessage("tmp/followed.position: No space left on device; after a restart some "
                       "events would be written again"));
    for (const std::string& filler : fillers) std::filesystem::remove(filler);
    append(20, 30);
    stop();
    agent_.emplace(Command("jsonl:" + events, {"--follow"}));
    append(30, 40);
    stop();
    EXPECT_EQ(Range(0, 40), SortedNumbers());
  });
}

// As an unprivileged user, whom modes hold back.
class WithoutRights : public AgentTest {
 protected:
  static constexpr unsigned kNobody = 65534;

  WithoutRights() {
    for (const char* folder : {".", "bin", "config", "outbox", "tmp"}) {
      EXPECT_EQ(0, chown(home_.Path(folder).c_str(), kNobody, kNobody));
    }
  }

  void SetMode(const std::string& folder, unsigned mode) const {
    std::filesystem::permissions(home_.Path(folder), static_cast<std::filesystem::perms>(mode));
  }

  [[nodiscard]] Ended AuditAsNobody() const {
    const std::string nobody = std::to_string(kNobody);
    return RunToEnd(Through({"setpriv", "--reuid=" + nobody, "--regid=" + nobody, "--clear-groups"},
                            Command("jsonl:-")),
                    Numbered(0, 600), "/");
  }
};

TEST_F(WithoutRights, AnOutboxThatCannotBeWrittenLosesNoRecord) {
  SetMode("outbox", 0555);
  const Ended ended = AuditAsNobody();
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_THAT(ended.errors, HasSubstr("files wait in"));
  EXPECT_EQ(600U, Records().size());
}

TEST_F(WithoutRights, AFolderThatCannotBeUsedIsNamed) {
  const std::pair<const char*, int> folders[] = {{"bin", 78}, {"config", 78}, {"tmp", 73}};
  for (const auto& [folder, status] : folders) {
    SetMode(folder, 0000);
    const Ended ended = AuditAsNobody();
    EXPECT_EQ(status, ended.status) << folder << ended.errors;
    EXPECT_THAT(ended.errors, HasSubstr(std::string("/") + folder)) << folder;
    EXPECT_THAT(ended.errors, HasSubstr("Permission denied")) << folder;
    SetMode(folder, 0755);
  }
}

// Whoever was away for long finds a lot.
class ManyFiles : public AgentTest {
 protected:
  static constexpr int kFiles = 100000;

  [[nodiscard]] static std::string Stamp(int number) {
    const std::string digits = std::to_string(number);
    return "20200101" + std::string(6 - digits.size(), '0') + digits;
  }
};

TEST_F(ManyFiles, InOutboxSpoolAndRetryStoreDoNotHoldUpTheStart) {
  InPrivateRoot([this] {
    MountTmpfs(HomePath(), "size=1g");
    for (const char* folder : {"bin", "config", "outbox", "tmp"}) {
      std::filesystem::create_directory(home_.Path(folder));
    }
    MountTmpfs("/opt", "size=1g");
    const std::string product = "/opt/mossgrove/";
    for (const char* folder : {"config", "log", "auditdata/nsa"}) {
      std::filesystem::create_directories(product + folder);
    }
    const Collector collector;
    std::ofstream(product + "config/syslog_config.xml")
        << "<syslog><host>127.0.0.1</host><protocol>TCP</protocol><port>" << collector.Port()
        << "</port></syslog>";
    home_.Write("config/EDAFilter.xml", FilterFile({KeepAll()}));
    for (int number = 0; number < kFiles; ++number) {
      home_.Write("outbox/EDA" + Stamp(number) + ".xml", "");
      home_.Write("tmp/SMTP." + Stamp(number) + ".txt", "");
      std::ofstream(product + "auditdata/nsa/nsa_batch_" + Stamp(number) + "_1_1.log") << "line\n";
    }
    Process agent(Command("jsonl:-", {"--syslog"}), Input::kFromTest);
    agent.Write(Numbered(0, 1100));
    EXPECT_TRUE(WaitForEvent(1099)) << agent.Errors();
    agent.CloseInput();
    EXPECT_EQ(0, agent.Wait()) << agent.Errors();
    ExpectConserved(agent.Output());
    EXPECT_LT(agent.PeakMemory(), MostMemory(64 * 1024));
    EXPECT_EQ(static_cast<std::size_t>(kFiles + 2), home_.Archives().size());
  });
}

}  // namespace
}  // namespace wkagent::test
