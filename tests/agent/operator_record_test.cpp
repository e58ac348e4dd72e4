#include "agent/operator_record.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

TEST(OperatorRecord, LeavesALineForEachEvent) {
  const AgentHome home;
  OperatorRecord record;
  record.Started("started");
  record.Error("100% broken");
  record.Stopped("stopped");
  EXPECT_THAT(home.Read("tmp/wkagentd.status"),
              MatchesRegex("[-/:0-9 ]+started\n\r[-/:0-9 ]+100% broken\n\r[-/:0-9 ]+stopped\n\r"));
}

TEST(OperatorRecord, LeavesAnEmptyMarkerForEachKind) {
  const AgentHome home;
  OperatorRecord record;
  record.Started("a");
  record.Stopped("b");
  record.Error("c");
  const std::string stamp = "\\.[0-9]{14}\\.xml";
  EXPECT_THAT(home.List("outbox"), ElementsAre(MatchesRegex("WKAgentError" + stamp),
                                               MatchesRegex("WKAgentStart" + stamp),
                                               MatchesRegex("WKAgentStop" + stamp)));
  for (const std::string& name : home.List("outbox")) EXPECT_EQ("", home.Read("outbox/" + name));
}

TEST(OperatorRecord, WithoutOutboxItStillWritesTheLine) {
  const AgentHome home;
  std::filesystem::remove(home.Path("outbox"));
  home.Write("outbox", "a file");
  OperatorRecord record;
  ::testing::internal::CaptureStderr();
  record.Started("started");
  EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
  EXPECT_THAT(home.Read("tmp/wkagentd.status"), MatchesRegex("[-/:0-9 ]+started\n\r"));
}

TEST(OperatorRecord, AMessageTooLongForTheLineIsCut) {
  const AgentHome home;
  OperatorRecord record;
  record.Error(std::string(1000, 'x'));
  EXPECT_THAT(home.Read("tmp/wkagentd.status"), MatchesRegex("[-/:0-9 ]+x{299}\n\r"));
}

}  // namespace
}  // namespace wkagent::test
