#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <wkagent/config.h>

#include "support/agent_home.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

constexpr int kRounds = 200;

class ConfigFileThreads : public testing::Test {
 protected:
  void Start(std::function<bool(int)> right) {
    threads_.emplace_back([this, right] {
      for (int round = 0; round < kRounds; ++round) wrong_ += right(round) ? 0 : 1;
    });
  }

  int CountWrong() {
    for (std::thread& thread : threads_) thread.join();
    return wrong_;
  }

  AgentHome home_;
  std::vector<std::thread> threads_;
  std::atomic<int> wrong_{0};
};

// A reader from its construction to its end finds `value` in the file at `path`.
bool Finds(const std::string& path, const std::string& value) {
  WKConfigFile file;
  if (file.ReadFile(Text(path)) != 0) return false;
  _xmlNode* const root = file.GetXMLRootNode();
  return file.GetTagValue(root, Text("a")) == value && file.GetNodeContent(root) == value;
}

// A reader from its construction to its end refuses the malformed file at `path`.
bool Refuses(const std::string& path) {
  WKConfigFile file;
  if (file.ReadFile(Text(path)) != 1) return false;
  return std::string(file.GetReadError()).compare(0, path.size() + 3, path + ":2:") == 0;
}

TEST_F(ConfigFileThreads, ReadersInFourThreadsDoNotMeet) {
  for (const std::string name : {"1", "2", "3", "4"}) {
    home_.Write("config/" + name, "<r a='*" + name + "*'>" + name + "</r>");
    home_.Write("config/bad" + name, "<r>\n</s>");
    Start([name](int round) {
      return round % 2 == 0 ? Finds("../config/" + name, name) : Refuses("../config/bad" + name);
    });
  }
  EXPECT_EQ(CountWrong(), 0);
}

TEST_F(ConfigFileThreads, ReadersInFourThreadsReadTheSameFile) {
  home_.Write("config/shared", "<r a='shared'>shared</r>");
  for (int i = 0; i < 4; ++i) Start([](int) { return Finds("../config/shared", "shared"); });
  EXPECT_EQ(CountWrong(), 0);
}

TEST_F(ConfigFileThreads, ReadersDoNotDisturbAHostThatParses) {
  home_.Write("config/good", "<r a='good'>good</r>");
  home_.Write("config/bad", "<r>\n</s>");
  Start([](int) { return Finds("../config/good", "good"); });
  Start([](int) { return Refuses("../config/bad"); });
  for (int i = 0; i < 2; ++i) {
    Start([](int) {
      xmlDoc* const document = xmlReadMemory("<host><b/></host>", 17, "host", nullptr, 0);
      const bool right = document != nullptr && xmlDocGetRootElement(document) != nullptr;
      xmlFreeDoc(document);
      return right;
    });
  }
  EXPECT_EQ(CountWrong(), 0);
}

TEST_F(ConfigFileThreads, AReaderMovesFromThreadToThread) {
  home_.Write("config/good", "<r a='good'>good</r>");
  WKConfigFile file;
  int result = -1;
  std::thread([&] { result = file.ReadFile(Text("../config/good")); }).join();
  EXPECT_EQ(result, 0);
  std::string value;
  std::thread([&] { value = file.GetTagValue(file.GetXMLRootNode(), Text("a")); }).join();
  EXPECT_EQ(value, "good");
}

}  // namespace
}  // namespace wkagent::test
