#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter/pointer_list.h"
#include "support/agent_home.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t kRecordSize = 768;

class FilterSerializeTest : public ::testing::Test {
 protected:
  // What the spool files of a kind hold: two where a second ended in between.
  std::string Spooled(const std::string& kind) const {
    std::string text;
    for (const std::string& name : home_.List("tmp")) {
      if (name.starts_with(kind + ".")) text += home_.Read("tmp/" + name);
    }
    return text;
  }

  // The field of a spooled mail that begins at `offset`.
  std::string Field(std::size_t mail, std::size_t offset) const {
    return Spooled("SMTP").c_str() + mail * kRecordSize + offset;
  }

  // Decides an event with this filter file and spools its alerts.
  void Decide(const std::string& statements, const std::string& text) {
    home_.Write("config/F.xml", "<F>" + statements + "</F>");
    WKEDAFilter filter(Text("F.xml"));
    filter.InitializeLogMessage(LogRecorder::Callback);
    ASSERT_TRUE(filter.PassFilter(20001, Text("bob.acme"), Text("n"), Text("o.acme"), Text("User"),
                                  nullptr, nullptr));
    const int gathered = filter.alerts.GetCount();
    filter.Serialize(Text(text));
    EXPECT_EQ(filter.alerts.GetCount(), gathered);
  }

  static std::string Statement(const std::string& alerts) {
    return "<Filter Title=\"t\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\"/>"
           "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>"
           "<Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
           "<AttributeValues AllAttributeValues=\"1\"/>" +
           alerts;
  }

  AgentHome home_;
  LogRecorder log_;
};

TEST_F(FilterSerializeTest, WritesNothingWithoutAlerts) {
  Decide(Statement(""), "bob was added");
  EXPECT_THAT(home_.List("tmp"), IsEmpty());
}

TEST_F(FilterSerializeTest, SpoolsAMailForEachStatementButOneTrapAndOneEntry) {
  const std::string alerts =
      "<SNMP Alert=\"1\"/><SysLog Alert=\"1\"/><SMTP Alert=\"1\" From=\"f@acme\" Subject=\"";
  Decide(Statement(alerts + "one\" To=\"t@acme\" Cc=\"c@acme\"/>") +
             Statement(alerts + "two\" To=\"u@acme\" Cc=\"\"/>"),
         "bob was added");
  ASSERT_EQ(Spooled("SMTP").size(), 2 * kRecordSize);
  EXPECT_EQ(Field(0, 0), "f@acme");
  EXPECT_EQ(Field(0, 128), "t@acme");
  EXPECT_EQ(Field(0, 256), "c@acme");
  EXPECT_EQ(Field(0, 384), "one");
  EXPECT_EQ(Field(0, 512), "bob was added");
  EXPECT_EQ(Field(1, 128), "u@acme");
  EXPECT_EQ(Field(1, 256), "");
  EXPECT_EQ(Field(1, 384), "two");
  EXPECT_EQ(Spooled("SNMP"), "bob was added\n");
  EXPECT_EQ(Spooled("SysLog"), "bob was added\n");
}

TEST_F(FilterSerializeTest, SpoolsNothingForAnEmptyText) {
  Decide(Statement("<SNMP Alert=\"1\"/><SysLog Alert=\"1\"/>"
                   "<SMTP Alert=\"1\" From=\"f@acme\" Subject=\"s\" To=\"t@acme\" Cc=\"\"/>"),
         "");
  EXPECT_THAT(home_.List("tmp"), IsEmpty());
}

TEST_F(FilterSerializeTest, LogsThroughTheFiltersCallback) {
  std::filesystem::remove(home_.Path("tmp"));
  Decide(Statement("<SNMP Alert=\"1\"/>"), "bob was added");
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Cannot write SNMP spool file: No such file or directory"));
}

TEST_F(FilterSerializeTest, SkipsOtherKindsAndMailWithoutSettings) {
  WKFilter filter(Text("F.xml"));
  for (const int type : {0, 1, 4}) {
    auto* wrapper = new AlertWrapper(type);
    filter.alerts.AddNode(&wrapper, sizeof(wrapper));
  }
  filter.Serialize(Text("text"));
  EXPECT_THAT(home_.List("tmp"), IsEmpty());
}

}  // namespace
}  // namespace wkagent::test
