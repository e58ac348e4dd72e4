#include "components/snmp/trap.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace wkagent::components {
namespace {

using ::testing::ElementsAre;

TEST(TrapOid, IsNumbersBetweenDots) {
  EXPECT_THAT(ParseOid("1.3.6.1").value(), ElementsAre(1u, 3u, 6u, 1u));
  EXPECT_THAT(ParseOid(".1.3.4294967295").value(), ElementsAre(1u, 3u, 4294967295u));
  EXPECT_THAT(ParseOid("2.0").value(), ElementsAre(2u, 0u));
}

TEST(TrapOid, RefusesEverythingElse) {
  for (const char* wrong : {"", ".", "1", "1.", "1.3.", "..1.3", "1..3", "3.1", "1.a", "a.1",
                            "1.-3", "1.+3", "1. 3", "1.3 ", " 1.3", "1.4294967296", "iso.3"}) {
    EXPECT_FALSE(ParseOid(wrong)) << wrong;
  }
}

TEST(TrapOid, HasAtMost128Numbers) {
  std::string text = "1";
  for (int i = 1; i < 128; ++i) text += ".1";
  EXPECT_EQ(ParseOid(text).value().size(), 128u);
  EXPECT_FALSE(ParseOid(text + ".1"));
}

struct Wrong {
  Variable variable;
  const char* error;
};

TEST(Trap, TellsWhichVariableIsWrong) {
  const Wrong cases[] = {
      {{"x", kOctetString, "v"}, "not an object identifier: \"x\""},
      {{"1.3", kTimeTicks, "12x"}, "not a value for 1.3: \"12x\""},
      {{"1.3", kTimeTicks, "-1"}, "not a value for 1.3: \"-1\""},
      {{"1.3", kTimeTicks, ""}, "not a value for 1.3: \"\""},
      {{"1.3", kObjectIdentifier, "y"}, "not a value for 1.3: \"y\""},
      {{"1.3", 99, "v"}, "not a value for 1.3: \"v\""},
  };
  for (const Wrong& wrong : cases) {
    std::string error;
    EXPECT_EQ(BuildTrap({wrong.variable}, error), nullptr);
    EXPECT_EQ(error, wrong.error);
  }
}

TEST(Trap, TakesVariablesInTheirOrder) {
  std::string error;
  const Pdu trap = BuildTrap({{"1.3.1", kTimeTicks, "4711"},
                              {"1.3.2", kObjectIdentifier, "1.3.6"},
                              {"1.3.3", kOctetString, std::string("a\0b", 3)},
                              {"1.3.4", kOctetString, ""}},
                             error);
  ASSERT_NE(trap, nullptr) << error;
  EXPECT_EQ(trap->command, SNMP_MSG_TRAP2);
  std::vector<int> types;
  for (const auto* variable = trap->variables; variable; variable = variable->next_variable) {
    types.push_back(variable->type);
  }
  EXPECT_THAT(types, ElementsAre(kTimeTicks, kObjectIdentifier, kOctetString, kOctetString));
}

}  // namespace
}  // namespace wkagent::components
