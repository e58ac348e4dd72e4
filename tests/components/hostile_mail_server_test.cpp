// Mail servers that are silent, talk nonsense or never stop talking, at each step of a transfer:
// none takes longer than it may, or much memory.

#include <array>
#include <chrono>
#include <deque>
#include <future>
#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "components/mail/smtp_transport.h"
#include "support/agent_home.h"
#include "support/hostile_server.h"
#include "support/memory.h"
#include "support/private_root.h"
#include "support/silent_name_server.h"
#include "support/wait_until.h"

namespace wkagent::components {
namespace {

using test::Fault;
using test::HostileServer;
using test::Step;
using ::testing::HasSubstr;

constexpr std::chrono::milliseconds kTime(500);
constexpr std::size_t kAnswers = 64 * 1024;
constexpr long kMemory = test::MostMemory(32 * 1024);

// A transfer without fault. Before each of them, a server may lose its manners.
const std::array<Step, 7> kTalk = {{{"", "220 mail.acme.example\r\n"},
                                    {"EHLO", "250-mail.acme.example\r\n250 SIZE 100000\r\n"},
                                    {"MAIL", "250 ok\r\n"},
                                    {"RCPT", "250 ok\r\n"},
                                    {"DATA", "354 go on\r\n"},
                                    {"\r\n.\r\n", "250 taken\r\n"},
                                    {"QUIT", "221 bye\r\n"}}};

struct Result {
  int code = -1;
  std::string error;
  std::size_t heard = 0;
};

Result SendTo(const std::string& server, const std::function<bool(std::size_t)>& goesOn,
              std::chrono::milliseconds time = kTime) {
  Result result;
  const Envelope envelope = {
      server, "agent@acme.example", {"ops@acme.example"}, "Subject: s\r\n\r\ntext\r\n"};
  const Follower follower = {[&](std::string_view line) { result.heard += line.size(); }, goesOn};
  result.code = SendBySmtp(envelope, follower, result.error, {time, kAnswers});
  return result;
}

bool GoesOn(std::size_t /*sent*/) { return true; }

// Lets servers fail so at each step, all at the same time: what came of each.
std::map<std::string, Result> SendToServersThat(const Fault& fault) {
  std::deque<HostileServer> servers;
  std::map<std::string, std::future<Result>> sends;
  std::map<std::string, Result> results;
  std::vector<Step> steps;
  for (const Step& step : kTalk) {
    HostileServer& server =
        servers.emplace_back(steps, Fault{fault.manner, fault.text, step.awaited});
    sends[step.awaited] =
        std::async(std::launch::async, [&server] { return SendTo(server.Address(), GoesOn); });
    steps.push_back(step);
  }
  for (auto& [step, send] : sends) {
    EXPECT_EQ(std::future_status::ready, send.wait_for(test::kDeadline)) << step;
    results[step] = send.get();
  }
  return results;
}

struct Named {
  const char* name;
  Fault fault;
};

class HostileMailServer : public ::testing::TestWithParam<Named> {};

INSTANTIATE_TEST_SUITE_P(
    That, HostileMailServer,
    ::testing::Values(Named{"IsSilent", {Fault::Manner::kSilence}},
                      Named{"DoesNotListen", {Fault::Manner::kDeaf}},
                      Named{"TalksNonsense", {Fault::Manner::kSays, "\x80\xff\x01 nonsense\r\n"}},
                      Named{"NeverEndsItsLine", {Fault::Manner::kEndless, "2"}},
                      Named{"NeverEndsItsAnswer", {Fault::Manner::kEndless, "250-more\r\n"}},
                      Named{"RefusesWithoutEnd", {Fault::Manner::kEndless, "550-no\r\n"}},
                      Named{"SaysAByteNowAndThen", {Fault::Manner::kDrip, "250-more\r\n"}},
                      Named{"Closes", {Fault::Manner::kClose}},
                      Named{"Resets", {Fault::Manner::kReset}}),
    [](const auto& tested) { return tested.param.name; });

TEST_P(HostileMailServer, TakesNeitherLongNorMuchMemory) {
  const std::map<std::string, Result> results = SendToServersThat(GetParam().fault);
  ASSERT_EQ(kTalk.size(), results.size());
  for (const auto& [step, result] : results) {
    const bool taken = step == "QUIT";  // the mail is the server's by then
    EXPECT_EQ(taken, result.code == 0) << step << ": " << result.error;
    EXPECT_EQ(taken, result.error.empty()) << step;
    EXPECT_LE(result.heard, kAnswers) << step;
  }
  EXPECT_LT(test::PeakMemoryOf(getpid()), kMemory);
}

TEST(MailTransfer, ToAServerThatIsSilentAmidTheTlsHandshakeIsGivenUp) {
  const HostileServer server({{"", "220 mail\r\n"},
                              {"EHLO", "250-mail\r\n250 STARTTLS\r\n"},
                              {"STARTTLS", "220 go on\r\n"}},
                             {.manner = Fault::Manner::kSilence, .awaited = "\x16\x03"});
  EXPECT_THAT(SendTo(server.Address(), GoesOn).error, HasSubstr("timed out"));
  EXPECT_EQ(1, server.Victims());
}

TEST(MailTransfer, ToAServerThatDripsTheTlsHandshakeIsGivenUp) {
  const std::string record("\x16\x03\x03\x40\x00\x02\x00\x3f\xfc\x03\x03", 11);
  const HostileServer server({{"", "220 mail\r\n"},
                              {"EHLO", "250-mail\r\n250 STARTTLS\r\n"},
                              {"STARTTLS", "220 go on\r\n"}},
                             {Fault::Manner::kDrip, record + std::string(16000, '\0'), "\x16\x03"});
  EXPECT_THAT(SendTo(server.Address(), GoesOn).error, HasSubstr("timed out"));
}

// The machine's only name server is silent.
TEST(MailTransfer, ToANameThatNobodyResolvesIsGivenUp) {
  test::InPrivateRoot([] {
    test::EnterPrivateNetwork();
    const test::AgentHome home;
    home.Write("resolv.conf", "nameserver 127.0.0.1\noptions timeout:30 attempts:3\n");
    const std::string file = home.Path("resolv.conf");
    test::RequireMounted(mount(file.c_str(), "/etc/resolv.conf", nullptr, MS_BIND, nullptr), file);
    const test::SilentNameServer server;
    const Result result = SendTo("mail.acme.example", GoesOn);
    EXPECT_THAT(result.error, HasSubstr("timed out"));
    EXPECT_TRUE(server.WasAsked());
  });
}

TEST(MailTransfer, IsBrokenOffWhenItsFollowerSaysSo) {
  const HostileServer server({}, {.manner = Fault::Manner::kSilence});
  const Result result = SendTo(
      server.Address(), [&](std::size_t) { return server.Victims() == 0; }, std::chrono::hours(1));
  EXPECT_NE(0, result.code);
  EXPECT_EQ("broken off", result.error);
}

TEST(MailTransfer, ThatIsBrokenOffAfterTheMailWasTakenHasSucceeded) {
  const HostileServer server({kTalk.begin(), kTalk.end() - 1},
                             {.manner = Fault::Manner::kSilence, .awaited = "QUIT"});
  const Result result = SendTo(
      server.Address(), [&](std::size_t) { return server.Victims() == 0; }, std::chrono::hours(1));
  EXPECT_EQ(0, result.code) << result.error;
}

}  // namespace
}  // namespace wkagent::components
