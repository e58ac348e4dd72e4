// A great many events through a pipe: memory stays small, and each kept event is in one file.

#include <limits>

#include "integration/agent_test.h"
#include "support/conservation.h"
#include "support/sanitized.h"

namespace wkagent::test {
namespace {

#ifdef WKAGENT_TEST_SANITIZED
// A sanitizer slows the agent down, and its own memory says nothing about the agent's.
constexpr int kEvents = 50000;
constexpr long kMostMemory = std::numeric_limits<long>::max();
#else
constexpr int kEvents = 1000000;
constexpr long kMostMemory = 64 * 1024;  // KiB
#endif

constexpr int kBlock = 5000;

class ManyEvents : public AgentTest {
 protected:
  // Every seventh event, from event 0 on, is of a class that the filter drops.
  static std::string Block(int first) {
    std::string lines;
    for (int number = first; number < first + kBlock; ++number) {
      lines += "{\"EventID\":20005,\"UserName\":\"admin.acme\",\"NodeAddress\":\"192.0.2.1\",";
      lines += number % 7 == 0 ? "\"Class1\":\"unwanted\"" : "\"Class1\":\"wanted\"";
      lines += ",\"Object1\":\"n" + std::to_string(number) +
               ".load.acme\",\"Attribute1\":\"mail\",\"AttributeValue\":\"a <b> & c\","
               "\"EventTime\":1795207563}\n";
    }
    return lines;
  }

  // What a script that reads all files must find: every record once but those of class 0.
  [[nodiscard]] std::string Expected() const {
    const int dropped = (kEvents + 6) / 7;
    const int kept = kEvents - dropped;
    std::string text = "files " + std::to_string((kept + 499) / 500) + " records " +
                       std::to_string(kept) + "\nremainder 0: once 0, never " +
                       std::to_string(dropped) + ", again 0\n";
    for (int remainder = 1; remainder < 7; ++remainder) {
      text += "remainder " + std::to_string(remainder) + ": once " +
              std::to_string((kEvents - remainder + 6) / 7) + ", never 0, again 0\n";
    }
    return text;
  }

  [[nodiscard]] std::string Found() const {
    return OutputOf({WKAGENT_PYTHON, "-I",
                     WKAGENT_SOURCE_DIR "/tests/integration/numbered_records.py",
                     std::to_string(kEvents), home_.Path("outbox"), home_.Path("tmp")});
  }
};

TEST_F(ManyEvents, AreEachInOneFileAndTakeLittleMemory) {
  home_.Write("config/EDAFilter.xml", FilterFile({KeepAll(), DropClass("unwanted")}));
  Process agent(Command("jsonl:-"), Input::kFromTest);
  for (int number = 0; number < kEvents; number += kBlock) agent.Write(Block(number));
  agent.CloseInput();
  ASSERT_EQ(0, agent.Wait()) << agent.Errors().substr(0, 1000);
  const Totals totals = TotalsIn(agent.Output()).at(0);
  EXPECT_EQ(kEvents, totals.read);
  ExpectConserved(agent.Output());
  EXPECT_EQ((kEvents + 6) / 7, totals.dropped);
  EXPECT_EQ(Expected(), Found());
  EXPECT_LT(agent.PeakMemory(), kMostMemory);
}

}  // namespace
}  // namespace wkagent::test
