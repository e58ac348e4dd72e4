// Collectors that are silent, talk nonsense or never stop talking: no line is lost where delivery
// is safe, and neither time nor memory without limit.

#include <csignal>
#include <optional>

#include <unistd.h>

#include "collectors/delivery_fixture.h"
#include "collectors/stepped_clock.h"
#include "support/hostile_server.h"
#include "support/memory.h"
#include "support/process.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr int kLines = 150;  // two batches
constexpr long kMemory = MostMemory(64 * 1024);

// The beginning of a server's hello that never comes to an end.
std::string LongHello() {
  const std::string head("\x16\x03\x03\x40\x00\x02\x00\x3f\xfc\x03\x03", 11);
  return head + std::string(16000, '\0');
}

struct Named {
  const char* name;
  Transport transport;
  Fault fault;
};

class HostileCollector : public DeliveryTest, public ::testing::WithParamInterface<Named> {};

INSTANTIATE_TEST_SUITE_P(
    That, HostileCollector,
    ::testing::Values(
        Named{"IsSilentInTheHandshake", Transport::kTls, {Fault::Manner::kSilence}},
        Named{"DripsTheHandshake", Transport::kTls, {Fault::Manner::kDrip, LongHello()}},
        Named{"NeverEndsTheHandshake", Transport::kTls, {Fault::Manner::kEndless, LongHello()}},
        Named{"TalksNonsenseInTheHandshake", Transport::kTls, {Fault::Manner::kEndless, "no\r\n"}},
        Named{"TalksWithoutEnd", Transport::kTcp, {Fault::Manner::kEndless, "no\r\n"}},
        Named{"Drips", Transport::kTcp, {Fault::Manner::kDrip, "no\r\n"}}),
    [](const auto& tested) { return tested.param.name; });

TEST_P(HostileCollector, CostsNoLineAndLittleMemory) {
  const ShortLimits limits;
  const HostileServer server({}, GetParam().fault);
  Use(GetParam().transport, server.Port(), {.ca = authority_.Certificate()});
  WKSyslogSender sender;
  sender.SetSafeDelivery(true);
  Feed(sender, 0, kLines);
  EXPECT_TRUE(sender.WaitUntilEmpty(kDeadline));
  const WKSyslogSender::Counters counters = sender.GetCounters();
  EXPECT_EQ(0U, counters.dropped);
  EXPECT_EQ(static_cast<std::size_t>(kLines), counters.sent + counters.stored);
  EXPECT_EQ(counters.stored, StoredLines().size());
  EXPECT_EQ(GetParam().transport == Transport::kTls, counters.sent == 0);
  EXPECT_LT(PeakMemoryOf(getpid()), kMemory);
}

class AgentBesideACollector : public DeliveryTest {};

TEST_F(AgentBesideACollector, ThatIsSilentGoesOnAuditingAndStoresTheLinesAtTheEnd) {
  const HostileServer server({}, {.manner = Fault::Manner::kSilence});
  UseTls(server.Port(), {.ca = authority_.Certificate()});
  home_.Write("config/EDAFilter.xml",
              "<F><Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\"/>"
              "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>"
              "<Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
              "<AttributeValues AllAttributeValues=\"1\"/></F>");
  Process agent({WKAGENT_AGENT, "--home", home_.Path(""), "--feed", "jsonl:-", "--syslog"},
                Input::kFromTest);
  const std::string event = R"({"EventID":20001,"Object1":"first.acme"})";
  agent.Write(event + "\n");
  ASSERT_TRUE(server.WaitForVictim()) << agent.Errors();
  agent.Write(R"({"EventID":20001,"Object1":"second.acme"})"
              "\n");
  EXPECT_TRUE(WaitUntil(
      [&] { return home_.Read("tmp/EDALive.xml").find("second.acme") != std::string::npos; }));
  agent.Signal(SIGTERM);
  EXPECT_EQ(0, agent.Wait()) << agent.Errors();
  EXPECT_EQ(2U, StoredLines().size());
}

}  // namespace
}  // namespace wkagent::test
