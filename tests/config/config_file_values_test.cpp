#include <ostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/config.h>

#include "tests/config/config_fixture.h"

namespace wkagent::test {
namespace {

struct Stars {
  const char* written;
  const char* read;
};

// Names the cases.
void PrintTo(const Stars& stars, std::ostream* out) { *out << '"' << stars.written << '"'; }

class ConfigFileStars : public ConfigFile, public testing::WithParamInterface<Stars> {};

TEST_P(ConfigFileStars, OneIsDroppedAtEachEnd) {
  _xmlNode* const root = Root("<r a=\"" + std::string(GetParam().written) + "\"/>");
  EXPECT_EQ(Value(root, "a"), GetParam().read);
  EXPECT_EQ(Value(root, "a"), GetParam().read);
}

// The trailing star stays when it is all that is left after the leading one went.
INSTANTIATE_TEST_SUITE_P(
    Values, ConfigFileStars,
    testing::Values(Stars{"", ""}, Stars{"*", ""}, Stars{"**", "*"}, Stars{"***", "*"},
                    Stars{"****", "**"}, Stars{"*****", "***"}, Stars{"a", "a"}, Stars{"*a", "a"},
                    Stars{"a*", "a"}, Stars{"*a*", "a"}, Stars{"**a", "*a"}, Stars{"a**", "a*"},
                    Stars{"**a**", "*a*"}, Stars{"*Admin*", "Admin"}, Stars{"*Admin", "Admin"},
                    Stars{"Admin*", "Admin"}, Stars{"Ad*min", "Ad*min"}, Stars{" *", " "},
                    Stars{"* ", " "}, Stars{" * ", " * "}, Stars{"\xc3\xa9*", "\xc3\xa9"},
                    Stars{"*\xc3\xa9*", "\xc3\xa9"}));

TEST_F(ConfigFile, GetTagValueGivesTheNamedAttribute) {
  _xmlNode* const root = Root("<r Name=\"bob\" name=\"eve\" Other=\"x\"/>");
  EXPECT_EQ(Value(root, "Name"), "bob");
  EXPECT_EQ(Value(root, "name"), "eve");
}

TEST_F(ConfigFile, GetTagValueOfAMissingAttributeIsNull) {
  _xmlNode* const root = Root("<r Name=\"bob\"><Child Other=\"x\"/></r>");
  EXPECT_EQ(Value(root, "Name"), "bob");
  EXPECT_EQ(Value(root, "Other"), std::nullopt);
  EXPECT_EQ(Value(root, "NAME"), std::nullopt);
  EXPECT_EQ(Value(root, ""), std::nullopt);
  EXPECT_EQ(file_.lastValue, nullptr);
}

TEST_F(ConfigFile, GetTagValueOfNothingIsNull) {
  _xmlNode* const root = Root("<r Name=\"bob\"/>");
  EXPECT_EQ(Value(nullptr, "Name"), std::nullopt);
  EXPECT_EQ(file_.GetTagValue(root, nullptr), nullptr);
  EXPECT_EQ(file_.GetTagValue(nullptr, nullptr), nullptr);
}

TEST_F(ConfigFile, GetTagValueUnderstandsXml) {
  _xmlNode* const root = Root("<r a=\"&lt;&amp;&quot;&#42;\" b='&#x2a;x*' c=\" two\nlines \"/>");
  EXPECT_EQ(Value(root, "a"), "<&\"");
  EXPECT_EQ(Value(root, "b"), "x");
  EXPECT_EQ(Value(root, "c"), " two lines ");
}

TEST_F(ConfigFile, ValuesAreUtf8WhateverTheFilesEncoding) {
  EXPECT_EQ(Value(Root("\xef\xbb\xbf<r a=\"\xc3\xa9\"/>"), "a"), "\xc3\xa9");
  EXPECT_EQ(Value(Root("<?xml version='1.0' encoding='ISO-8859-1'?><r a='\xe9'/>"), "a"),
            "\xc3\xa9");
  EXPECT_EQ(Value(Root(std::string("\xff\xfe<\0r\0 \0a\0=\0'\0\xe9\0'\0/\0>\0", 22)), "a"),
            "\xc3\xa9");
}

TEST_F(ConfigFile, ALongValueIsWhole) {
  const std::string value(100000, 'v');
  EXPECT_EQ(Value(Root("<r a='*" + value + "*'/>"), "a"), value);
}

TEST_F(ConfigFile, GetTagValueReplacesTheLastValue) {
  _xmlNode* const root = Root("<r a=\"first\" b=\"second\"/>");
  EXPECT_EQ(Value(root, "a"), "first");
  EXPECT_STREQ(file_.lastValue, "first");
  EXPECT_EQ(Value(root, "b"), "second");
  EXPECT_STREQ(file_.lastValue, "second");
}

TEST_F(ConfigFile, TheLastValueMayNameTheNextAttribute) {
  _xmlNode* const root = Root("<r a=\"*b*\" b=\"found\"/>");
  char* const name = file_.GetTagValue(root, Text("a"));
  EXPECT_STREQ(file_.GetTagValue(root, name), "found");
}

TEST_F(ConfigFile, AValueOutlivesTheNextReadFile) {
  const char* const value = file_.GetTagValue(Root("<r a=\"first\"/>"), Text("a"));
  EXPECT_EQ(Read("<broken"), 1);
  EXPECT_EQ(Read("<r/>"), 0);
  EXPECT_STREQ(value, "first");
}

TEST_F(ConfigFile, ALastValueMayNameTheNextFile) {
  home_.Write("config/Next.xml", "<Next/>");
  char* const path = file_.GetTagValue(Root("<r path=\"../config/Next.xml\"/>"), Text("path"));
  EXPECT_EQ(file_.ReadFile(path), 0);
  EXPECT_EQ(Name(file_.GetXMLRootNode()), "Next");
}

TEST_F(ConfigFile, GetNodeContentGivesAllTextBelow) {
  EXPECT_EQ(Content(Root("<r>one</r>")), "one");
  EXPECT_EQ(Content(Root("<r>one<b>two<c>three</c></b>four</r>")), "onetwothreefour");
  EXPECT_EQ(Content(Root("<r>\n  one\n</r>")), "\n  one\n");
}

TEST_F(ConfigFile, GetNodeContentKeepsStars) {
  EXPECT_EQ(Content(Root("<r>*Admin*</r>")), "*Admin*");
  EXPECT_EQ(Content(Root("<r>*</r>")), "*");
}

TEST_F(ConfigFile, GetNodeContentIsTextOnly) {
  EXPECT_EQ(Content(Root("<r a=\"no\"><!-- no --><?no no?>yes<b c=\"no\"/></r>")), "yes");
  EXPECT_EQ(Content(Root("<r>&lt;<![CDATA[<&>]]>&#65;</r>")), "<<&>A");
}

TEST_F(ConfigFile, GetNodeContentOfAnEmptyElementIsEmpty) {
  EXPECT_EQ(Content(Root("<r/>")), "");
  EXPECT_EQ(Content(Root("<r></r>")), "");
}

TEST_F(ConfigFile, GetNodeContentIsThatOfTheElementAlone) {
  const _xmlNode* const root = Root("<r>0<a>1</a><b>2</b></r>");
  EXPECT_EQ(Content(root->last), "2");
}

TEST_F(ConfigFile, GetNodeContentOfNullIsNull) {
  EXPECT_EQ(Content(Root("<r>one</r>")), "one");
  EXPECT_EQ(Content(nullptr), std::nullopt);
  EXPECT_EQ(file_.lastValue, nullptr);
}

TEST_F(ConfigFile, ValueAndContentShareOneLastValue) {
  _xmlNode* const root = Root("<r a=\"value\">content</r>");
  EXPECT_EQ(Value(root, "a"), "value");
  EXPECT_EQ(Content(root), "content");
  EXPECT_STREQ(file_.lastValue, "content");
  EXPECT_EQ(Value(root, "a"), "value");
  EXPECT_STREQ(file_.lastValue, "value");
}

}  // namespace
}  // namespace wkagent::test
