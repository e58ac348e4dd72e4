// What is said about names that match nothing and statements that cover nothing, word by word.

#include "agent/config_check_fixture.h"

namespace wkagent::test {
namespace {

class UselessStatement : public ConfigCheckTest,
                         public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(UselessStatement, IsExplained) { ExpectMessages("EDAFilter.xml", kEdaFilter, GetParam()); }

const BrokenFile kNames[] = {
    {"EmptyName",
     "<User Name=\"bob\"/>",
     "<User Name=\"\"/>",
     {":8: error: User Name=\"\" occurs in everything; write <Users AllUsers=\"1\"/>, or a name"}},
    {"StarAsName",
     "<User Name=\"bob\"/>",
     "<User Name=\"*\"/>",
     {":8: error: User Name=\"*\" occurs in everything; write <Users AllUsers=\"1\"/>, or a name"}},
    {"NameOfATypeAlone",
     "<User Name=\"bob\"/>",
     "<User Name=\"CN=\"/>",
     {":8: error: User Name=\"CN=\" occurs in everything; write <Users AllUsers=\"1\"/>, or a "
      "name"}},
    {"EmptyNameBehindAnother",
     "<User Name=\"bob\"/>",
     "<User Name=\"bob\"/>\n<User Name=\"\"/>",
     {":9: error: User Name=\"\" is looked for as \"bob\", with the rest of a longer entry before "
      "it; remove it"}},
    {"ShorterNameBehindALongerOne",
     "<User Name=\"bob\"/>",
     "<User Name=\"CN=admin,OU=sales\"/>\n<User Name=\"BOB\"/>",
     {":9: error: User Name=\"BOB\" is looked for as \"BOBin.sales\", with the rest of a longer "
      "entry before it; move it before line 8"}},
    {"NamesOfFallingLength",
     "<User Name=\"bob\"/>",
     "<User Name=\"abcde\"/>\n<User Name=\"fgh\"/>\n<User Name=\"i\"/>",
     {":9: error: User Name=\"fgh\" is looked for as \"fghde\", with the rest of a longer entry "
      "before it; move it before line 8",
      ":10: error: User Name=\"i\" is looked for as \"ighde\", with the rest of a longer entry "
      "before it; move it before line 8"}},
    {"NameThatEndsTheList",
     "<User Name=\"bob\"/>",
     "<User Name=\"" + std::string(301, 'n') + "\"/>\n<User Name=\"bob\"/>",
     {":8: error: User "
      "Name=\"nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn...\" has 301 bytes, "
      "and one of more than 300 ends the list; shorten it",
      ":9: error: User Name=\"bob\" is never looked for, since the entry of line 8 is too long and "
      "ends the list; shorten that one"}},
    {"NameLongerThanItsField",
     "<User Name=\"bob\"/>",
     "<User Name=\"" + std::string(300, 'n') + "\"/>",
     {":8: error: User "
      "Name=\"nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn...\" has 300 bytes, "
      "and the text it is looked for in at most 299; shorten it"}},
    {"ClassLongerThanItsField",
     "<Classes AllClasses=\"1\"/>",
     "<Classes AllClasses=\"0\"><Class Name=\"" + std::string(64, 'c') + "\"/></Classes>",
     {":13: error: Class Name=\"cccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccccc\" "
      "has 64 bytes, and the text it is looked for in at most 63; shorten it"}},
    {"TypedNameThatIsCut",
     "<User Name=\"bob\"/>",
     "<User Name=\"CN=" + std::string(255, 'n') + "\"/>",
     {":8: error: User "
      "Name=\"CN=nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn...\" is cut at 254 "
      "bytes of its dotted form; shorten it"}},
    {"TypedNameWithDots",
     "<User Name=\"bob\"/>",
     "<User Name=\"CN=bob.OU=sales.O=acme\"/>",
     {":8: error: User Name=\"CN=bob.OU=sales.O=acme\" is looked for as \"bob.OU=sales.O=acme\", "
      "since commas separate the parts of a typed name; write Name=\"bob.sales.acme\""}},
    {"TypedNameWithAnEscape",
     "<User Name=\"bob\"/>",
     "<User Name=\"CN=Smith\\, Bob,OU=sales\"/>",
     {":8: error: User Name=\"CN=Smith\\, Bob,OU=sales\" is looked for as \"Smith\\.sales\", but "
      "events bear \"Smith, Bob.sales\"; write Name=\"Smith, Bob.sales\""}},
    {"TypedNameOfTwoValues",
     "<User Name=\"bob\"/>",
     "<User Name=\"CN=bob+UID=b1,O=acme\"/>",
     {":8: error: User Name=\"CN=bob+UID=b1,O=acme\" is looked for as \"bob+UID=b1.acme\", since "
      "commas separate the parts of a typed name; write Name=\"bob+b1.acme\""}},
    {"TypedNameWithAPartWithoutType",
     "<User Name=\"bob\"/>",
     "<User Name=\"CN=bob,sales,O=acme\"/>",
     {":8: error: User Name=\"CN=bob,sales,O=acme\" is looked for as \"bob.acme\", but events bear "
      "\"bob.sales.acme\"; write Name=\"bob.sales.acme\""}},
    {"NameWithCommasForDots",
     "<User Name=\"bob\"/>",
     "<User Name=\"bob,sales,acme\"/>",
     {":8: warning: User Name=\"bob,sales,acme\" is looked for with its commas; write "
      "Name=\"bob.sales.acme\""}},
    {"NameWithBlanks",
     "<User Name=\"bob\"/>",
     "<User Name=\" bob \"/>",
     {":8: warning: User Name=\" bob \" has blanks at its ends, which are looked for, too; write "
      "Name=\"bob\""}},
    {"NameWithAStarInside",
     "<User Name=\"bob\"/>",
     "<User Name=\"b*b\"/>",
     {":8: error: User Name=\"b*b\" holds a *, which is looked for as it stands; write the name "
      "without it, or a part of the name"}},
    {"ObjectWithItsContainer",
     "<Object Name=\"bob\"/>",
     "<Object Name=\"CN=bob,OU=sales,O=acme\"/>",
     {":11: error: Object Name=\"CN=bob,OU=sales,O=acme\" is looked for as \"bob.sales.acme\" in "
      "the object's own name, which ends before its first dot; write Name=\"bob\""}},
    {"DottedObjectWithItsContainer",
     "<Object Name=\"bob\"/>",
     "<Object Name=\"bob.sales.acme\"/>",
     {":11: error: Object Name=\"bob.sales.acme\" is looked for as \"bob.sales.acme\" in the "
      "object's own name, which ends before its first dot; write Name=\"bob\""}},
    {"ObjectWithAnEscape",
     "<Object Name=\"bob\"/>",
     "<Object Name=\"CN=Smith\\, Bob\"/>",
     {":11: error: Object Name=\"CN=Smith\\, Bob\" is looked for as \"Smith\\\", but events bear "
      "\"Smith, Bob\"; write Name=\"Smith, Bob\""}},
    {"NameWithXmlCharacters",
     "<User Name=\"bob\"/>",
     "<User Name=\"&lt;b*&amp;&quot;\"/>",
     {":8: error: User Name=\"&lt;b*&amp;&quot;\" holds a *, which is looked for as it stands; "
      "write the name without it, or a part of the name"}},
    {"ContextWithDots",
     "OU=sales,O=acme",
     "OU=sales.O=acme",
     {":3: error: Filter Context=\"OU=sales.O=acme\" is looked for as \"sales.O=acme\", since "
      "commas separate the parts of a typed name; write Context=\"sales.acme\""}},
    {"ContextWithALeadingDot",
     "OU=sales,O=acme",
     ".sales.acme",
     {":3: error: Filter Context=\".sales.acme\" is looked for as \".sales.acme\", with a dot at "
      "its end; write Context=\"sales.acme\""}},
    {"ContextWithBlanks",
     "OU=sales,O=acme",
     "sales.acme ",
     {":3: error: Filter Context=\"sales.acme \" has blanks at its ends, which are looked for, "
      "too; write Context=\"sales.acme\""}},
    {"ContextOfATypeAlone",
     "OU=sales,O=acme",
     "OU=",
     {":3: error: Filter Context=\"OU=\" names no container; write Context=\"\" for the whole "
      "directory"}},
    {"ContextThatIsCut",
     "OU=sales,O=acme",
     "OU=" + std::string(255, 'o'),
     {":3: error: Filter "
      "Context=\"OU=ooooooooooooooooooooooooooooooooooooooooooooooooooooooooooooo...\" is cut at "
      "254 bytes of its dotted form; shorten it"}},
    {"ContextWithCommasForDots",
     "OU=sales,O=acme",
     "sales,acme",
     {":3: error: Filter Context=\"sales,acme\" is looked for with its commas; write "
      "Context=\"sales.acme\""}},
};

const BrokenFile kStatements[] = {
    {"DisabledStatement",
     "Enabled=\"1\"",
     "Enabled=\"0\"",
     {":3: warning: Filter \"T\" covers nothing, since Enabled is 0; write Enabled=\"1\", or "
      "remove it",
      ": error: no enabled Filter includes anything, so every event is dropped; write one with "
      "IncludeExclude=\"1\" Enabled=\"1\""}},
    {"NoOperation",
     "<Operation EventId=\"20001\" Condition=\"0\"/>",
     "",
     {":4: error: Filter \"T\" covers nothing: AllOperations is 0 and no known operation is "
      "listed; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"20001\" "
      "Condition=\"0\"/>"}},
    {"NoOperations",
     "<Operations AllOperations=\"0\">\n<Operation EventId=\"20001\" "
     "Condition=\"0\"/>\n</Operations>",
     "",
     {":3: error: Filter \"T\" has no Operations, so AllOperations counts as 0, and it covers "
      "nothing; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"20001\" "
      "Condition=\"0\"/>"}},
    {"ListedOperationsOfAll",
     "AllOperations=\"0\"",
     "AllOperations=\"1\"",
     {":5: warning: the list of Operations is not looked at, since AllOperations is 1; write "
      "AllOperations=\"0\", or remove the list"}},
    {"NoUser",
     "<User Name=\"bob\"/>",
     "",
     {":7: error: Filter \"T\" covers nothing: AllUsers is 0 and no User is listed; write <Users "
      "AllUsers=\"1\"/>, or list User elements"}},
    {"NoUsers",
     "<Users AllUsers=\"0\">\n<User Name=\"bob\"/>\n</Users>",
     "",
     {":3: error: Filter \"T\" has no Users, so AllUsers counts as 0, and it covers nothing; write "
      "<Users AllUsers=\"1\"/>, or list User elements"}},
    {"ListedUsersOfAll",
     "AllUsers=\"0\"",
     "AllUsers=\"1\"",
     {":8: warning: the list of Users is not looked at, since AllUsers is 1; write AllUsers=\"0\", "
      "or remove the list"}},
    {"NoAttribute",
     "AllAttributes=\"1\"",
     "AllAttributes=\"0\"",
     {":14: warning: Filter \"T\" covers only events without Attribute: AllAttributes is 0 and no "
      "Attribute is listed; write <Attributes AllAttributes=\"1\"/>, or list Attribute elements"}},
    {"NoAttributeValues",
     "<AttributeValues AllAttributeValues=\"1\"/>",
     "",
     {":3: warning: Filter \"T\" has no AttributeValues, so AllAttributeValues counts as 0, and it "
      "covers only events without AttributeValue; write <AttributeValues "
      "AllAttributeValues=\"1\"/>, or list AttributeValue elements"}},
    {"MailToNobody",
     "To=\"b@acme\"",
     "To=\"\"",
     {":19: error: SMTP Alert is 1, but To and Cc are empty, so the mail reaches nobody; write "
      "To=\"security@acme.example\", or Alert=\"0\""}},
    {"MailFromNobody",
     "From=\"a@acme\"",
     "From=\"\"",
     {":19: warning: SMTP Alert is 1, but From is empty, so the mail bears a default sender; write "
      "From=\"agent@acme.example\""}},
    {"AlertOfAnExcludedEvent",
     "IncludeExclude=\"1\"",
     "IncludeExclude=\"0\"",
     {":19: warning: SMTP Alert is 1, but no alert is raised, since IncludeExclude is 0; write "
      "Alert=\"0\"",
      ": error: no enabled Filter includes anything, so every event is dropped; write one with "
      "IncludeExclude=\"1\" Enabled=\"1\""}},
    {"AlertThatIsExcluded",
     "ExcludeAlert=\"0\"",
     "ExcludeAlert=\"1\"",
     {":19: warning: SMTP Alert is 1, but no alert is raised, since ExcludeAlert is 1; write "
      "Alert=\"0\", or ExcludeAlert=\"0\""}},
    {"NoFilter",
     std::string(kEdaFilter).substr(std::string(kEdaFilter).find("<Filters>")),
     "<Filters/>",
     {": error: it has no Filter element, so every event is dropped; write one for what is to be "
      "kept"}},
};

std::string NameOf(const ::testing::TestParamInfo<BrokenFile>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(Names, UselessStatement, ::testing::ValuesIn(kNames), NameOf);
INSTANTIATE_TEST_SUITE_P(Statements, UselessStatement, ::testing::ValuesIn(kStatements), NameOf);

}  // namespace
}  // namespace wkagent::test
