// What is said about broken settings files and login filters, word by word.

#include "agent/config_check_fixture.h"

namespace wkagent::test {
namespace {

std::string NameOf(const ::testing::TestParamInfo<BrokenFile>& test) { return test.param.name; }

class BrokenElaFilter : public ConfigCheckTest, public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenElaFilter, IsExplained) { ExpectMessages("ELAFilter.xml", kElaFilter, GetParam()); }

const BrokenFile kElaFiles[] = {
    {"ElementOfTheOtherFilter",
     "<Nodes AllNodes",
     "<Objects AllObjects=\"1\"/><Nodes AllNodes",
     {":8: error: unknown element Objects is ignored; it belongs in EDAFilter.xml"}},
    {"AttributeOfTheOtherFilter",
     "Enabled=\"1\"",
     "Enabled=\"1\" Context=\"\"",
     {":3: error: Filter has no attribute Context, so it is ignored; remove it"}},
    {"DirectoryEvent",
     "21001",
     "20001",
     {":4: error: Filter \"T\" covers nothing: AllOperations is 0 and no known operation is "
      "listed; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"21001\" "
      "Condition=\"705\"/>",
      ":5: error: Operation EventId=\"20001\" is not known here and is ignored; write 21001 for "
      "logins or 21002 for logouts (changes belong in EDAFilter.xml)"}},
    {"UnknownCondition",
     "705",
     "708",
     {":4: error: Filter \"T\" covers nothing: AllOperations is 0 and no known operation is "
      "listed; write <Operations AllOperations=\"1\"/>, or list <Operation EventId=\"21001\" "
      "Condition=\"705\"/>",
      ":5: error: Operation Condition=\"708\" is not known here and is ignored; write 705, 706 or "
      "707, or 0 for 705"}},
    {"MissingCondition",
     " Condition=\"705\"",
     "",
     {":5: error: Operation has no attribute Condition, which counts as 0; write "
      "Condition=\"705\""}},
    {"ConditionThatIsNoNumber",
     "705",
     "failed",
     {":5: error: Operation Condition=\"failed\" is no number and counts as 0; write 705, 706 or "
      "707, or 0 for 705"}},
    {"CombinationsThatWereNotMeant",
     "<Operation EventId=\"21001\" Condition=\"705\"/>",
     "<Operation EventId=\"21001\" Condition=\"705\"/><Operation EventId=\"21002\" "
     "Condition=\"706\"/>",
     {":5: warning: Filter \"T\" also covers EventId 21001 under Condition 706, since each "
      "operation is covered under each listed condition; write a Filter for each",
      ":5: warning: Filter \"T\" also covers EventId 21002 under Condition 705, since each "
      "operation is covered under each listed condition; write a Filter for each"}},
    {"NoNode",
     "<Node Name=\"192.0.2.1\"/>",
     "",
     {":8: error: Filter \"T\" covers nothing: AllNodes is 0 and no Node is listed; write <Nodes "
      "AllNodes=\"1\"/>, or list Node elements"}},
    {"NodeLongerThanItsField",
     "192.0.2.1",
     std::string(50, '1'),
     {":9: error: Node Name=\"11111111111111111111111111111111111111111111111111\" has 50 bytes, "
      "and the text it is looked for in at most 49; shorten it"}},
    {"EverythingIsDropped",
     "</Filters>",
     "<Filter Title=\"Out\" IncludeExclude=\"0\" Enabled=\"1\" AllDay=\"1\" StartTime=\"00:00:00 "
     "AM\" EndTime=\"00:00:00 AM\"><Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Nodes "
     "AllNodes=\"1\"/></Filter></Filters>",
     {":16: error: Filter \"Out\" drops every event, whatever the others keep; write "
      "IncludeExclude=\"1\", or say what is to be dropped"}},
};
INSTANTIATE_TEST_SUITE_P(Files, BrokenElaFilter, ::testing::ValuesIn(kElaFiles), NameOf);

class BrokenDaemonSettings : public ConfigCheckTest,
                             public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenDaemonSettings, IsExplained) {
  ExpectMessages("DaemonSettings.xml", kDaemonSettings, GetParam());
}

const BrokenFile kDaemonFiles[] = {
    {"MisspelledElement",
     "<PollInterval>10</PollInterval>",
     "<PolInterval>10</PolInterval>",
     {":3: error: unknown element PolInterval is ignored; did you mean PollInterval?"}},
    {"ElementOfAnotherFile",
     "<PollInterval>",
     "<SMBVersion>2.0</SMBVersion><PollInterval>",
     {":3: error: unknown element SMBVersion is ignored; it belongs in WKMemorySettings.xml"}},
    {"NumberThatIsNone",
     "<PollInterval>10<",
     "<PollInterval>ten<",
     {":3: error: <PollInterval>ten</PollInterval> is no number and counts as 0; write "
      "<PollInterval>10</PollInterval>"}},
    {"NumberWithAUnit",
     "<PollInterval>10<",
     "<PollInterval>30s<",
     {":3: error: <PollInterval>30s</PollInterval> is no number and counts as 30; write "
      "<PollInterval>30</PollInterval>"}},
    {"EmptyNumber",
     "<PollInterval>10<",
     "<PollInterval> <",
     {":3: error: <PollInterval> </PollInterval> is empty and counts as 0; write "
      "<PollInterval>10</PollInterval>"}},
    {"FractionalNumber",
     "<PollInterval>10<",
     "<PollInterval>0.5<",
     {":3: error: <PollInterval>0.5</PollInterval> is no number and counts as 0; write "
      "<PollInterval>10</PollInterval>"}},
    {"NegativeNumber",
     "<PollInterval>10<",
     "<PollInterval>-5<",
     {":3: error: <PollInterval>-5</PollInterval> is less than 1; write a number from 1 to "
      "2147483647"}},
    {"ThresholdOfNothing",
     "<ArmThreshold>500<",
     "<ArmThreshold>0<",
     {":5: error: <ArmThreshold>0</ArmThreshold> is less than 1; write a number from 1 to "
      "2147483647"}},
    {"NumberOfMoreThan32Bits",
     "<ArmThreshold>500<",
     "<ArmThreshold>5000000000<",
     {":5: error: <ArmThreshold>5000000000</ArmThreshold> does not fit in 32 bits and counts as "
      "705032704; write a number from 1 to 2147483647"}},
    {"NumberOfMoreThan64Bits",
     "<ArmThreshold>500<",
     "<ArmThreshold>99999999999999999999<",
     {":5: error: <ArmThreshold>99999999999999999999</ArmThreshold> does not fit in 32 bits and "
      "counts as -1; write a number from 1 to 2147483647"}},
    {"RepeatedSetting",
     "<TxfrInterval>",
     "<PollInterval>20</PollInterval>\n<TxfrInterval>",
     {":4: error: PollInterval overrides the one of line 3; keep one of them"}},
    {"SettingAsAttribute",
     "<PollInterval>10</PollInterval>",
     "<PollInterval value=\"10\"/>",
     {":3: error: PollInterval has no attribute value, so it is ignored; write the value between "
      "<PollInterval> and </PollInterval>",
      ":3: error: <PollInterval></PollInterval> is empty and counts as 0; write "
      "<PollInterval>10</PollInterval>"}},
    {"FlagThatIsNone",
     "<QRAServiceStart>0<",
     "<QRAServiceStart>on<",
     {":6: error: <QRAServiceStart>on</QRAServiceStart> is no number and counts as 0; write "
      "<QRAServiceStart>1</QRAServiceStart>"}},
    {"OverlongText",
     "0123-4567",
     std::string(128, 'g'),
     {":9: error: "
      "<WorkspaceGuid>gggggggggggggggggggggggggggggggggggggggggggggggggggggggggggggggg...</"
      "WorkspaceGuid> has 128 bytes and is cut; write at most 127"}},
    {"TextWithBlanks",
     "0123-4567",
     "\n0123-4567\n",
     {":9: error: <WorkspaceGuid> 0123-4567 </WorkspaceGuid> has blanks at its ends, which belong "
      "to it; write <WorkspaceGuid>0123-4567</WorkspaceGuid>"}},
    {"LoggingWithoutEnable",
     "<Logging Enable=\"1\">",
     "<Logging>",
     {":10: error: Logging has no Enable, which counts as 0; write <Logging Enable=\"1\"> or "
      "<Logging Enable=\"0\">"}},
    {"EnableTwice",
     "<From>",
     "<Enable>1</Enable><From>",
     {":11: error: Enable is not looked at here; write <Logging Enable=\"1\">"}},
    {"EnableElsewhere",
     "<PollInterval>",
     "<Enable>1</Enable><PollInterval>",
     {":3: error: Enable is not looked at here; write <Logging Enable=\"1\">"}},
    {"AddressBeforeLogging",
     "<Logging",
     "<To>c@acme</To><Logging",
     {":10: error: To stands before an enabled Logging and is ignored; move it into <Logging "
      "Enable=\"1\">"}},
    {"MailToNobody",
     "<To>b@acme</To>",
     "",
     {":10: error: Logging is enabled, but To and CC are empty, so the mail reaches nobody; write "
      "<To>security@acme.example</To>, or Enable=\"0\""}},
    {"MailFromNobody",
     "<From>a@acme</From>",
     "",
     {":10: warning: Logging is enabled, but From is empty, so the mail bears a default sender; "
      "write <From>agent@acme.example</From>"}},
    {"ValueOfElements",
     "<PollInterval>10<",
     "<PollInterval><b>10</b><",
     {":3: error: PollInterval holds elements where its value should be; in a value write &lt; for "
      "<"}},
    {"NoXml",
     "<?xml version=\"1.0\"?>\n<Settings>",
     "PollInterval=10\n<Settings>",
     {":1: error: it is no well-formed XML: Start tag expected, '<' not found, so nothing of this "
      "file counts; close each element, and in a value write &amp; for & and &lt; for <"}},
};
INSTANTIATE_TEST_SUITE_P(Files, BrokenDaemonSettings, ::testing::ValuesIn(kDaemonFiles), NameOf);

class BrokenMemorySettings : public ConfigCheckTest,
                             public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenMemorySettings, IsExplained) {
  ExpectMessages("WKMemorySettings.xml", kMemorySettings, GetParam());
}

const BrokenFile kMemoryFiles[] = {
    {"PoolOfNothing",
     "<MaxEDIRMemoryBlocks>5000<",
     "<MaxEDIRMemoryBlocks>0<",
     {":6: error: <MaxEDIRMemoryBlocks>0</MaxEDIRMemoryBlocks> is less than 1; write a number from "
      "1 to 2147483647"}},
    {"NegativeDelay",
     "<EDIRQueueThreadDelay>200<",
     "<EDIRQueueThreadDelay>-1<",
     {":8: error: <EDIRQueueThreadDelay>-1</EDIRQueueThreadDelay> is less than 0; write a number "
      "from 0 to 2147483647"}},
    {"VersionWithItsPrefix",
     "<SMBVersion>2.0<",
     "<SMBVersion>vers=3.0<",
     {":9: error: <SMBVersion>vers=3.0</SMBVersion> gives \"vers=vers=3.0\"; write "
      "<SMBVersion>3.0</SMBVersion>"}},
    {"EmptyVersion",
     "<SMBVersion>2.0<",
     "<SMBVersion><",
     {":9: error: <SMBVersion></SMBVersion> is empty; write <SMBVersion>2.0</SMBVersion>"}},
    {"OverlongVersion",
     "<SMBVersion>2.0<",
     "<SMBVersion>" + std::string(47, '3') + "<",
     {":9: error: <SMBVersion>33333333333333333333333333333333333333333333333</SMBVersion> has 47 "
      "bytes and is cut; write at most 46"}},
    {"ElementInOtherCase",
     "<EDIRVigilThreadDelay>200</EDIRVigilThreadDelay>",
     "<EdirVigilThreadDelay>200</EdirVigilThreadDelay>",
     {":7: error: unknown element EdirVigilThreadDelay is ignored; did you mean "
      "EDIRVigilThreadDelay?"}},
};
INSTANTIATE_TEST_SUITE_P(Files, BrokenMemorySettings, ::testing::ValuesIn(kMemoryFiles), NameOf);

class BrokenLdapSettings : public ConfigCheckTest,
                           public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenLdapSettings, IsExplained) {
  ExpectMessages("LDAPSettings.xml", kLdapSettings, GetParam());
}

const BrokenFile kLdapFiles[] = {
    {"PortOfNothing",
     "<LDAPPortNumber>636<",
     "<LDAPPortNumber>0<",
     {":4: error: <LDAPPortNumber>0</LDAPPortNumber> is less than 1; write a number from 1 to "
      "65535"}},
    {"PortThatIsTooHigh",
     "<LDAPPortNumber>636<",
     "<LDAPPortNumber>65536<",
     {":4: error: <LDAPPortNumber>65536</LDAPPortNumber> is more than 65535; write a number from 1 "
      "to 65535"}},
    {"PortThatIsAName",
     "<LDAPPortNumber>636<",
     "<LDAPPortNumber>ldaps<",
     {":4: error: <LDAPPortNumber>ldaps</LDAPPortNumber> is no number and counts as 0; write "
      "<LDAPPortNumber>636</LDAPPortNumber>"}},
    {"NoPort",
     "<LDAPPortNumber>636</LDAPPortNumber>",
     "",
     {": warning: it has no LDAPPortNumber; write <LDAPPortNumber>636</LDAPPortNumber>"}},
    {"NoServer",
     "<LDAPServer>ldap.acme.example</LDAPServer>",
     "",
     {": error: it has no LDAPServer; write <LDAPServer>ldap.acme.example</LDAPServer>"}},
    {"EmptyServer",
     "<LDAPServer>ldap.acme.example<",
     "<LDAPServer><",
     {":3: error: <LDAPServer></LDAPServer> is empty; write "
      "<LDAPServer>ldap.acme.example</LDAPServer>"}},
    {"ServerAsUrl",
     "<LDAPServer>ldap.acme.example<",
     "<LDAPServer>ldaps://ldap.acme.example<",
     {":3: error: <LDAPServer>ldaps://ldap.acme.example</LDAPServer> is a URL; write the host "
      "alone, such as <LDAPServer>ldap.acme.example</LDAPServer>"}},
    {"OverlongServer",
     "<LDAPServer>ldap.acme.example<",
     "<LDAPServer>" + std::string(255, 'h') + "<",
     {":3: error: "
      "<LDAPServer>hhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhhh...</"
      "LDAPServer> has 255 bytes and is cut; write at most 254"}},
    {"OverlongUser",
     "cn=auditor,o=acme",
     std::string(255, 'u'),
     {":5: error: "
      "<LDAPUserName>uuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuuu...</"
      "LDAPUserName> has 255 bytes and is cut; write at most 254"}},
    {"OverlongPassword",
     "kX9-geheim",
     "kX9-geheim" + std::string(118, '!'),
     {":6: error: LDAPPassword has 128 bytes and is cut; write at most 127"}},
    {"PasswordWithBlanks",
     "kX9-geheim",
     " kX9-geheim ",
     {":6: warning: LDAPPassword has blanks or ends of lines at its ends, which belong to it; "
      "write the value right between the tags"}},
    {"PasswordWithAnElement",
     "kX9-geheim",
     "kX9-<geheim/>",
     {":6: error: LDAPPassword holds elements where its value should be; in a value write &lt; for "
      "<"}},
    {"PasswordWithAnAmpersand",
     "kX9-geheim",
     "kX9&geheim;",
     {":6: error: it is no well-formed XML, so nothing of this file counts; close each element, "
      "and in a value write &amp; for & and &lt; for <"}},
    {"PasswordWithABracket",
     "kX9-geheim",
     "kX9<geheim",
     {":6: error: it is no well-formed XML, so nothing of this file counts; close each element, "
      "and in a value write &amp; for & and &lt; for <"}},
    {"MisspelledPassword",
     "<LDAPPassword>kX9-geheim</LDAPPassword>",
     "<LDAPPasword>kX9-geheim</LDAPPasword>",
     {":6: error: unknown element LDAPPasword is ignored; did you mean LDAPPassword?",
      ": warning: LDAPUserName is set without LDAPPassword, so nobody logs in; write both"}},
    {"PasswordAsAttribute",
     "<LDAPPassword>kX9-geheim</LDAPPassword>",
     "<LDAPPassword value=\"kX9-geheim\"/>",
     {":6: error: LDAPPassword has no attribute value, so it is ignored; write the value between "
      "<LDAPPassword> and </LDAPPassword>",
      ": warning: LDAPUserName is set without LDAPPassword, so nobody logs in; write both"}},
    {"PasswordWithoutUser",
     "<LDAPUserName>cn=auditor,o=acme</LDAPUserName>",
     "",
     {": warning: LDAPPassword is set without LDAPUserName, so nobody logs in; write both"}},
};
INSTANTIATE_TEST_SUITE_P(Files, BrokenLdapSettings, ::testing::ValuesIn(kLdapFiles), NameOf);

class BrokenManagerList : public ConfigCheckTest,
                          public ::testing::WithParamInterface<BrokenFile> {};

TEST_P(BrokenManagerList, IsExplained) {
  ExpectMessages("ManagerList.xml", kManagerList, GetParam());
}

const BrokenFile kManagerFiles[] = {
    {"AddressWithoutName",
     "<MachineName>manager1</MachineName>",
     "",
     {":5: error: <IpAddress>192.0.2.1</IpAddress> is ignored, since no MachineName stands before "
      "it; write <MachineName> first"}},
    {"NameWithoutAddress",
     "<IpAddress>192.0.2.1</IpAddress>",
     "",
     {":4: warning: <MachineName>manager1</MachineName> has no address; write <IpAddress> behind "
      "it"}},
    {"EmptyName",
     "<MachineName>manager1<",
     "<MachineName><",
     {":4: error: <MachineName></MachineName> is empty; write "
      "<MachineName>manager1</MachineName>"}},
    {"AddressThatIsNone",
     "192.0.2.1",
     "192.0.2.256",
     {":5: error: <IpAddress>192.0.2.256</IpAddress> is no IP address; write one such as "
      "<IpAddress>192.0.2.1</IpAddress>"}},
    {"OverlongAddress",
     "192.0.2.1",
     "2001:db8:1111:2222:3333:4444:5555:6666",
     {":5: error: <IpAddress>2001:db8:1111:2222:3333:4444:5555:6666</IpAddress> has 38 bytes and "
      "is cut; write at most 24"}},
    {"TwoAddresses",
     "<IpAddress>",
     "<IpAddress>192.0.2.2</IpAddress>\n<IpAddress>",
     {":6: error: <IpAddress>192.0.2.1</IpAddress> overrides the one of line 5; keep one of them"}},
    {"PasswordInTheWrongFile",
     "<MachineName>",
     "<SharedFolderPrimaryUserPassword>geheim</SharedFolderPrimaryUserPassword><MachineName>",
     {":4: error: unknown element SharedFolderPrimaryUserPassword is ignored; remove it"}},
};
INSTANTIATE_TEST_SUITE_P(Files, BrokenManagerList, ::testing::ValuesIn(kManagerFiles), NameOf);

}  // namespace
}  // namespace wkagent::test
