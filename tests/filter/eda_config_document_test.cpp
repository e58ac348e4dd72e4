#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "eda_config_fixture.h"
#include "filter_support.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EdaConfigDocument : public EdaConfigFixture {};

TEST_F(EdaConfigDocument, ElementsCountForTheNearestFilterBefore) {
  ReadElements(FilterElement("one", "<Users><User Name=\"a\"/></Users>") +
               FilterElement("two", "<Users><User Name=\"b\"/><User Name=\"c\"/></Users>"));
  EXPECT_THAT(Users(), ElementsAre("a ", "b c "));
}

TEST_F(EdaConfigDocument, NestingBelowAFilterDoesNotMatter) {
  ReadElements(FilterElement("flat", "<User Name=\"a\"/><X><Y><User Name=\"b\"/></Y></X>") +
               "<User Name=\"c\"/><Users><Class Name=\"k\"/><User Name=\"d\"><User Name=\"e\"/>"
               "</User></Users>");
  EXPECT_THAT(Users(), ElementsAre("a b c d e "));
  EXPECT_THAT(Entries(Statements()[0]->classes), ElementsAre("k"));
}

TEST_F(EdaConfigDocument, FilterInsideAFilterTakesWhatFollows) {
  ReadElements(FilterElement("outer", "<User Name=\"a\"/>" +
                                          FilterElement("inner", "<User Name=\"b\"/>") +
                                          "<User Name=\"c\"/>") +
               "<User Name=\"d\"/>");
  EXPECT_THAT(Titles(), ElementsAre("outer", "inner"));
  EXPECT_THAT(Users(), ElementsAre("a ", "b c d "));
}

TEST_F(EdaConfigDocument, ElementsWithoutAnyFilterAreIgnored) {
  ReadElements(
      "<Users AllUsers=\"1\"><User Name=\"a\"/></Users><SMTP Alert=\"1\"/>"
      "<Operation EventId=\"20001\"/>");
  EXPECT_THAT(Statements(), IsEmpty());
}

TEST_F(EdaConfigDocument, ElementNamesAreExact) {
  ReadElements("<filter Title=\"x\"/><FILTER/><Filters/><Filte/>" +
               FilterElement("only",
                             "<user Name=\"a\"/><USER Name=\"b\"/><Users2 AllUsers=\"1\"/>"
                             "<Syslog Alert=\"1\"/><snmp Alert=\"1\"/><Smtp Alert=\"1\"/>"));
  EXPECT_THAT(Titles(), ElementsAre("only"));
  EXPECT_THAT(Users(), ElementsAre(""));
  EXPECT_FALSE(Statements()[0]->IsAlertActive());
}

TEST_F(EdaConfigDocument, AttributeNamesAreExact) {
  WKEDAFilterStatement& statement =
      ReadOne("<Users allUsers=\"1\" ALLUSERS=\"1\" AllUser=\"1\"/><SNMP alert=\"1\"/>");
  EXPECT_FALSE(statement.allUsers);
  EXPECT_FALSE(statement.IsSNMPAlertSet());
}

TEST_F(EdaConfigDocument, UnknownElementsAndAttributesAreIgnored) {
  WKEDAFilterStatement& statement = ReadOne(
      "<Nodes AllNodes=\"0\"><Node Name=\"n\"/></Nodes><Colour Name=\"red\"/>"
      "<User Name=\"a\" Colour=\"red\"/>");
  EXPECT_TRUE(statement.allNodes);
  EXPECT_EQ(0, statement.nodes.GetCount());
  EXPECT_THAT(Users(), ElementsAre("a "));
}

TEST_F(EdaConfigDocument, RootElementMayBearAnyName) {
  EXPECT_EQ(0, ReadText("<x>" + FilterElement("only") + "</x>"));
  EXPECT_THAT(Titles(), ElementsAre("only"));
}

TEST_F(EdaConfigDocument, RootElementMayBeTheFilter) {
  EXPECT_EQ(0, ReadText(FilterElement("only", "<User Name=\"a\"/>")));
  EXPECT_THAT(Titles(), ElementsAre("only"));
  EXPECT_THAT(Users(), ElementsAre("a "));
}

TEST_F(EdaConfigDocument, CommentsCdataAndInstructionsAreNoElements) {
  ReadElements("<!-- " + FilterElement("comment") + "--><![CDATA[" + FilterElement("cdata") +
               "]]><?Filter Title=\"instruction\"?>" +
               FilterElement("only",
                             "<!-- <User Name=\"a\"/> -->text<![CDATA[<User/>]]>"
                             "<User Name=\"b\"/>"));
  EXPECT_THAT(Titles(), ElementsAre("only"));
  EXPECT_THAT(Users(), ElementsAre("b "));
}

TEST_F(EdaConfigDocument, CommentsAroundTheRootDoNotMatter) {
  EXPECT_EQ(0, ReadText("<!-- a --><x>" + FilterElement("only") + "</x><!-- b --><?c d?>"));
  EXPECT_THAT(Titles(), ElementsAre("only"));
}

TEST_F(EdaConfigDocument, ReferencesInAttributesAreResolved) {
  ReadOne("<User Name=\"&lt;a&amp;b&gt;\"/><User Name=\"&#66;&#x6f;b\"/><User Name='&quot;'/>");
  EXPECT_THAT(Users(), ElementsAre("<a&b> Bob \" "));
}

TEST_F(EdaConfigDocument, DeclaredEntitiesInAttributesAreResolved) {
  EXPECT_EQ(0, ReadText("<!DOCTYPE x [<!ENTITY org \"O=acme\">]><x>" +
                        FilterElement("only", "<User Name=\"CN=bob,&org;\"/>") + "</x>"));
  EXPECT_THAT(Users(), ElementsAre("bob.acme "));
}

TEST_F(EdaConfigDocument, UndeclaredEntityRefusesTheFile) {
  EXPECT_EQ(1, ReadText(FilterFile(FilterElement("only", "<User Name=\"&org;\"/>"))));
  EXPECT_THAT(Statements(), IsEmpty());
}

TEST_F(EdaConfigDocument, NamesKeepTheirBytesInUtf8) {
  ReadOne("<User Name=\"CN=J\xc3\xbcrgen,O=\xe6\x97\xa5\"/>");
  EXPECT_THAT(Users(), ElementsAre("J\xc3\xbcrgen.\xe6\x97\xa5 "));
}

TEST_F(EdaConfigDocument, OtherEncodingsBecomeUtf8) {
  EXPECT_EQ(0, ReadText("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><x>" +
                        FilterElement("only", "<User Name=\"J\xfcrgen\"/>") + "</x>"));
  EXPECT_THAT(Users(), ElementsAre("J\xc3\xbcrgen "));
}

TEST_F(EdaConfigDocument, LongNamesAreCutOnlyByTheirConversion) {
  const std::string name(10000, 'n');
  ReadOne("<User Name=\"" + name + "\"/><User Name=\"CN=" + name + "\"/>");
  EXPECT_THAT(Users(), ElementsAre(name + " " + name.substr(0, 254) + " "));
}

}  // namespace
}  // namespace wkagent::test
