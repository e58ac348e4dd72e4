#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/agent_home.h"
#include "support/log_recorder.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

class ElaFilter : public ::testing::Test {
 protected:
  void WriteElements(const std::string& elements) const {
    home_.Write("config/f.xml", FilterFile(FilterElement("only", elements)));
  }

  AgentHome home_;
  LogRecorder log_;
};

TEST_F(ElaFilter, WholeFileDecides) {
  WriteElements(
      "<Operations AllOperations=\"0\"><Operation EventId=\"21001\" Condition=\"706\"/>"
      "</Operations><Users AllUsers=\"0\"><User Name=\"CN=admin,O=acme\"/></Users>"
      "<Nodes AllNodes=\"0\"><Node Name=\"10.0.\"/></Nodes><SysLog Alert=\"1\"/>");
  WKELAFilter filter(Text("f.xml"));
  const LoginEvent login{21001, 706, "admin.acme.tree", "10.0.0.1"};
  EXPECT_TRUE(Passes(filter, login));
  EXPECT_THAT(Alerts(filter), ElementsAre("syslog"));
  EXPECT_FALSE(Passes(filter, LoginEvent{21002, 706, login.user, login.node}));
  EXPECT_FALSE(Passes(filter, LoginEvent{21001, 705, login.user, login.node}));
  EXPECT_FALSE(Passes(filter, LoginEvent{21001, 706, "bob.acme", login.node}));
  EXPECT_FALSE(Passes(filter, LoginEvent{21001, 706, login.user, "10.1.0.1"}));
}

TEST_F(ElaFilter, ConditionZeroOfAFileCoversZeroAnd705Alone) {
  WriteElements(
      "<Operation EventId=\"21001\" Condition=\"0\"/><Users AllUsers=\"1\"/>"
      "<Nodes AllNodes=\"1\"/>");
  WKELAFilter filter(Text("f.xml"));
  LoginEvent event;
  for (const int condition : {0, 705, -1}) {
    event.condition = condition;
    EXPECT_TRUE(Passes(filter, event)) << condition;
  }
  event.condition = 706;
  EXPECT_FALSE(Passes(filter, event));
}

TEST_F(ElaFilter, WithoutNodesNoEventPasses) {
  WriteElements("<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Nodes AllNodes=\"0\"/>");
  WKELAFilter filter(Text("f.xml"));
  EXPECT_FALSE(Passes(filter, LoginEvent()));
}

TEST_F(ElaFilter, FailedReadLeavesItsMessage) {
  WriteElements("");
  WKELAFilter filter(Text("f.xml"));
  filter.InitializeLogMessage(&LogRecorder::Callback);
  home_.Write("config/f.xml", "<x>");
  EXPECT_EQ(1, filter.ReadFilter());
  EXPECT_STREQ("Cannot read config file ../config/f.xml\n", filter.message);
  EXPECT_THAT(log_.Messages(), ElementsAre("Cannot read config file ../config/f.xml\n"));
}

TEST_F(ElaFilter, MessageOfALongFileNameIsCut) {
  ::testing::internal::CaptureStderr();
  WKELAFilter filter(Text(std::string(1000, 'n')));
  ::testing::internal::GetCapturedStderr();
  const std::string whole = "Cannot read config file ../config/" + std::string(244, 'n') + "\n";
  EXPECT_EQ(whole.substr(0, sizeof(filter.message) - 1), filter.message);
}

}  // namespace
}  // namespace wkagent::test
