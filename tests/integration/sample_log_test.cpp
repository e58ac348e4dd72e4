// The sample log and the sample home, against what an independent script makes of them.

#include <filesystem>
#include <map>

#include "integration/agent_test.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kLog[] = WKAGENT_SOURCE_DIR "/agent/sample/changes.ldif";
constexpr char kSampleFilter[] = WKAGENT_SOURCE_DIR "/agent/home/config/EDAFilter.xml";

std::string Script(const std::string& name) {
  return WKAGENT_SOURCE_DIR "/tests/integration/" + name;
}

class SampleLog : public AgentTest {
 protected:
  // Audits the sample log with a filter file's text.
  void AuditWith(const std::string& filter) {
    home_.Write("config/EDAFilter.xml", filter);
    ended_ = RunAgent(std::string("auditlog:") + kLog);
    EXPECT_EQ(0, ended_.status) << ended_.errors;
    totals_ = OnlyTotals(ended_);
  }

  // The totals of an agent that printed them once.
  static Totals OnlyTotals(const Ended& ended) {
    const std::vector<Totals> all = TotalsIn(ended.output);
    EXPECT_EQ(1U, all.size()) << ended.output;
    return all.empty() ? Totals() : all.back();
  }

  void AuditWithSampleHome() { AuditWith(OutputOf({"cat", kSampleFilter})); }

  // What the script expects of this filter file.
  [[nodiscard]] std::string Expected() const {
    return OutputOf({WKAGENT_PYTHON, "-I", Script("expected_totals.py"), kLog,
                     home_.Path("config/EDAFilter.xml")});
  }

  // The same of what the agent printed and wrote.
  [[nodiscard]] std::string Found() const {
    std::map<std::string, int> codes;
    std::string events;
    for (const AuditRecord& record : Records()) {
      ++codes[record.code];
      events += "event " + record.utcDate + "|" + record.code + "|" + record.user + "|" +
                record.node + "|" + record.object1 + "|" + record.attribute + "|" + record.value +
                "|" + record.object2 + "\n";
    }
    std::string text = "read " + std::to_string(totals_.read) + "\nkept " +
                       std::to_string(totals_.kept) + "\ndropped " +
                       std::to_string(totals_.dropped) + "\nalerts " +
                       std::to_string(totals_.alerts) + "\n";
    for (const auto& [code, count] : codes) {
      text += "code " + code + " " + std::to_string(count) + "\n";
    }
    return text + events;
  }

  // How many passwords the log has, and the lines in which the agent wrote one.
  [[nodiscard]] std::string Leaks() const {
    home_.Write("stdout", ended_.output);
    home_.Write("stderr", ended_.errors);
    std::vector<std::string> command = {WKAGENT_PYTHON, "-I", Script("leaked_passwords.py"), kLog};
    for (const auto& entry : std::filesystem::recursive_directory_iterator(HomePath())) {
      if (entry.is_regular_file()) command.push_back(entry.path());
    }
    return OutputOf(command);
  }

  Ended ended_;
  Totals totals_;
};

TEST_F(SampleLog, SampleHomeKeepsWhatTheScriptExpects) {
  AuditWithSampleHome();
  EXPECT_EQ(Expected(), Found());
}

TEST_F(SampleLog, HomeThatKeepsEverythingKeepsWhatTheScriptExpects) {
  AuditWith(FilterFile({KeepAll()}));
  EXPECT_EQ(Expected(), Found());
  EXPECT_EQ(1, totals_.archived);
}

TEST_F(SampleLog, ExcludedClientsWorkIsLeftOutAsTheScriptExpects) {
  std::string filter = OutputOf({"cat", kSampleFilter});
  filter.replace(filter.find("helpdesk,OU=it"), 8, "root2");
  AuditWith(filter);
  EXPECT_EQ(Expected(), Found());
}

TEST_F(SampleLog, NoEntryIsMalformed) {
  AuditWithSampleHome();
  EXPECT_EQ(0, totals_.malformed);
  EXPECT_EQ("", ended_.errors);
}

TEST_F(SampleLog, SampleHomeKeepsBothKindsOfContactDataInSales) {
  AuditWithSampleHome();
  const auto isContact = [](const char* attribute) {
    return Field(&AuditRecord::attribute, attribute);
  };
  EXPECT_THAT(Records(), AllOf(::testing::Contains(isContact("telephoneNumber")),
                               ::testing::Contains(isContact("mail"))));
}

TEST_F(SampleLog, SampleHomeDropsVisibleThings) {
  AuditWithSampleHome();
  EXPECT_GT(totals_.dropped, 0);
  EXPECT_GT(totals_.alerts, 0);
  EXPECT_THAT(Records(),
              Not(::testing::Contains(AllOf(Field(&AuditRecord::user, "helpdesk.it.acme"),
                                            Field(&AuditRecord::object1, HasSubstr(".it.acme"))))));
}

TEST_F(SampleLog, NoPasswordIsWrittenAnywhere) {
  AuditWith(FilterFile({KeepAll()}));
  EXPECT_EQ("110\n", Leaks());
}

TEST_F(SampleLog, LeakedPasswordWouldBeFound) {
  AuditWith(FilterFile({KeepAll()}));
  home_.Write("tmp/leak", "first line\nthe password is pw250\n");
  EXPECT_EQ("110\nleak " + HomePath() + "/tmp/leak 2\n", Leaks());
}

TEST_F(SampleLog, LogThroughAPipeGivesTheSame) {
  AuditWithSampleHome();
  const Totals fromFile = totals_;
  const Ended ended = RunAgent("auditlog:-", OutputOf({"cat", kLog}));
  const Totals fromPipe = OnlyTotals(ended);
  EXPECT_EQ(fromFile.kept, fromPipe.kept);
  EXPECT_EQ(1, fromPipe.archived);  // what the first run left
  EXPECT_EQ(static_cast<std::size_t>(2 * fromFile.kept), Records().size());
}

}  // namespace
}  // namespace wkagent::test
