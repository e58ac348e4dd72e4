// What --check-config makes of a whole home.

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

#include "agent/config_check_fixture.h"
#include "support/unprivileged.h"

namespace wkagent::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

long LinesIn(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

TEST_F(ConfigCheckTest, ARightHomeIsNotTalkedAbout) {
  const Answer answer = Check();
  EXPECT_EQ("", answer.err);
  EXPECT_EQ(0, answer.status);
  EXPECT_THAT(answer.out, EndsWith("wkagentd: 6 files checked, 0 errors, 0 warnings\n"));
}

TEST_F(ConfigCheckTest, WhatWasUnderstoodIsPrinted) {
  const std::string out = Check().out;
  for (const char* const text :
       {"Title = T\n", "Audited Context: sales.acme\n", "Node List:   192.0.2.1\n",
        "Poll Interval: 10, Transfer Interval: 15, Archive  Threshold: 500\n",
        "Max EDIR Memory: 5000, EDIR Thread Delay: 200, EDIR Queue Thread Delay: 200\n",
        "Server: ldap.acme.example, Port: 636, LDAPS\n",
        "User: cn=auditor,o=acme, Password: set, Tree: acme\n",
        "Manager: manager1, Address: 192.0.2.1\n"}) {
    EXPECT_THAT(out, HasSubstr(text));
  }
}

TEST_F(ConfigCheckTest, AnOpenWindowIsNoted) {
  Write("ELAFilter.xml",
        Broken(kElaFilter, "AllDay=\"1\" StartTime=\"00:00:00 AM\" EndTime=\"00:00:00 AM\"",
               "AllDay=\"0\" StartTime=\"17:30:00 PM\" EndTime=\"08:00:00 AM\""));
  const Answer answer = Check();
  EXPECT_EQ("", answer.err);
  EXPECT_THAT(answer.out, HasSubstr("/config/ELAFilter.xml:3: note: the window is open from "
                                    "08:00:00 to 17:30:00 of each day\n"));
}

TEST_F(ConfigCheckTest, TheCheckChangesNothing) {
  const auto before = std::filesystem::last_write_time(Path("EDAFilter.xml"));
  static_cast<void>(Check());
  EXPECT_EQ(before, std::filesystem::last_write_time(Path("EDAFilter.xml")));
  EXPECT_EQ(6U, home_.List("config").size());
  EXPECT_TRUE(home_.List("tmp").empty());
  EXPECT_TRUE(home_.List("outbox").empty());
}

TEST_F(ConfigCheckTest, MissingOptionalFilesAreNoErrors) {
  for (const char* const file : {"ELAFilter.xml", "DaemonSettings.xml", "WKMemorySettings.xml",
                                 "LDAPSettings.xml", "ManagerList.xml"}) {
    std::filesystem::remove(Path(file));
  }
  const Answer answer = Check();
  EXPECT_EQ("", answer.err);
  EXPECT_EQ(0, answer.status);
  EXPECT_THAT(answer.out,
              HasSubstr("DaemonSettings.xml: note: not there, so the defaults are in force\n"));
  EXPECT_THAT(answer.out,
              HasSubstr("ELAFilter.xml: note: not there, so logins and logouts are dropped\n"));
  EXPECT_THAT(answer.out, Not(HasSubstr("LDAPSettings")));
  EXPECT_THAT(answer.out, EndsWith("wkagentd: 1 files checked, 0 errors, 0 warnings\n"));
}

TEST_F(ConfigCheckTest, TheAgentNeedsItsFilterFile) {
  std::filesystem::remove(Path("EDAFilter.xml"));
  const Answer answer = Check();
  EXPECT_EQ(Lines("EDAFilter.xml",
                  {": error: there is no such file, and the agent does not start without it; write "
                   "one, or copy that of the sample home"}),
            answer.err);
  EXPECT_EQ(78, answer.status);
}

TEST_F(ConfigCheckTest, AFolderInPlaceOfAFileIsNamed) {
  std::filesystem::remove(Path("DaemonSettings.xml"));
  std::filesystem::create_directory(Path("DaemonSettings.xml"));
  const Answer answer = Check();
  EXPECT_EQ(Lines("DaemonSettings.xml", {": error: it is a folder, so nothing of this file counts; "
                                         "put a file in its place"}),
            answer.err);
  EXPECT_EQ(78, answer.status);
}

TEST_F(ConfigCheckTest, APipeInPlaceOfAFileIsNotWaitedFor) {
  std::filesystem::remove(Path("DaemonSettings.xml"));
  ASSERT_EQ(0, mkfifo(Path("DaemonSettings.xml").c_str(), 0600));
  EXPECT_EQ(Lines("DaemonSettings.xml", {": error: it is no regular file, so nothing of this file "
                                         "counts; put a file in its place"}),
            Check().err);
}

TEST_F(ConfigCheckTest, AFileThatMayNotBeReadIsNamed) {
  std::filesystem::permissions(home_.Path("."), std::filesystem::perms(0755));
  for (const std::string& file : home_.List("config")) {
    std::filesystem::permissions(Path(file), std::filesystem::perms(0644));
  }
  std::filesystem::permissions(Path("LDAPSettings.xml"), std::filesystem::perms(0));
  const Unprivileged user;
  EXPECT_EQ(Lines("LDAPSettings.xml", {": error: it cannot be read: Permission denied, so nothing "
                                       "of this file counts; let the agent's user read it"}),
            Check().err);
}

TEST_F(ConfigCheckTest, AnEmptyFileIsNamed) {
  Write("WKMemorySettings.xml", "");
  EXPECT_THAT(Check().err, HasSubstr("WKMemorySettings.xml:1: error: it is no well-formed XML"));
}

TEST_F(ConfigCheckTest, AFileThatWasCutOffAnywhereIsNamed) {
  const std::string whole = kLdapSettings;
  const std::size_t end = whole.find_last_of('>');
  for (std::size_t size = 0; size <= end; ++size) {
    Write("LDAPSettings.xml", whole.substr(0, size));
    const Answer answer = Check();
    ASSERT_EQ(78, answer.status) << size;
    ASSERT_THAT(answer.err, HasSubstr(": error: it is no well-formed XML")) << size;
    ASSERT_THAT(answer.out + answer.err, Not(HasSubstr("geheim"))) << size;
  }
}

TEST_F(ConfigCheckTest, AHomeWithoutConfigFolderIsNamed) {
  std::filesystem::remove_all(home_.Path("config"));
  const Answer answer = Check();
  EXPECT_EQ(home_.Path(".") +
                "/config: error: there is no such folder; a home holds bin, config, " +
                "outbox and tmp\n",
            answer.err);
  EXPECT_EQ(78, answer.status);
  EXPECT_EQ("wkagentd: 0 files checked, 1 errors, 0 warnings\n", answer.out);
}

TEST_F(ConfigCheckTest, AMisspelledFileNameIsNamed) {
  Write("DaemonSetting.xml", kDaemonSettings);
  Write("edafilter.xml", kEdaFilter);
  Write("EDAFilter.xml~", "an editor's copy");
  Write("Notes.xml", "someone else's");
  const Answer answer = Check();
  const std::string text = ": warning: the agent does not read a file of this name; did you mean ";
  EXPECT_EQ(Lines("DaemonSetting.xml", {text + "DaemonSettings.xml?"}) +
                Lines("edafilter.xml", {text + "EDAFilter.xml?"}),
            answer.err);
  EXPECT_EQ(0, answer.status);
}

TEST_F(ConfigCheckTest, APathIsNamedAsItWasGiven) {
  Write("EDAFilter.xml", "<Filters/>");
  ::testing::internal::CaptureStdout();
  ::testing::internal::CaptureStderr();
  const int status = CheckConfig("..//");
  const std::string out = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(78, status);
  EXPECT_THAT(out, HasSubstr("== ../config/DaemonSettings.xml\n"));
  EXPECT_THAT(::testing::internal::GetCapturedStderr(),
              ::testing::StartsWith("../config/EDAFilter.xml: error: it has no Filter element"));
}

TEST_F(ConfigCheckTest, AllMistakesOfAllFilesAreReportedInTheOrderOfTheirLines) {
  Write("DaemonSettings.xml",
        "<Settings>\n<PollInterval>ten</PollInterval>\n<ArmThreshold>-1</ArmThreshold>\n"
        "<TxfrIntervall>1</TxfrIntervall>\n<QRAServiceStart>2</QRAServiceStart>\n</Settings>\n");
  Write("WKMemorySettings.xml", "<Settings>\n<SMBVersion/>\n</Settings>\n");
  const Answer answer = Check();
  const std::string range = "; write a number from 1 to 2147483647";
  EXPECT_EQ(
      Lines("DaemonSettings.xml",
            {":2: error: <PollInterval>ten</PollInterval> is no number and counts as 0; write "
             "<PollInterval>10</PollInterval>",
             ":3: error: <ArmThreshold>-1</ArmThreshold> is less than 1" + range,
             ":4: error: unknown element TxfrIntervall is ignored; did you mean TxfrInterval?",
             ":5: warning: <QRAServiceStart>2</QRAServiceStart> counts as 1; write "
             "<QRAServiceStart>1</QRAServiceStart>"}) +
          Lines("WKMemorySettings.xml", {":2: error: <SMBVersion></SMBVersion> is empty; write "
                                         "<SMBVersion>2.0</SMBVersion>"}),
      answer.err);
  EXPECT_THAT(answer.out, EndsWith("wkagentd: 6 files checked, 4 errors, 1 warnings\n"));
}

TEST_F(ConfigCheckTest, WarningsAloneAreNoFailure) {
  Write("EDAFilter.xml", Broken(kEdaFilter, "AllClasses=\"1\"", "AllClasses=\"7\""));
  const Answer answer = Check();
  EXPECT_EQ(1, LinesIn(answer.err));
  EXPECT_EQ(0, answer.status);
}

TEST_F(ConfigCheckTest, ThePasswordFileMustBeClosedToOthers) {
  std::filesystem::permissions(Path("LDAPSettings.xml"), std::filesystem::perms(0644));
  const Answer answer = Check();
  EXPECT_EQ(Lines("LDAPSettings.xml", {": error: its mode 0644 lets everybody at the password; "
                                       "chmod 0600 it"}),
            answer.err);
  EXPECT_EQ(78, answer.status);
}

TEST_F(ConfigCheckTest, ThePasswordFileMayBeOpenToTheGroup) {
  std::filesystem::permissions(Path("LDAPSettings.xml"), std::filesystem::perms(0640));
  EXPECT_EQ("", Check().err);
}

// Ways to write a password that end up in a message unless care is taken.
class Password : public ConfigCheckTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(Password, IsNeverPrinted) {
  const std::string element = "<LDAPPassword>kX9-geheim</LDAPPassword>";
  for (const char* const file : {"LDAPSettings.xml", "ManagerList.xml"}) {
    Write(file, Broken(kLdapSettings, element, GetParam()));
  }
  const Answer answer = Check();
  EXPECT_THAT(answer.out + answer.err, Not(HasSubstr("geheim")));
  EXPECT_THAT(answer.out, HasSubstr("LDAPSettings.xml\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Ways, Password,
    ::testing::Values(
        "<LDAPPassword>geheim</LDAPPassword>", "<LDAPPassword> geheim</LDAPPassword>",
        "<LDAPPassword>a<geheim/></LDAPPassword>", "<LDAPPassword>a<b><geheim/></b></LDAPPassword>",
        "<LDAPPasword>a<geheim/></LDAPPasword>", "<LDAPPassword>a<geheim</LDAPPassword>",
        "<LDAPPassword>a<geheim></LDAPPassword>", "<LDAPPassword>a&geheim;</LDAPPassword>",
        "<LDAPPassword>a&geheim</LDAPPassword>", "<LDAPPassword>geheim</LDAPPasword>",
        "<LDAPPassword value=\"geheim\"/>", "<LDAPPassword geheim/>", "<LDAPPassword=geheim/>",
        "<LDAPPasword>geheim</LDAPPasword>", "<Password>geheim</Password>", "<!-- geheim -- -->",
        "<SharedFolderPrimaryUserPassword>geheim"
        "</SharedFolderPrimaryUserPassword>"));

}  // namespace
}  // namespace wkagent::test
