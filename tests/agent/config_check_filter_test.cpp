// What is said about broken filter files of directory events, word by word.

#include "agent/config_check_fixture.h"

namespace wkagent::test {
namespace {

class BrokenEdaFilter : public ConfigCheckTest, public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenEdaFilter, IsExplained) { ExpectMessages("EDAFilter.xml", kEdaFilter, GetParam()); }

const BrokenFile kStructure[] = {
    {"MisspelledElement",
     "<Classes AllClasses",
     "<Clases AllClasses",
     {":3: error: Filter \"T\" has no Classes, so AllClasses counts as 0, and it covers nothing; "
      "write <Classes AllClasses=\"1\"/>, or list Class elements",
      ":13: error: unknown element Clases is ignored; did you mean Classes?"}},
    {"ElementInOtherCase",
     "<SysLog Alert",
     "<Syslog Alert",
     {":18: error: unknown element Syslog is ignored; did you mean SysLog?"}},
    {"ElementOfAnotherFile",
     "<Classes",
     "<PollInterval>10</PollInterval><Classes",
     {":13: error: unknown element PollInterval is ignored; it belongs in DaemonSettings.xml"}},
    {"StrangeElement",
     "<Classes",
     "<Wheelbarrow/><Classes",
     {":13: error: unknown element Wheelbarrow is ignored; remove it"}},
    {"StrangeElementWithOthersInIt",
     "<Filter Title",
     "<Group><Wheelbarrow/></Group><Filter Title",
     {":3: warning: unknown element Group is ignored; what it holds is read all the same",
      ":3: error: unknown element Wheelbarrow is ignored; remove it"}},
    {"MisspelledAttribute",
     "Enabled=\"1\"",
     "Enable=\"1\"",
     {":3: error: Filter has no attribute Enable, so it is ignored; did you mean Enabled?",
      ":3: error: Filter has no attribute Enabled, which counts as 0; write Enabled=\"1\" or "
      "Enabled=\"0\"",
      ":3: warning: Filter \"T\" covers nothing, since Enabled is 0; write Enabled=\"1\", or "
      "remove it",
      ": error: no enabled Filter includes anything, so every event is dropped; write one with "
      "IncludeExclude=\"1\" Enabled=\"1\""}},
    {"AttributeInOtherCase",
     "AllUsers=\"0\"",
     "Allusers=\"0\"",
     {":7: error: Users has no attribute Allusers, so it is ignored; did you mean AllUsers?",
      ":7: error: Users has no attribute AllUsers, which counts as 0; write AllUsers=\"1\" or "
      "AllUsers=\"0\""}},
    {"StrangeAttribute",
     "<Users ",
     "<Users Colour=\"red\" ",
     {":7: error: Users has no attribute Colour, so it is ignored; remove it"}},
    {"MissingFlag",
     " IncludeSubContainers=\"1\"",
     "",
     {":3: error: Filter has no attribute IncludeSubContainers, which counts as 0; write "
      "IncludeSubContainers=\"1\" or IncludeSubContainers=\"0\""}},
    {"MissingTitle",
     "Title=\"T\" ",
     "",
     {":3: warning: Filter has no attribute Title, which counts as empty; write Title=\"...\""}},
    {"MissingContext",
     "Context=\"OU=sales,O=acme\" ",
     "",
     {":3: error: Filter has no attribute Context, which counts as empty; write "
      "Context=\"OU=sales,O=acme\""}},
    {"MissingTimeOfAllDay",
     "StartTime=\"00:00:00 AM\" ",
     "",
     {":3: warning: Filter has no attribute StartTime, which counts as 00:00:00; write "
      "StartTime=\"00:00:00 AM\""}},
    {"MissingEventId",
     "EventId=\"20001\" ",
     "",
     {":4: error: Filter \"T\" covers nothing: AllOperations is 0 and no known operation is "
      "listed; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"20001\" "
      "Condition=\"0\"/>",
      ":5: error: Operation has no attribute EventId, which counts as 0; write EventId=\"20001\""}},
    {"MissingCondition",
     " Condition=\"0\"",
     "",
     {":5: warning: Operation has no attribute Condition, which counts as 0; write "
      "Condition=\"0\""}},
    {"NameAsContent",
     "<User Name=\"bob\"/>",
     "<User>bob</User>",
     {":8: error: User has no attribute Name, which counts as empty; write Name=\"bob\"",
      ":8: error: User without a Name occurs in everything; write <Users AllUsers=\"1\"/>, or a "
      "name"}},
    {"MissingMailAttributes",
     " Subject=\"s\" To=\"b@acme\" Cc=\"\"",
     "",
     {":19: error: SMTP has no attribute Subject, which counts as empty; write Subject=\"...\"",
      ":19: error: SMTP has no attribute To, which counts as empty; write "
      "To=\"security@acme.example\"",
      ":19: error: SMTP has no attribute Cc, which counts as empty; write Cc=\"\"",
      ":19: error: SMTP Alert is 1, but To and Cc are empty, so the mail reaches nobody; write "
      "To=\"security@acme.example\", or Alert=\"0\""}},
    {"ElementBeforeTheFirstFilter",
     "<Filters>\n",
     "<Filters>\n<Users AllUsers=\"1\"/>",
     {":3: error: Users stands before the first Filter and is ignored; move it into a Filter"}},
    {"ElementOutsideOfFilters",
     "</Filters>",
     "<Action ExcludeAlert=\"1\"/></Filters>",
     {":19: warning: SMTP Alert is 1, but no alert is raised, since ExcludeAlert is 1; write "
      "Alert=\"0\", or ExcludeAlert=\"0\"",
      ":21: warning: Action stands outside of a Filter and configures the one of line 3; move it "
      "into its Filter",
      ":21: error: Action overrides the one of line 16; keep one of them"}},
    {"ElementInAnotherList",
     "<Object Name=\"bob\"/>",
     "<Object Name=\"bob\"/><User Name=\"robert\"/>",
     {":11: warning: User stands in Objects and is read all the same; move it into Users"}},
    {"RepeatedElement",
     "<Classes AllClasses=\"1\"/>\n",
     "<Classes AllClasses=\"0\"/>\n<Classes AllClasses=\"1\"/>",
     {":14: error: Classes overrides the one of line 13; keep one of them"}},
    {"FilterInAFilter",
     "<SNMP Alert=\"0\"/>\n",
     "<SNMP Alert=\"0\"/><Filter Title=\"U\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" "
     "StartTime=\"00:00:00 AM\" EndTime=\"00:00:00 AM\" Context=\"\" "
     "IncludeSubContainers=\"1\"/>\n",
     {":17: error: Filter stands in the Filter of line 3, and what follows in that one configures "
      "this one; close the first with </Filter> before this line",
      ":17: error: Filter \"U\" has no Operations, so AllOperations counts as 0, and it covers "
      "nothing; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"20001\" "
      "Condition=\"0\"/>",
      ":17: error: Filter \"U\" has no Users, so AllUsers counts as 0, and it covers nothing; "
      "write <Users AllUsers=\"1\"/>, or list User elements",
      ":17: error: Filter \"U\" has no Objects, so AllObjects counts as 0, and it covers nothing; "
      "write <Objects AllObjects=\"1\"/>, or list Object elements",
      ":17: error: Filter \"U\" has no Classes, so AllClasses counts as 0, and it covers nothing; "
      "write <Classes AllClasses=\"1\"/>, or list Class elements",
      ":17: warning: Filter \"U\" has no Attributes, so AllAttributes counts as 0, and it covers "
      "only events without Attribute; write <Attributes AllAttributes=\"1\"/>, or list Attribute "
      "elements",
      ":17: warning: Filter \"U\" has no AttributeValues, so AllAttributeValues counts as 0, and "
      "it covers only events without AttributeValue; write <AttributeValues "
      "AllAttributeValues=\"1\"/>, or list AttributeValue elements"}},
    {"Unclosed",
     "</Users>",
     "",
     {":20: error: it is no well-formed XML: Opening and ending tag mismatch: Users line 7 and "
      "Filter, so nothing of this file counts; close each element, and in a value write &amp; for "
      "& "
      "and &lt; for <"}},
    {"TwoHyphensInAComment",
     "<Users",
     "<!-- a -- b --><Users",
     {":7: error: it is no well-formed XML: Double hyphen within comment: <!-- a, so nothing of "
      "this file counts; close each element, and in a value write &amp; for & and &lt; for <"}},
};

const BrokenFile kValues[] = {
    {"FlagYes",
     "Enabled=\"1\"",
     "Enabled=\"yes\"",
     {":3: error: Filter Enabled=\"yes\" is no number and counts as 0; write Enabled=\"1\"",
      ":3: warning: Filter \"T\" covers nothing, since Enabled is 0; write Enabled=\"1\", or "
      "remove it",
      ": error: no enabled Filter includes anything, so every event is dropped; write one with "
      "IncludeExclude=\"1\" Enabled=\"1\""}},
    {"FlagFalse",
     "ExcludeAlert=\"0\"",
     "ExcludeAlert=\"false\"",
     {":16: error: Action ExcludeAlert=\"false\" is no number and counts as 0; write "
      "ExcludeAlert=\"0\""}},
    {"FlagInclude",
     "IncludeExclude=\"1\"",
     "IncludeExclude=\"Include\"",
     {":3: error: Filter IncludeExclude=\"Include\" is no number and counts as 0; write "
      "IncludeExclude=\"1\"",
      ":19: warning: SMTP Alert is 1, but no alert is raised, since IncludeExclude is 0; write "
      "Alert=\"0\"",
      ": error: no enabled Filter includes anything, so every event is dropped; write one with "
      "IncludeExclude=\"1\" Enabled=\"1\""}},
    {"FlagTwo",
     "AllClasses=\"1\"",
     "AllClasses=\"2\"",
     {":13: warning: Classes AllClasses=\"2\" counts as 1; write AllClasses=\"1\""}},
    {"FlagEmpty",
     "AllDay=\"1\"",
     "AllDay=\"\"",
     {":3: error: Filter AllDay=\"\" is empty and counts as 0; write AllDay=\"1\" or AllDay=\"0\"",
      ":3: warning: the window is open for one second, since EndTime and StartTime are both "
      "\"00:00:00 AM\"; write AllDay=\"1\", or two times"}},
    {"FlagWithALetter",
     "AllClasses=\"1\"",
     "AllClasses=\"1x\"",
     {":13: error: Classes AllClasses=\"1x\" is no number and counts as 1; write AllClasses=\"1\" "
      "or AllClasses=\"0\""}},
    {"UnknownEvent",
     "20001",
     "20017",
     {":4: error: Filter \"T\" covers nothing: AllOperations is 0 and no known operation is "
      "listed; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"20001\" "
      "Condition=\"0\"/>",
      ":5: error: Operation EventId=\"20017\" is not known here and is ignored; write 20001 to "
      "20016 (logins and logouts belong in ELAFilter.xml)"}},
    {"LoginEvent",
     "20001",
     "21001",
     {":4: error: Filter \"T\" covers nothing: AllOperations is 0 and no known operation is "
      "listed; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"20001\" "
      "Condition=\"0\"/>",
      ":5: error: Operation EventId=\"21001\" is not known here and is ignored; write 20001 to "
      "20016 (logins and logouts belong in ELAFilter.xml)"}},
    {"EventThatIsNoNumber",
     "20001",
     "add",
     {":4: error: Filter \"T\" covers nothing: AllOperations is 0 and no known operation is "
      "listed; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"20001\" "
      "Condition=\"0\"/>",
      ":5: error: Operation EventId=\"add\" is no number and counts as 0; write 20001 to 20016 "
      "(logins and logouts belong in ELAFilter.xml)"}},
    {"EventBehindWhichALetterStands",
     "20001",
     "20001a",
     {":5: error: Operation EventId=\"20001a\" is no number and counts as 20001; write "
      "EventId=\"20001\""}},
    {"EventOfMoreThan32Bits",
     "20001",
     "4294987297",
     {":5: error: Operation EventId=\"4294987297\" does not fit in 32 bits and counts as 20001; "
      "write 20001 to 20016 (logins and logouts belong in ELAFilter.xml)"}},
    {"ConditionThatIsNoNumber",
     "Condition=\"0\"",
     "Condition=\"any\"",
     {":5: warning: Operation Condition=\"any\" is no number and counts as 0; write "
      "Condition=\"0\""}},
    {"ConditionThatIsNotUsed",
     "Condition=\"0\"",
     "Condition=\"705\"",
     {":5: warning: Operation Condition=\"705\" is not looked at; write Condition=\"0\""}},
};

const BrokenFile kTimes[] = {
    {"TimeThatIsNone",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"8 o'clock\"",
     {":3: error: Filter StartTime=\"8 o'clock\" is no time of the form HH:MM:SS AM or HH:MM:SS "
      "PM; write StartTime=\"08:00:00 AM\" or StartTime=\"20:00:00 PM\""}},
    {"TimeWithoutSeconds",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"08:00 AM\"",
     {":3: error: Filter StartTime=\"08:00 AM\" is no time of the form HH:MM:SS AM or HH:MM:SS PM; "
      "write StartTime=\"08:00:00 AM\" or StartTime=\"20:00:00 PM\""}},
    {"TimeWithoutAmOrPm",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"08:00:00\"",
     {":3: error: Filter StartTime=\"08:00:00\" is no time of the form HH:MM:SS AM or HH:MM:SS PM; "
      "write StartTime=\"08:00:00 AM\" or StartTime=\"20:00:00 PM\""}},
    {"TimeOfNoHour",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"24:00:00 PM\"",
     {":3: error: Filter StartTime=\"24:00:00 PM\" is no time of the form HH:MM:SS AM or HH:MM:SS "
      "PM; write StartTime=\"08:00:00 AM\" or StartTime=\"20:00:00 PM\""}},
    {"TimeBehindWhichSomethingStands",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"08:00:00 AM CET\"",
     {":3: error: Filter StartTime=\"08:00:00 AM CET\" is no time of the form HH:MM:SS AM or "
      "HH:MM:SS PM; write StartTime=\"08:00:00 AM\" or StartTime=\"20:00:00 PM\""}},
    {"BadTimeOfAllDay",
     "StartTime=\"00:00:00 AM\"",
     "StartTime=\"never\"",
     {":3: warning: Filter StartTime=\"never\" is no time of the form HH:MM:SS AM or HH:MM:SS PM; "
      "write StartTime=\"08:00:00 AM\" or StartTime=\"20:00:00 PM\""}},
    {"MissingTime",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\"",
     {":3: error: Filter has no attribute StartTime, which counts as 00:00:00; write "
      "StartTime=\"00:00:00 AM\""}},
    {"HourOfTwelve",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"08:30:00 PM\"",
     {":3: error: Filter StartTime=\"08:30:00 PM\" is read as 08:30:00, since the hour counts 24 "
      "and AM and PM change nothing; write StartTime=\"20:30:00 PM\" or StartTime=\"08:30:00 "
      "AM\""}},
    {"NoonInTheMorning",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"12:00:00 AM\"",
     {":3: error: Filter StartTime=\"12:00:00 AM\" is read as 12:00:00, since the hour counts 24 "
      "and AM and PM change nothing; write StartTime=\"00:00:00 AM\" or StartTime=\"12:00:00 "
      "PM\""}},
    {"WindowThatNeverOpens",
     "AllDay=\"1\" StartTime=\"00:00:00 AM\" EndTime=\"00:00:00 AM\"",
     "AllDay=\"0\" StartTime=\"08:00:00 AM\" EndTime=\"17:00:00 PM\"",
     {":3: error: the window from EndTime=\"17:00:00 PM\" to StartTime=\"08:00:00 AM\" is never "
      "open, since it begins at EndTime and ends at StartTime of one day; write "
      "StartTime=\"17:00:00 PM\" EndTime=\"08:00:00 AM\""}},
    {"WindowOfOneSecond",
     "AllDay=\"1\"",
     "AllDay=\"0\"",
     {":3: warning: the window is open for one second, since EndTime and StartTime are both "
      "\"00:00:00 AM\"; write AllDay=\"1\", or two times"}},
};

std::string NameOf(const ::testing::TestParamInfo<BrokenFile>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(Structure, BrokenEdaFilter, ::testing::ValuesIn(kStructure), NameOf);
INSTANTIATE_TEST_SUITE_P(Values, BrokenEdaFilter, ::testing::ValuesIn(kValues), NameOf);
INSTANTIATE_TEST_SUITE_P(Times, BrokenEdaFilter, ::testing::ValuesIn(kTimes), NameOf);

}  // namespace
}  // namespace wkagent::test
