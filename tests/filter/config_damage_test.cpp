#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_models.h"
#include "filter_support.h"
#include "support/agent_home.h"
#include "support/log_recorder.h"

namespace wkagent::test {
namespace {

// A filter file that uses everything the format has.
std::string WholeFile() {
  const std::string elements =
      "<!-- sales -->\n<Operations AllOperations=\"0\"><Operation EventId=\"20007\""
      " Condition=\"0\"/></Operations>\n"
      "<Users AllUsers=\"0\"><User Name=\"*CN=admin,O=acme*\"/></Users>\n"
      "<Nodes AllNodes=\"0\"><Node Name=\"10.0.0.1\"/></Nodes>\n"
      "<Objects AllObjects=\"0\"><Object Name=\"CN=j&#x73;mith\"/></Objects>\n"
      "<Classes AllClasses=\"0\"><Class Name=\"User\"/></Classes>\n"
      "<Attributes AllAttributes=\"0\"><Attribute Name=\"J\xc3\xbcrgen\"/></Attributes>\n"
      "<AttributeValues AllAttributeValues=\"0\"><AttributeValue Name=\"&amp;\"/>"
      "</AttributeValues>\n<Action ExcludeAlert=\"0\"/><SNMP Alert=\"1\"/><SysLog Alert=\"1\"/>\n"
      "<SMTP Alert=\"1\" From=\"f\" Subject=\"s\" To=\"t\" Cc=\"c\"/>\n<![CDATA[<Filter/>]]>\n";
  return FilterFile(FilterElement("one", elements) + FilterElement("two", kAllElements));
}

template <typename Kind>
class ConfigDamage : public ::testing::Test {
 protected:
  // Removes the file first: some file systems put what replaces a truncated file on the disk at
  // once, which takes its time thousands of times.
  void WriteFile(const std::string& text) {
    std::filesystem::remove(home_.Path("config/f.xml"));
    home_.Write("config/f.xml", text);
  }

  // Reads a file of this text with a reader of its own; the number of its statements, or -1.
  int Read(const std::string& text) {
    WriteFile(text);
    typename Kind::Reader reader;
    if (reader.ReadFile(Text("../config/f.xml")) == 0) return reader.list.GetCount();
    EXPECT_EQ(0, reader.list.GetCount());
    EXPECT_NE(nullptr, reader.GetReadError());
    return -1;
  }

  AgentHome home_;
  LogRecorder log_;
};
TYPED_TEST_SUITE(ConfigDamage, FilterKinds, KindName);

TYPED_TEST(ConfigDamage, FileCutAtAnyByteIsRefused) {
  const std::string whole = WholeFile();
  const std::size_t rootEnd = whole.rfind('>') + 1;
  for (std::size_t length = 0; length <= whole.size(); ++length) {
    EXPECT_EQ(length < rootEnd ? -1 : 2, this->Read(whole.substr(0, length))) << length;
  }
}

TYPED_TEST(ConfigDamage, FilterKeepsItsStatementsForAFileCutAtAnyByte) {
  const std::string whole = WholeFile();
  this->WriteFile(FilterFile(FilterElement("kept", kAllElements)));
  typename TypeParam::Filter filter(Text("f.xml"));
  filter.InitializeLogMessage(&LogRecorder::Callback);
  for (std::size_t length = 0; length < whole.rfind('>'); ++length) {
    this->WriteFile(whole.substr(0, length));
    ASSERT_EQ(1, filter.ReadFilter()) << length;
    ASSERT_TRUE(Passes(filter, typename TypeParam::Event())) << length;
  }
  this->WriteFile(whole);
  EXPECT_EQ(0, filter.ReadFilter());
  EXPECT_EQ(2, filter.statements.GetCount());
}

TYPED_TEST(ConfigDamage, OneReaderReadsDamagedAndWholeFilesInTurn) {
  const std::string whole = WholeFile();
  typename TypeParam::Reader reader;
  for (std::size_t length = 0; length < whole.size() - 1; length += 7) {
    this->WriteFile(whole.substr(0, length));
    EXPECT_EQ(1, reader.ReadFile(Text("../config/f.xml"))) << length;
    EXPECT_EQ(0, reader.list.GetCount()) << length;
    this->WriteFile(whole);
    EXPECT_EQ(0, reader.ReadFile(Text("../config/f.xml"))) << length;
    EXPECT_EQ(2, reader.list.GetCount()) << length;
  }
}

// Changed bytes may open the CDATA section, which holds one more `Filter`; nothing else comes near
// being one.
TYPED_TEST(ConfigDamage, FileWithChangedBytesIsReadOrRefused) {
  Random random;
  const std::string whole = WholeFile();
  int refused = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string text = whole;
    for (int changes = 1 + random.Below(3); changes > 0; --changes) {
      text[static_cast<std::size_t>(random.Below(static_cast<int>(text.size())))] =
          static_cast<char>(random.Below(256));
    }
    const int count = this->Read(text);
    EXPECT_LE(count, 3) << text;
    refused += count < 0 ? 1 : 0;
  }
  EXPECT_GT(refused, 300);
  EXPECT_LT(refused, 3000);
}

TYPED_TEST(ConfigDamage, ZeroBytesAreRefused) {
  const std::string whole = WholeFile();
  EXPECT_EQ(-1, this->Read(std::string(1, '\0') + whole));
  EXPECT_EQ(-1, this->Read(std::string(1000, '\0')));
  EXPECT_EQ(-1, this->Read(whole.substr(0, 200) + std::string(1, '\0') + whole.substr(200)));
}

TYPED_TEST(ConfigDamage, WhatIsNoXmlIsRefused) {
  for (const char* text : {"", " ", "\n", "Filter", "{\"Filter\":1}", "<", "<>", "<x", "<x>",
                           "<x></y>", "<x/><y/>", "<x a=1/>", "<x a=\"1\" a=\"2\"/>", "\xff\xfe"}) {
    EXPECT_EQ(-1, this->Read(text)) << text;
  }
}

TYPED_TEST(ConfigDamage, ManyStatementsKeepTheirOrder) {
  std::string elements;
  for (int number = 0; number < 2000; ++number) elements += FilterElement(std::to_string(number));
  this->WriteFile(FilterFile(elements));
  typename TypeParam::Reader reader;
  ASSERT_EQ(0, reader.ReadFile(Text("../config/f.xml")));
  const auto statements = Objects<typename TypeParam::Statement>(reader.list);
  ASSERT_EQ(2000U, statements.size());
  for (std::size_t number = 0; number < statements.size(); ++number) {
    EXPECT_EQ(std::to_string(number), statements[number]->title.Get());
  }
}

TYPED_TEST(ConfigDamage, DeepNestingIsReadAndBottomlessNestingRefused) {
  std::string open;
  std::string close;
  for (int depth = 0; depth < 200; ++depth) {
    open += "<a>";
    close += "</a>";
  }
  EXPECT_EQ(1, this->Read(open + FilterElement("deep") + close));
  for (int doubled = 0; doubled < 9; ++doubled) open += open;
  EXPECT_EQ(-1, this->Read(open + FilterElement("deep")));
}

}  // namespace
}  // namespace wkagent::test
