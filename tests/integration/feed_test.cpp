// What the agent reads: standard input, files that grow and are rotated, entries that make no
// sense.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>

#include "integration/agent_test.h"
#include "support/conservation.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// A record of the change log that adds an entry ou=NAME,o=acme.
std::string ChangeLogRecord(const std::string& name) {
  std::string text =
      "# add 1795207563 o=acme cn=admin,o=acme IP=192.0.2.7:35568 conn=1000\ndn: ou=";
  text += name;
  text +=
      ",o=acme\nchangetype: add\nentryUUID: 251a4920-796f-1041-9964-77c48bc5ae22\n"
      "# end add 1795207563\n\n";
  return text;
}

class AgentFeed : public AgentTest {
 protected:
  AgentFeed() : log_(home_.Path("changes.ldif")), events_(home_.Path("events")) {}

  void Follow(const std::string& feed) { agent_.emplace(Command(feed, {"--follow"})); }

  static void Append(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::app | std::ios::binary) << text;
  }

  // Stops the agent: its totals.
  Totals Stop() {
    agent_->Signal(SIGTERM);
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
    ExpectConserved(agent_->Output());
    const std::vector<Totals> all = TotalsIn(agent_->Output());
    EXPECT_EQ(1U, all.size());
    return all.empty() ? Totals() : all.back();
  }

  // The names of the objects of all records.
  [[nodiscard]] std::vector<std::string> Objects() const {
    std::vector<std::string> names;
    for (const AuditRecord& record : Records()) names.push_back(record.object1);
    return names;
  }

  const std::string log_;
  const std::string events_;
  std::optional<Process> agent_;
};

TEST_F(AgentFeed, StandardInputIsReadAsItComes) {
  Process agent(Command("jsonl:-"), Input::kFromTest);
  agent.Write(Numbered(1).substr(0, 10));
  agent.Write(Numbered(1).substr(10));
  ASSERT_TRUE(WaitForEvent(1));
  agent.Write(Numbered(2) + Numbered(3).substr(0, 20));
  ASSERT_TRUE(WaitForEvent(2));
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), Not(HasSubstr("n3.")));
  agent.Write(Numbered(3).substr(20));
  ASSERT_TRUE(WaitForEvent(3));
  agent.CloseInput();
  EXPECT_EQ(0, agent.Wait());
  EXPECT_EQ(Range(1, 4), Numbers());
}

TEST_F(AgentFeed, EmptyInputMakesNoAuditFile) {
  EXPECT_EQ((Totals{0, 0, 0, 0, 0, 0}), Audit(""));
  EXPECT_EQ((Totals{0, 0, 0, 0, 0, 0}), Audit("\n \n"));
  EXPECT_THAT(home_.Archives(), IsEmpty());
  EXPECT_THAT(Records(), IsEmpty());
}

TEST_F(AgentFeed, LastLineNeedsNoEnd) {
  const std::string lines = Numbered(0, 2);
  EXPECT_EQ(2, Audit(lines.substr(0, lines.size() - 1)).kept);
  EXPECT_EQ(Range(0, 2), Numbers());
}

TEST_F(AgentFeed, PipeInTheFileSystemIsReadUntilItsWriterEnds) {
  ASSERT_EQ(0, mkfifo(events_.c_str(), 0600));
  Process agent(Command("jsonl:" + events_));
  std::ofstream(events_) << Numbered(0, 700);
  EXPECT_EQ(0, agent.Wait());
  EXPECT_EQ(Range(0, 700), Numbers());
}

TEST_F(AgentFeed, MalformedLinesAreReportedWithFileAndLineAndCounted) {
  home_.Write("events", Numbered(1) + "nonsense\n\n" + Numbered(2) + "{\"EventID\":\"x\"}\n[1]\n" +
                            "{\"UserName\":\"no code\"}\n" + Numbered(3) + "{\"EventID\":2");
  const Ended ended = RunAgent("jsonl:" + events_);
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(TotalsIn(ended.output), ElementsAre(Totals{3, 5, 3, 0, 0, 0}));
  for (const char* line : {":2: ", ":5: ", ":6: ", ":7: ", ":9: "}) {
    EXPECT_THAT(ended.errors, HasSubstr("wkagentd: " + events_ + line));
  }
  for (const char* line : {":1: ", ":3: ", ":4: ", ":8: "}) {
    EXPECT_THAT(ended.errors, Not(HasSubstr(events_ + line)));
  }
  EXPECT_EQ(Range(1, 4), Numbers());
}

TEST_F(AgentFeed, GarbageBetweenRecordsOfAChangeLogIsReportedWithFileAndLineAndCounted) {
  home_.Write("changes.ldif",
              ChangeLogRecord("one") + "what is this?\n\n" + ChangeLogRecord("two") +
                  "dn: ou=three,o=acme\nchangetype: none\n\n" + ChangeLogRecord("four") +
                  "# add 1795207563 o=acme\ndn: ou=five,o");
  const Ended ended = RunAgent("auditlog:" + log_);
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(TotalsIn(ended.output), ElementsAre(Totals{3, 3, 3, 0, 0, 0}));
  for (const char* line : {":7: ", ":16: "}) {
    EXPECT_THAT(ended.errors, HasSubstr("wkagentd: " + log_ + line));
  }
  EXPECT_THAT(Objects(), ElementsAre("one.acme", "two.acme", "four.acme"));
}

TEST_F(AgentFeed, EveryEntryIsAccountedFor) {
  home_.Write("config/EDAFilter.xml", FilterFile({KeepAll(), DropClass("unwanted")}));
  std::string lines;
  for (int number = 0; number < 1300; ++number) {
    if (number % 7 == 0) {
      lines += "nonsense\n";
    } else if (number % 5 == 0) {
      lines += JsonLine(20001, {{"Class1", "unwanted"}});
    } else {
      lines += Numbered(number);
    }
  }
  const Ended ended = RunAgent("jsonl:-", lines);
  ExpectConserved(ended.output, 1300, static_cast<long>(Records().size()));
}

TEST_F(AgentFeed, ReportsOfMalformedEntriesHoldNoValues) {
  home_.Write("changes.ldif",
              "dn: ou=x,o=acme\nchangetype: add\nuserPassword Geheim7\n\n"
              "Geheim7\n\ndn: ou=x,o=acme\nuserPassword:: Geheim7!\n\n");
  const Ended log = RunAgent("auditlog:" + log_);
  EXPECT_NE(0, TotalsIn(log.output).at(0).malformed);
  EXPECT_THAT(log.errors, Not(HasSubstr("Geheim7")));
  const Ended json = RunAgent("jsonl:-", "{\"userPassword\":\"Geheim7\"}\nGeheim7\n");
  EXPECT_EQ(2, TotalsIn(json.output).at(0).malformed);
  EXPECT_THAT(json.errors, Not(HasSubstr("Geheim7")));
}

TEST_F(AgentFeed, StandardInputIsNamedInReports) {
  const Ended ended = RunAgent("jsonl:-", "\nnonsense\n");
  EXPECT_THAT(ended.errors, HasSubstr("wkagentd: standard input:2: "));
}

TEST_F(AgentFeed, ChangeLogComesThroughStandardInput) {
  const Ended ended = RunAgent("auditlog:-", ChangeLogRecord("one") + ChangeLogRecord("two"));
  EXPECT_EQ(0, ended.status) << ended.errors;
  EXPECT_THAT(Objects(), ElementsAre("one.acme", "two.acme"));
}

TEST_F(AgentFeed, FollowedFileIsReadOnAsItGrows) {
  home_.Write("events", "");
  Follow("jsonl:" + events_);
  for (int number = 0; number < 5; ++number) {
    Append(events_, Numbered(number));
    ASSERT_TRUE(WaitForEvent(number));
  }
  EXPECT_EQ((Totals{5, 0, 5, 0, 0, 0}), Stop());
  EXPECT_EQ(Range(0, 5), Numbers());
}

TEST_F(AgentFeed, FollowedLineThatIsHalfWrittenIsAwaited) {
  home_.Write("events", Numbered(0) + Numbered(1).substr(0, 12));
  Follow("jsonl:" + events_);
  ASSERT_TRUE(WaitForEvent(0));
  Append(events_, Numbered(1).substr(12));
  ASSERT_TRUE(WaitForEvent(1));
  EXPECT_EQ((Totals{2, 0, 2, 0, 0, 0}), Stop());
}

TEST_F(AgentFeed, FollowedChangeLogIsAuditedRecordByRecord) {
  home_.Write("changes.ldif", ChangeLogRecord("one"));
  Follow("auditlog:" + log_);
  ASSERT_TRUE(WaitForLive("one.acme"));
  const std::string two = ChangeLogRecord("two");
  Append(log_, two.substr(0, 100));
  Append(log_, two.substr(100));
  ASSERT_TRUE(WaitForLive("two.acme"));
  EXPECT_EQ((Totals{2, 0, 2, 0, 0, 0}), Stop());
}

TEST_F(AgentFeed, FollowedFileIsReadToItsEndWhenItIsRotated) {
  home_.Write("events", Numbered(0));
  Follow("jsonl:" + events_);
  ASSERT_TRUE(WaitForEvent(0));
  Append(events_, Numbered(1, 3));
  std::filesystem::rename(events_, events_ + ".1");
  Append(events_ + ".1", Numbered(3));
  home_.Write("events", Numbered(4, 6));
  ASSERT_TRUE(WaitForEvent(5));
  Append(events_, Numbered(6));
  ASSERT_TRUE(WaitForEvent(6));
  EXPECT_EQ((Totals{7, 0, 7, 0, 0, 0}), Stop());
  EXPECT_EQ(Range(0, 7), Numbers());
}

TEST_F(AgentFeed, FollowedFileMayBeMissingForAWhileDuringItsRotation) {
  home_.Write("events", Numbered(0));
  Follow("jsonl:" + events_);
  ASSERT_TRUE(WaitForEvent(0));
  std::filesystem::rename(events_, events_ + ".1");
  Append(events_ + ".1", Numbered(1));
  ASSERT_TRUE(WaitForEvent(1));
  home_.Write("events", Numbered(2));
  ASSERT_TRUE(WaitForEvent(2));
  EXPECT_EQ((Totals{3, 0, 3, 0, 0, 0}), Stop());
}

TEST_F(AgentFeed, FollowedFileIsReadFromItsBeginningWhenItWasTruncated) {
  home_.Write("events", Numbered(0, 10));
  Follow("jsonl:" + events_);
  ASSERT_TRUE(WaitForEvent(9));
  std::filesystem::resize_file(events_, 0);
  Append(events_, Numbered(10));
  ASSERT_TRUE(WaitForEvent(10));
  EXPECT_EQ((Totals{11, 0, 11, 0, 0, 0}), Stop());
  EXPECT_EQ(Range(0, 11), Numbers());
}

TEST_F(AgentFeed, LinesAreCountedAnewInTheFileAfterTheRotation) {
  home_.Write("events", Numbered(0, 4));
  Follow("jsonl:" + events_);
  ASSERT_TRUE(WaitForEvent(3));
  std::filesystem::rename(events_, events_ + ".1");
  home_.Write("events", "nonsense\n" + Numbered(4));
  ASSERT_TRUE(WaitForEvent(4));
  EXPECT_EQ((Totals{5, 1, 5, 0, 0, 0}), Stop());
  EXPECT_THAT(agent_->Errors(), HasSubstr(events_ + ":1: "));
}

TEST_F(AgentFeed, WithoutFollowTheFileIsReadOnce) {
  home_.Write("events", Numbered(0, 1200));
  const Ended ended = RunAgent("jsonl:" + events_);
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(TotalsIn(ended.output), ElementsAre(Totals{1200, 0, 1200, 0, 2, 0}));
  EXPECT_EQ(Range(0, 1200), Numbers());
  EXPECT_EQ(3U, AuditFiles().size());
}

}  // namespace
}  // namespace wkagent::test
