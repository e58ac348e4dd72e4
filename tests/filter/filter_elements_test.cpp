#include "filter/filter_elements.h"

#include <climits>
#include <string>

#include <gtest/gtest.h>
#include <libxml/tree.h>

#include "support/agent_home.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

// Reads the root element of a file of one element.
class FilterElements : public ::testing::Test {
 protected:
  _xmlNode* Element(const std::string& xml) {
    home_.Write("config/element.xml", xml);
    EXPECT_EQ(0, file_.ReadFile(Text("../config/element.xml"))) << xml;
    return file_.GetXMLRootNode();
  }

  int Number(const std::string& value) {
    return ReadNumber(file_, Element("<Operation EventId=\"" + value + "\"/>"), "EventId");
  }

  AgentHome home_;
  WKConfigFile file_;
  WKFilterStatement statement_;
};

TEST_F(FilterElements, TextIsTheAttributesValueWithoutStars) {
  EXPECT_STREQ("bob", ReadText(file_, Element("<User Name=\"*bob*\"/>"), "Name"));
}

TEST_F(FilterElements, MissingAttributeReadsAsEmptyTextAndZero) {
  _xmlNode* const element = Element("<User/>");
  EXPECT_STREQ("", ReadText(file_, element, "Name"));
  EXPECT_EQ(0, ReadNumber(file_, element, "Name"));
  EXPECT_FALSE(ReadFlag(file_, element, "Name"));
}

TEST_F(FilterElements, AttributeNamesAreExact) {
  _xmlNode* const element = Element("<User name=\"bob\" Names=\"ann\"/>");
  EXPECT_STREQ("", ReadText(file_, element, "Name"));
}

TEST_F(FilterElements, NumbersAreDecimal) {
  EXPECT_EQ(20001, Number("20001"));
  EXPECT_EQ(20001, Number("020001"));
  EXPECT_EQ(20001, Number(" +20001"));
  EXPECT_EQ(-1, Number("-1"));
  EXPECT_EQ(0, Number("0x10"));
}

TEST_F(FilterElements, NumberEndsAtTheFirstOtherCharacter) {
  EXPECT_EQ(12, Number("12abc"));
  EXPECT_EQ(1, Number("1.9"));
  EXPECT_EQ(1, Number("1 2"));
}

TEST_F(FilterElements, WhatIsNoNumberIsZero) {
  for (const char* value : {"", "true", "yes", "abc1", "-", "*", "**", "--1"}) {
    EXPECT_EQ(0, Number(value)) << value;
  }
}

TEST_F(FilterElements, OfNumbersTooLargeTheLow32BitsCount) {
  EXPECT_EQ(INT_MAX, Number("2147483647"));
  EXPECT_EQ(INT_MIN, Number("2147483648"));
  EXPECT_EQ(20001, Number("4294987297"));
  EXPECT_EQ(-1, Number("99999999999999999999999999"));
  EXPECT_EQ(INT_MIN, Number("-2147483648"));
  EXPECT_EQ(INT_MAX, Number("-2147483649"));
}

TEST_F(FilterElements, AnyNumberButZeroIsTrue) {
  for (const char* value : {"1", "2", "-1", "*1*", "99999999999999999999", "4294967296"}) {
    EXPECT_TRUE(ReadFlag(file_, Element(std::string("<A F=\"") + value + "\"/>"), "F")) << value;
  }
  for (const char* value : {"0", "-0", "00", "*0*", "0.9", "true", ""}) {
    EXPECT_FALSE(ReadFlag(file_, Element(std::string("<A F=\"") + value + "\"/>"), "F")) << value;
  }
}

TEST_F(FilterElements, MailAddressesAreReadOnlyForAWantedMail) {
  const std::string rest = " From=\"f\" Subject=\"s\" To=\"t\" Cc=\"c\"/>";
  ReadSmtpElement(file_, Element("<SMTP Alert=\"0\"" + rest), statement_);
  EXPECT_FALSE(statement_.IsSMTPAlertSet());
  EXPECT_EQ(nullptr, statement_.smtpAlert.GetTo());
  ReadSmtpElement(file_, Element("<SMTP Alert=\"1\"" + rest), statement_);
  EXPECT_TRUE(statement_.IsSMTPAlertSet());
  EXPECT_STREQ("t", statement_.smtpAlert.GetTo());
}

TEST_F(FilterElements, FilterElementSetsTitleFlagsAndTimes) {
  ReadFilterElement(file_,
                    Element("<Filter Title=\"T\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\""
                            " StartTime=\"08:00:00 AM\" EndTime=\"09:00:00 AM\"/>"),
                    statement_);
  EXPECT_STREQ("T", statement_.title);
  EXPECT_TRUE(statement_.include && statement_.enabled && statement_.allDay);
  EXPECT_EQ(3600, statement_.endTime - statement_.startTime);
}

}  // namespace
}  // namespace wkagent::test
