#include <array>
#include <atomic>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

constexpr int kThreads = 4;

// The first statement covers one user, the second every user.
constexpr char kAdminElements[] =
    "<Users AllUsers=\"0\"><User Name=\"CN=admin\"/></Users><Operations AllOperations=\"1\"/>"
    "<Objects AllObjects=\"1\"/><Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
    "<AttributeValues AllAttributeValues=\"1\"/><SMTP Alert=\"1\" To=\"ops\"/>";

class FilterThreads : public ::testing::Test {
 protected:
  FilterThreads() {
    home_.Write("config/f.xml", FilterFile(FilterElement("one", kAdminElements) +
                                           FilterElement("two", std::string(kAllElements) +
                                                                    "<SNMP Alert=\"1\"/>")));
  }

  // Runs `work(number)` in all threads, which begin together.
  template <typename Work>
  static void RunTogether(Work work) {
    std::latch start(kThreads);
    std::vector<std::jthread> threads;
    for (int number = 0; number < kThreads; ++number) {
      threads.emplace_back([&, number] {
        start.arrive_and_wait();
        work(number);
      });
    }
  }

  AgentHome home_;
};

TEST_F(FilterThreads, EachThreadReadsAndDecidesWithItsOwnFilter) {
  std::array<int, kThreads> right{};
  RunTogether([&](int number) {
    WKEDAFilter filter(Text("f.xml"));
    DirectoryEvent event;
    event.user = number % 2 == 0 ? "admin.acme" : "bob.acme";
    const std::size_t alerts = number % 2 == 0 ? 2 : 1;
    for (int round = 0; round < 200; ++round) {
      const bool read = filter.ReadFilter() == 0;
      const bool kept = Passes(filter, event);
      right[static_cast<std::size_t>(number)] +=
          read && kept && Alerts(filter).size() == alerts ? 1 : 0;
    }
  });
  EXPECT_EQ((std::array<int, kThreads>{200, 200, 200, 200}), right);
}

TEST_F(FilterThreads, EachThreadFailsAndRecoversOnItsOwn) {
  home_.Write("config/bad.xml", "<x><Filter");
  std::atomic<int> right = 0;
  RunTogether([&](int number) {
    for (int round = 0; round < 100; ++round) {
      WKEdaConfig reader;
      const bool bad = (round + number) % 2 == 0;
      const int result = reader.ReadFile(Text(bad ? "../config/bad.xml" : "../config/f.xml"));
      if (result == (bad ? 1 : 0) && reader.list.GetCount() == (bad ? 0 : 2)) ++right;
    }
  });
  EXPECT_EQ(kThreads * 100, right);
}

}  // namespace
}  // namespace wkagent::test
