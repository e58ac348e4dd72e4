// The SNMP component against a real snmptrapd.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/components.h>

#include "components/event_log.h"
#include "components/event_sink.h"
#include "components/trap_receiver.h"
#include "support/agent_home.h"
#include "support/printed.h"

namespace wkagent::test {
namespace {

using components::ToNumber;
using components::ToParameter;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class SnmpComponent : public ::testing::Test {
 protected:
  SnmpComponent() : agent_(SNMPAgent_Create(EventLog::Sink, &log_, "")) { Fill("hello\n"); }
  ~SnmpComponent() override { EXPECT_EQ(0, SNMPAgent_Destroy(agent_)); }

  void Variable(int index, int type, const std::string& name, const std::string& value) {
    SNMPAgent_Set(agent_, 7, index, ToParameter(type), 0);
    SNMPAgent_Set(agent_, 8, index, name.c_str(), 0);
    SNMPAgent_Set(agent_, 10, index, value.c_str(), static_cast<int>(value.size()));
  }

  void Fill(const std::string& message) {
    SNMPAgent_Do(agent_, 8, 0, nullptr, nullptr);
    SNMPAgent_Set(agent_, 6, 0, ToParameter(3), 0);
    Variable(0, 0x43, "1.3.6.1.2.1.1.3.0", "4711");
    Variable(1, 0x06, "1.3.6.1.6.3.1.1.4.1.0", "1.3.6.1.4.1.32473.0.1");
    Variable(2, 0x04, "1.3.6.1.4.1.32473.1.1", message);
  }

  int Send(std::string manager) {
    void* params[] = {manager.data(), manager.data()};
    int lengths[] = {0, 0};
    int result = -1;
    printed_ = Complaints([&] { result = SNMPAgent_Do(agent_, 12, 2, params, lengths); });
    return result;
  }

  AgentHome home_;
  EventLog log_{4};
  std::string printed_;
  void* const agent_;
};

TEST_F(SnmpComponent, SendsTheVariablesInTheirOrder) {
  const TrapReceiver receiver(home_.Path("tmp"));
  EXPECT_EQ(0, Send(receiver.Address())) << printed_;
  EXPECT_THAT(receiver.WaitForTraps(1),
              ElementsAre(".1.3.6.1.2.1.1.3.0 = Timeticks: (4711) 0:00:47.11\t"
                          ".1.3.6.1.6.3.1.1.4.1.0 = OID: .1.3.6.1.4.1.32473.0.1\t"
                          ".1.3.6.1.4.1.32473.1.1 = Hex-STRING: 68 65 6C 6C 6F 0A "));
  EXPECT_THAT(log_.errors, IsEmpty());
}

TEST_F(SnmpComponent, SendsAgainThroughTheSameHandle) {
  const TrapReceiver receiver(home_.Path("tmp"));
  EXPECT_EQ(0, Send(receiver.Address()));
  Fill("2");
  EXPECT_EQ(0, Send(receiver.Address()));
  const std::vector<std::string> traps = receiver.WaitForTraps(2);
  ASSERT_THAT(traps, ::testing::SizeIs(2));
  EXPECT_THAT(traps[1], ::testing::EndsWith("Hex-STRING: 32 "));
}

TEST_F(SnmpComponent, TellsABadOidAndSendsNothing) {
  const TrapReceiver receiver(home_.Path("tmp"));
  Variable(2, 0x04, "not an oid", "hello");
  EXPECT_NE(0, Send(receiver.Address()));
  Fill("2");
  Variable(1, 0x06, "1.3.6.1.6.3.1.1.4.1.0", "");
  EXPECT_NE(0, Send(receiver.Address()));
  EXPECT_THAT(log_.errors, ElementsAre("not an object identifier: \"not an oid\"",
                                       "not a value for 1.3.6.1.6.3.1.1.4.1.0: \"\""));
  Fill("3");
  EXPECT_EQ(0, Send(receiver.Address()));
  EXPECT_THAT(receiver.WaitForTraps(1), ::testing::SizeIs(1));
}

TEST_F(SnmpComponent, TellsABadHost) {
  EXPECT_NE(0, Send("no host at all"));
  EXPECT_NE(0, Send(""));
  ASSERT_THAT(log_.errors, ::testing::SizeIs(2));
  EXPECT_THAT(log_.errors[0], HasSubstr("no host at all: "));
  EXPECT_EQ(log_.errors[1], "no manager to send the trap to");
  EXPECT_THAT(printed_, HasSubstr("snmp: no manager"));
}

TEST_F(SnmpComponent, TellsAVariableThatIsNotThere) {
  printed_ = Complaints([&] {
    EXPECT_NE(0, SNMPAgent_Set(agent_, 7, 3, ToParameter(4), 0));
    EXPECT_NE(0, SNMPAgent_Set(agent_, 7, -1, ToParameter(4), 0));
    EXPECT_NE(0, SNMPAgent_Set(agent_, 6, 0, ToParameter(101), 0));
    EXPECT_NE(0, SNMPAgent_Set(agent_, 6, 0, ToParameter(-1), 0));
  });
  EXPECT_THAT(log_.errors, ElementsAre("there is no variable 3", "there is no variable -1",
                                       "too many variables", "too many variables"));
}

TEST_F(SnmpComponent, CountsItsUpTimeInHundredths) {
  int length = -1;
  const int first = ToNumber(SNMPAgent_Get(agent_, 13, 0, &length));
  EXPECT_GE(first, 0);
  EXPECT_EQ(0, length);
  EXPECT_TRUE(WaitUntil([&] { return ToNumber(SNMPAgent_Get(agent_, 13, 0, nullptr)) > first; }));
  EXPECT_EQ(0, ToNumber(SNMPAgent_Get(agent_, 14, 0, nullptr)));
}

TEST_F(SnmpComponent, IgnoresOtherNumbersAndNeedsAHandle) {
  EXPECT_EQ(0, SNMPAgent_Set(agent_, 12, 0, ToParameter(2), 0));
  EXPECT_EQ(0, SNMPAgent_Set(agent_, 3, 0, "WK Agent", 8));
  EXPECT_EQ(0, SNMPAgent_Do(agent_, 99, 0, nullptr, nullptr));
  EXPECT_EQ(1, SNMPAgent_Do(nullptr, 12, 0, nullptr, nullptr));
  EXPECT_EQ(1, SNMPAgent_Set(nullptr, 6, 0, nullptr, 0));
  EXPECT_EQ(0, SNMPAgent_Destroy(nullptr));
}

}  // namespace
}  // namespace wkagent::test
