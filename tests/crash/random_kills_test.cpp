// An agent that is killed at random moments, again and again, while its feed grows and is rotated:
// every event is in the audit files once, and with the collector at least once.
//
// WKAGENT_TEST_KILLS=500 kills it as often.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "crash/crash_home.h"
#include "support/collector.h"
#include "support/conservation.h"
#include "support/process.h"
#include "support/random_seed.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

namespace fs = std::filesystem;

constexpr int kBatch = 99;          // events between two kills; the last is a change
constexpr int kKillsARotation = 7;  // of the feed

int Kills() {
  const char* const kills = std::getenv("WKAGENT_TEST_KILLS");
  return kills == nullptr ? 30 : std::atoi(kills);
}

// What stands between two quotes.
std::set<std::string> QuotedIn(const std::string& text) {
  std::set<std::string> quoted;
  std::istringstream parts(text);
  for (std::string part; std::getline(parts, part, '"');) quoted.insert(part);
  return quoted;
}

// How many of the events that `some` has are not in `others`.
std::size_t CountMissing(AuditedEvents some, AuditedEvents others) {
  std::vector<std::string> missing;
  for (auto list : {&AuditedEvents::changes, &AuditedEvents::logins}) {
    std::sort((some.*list).begin(), (some.*list).end());
    std::sort((others.*list).begin(), (others.*list).end());
    std::set_difference((some.*list).begin(), (some.*list).end(), (others.*list).begin(),
                        (others.*list).end(), std::back_inserter(missing));
  }
  return missing.size();
}

class RandomKills : public ::testing::Test {
 protected:
  RandomKills() : random_(RandomSeed()) {
    std::ofstream("/opt/mossgrove/config/syslog_config.xml")
        << "<syslog><host>127.0.0.1</host><port>" << nobody_.Port()
        << "</port><protocol>TCP</protocol></syslog>";
    home_.Write("feed", "");
  }

  void Start() { agent_.emplace(home_.Command("jsonl:", true)); }

  // Lets the feed grow while the agent reads.
  void Grow() {
    const CrashFeed more = JsonFeed(end_, end_ + kBatch + (end_ == 0 ? 1 : 0));
    end_ += kBatch + (end_ == 0 ? 1 : 0);
    const std::size_t half = more.text.size() / 2;
    home_.Append("feed", more.text.substr(0, half));
    home_.Append("feed", more.text.substr(half));
    const auto add = [](std::vector<std::string>& all, const std::vector<std::string>& some) {
      all.insert(all.end(), some.begin(), some.end());
    };
    add(expected_.changes, more.expected.changes);
    add(expected_.logins, more.expected.logins);
  }

  // Kills the agent once it has archived a random number of further files, or at once, and some
  // moments later.
  void Kill() {
    const std::size_t files = home_.Archives() + Random(8);
    (void)WaitUntil([&] { return home_.Archives() >= files || IsThrough() || agent_->HasEnded(); });
    for (std::size_t i = Random(3000); i > 0; --i) std::this_thread::yield();
    EXPECT_FALSE(agent_->HasEnded()) << agent_->Errors();
    agent_->Signal(SIGKILL);
    agent_->Wait();
    if (Random(1) == 0) home_.TakeArchives();
  }

  // True when the last event of the feed is in an audit file that nobody has taken yet.
  [[nodiscard]] bool IsThrough() const {
    const std::string& last = expected_.changes.back();
    return home_.LatestRecords().find(last.substr(0, last.find('='))) != std::string::npos;
  }

  // Gives the feed's name to another file, while no agent runs.
  void Rotate() {
    Grow();
    Start();
    ASSERT_TRUE(WaitUntil([this] { return IsThrough(); })) << agent_->Errors();
    Kill();
    fs::rename(home_.Path("feed"), home_.Path("feed." + std::to_string(end_)));
    home_.Write("feed", "");
  }

  [[nodiscard]] std::size_t Random(std::size_t most) {
    return std::uniform_int_distribution<std::size_t>(0, most)(random_);
  }

  const RefusingPort nobody_;
  CrashHome home_{"/opt/mossgrove/home"};
  std::mt19937 random_;
  std::optional<Process> agent_;
  AuditedEvents expected_;
  int end_ = 0;
};

TEST_F(RandomKills, UnderLoadLoseAndDoubleNoEvent) {
  const int kills = Kills();
  for (int kill = 1; kill <= kills; ++kill) {
    Grow();
    Start();
    Grow();
    Kill();
    if (kill % kKillsARotation == 0) Rotate();
  }
  Grow();
  Start();
  ASSERT_TRUE(WaitUntil([this] { return IsThrough(); })) << agent_->Errors();
  agent_->Signal(SIGTERM);
  EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
  ExpectConserved(agent_->Output());
  fs::remove(home_.Path("tmp/followed.position"));  // which stays, and is no remains of a crash
  const AuditedEvents found = ReadHomes({home_.Path()}).at(home_.Path());
  EXPECT_EQ(expected_, found);
  const std::set<std::string> forwarded = QuotedIn(StoredLines());
  for (const std::string& change : expected_.changes) {
    ASSERT_TRUE(forwarded.contains(change.substr(0, change.find('=')))) << change;
  }
  RecordProperty("kills", kills);
  RecordProperty("events", end_);
  RecordProperty("archives", std::to_string(home_.TakeArchives()));
  RecordProperty("lost", std::to_string(CountMissing(expected_, found)));
  RecordProperty("doubled", std::to_string(CountMissing(found, expected_)));
}

}  // namespace
}  // namespace wkagent::test
