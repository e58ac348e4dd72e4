// Directory servers that do not answer, or answer with nonsense: the agent obeys signals meanwhile,
// and tries again.

#include <csignal>
#include <deque>
#include <filesystem>
#include <iterator>
#include <optional>

#include <sys/resource.h>

#include "integration/agent_test.h"
#include "integration/slapd.h"
#include "support/collector.h"
#include "support/hostile_server.h"
#include "support/memory.h"
#include "support/stalling_proxy.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr long kMemory = MostMemory(128 * 1024);

std::string Message(char number, char tag) {
  return {'\x30', '\x0c', '\x02', '\x01', number, tag,    '\x07',
          '\x0a', '\x01', '\0',   '\x04', '\0',   '\x04', '\0'};
}

// A talk of LDAP without fault, as far as the search: the root DSE, which offers nothing, and the
// bind.
const std::vector<Step> kTalk = {{"objectClass", Message(1, '\x65')},
                                 {"cn=reader", Message(2, '\x61')}};

std::vector<Step> TalkUpTo(std::size_t steps) {
  return {kTalk.begin(), std::next(kTalk.begin(), static_cast<std::ptrdiff_t>(steps))};
}

class HostileDirectory : public AgentTest {
 protected:
  void StartAgent(int port, const std::vector<std::string>& more = {}) {
    Start(CommandFor(port, more));
  }

  // The command line of an agent for the server at this port.
  [[nodiscard]] std::vector<std::string> CommandFor(
      int port, const std::vector<std::string>& more = {}) const {
    const std::string settings = "config/LDAPSettings.xml";
    home_.Write(settings, "<S><LDAPServer>127.0.0.1</LDAPServer><LDAPPortNumber>" +
                              std::to_string(port) + "</LDAPPortNumber><LDAPUserName>" +
                              DirectoryServer::kReader + "</LDAPUserName><LDAPPassword>" +
                              DirectoryServer::kPassword + "</LDAPPassword></S>");
    return Command("accesslog:" + home_.Path(settings), more);
  }

  void Start(const std::vector<std::string>& command) {
    agent_.emplace(command);
    EXPECT_TRUE(WaitUntil([this] { return home_.Exists("tmp/wkagentd.status"); }));
  }

  // The agent is busy with its server, and yet prints its totals when it is asked.
  void ExpectTotals() {
    agent_->Signal(SIGUSR1);
    EXPECT_TRUE(WaitUntil([this] { return !TotalsIn(agent_->Output()).empty(); }));
  }

  // Ends the agent, which must not wait for the server to be given up first.
  void ExpectEndAtOnce() {
    agent_->Signal(SIGTERM);
    EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
    EXPECT_THAT(agent_->Errors(), Not(HasSubstr("trying again")));
  }

  [[nodiscard]] bool WaitForMessage(const std::string& text) const {
    return WaitUntil([&] { return agent_->Errors().find(text) != std::string::npos; });
  }

  std::optional<Process> agent_;
};

TEST_F(HostileDirectory, SignalsAreObeyedWhileAConnectionIsAwaited) {
  const DeafPort server;
  StartAgent(server.Port());
  ExpectTotals();
  ExpectEndAtOnce();
}

TEST_F(HostileDirectory, SignalsAreObeyedWhileAnAnswerIsAwaited) {
  const HostileServer server({}, {.manner = Fault::Manner::kSilence, .awaited = "objectClass"});
  StartAgent(server.Port());
  ASSERT_TRUE(server.WaitForVictim());
  ExpectTotals();
  ExpectEndAtOnce();
}

TEST_F(HostileDirectory, SignalsAreObeyedWhileTheBindIsAwaited) {
  const HostileServer server(TalkUpTo(1),
                             {.manner = Fault::Manner::kSilence, .awaited = "cn=reader"});
  StartAgent(server.Port());
  ASSERT_TRUE(server.WaitForVictim());
  ExpectTotals();
  ExpectEndAtOnce();
}

TEST_F(HostileDirectory, SignalsAreObeyedAmidAnAnswer) {
  const HostileServer server(TalkUpTo(2), {Fault::Manner::kSays, "\x30\x0c\x02", "cn=accesslog"});
  StartAgent(server.Port());
  ASSERT_TRUE(server.WaitForVictim());
  ExpectTotals();
  ExpectEndAtOnce();
}

TEST_F(HostileDirectory, SignalsAreObeyedAmidATlsRecord) {
  std::filesystem::create_directory(home_.Path("slapd"));
  DirectoryServer server(home_.Path("slapd"), home_.Path("changes.ldif"));
  const std::string certificate = server.OfferTls();
  StallingProxy proxy(server.Port());
  StartAgent(proxy.Port(), {"--ca-file", certificate});
  server.Add("dn: ou=it,o=acme\nobjectClass: organizationalUnit\nou: it\n");
  ASSERT_TRUE(WaitForLive("Object1=\"it.acme\"")) << agent_->Errors();
  proxy.StallAfter(3);
  server.Add("dn: ou=hr,o=acme\nobjectClass: organizationalUnit\nou: hr\n");
  ASSERT_TRUE(proxy.WaitForStall());
  ExpectTotals();
  ExpectEndAtOnce();
}

TEST_F(HostileDirectory, WithoutDescriptorsTheConnectionIsTriedAgain) {
  const RefusingPort nobody;
  Start(Unwatched(CommandFor(nobody.Port())));
  ASSERT_TRUE(WaitForMessage("trying again in 1 s"));
  const auto limit = [this](rlim_t most) {
    const rlimit limits = {most, 1024};
    ASSERT_EQ(0, prlimit(agent_->Id(), RLIMIT_NOFILE, &limits, nullptr));
  };
  limit(3);
  EXPECT_TRUE(WaitForMessage("Too many open files; trying again"));
  limit(1024);
  const std::string before = agent_->Errors();
  EXPECT_TRUE(WaitUntil([&] { return agent_->Errors().size() > before.size(); }));
  EXPECT_THAT(agent_->Errors().substr(before.size()), Not(HasSubstr("Too many open files")));
  agent_->Signal(SIGTERM);
  EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
}

// A server that fails, and what the agent must say of it.
struct Failing {
  const char* name;
  std::size_t steps;
  Fault fault;
  std::string message;
};

class FailingDirectory : public HostileDirectory, public ::testing::WithParamInterface<Failing> {};

const std::string kEndlessAnswer("\x30\x84\x7f\xff\xff\xff", 6);

INSTANTIATE_TEST_SUITE_P(
    That, FailingDirectory,
    ::testing::Values(
        Failing{"ClosesAtOnce", 0, {Fault::Manner::kClose, "", "objectClass"}, "connecting: "},
        Failing{"ResetsAtTheBind", 1, {Fault::Manner::kReset, "", "cn=reader"}, "binding: "},
        Failing{"ClosesAtTheSearch", 2, {Fault::Manner::kClose, "", "cn=accesslog"}, "reading: "},
        Failing{"TalksNonsense", 0, {Fault::Manner::kEndless, "nonsense"}, "connecting: "},
        Failing{"TalksNonsenseInTheSearch",
                2,
                {Fault::Manner::kEndless, "nonsense", "cn=accesslog"},
                "reading: "},
        Failing{"AnswersWithoutEnd",
                0,
                {Fault::Manner::kEndless, kEndlessAnswer, "objectClass"},
                "connecting: "},
        Failing{"AnswersWithoutEndInTheSearch",
                2,
                {Fault::Manner::kEndless, kEndlessAnswer, "cn=accesslog"},
                "reading: "}),
    [](const auto& tested) { return tested.param.name; });

TEST_P(FailingDirectory, IsTriedAgainAndTakesLittleMemory) {
  const HostileServer server(TalkUpTo(GetParam().steps), GetParam().fault);
  StartAgent(server.Port());
  EXPECT_TRUE(WaitForMessage(GetParam().message)) << agent_->Errors();
  EXPECT_TRUE(WaitForMessage("trying again in 1 s")) << agent_->Errors();
  EXPECT_LT(PeakMemoryOf(agent_->Id()), kMemory);
  agent_->Signal(SIGTERM);
  EXPECT_EQ(0, agent_->Wait()) << agent_->Errors();
}

}  // namespace
}  // namespace wkagent::test
