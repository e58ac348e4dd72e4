#include <cstdio>
#include <functional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/alert.h>
#include <wkagent/components.h>
#include <wkagent/config.h>
#include <wkagent/core.h>
#include <wkagent/crypto.h>
#include <wkagent/filter.h>
#include <wkagent/monitor.h>
#include <wkagent/mutex.h>
#include <wkagent/output.h>
#include <wkagent/syslog.h>

#include "support/agent_home.h"
#include "support/fake_components.h"
#include "support/text.h"

// Each function is the example of one header, with the declarations around it that it takes for
// granted.

namespace {

void Core() {
#include "examples/core.h.inc"
}

void Config(char* path, char* attribute) {
#include "examples/config.h.inc"
}

void Alert() {
#include "examples/alert.h.inc"
}

void Crypto(const char* key, const char* text) {
#include "examples/crypto.h.inc"
}

void Filter(char* fileName, char* user, char* node, char* object, char* className) {
#include "examples/filter.h.inc"
}

void Monitor(char* directory, char* pattern) {
#include "examples/monitor.h.inc"
}

void Locks() {
#include "examples/mutex.h.inc"
}

void Output(char* liveFile, tagWKEventData event) {
#include "examples/output.h.inc"
}

void Components(ComponentEventSink sink, void* wrapper, void** params, int* lengths) {
#include "examples/components.h.inc"
}

void Syslog(const std::string& line) {
#include "examples/syslog.h.inc"
}

}  // namespace

namespace wkagent::test {
namespace {

using testing::HasSubstr;

class HeaderExamples : public testing::Test {
 protected:
  static std::string Printed(const std::function<void()>& example) {
    testing::internal::CaptureStdout();
    example();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
  }

  AgentHome home_;
};

TEST_F(HeaderExamples, CorePrintsTheBlocksOfAList) { EXPECT_EQ(Printed(Core), "bob\n"); }

TEST_F(HeaderExamples, ConfigPrintsAnAttribute) {
  home_.Write("config/Settings.xml", "<Settings Version=\"*2.1*\"/>");
  EXPECT_EQ(Printed([] { Config(Text("../config/Settings.xml"), Text("Version")); }), "2.1\n");
  EXPECT_EQ(Printed([] { Config(Text("../config/Settings.xml"), Text("Other")); }), "");
}

TEST_F(HeaderExamples, ConfigPrintsWhyAFileCannotBeRead) {
  home_.Write("config/Settings.xml", "no XML");
  EXPECT_THAT(Printed([] { Config(Text("../config/Settings.xml"), Text("Version")); }),
              testing::StartsWith("../config/Settings.xml:1: "));
}

TEST_F(HeaderExamples, AlertPrintsTheRecipient) { EXPECT_EQ(Printed(Alert), "ops@acme.example\n"); }

TEST_F(HeaderExamples, CryptoPrintsTheTextAgain) {
  EXPECT_EQ(Printed([] { Crypto("sixteen bytes...", "two blocks that stay one secret."); }),
            "two blocks that stay one secret.\n");
}

TEST_F(HeaderExamples, FilterPrintsWhetherTheEventIsKept) {
  home_.Write("config/EDAFilter.xml",
              "<Filters><Filter Title='All' Enabled='1' IncludeExclude='1' AllDay='1'/>"
              "<Users AllUsers='1'/><Operations AllOperations='1'/><Objects AllObjects='1'/>"
              "<Classes AllClasses='1'/><Attributes AllAttributes='1'/>"
              "<AttributeValues AllAttributeValues='1'/></Filters>");
  const std::string printed = Printed([] {
    Filter(Text("EDAFilter.xml"), Text("bob.acme"), Text("10.0.0.1"), Text("eve.acme"),
           Text("User"));
  });
  EXPECT_EQ(printed, "kept, 0 alerts\n");
}

// Nothing is written between its lines, so that it finds nothing.
TEST_F(HeaderExamples, MonitorFindsNothingYet) {
  EXPECT_EQ(Printed([] { Monitor(Text("../tmp"), Text("*.xml")); }), "");
}

TEST_F(HeaderExamples, MutexGuardsACount) { EXPECT_EQ(Printed(Locks), "1\n"); }

TEST_F(HeaderExamples, OutputWritesARecord) {
  tagWKEventData event{};
  event.EventID = 20001;
  std::snprintf(event.UserName, sizeof(event.UserName), "bob.acme");
  EXPECT_EQ(Printed([&] { Output(Text("../tmp/live.xml"), event); }), "");
  EXPECT_THAT(home_.Read("tmp/live.xml"), HasSubstr("<EDADataRecord "));
  EXPECT_THAT(home_.Read("tmp/live.xml"), HasSubstr("\"bob.acme\""));
}

TEST_F(HeaderExamples, ComponentsPrintsTheResultOfASend) {
  const FakeComponents components;
  const auto send = [] { Components(nullptr, nullptr, nullptr, nullptr); };
  EXPECT_EQ(Printed(send), "0\n");
  FakeComponents::doResult = 7;
  EXPECT_EQ(Printed(send), "7\n");
}

// By the default settings: one datagram to this machine.
TEST_F(HeaderExamples, SyslogPrintsTheSettingsAndTheNumberOfLinesSent) {
  EXPECT_THAT(Printed([] { Syslog("a line"); }),
              testing::AllOf(testing::StartsWith("Syslog Config Settings:\nserverHost: "),
                             testing::EndsWith("\n1\n")));
}

}  // namespace
}  // namespace wkagent::test
