// An agent that is killed before or after any one of its calls on files, and started again: every
// event is in the audit files once, and with the alerts and the collector at least once.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "crash/crash_home.h"
#include "faults/fault.h"
#include "integration/agent_test.h"
#include "support/collector.h"
#include "support/conservation.h"
#include "support/process.h"

namespace wkagent::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

constexpr char kWork[] = "/opt/mossgrove/homes";  // in memory, and nobody else's
constexpr int kKilled = 128 + SIGKILL;

using Point = std::tuple<const char*, const char*, const char*>;  // call, act, kind of feed

class KillPoints : public ::testing::TestWithParam<Point> {
 protected:
  KillPoints() {
    fs::remove_all(kWork);
    fs::create_directories(kWork);
    std::ofstream("/opt/mossgrove/config/syslog_config.xml")
        << "<syslog><host>127.0.0.1</host><port>" << nobody_.Port()
        << "</port><protocol>TCP</protocol></syslog>";
  }

  // The home of the n-th run, with its feed.
  CrashHome NewHome(int nth) {
    fs::remove_all(kRetryStore);
    const CrashHome home(std::string(kWork) + "/" + std::to_string(nth));
    homes_.push_back(home.Path());
    home.Write("feed", feed_.text);
    return home;
  }

  // Runs the agent with a fault at the n-th call, and again where it was killed. False when there
  // are not so many calls.
  bool KillAt(const CrashHome& home, const Fault& fault) {
    const std::string report = home.Path() + ".report";
    const Ended first = RunToEnd(WithFault(fault, report, home.Command(feed_.kind, false)));
    const bool hit = ReadFaultReport(report).hits > 0;
    EXPECT_EQ(hit ? kKilled : 0, first.status) << fault.nth << first.errors;
    // Who was killed behind the removal of its position had done all.
    if (hit && (home.HasPosition() || !home.HasRecords())) Finish(home);
    ExpectNothingLost(home);
    return hit;
  }

  [[nodiscard]] static Fault FaultAt(const CrashHome& home, int nth) {
    const auto& [call, act, kind] = GetParam();
    return {.call = call, .nth = nth, .act = act, .under = home.Path()};
  }

  static void Finish(const CrashHome& home) {
    const Ended second = RunToEnd(home.Command(std::get<2>(GetParam()), false));
    EXPECT_EQ(0, second.status) << home.Path() << second.errors;
    ExpectConserved(second.output);
  }

  // Kills at the first call, the second, and so on; `before` makes the home ready.
  template <typename Before>
  void KillAtEach(Before before) {
    int nth = 1;
    for (bool hit = true; hit; ++nth) {
      const CrashHome home = NewHome(nth);
      before(home);
      hit = KillAt(home, FaultAt(home, nth));
    }
    EXPECT_GT(nth, 2) << "there is no such call";
    RecordProperty("points", nth - 2);
    for (const auto& [home, found] : ReadHomes(homes_)) EXPECT_EQ(feed_.expected, found) << home;
  }

  // Alerts and lines for the collector.
  void ExpectNothingLost(const CrashHome& home) const {
    const std::string spool = home.Spool();
    const std::string stored = StoredLines();
    for (const std::string& change : feed_.expected.changes) {
      const std::string object = change.substr(0, change.find('='));
      EXPECT_THAT(stored, HasSubstr(object)) << home.Path();
      EXPECT_THAT(spool, HasSubstr(object)) << home.Path();
    }
    for (const std::string& user : feed_.expected.logins) EXPECT_THAT(stored, HasSubstr(user));
  }

  const RefusingPort nobody_;
  const CrashFeed feed_ =
      std::string(std::get<2>(GetParam())) == "jsonl:" ? JsonFeed(0, 60) : ChangeLogFeed(0, 10);
  std::vector<std::string> homes_;
};

TEST_P(KillPoints, LeaveEveryEventInTheAuditFilesOnce) {
  KillAtEach([](const CrashHome& /*home*/) {});
}

// Of an agent that goes on where another one was killed, with half of the records behind its
// position.
class KillPointsOfARestart : public KillPoints {
 protected:
  // Kills an agent when it is about to archive its third file.
  void KillOnce(const CrashHome& home) const {
    const Fault fault{.call = "rename", .nth = 7, .act = "kill-before", .under = home.Path()};
    const Ended ended =
        RunToEnd(WithFault(fault, home.Path() + ".first", home.Command(feed_.kind, false)));
    ASSERT_EQ(kKilled, ended.status);
    ASSERT_TRUE(home.HasPosition());
    // What the system had taken of the next records.
    home.Append("tmp/EDALive.xml", "    <EDADataRecord Object1=\"again\"/>\n    <EDADa");
  }
};

TEST_P(KillPointsOfARestart, LeaveEveryEventInTheAuditFilesOnce) {
  KillAtEach([this](const CrashHome& home) { KillOnce(home); });
}

std::string NameOf(const ::testing::TestParamInfo<Point>& info) {
  const auto& [call, act, kind] = info.param;
  std::string name = std::string(call) + "_" + act + "_" + kind;
  std::erase_if(name, [](char c) { return c == '-' || c == ':'; });
  return name;
}

using ::testing::Combine;
using ::testing::Values;

INSTANTIATE_TEST_SUITE_P(Calls, KillPoints,
                         Combine(Values("write", "stream", "rename", "unlink", "sync"),
                                 Values("kill-before", "kill-after"),
                                 Values("jsonl:", "auditlog:")),
                         NameOf);

INSTANTIATE_TEST_SUITE_P(Calls, KillPointsOfARestart,
                         Combine(Values("write", "stream", "rename", "unlink", "sync", "truncate"),
                                 Values("kill-before", "kill-after"), Values("jsonl:")),
                         NameOf);

}  // namespace
}  // namespace wkagent::test
