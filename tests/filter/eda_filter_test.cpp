#include <cstdio>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/agent_home.h"
#include "support/printed.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

class EdaFilter : public ::testing::Test {
 protected:
  void WriteElements(const std::string& elements) const {
    home_.Write("config/f.xml", FilterFile(FilterElement("only", elements)));
  }

  AgentHome home_;
};

// The example of the header.
TEST_F(EdaFilter, ExampleOfTheHeaderPrintsWhatIsKept) {
  WriteElements(std::string(kAllElements) + "<SNMP Alert=\"1\"/>");
  char fileName[] = "f.xml", user[] = "admin", node[] = "", object[] = "o.acme",
       className[] = "User";
  EXPECT_EQ("kept, 1 alerts\n", Printed([&] {
              WKEDAFilter filter(fileName);
              if (filter.GetReadError() != nullptr) puts(filter.GetReadError());
              if (filter.PassFilter(20001, user, node, object, className, nullptr, nullptr)) {
                printf("kept, %d alerts\n", filter.alerts.GetCount());
              }
            }));
}

TEST_F(EdaFilter, WholeFileDecides) {
  WriteElements(
      "<Operations AllOperations=\"0\"><Operation EventId=\"20007\"/></Operations>"
      "<Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>"
      "<Classes AllClasses=\"0\"><Class Name=\"User\"/></Classes>"
      "<Attributes AllAttributes=\"1\"/><AttributeValues AllAttributeValues=\"1\"/>"
      "<SNMP Alert=\"1\"/>");
  WKEDAFilter filter(Text("f.xml"));
  DirectoryEvent event;
  EXPECT_FALSE(Passes(filter, event));
  event.operation = 20007;
  EXPECT_TRUE(Passes(filter, event));
  EXPECT_THAT(Alerts(filter), ElementsAre("snmp"));
  event.className = "Group";
  EXPECT_FALSE(Passes(filter, event));
}

TEST_F(EdaFilter, NullObjectDoesNotPass) {
  WriteElements(kAllElements);
  WKEDAFilter filter(Text("f.xml"));
  DirectoryEvent event;
  EXPECT_TRUE(Passes(filter, event));
  event.object.reset();
  EXPECT_FALSE(Passes(filter, event));
}

}  // namespace
}  // namespace wkagent::test
