#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_support.h"
#include "reader_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <typename Kind>
class ConfigDocument : public ReaderFixture<Kind> {};
TYPED_TEST_SUITE(ConfigDocument, FilterKinds, KindName);

TYPED_TEST(ConfigDocument, ElementsCountForTheNearestFilterBefore) {
  this->ReadElements(FilterElement("one", "<Users><User Name=\"a\"/></Users>") +
                     FilterElement("two", "<Users><User Name=\"b\"/><User Name=\"c\"/></Users>"));
  EXPECT_THAT(this->Users(), ElementsAre("a ", "b c "));
}

TYPED_TEST(ConfigDocument, NestingBelowAFilterDoesNotMatter) {
  this->ReadElements(FilterElement("flat", "<User Name=\"a\"/><X><Y><User Name=\"b\"/></Y></X>") +
                     "<User Name=\"c\"/><Users><X Name=\"k\"/><User Name=\"d\"><User Name=\"e\"/>"
                     "</User></Users>");
  EXPECT_THAT(this->Users(), ElementsAre("a b c d e "));
}

TYPED_TEST(ConfigDocument, FilterInsideAFilterTakesWhatFollows) {
  this->ReadElements(FilterElement("outer", "<User Name=\"a\"/>" +
                                                FilterElement("inner", "<User Name=\"b\"/>") +
                                                "<User Name=\"c\"/>") +
                     "<User Name=\"d\"/>");
  EXPECT_THAT(this->Titles(), ElementsAre("outer", "inner"));
  EXPECT_THAT(this->Users(), ElementsAre("a ", "b c d "));
}

TYPED_TEST(ConfigDocument, ElementsWithoutAnyFilterAreIgnored) {
  this->ReadElements(
      "<Users AllUsers=\"1\"><User Name=\"a\"/></Users><SMTP Alert=\"1\"/>"
      "<Operation EventId=\"20001\"/>");
  EXPECT_THAT(this->Statements(), IsEmpty());
}

TYPED_TEST(ConfigDocument, ElementNamesAreExact) {
  this->ReadElements("<filter Title=\"x\"/><FILTER/><Filters/><Filte/>" +
                     FilterElement("only",
                                   "<user Name=\"a\"/><USER Name=\"b\"/><Users2 AllUsers=\"1\"/>"
                                   "<Syslog Alert=\"1\"/><snmp Alert=\"1\"/><Smtp Alert=\"1\"/>"));
  EXPECT_THAT(this->Titles(), ElementsAre("only"));
  EXPECT_THAT(this->Users(), ElementsAre(""));
  EXPECT_FALSE(this->Statements()[0]->IsAlertActive());
}

TYPED_TEST(ConfigDocument, AttributeNamesAreExact) {
  typename TypeParam::Statement& statement =
      this->ReadOne("<Users allUsers=\"1\" ALLUSERS=\"1\" AllUser=\"1\"/><SNMP alert=\"1\"/>");
  EXPECT_FALSE(statement.allUsers);
  EXPECT_FALSE(statement.IsSNMPAlertSet());
}

TYPED_TEST(ConfigDocument, UnknownElementsAndAttributesAreIgnored) {
  this->ReadOne("<Colour Name=\"red\"/><User Name=\"a\" Colour=\"red\" AllUsers=\"1\"/>");
  EXPECT_THAT(this->Users(), ElementsAre("a "));
  EXPECT_FALSE(this->Statements()[0]->allUsers);
}

TYPED_TEST(ConfigDocument, RootElementMayBearAnyName) {
  EXPECT_EQ(0, this->ReadText("<x>" + FilterElement("only") + "</x>"));
  EXPECT_THAT(this->Titles(), ElementsAre("only"));
}

TYPED_TEST(ConfigDocument, RootElementMayBeTheFilter) {
  EXPECT_EQ(0, this->ReadText(FilterElement("only", "<User Name=\"a\"/>")));
  EXPECT_THAT(this->Titles(), ElementsAre("only"));
  EXPECT_THAT(this->Users(), ElementsAre("a "));
}

TYPED_TEST(ConfigDocument, CommentsCdataAndInstructionsAreNoElements) {
  this->ReadElements("<!-- " + FilterElement("comment") + "--><![CDATA[" + FilterElement("cdata") +
                     "]]><?Filter Title=\"instruction\"?>" +
                     FilterElement("only",
                                   "<!-- <User Name=\"a\"/> -->text<![CDATA[<User/>]]>"
                                   "<User Name=\"b\"/>"));
  EXPECT_THAT(this->Titles(), ElementsAre("only"));
  EXPECT_THAT(this->Users(), ElementsAre("b "));
}

TYPED_TEST(ConfigDocument, CommentsAroundTheRootDoNotMatter) {
  EXPECT_EQ(0, this->ReadText("<!-- a --><x>" + FilterElement("only") + "</x><!-- b --><?c d?>"));
  EXPECT_THAT(this->Titles(), ElementsAre("only"));
}

TYPED_TEST(ConfigDocument, ReferencesInAttributesAreResolved) {
  this->ReadOne(
      "<User Name=\"&lt;a&amp;b&gt;\"/><User Name=\"&#66;&#x6f;b\"/><User Name='&quot;'/>");
  EXPECT_THAT(this->Users(), ElementsAre("<a&b> Bob \" "));
}

TYPED_TEST(ConfigDocument, DeclaredEntitiesInAttributesAreResolved) {
  EXPECT_EQ(0, this->ReadText("<!DOCTYPE x [<!ENTITY org \"O=acme\">]><x>" +
                              FilterElement("only", "<User Name=\"CN=bob,&org;\"/>") + "</x>"));
  EXPECT_THAT(this->Users(), ElementsAre("bob.acme "));
}

TYPED_TEST(ConfigDocument, UndeclaredEntityRefusesTheFile) {
  EXPECT_EQ(1, this->ReadText(FilterFile(FilterElement("only", "<User Name=\"&org;\"/>"))));
  EXPECT_THAT(this->Statements(), IsEmpty());
}

TYPED_TEST(ConfigDocument, NamesKeepTheirBytesInUtf8) {
  this->ReadOne("<User Name=\"CN=J\xc3\xbcrgen,O=\xe6\x97\xa5\"/>");
  EXPECT_THAT(this->Users(), ElementsAre("J\xc3\xbcrgen.\xe6\x97\xa5 "));
}

TYPED_TEST(ConfigDocument, OtherEncodingsBecomeUtf8) {
  EXPECT_EQ(0, this->ReadText("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><x>" +
                              FilterElement("only", "<User Name=\"J\xfcrgen\"/>") + "</x>"));
  EXPECT_THAT(this->Users(), ElementsAre("J\xc3\xbcrgen "));
}

TYPED_TEST(ConfigDocument, LongNamesAreCutOnlyByTheirConversion) {
  const std::string name(10000, 'n');
  this->ReadOne("<User Name=\"" + name + "\"/><User Name=\"CN=" + name + "\"/>");
  EXPECT_THAT(this->Users(), ElementsAre(name + " " + name.substr(0, 254) + " "));
}

}  // namespace
}  // namespace wkagent::test
