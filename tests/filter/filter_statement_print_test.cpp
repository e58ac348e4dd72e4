#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/printed.h"

namespace wkagent::test {
namespace {

using std::string_literals::operator""s;

constexpr char kEmptyStatement[] =
    "Title = \n"
    "Enable Status = 0\n"
    "IncludeExclude Status = 0\n"
    "AllDayFlag = 0\n"
    "Start Time: 01 00 00 End Time: 01 00 00\n"
    "All User = 0\n"
    "User List:   <None Defined>\n";

constexpr char kFilledStatement[] =
    "Title = Night %s shift\n"
    "Enable Status = 1\n"
    "IncludeExclude Status = 1\n"
    "AllDayFlag = 1\n"
    "Start Time: 15 06 30 End Time: 15 22 59\n"
    "All User = 1\n"
    "User List:   admin.acme\n"
    "  bob\n"
    "All Nodes = 1\n"
    "Node List:   10.0.0.1\n"
    "Exclude Alert: 1\n"
    "SMTP Alert Set = 1\n"
    "To: to - From: from - CC: cc - Subject: subject\n"
    "SNMP Alert Set: 1\n"
    "Syslog Alert Set: 1\n";

class StatementPrint : public ::testing::Test {
 protected:
  static void Fill(WKFilterStatement& statement) {
    statement.SetTitle(Text("Night %s shift"));
    statement.SetEnableFlag(true);
    statement.SetIncExFlag(true);
    statement.SetAllDayFlag(true);
    SetWindow(statement, 1784073600, 6 * 3600 + 30 * 60, 23 * 3600 - 1);  // 15 July 2026
    statement.SetAllUserFlag(true);
    statement.AddUser(Text("CN=admin,O=acme"));
    statement.AddUser(Text("bob"));
    statement.SetAllNodeFlag(true);
    statement.AddNode(Text("10.0.0.1"));
    statement.SetExcludeAlert(true);
    FillAlerts(statement);
  }

  static void FillAlerts(WKFilterStatement& statement) {
    statement.SetSMTPAlert(true);
    statement.SetSNMPAlert(true);
    statement.SetSyslogAlert(true);
    statement.SetTo(Text("to"));
    statement.SetFrom(Text("from"));
    statement.SetCC(Text("cc"));
    statement.SetSubject(Text("subject"));
  }

  static void FillDirectoryPart(WKEDAFilterStatement& statement) {
    statement.SetAuditedContext(Text(""));
    statement.SetAuditedContext(Text("OU=sales,O=acme"));
    statement.SetAllObjFlag(true);
    statement.AddObject(Text("CN=jsmith"));
    statement.SetAllClassFlag(true);
    statement.AddClass(Text("User"));
    statement.SetAllAttrFlag(true);
    statement.AddAttr(Text("Surname"));
    statement.SetAllValueFlag(true);
    statement.AddAttrValue(Text("Smith"));
    statement.AddAttrValue(Text("Smythe"));
    statement.SetAllOpsFlag(true);
  }

  TimeZone zone_{"UTC0"};
};

TEST_F(StatementPrint, EmptyStatement) {
  WKFilterStatement statement;
  EXPECT_EQ(kEmptyStatement +
                "All Nodes = 0\n"
                "Node List:   <None Defined>\n"
                "Exclude Alert: 0\n"
                "SMTP Alert Set = 0\n"
                "SNMP Alert Set: 0\n"
                "Syslog Alert Set: 0\n"s,
            Printed([&] { statement.PrintfFilter(); }));
}

TEST_F(StatementPrint, FilledStatement) {
  WKFilterStatement statement;
  Fill(statement);
  EXPECT_EQ(kFilledStatement, Printed([&] { statement.PrintfFilter(); }));
}

TEST_F(StatementPrint, SecondPrintoutIsTheSame) {
  WKFilterStatement statement;
  Fill(statement);
  Printed([&] { statement.PrintfFilter(); });
  EXPECT_EQ(kFilledStatement, Printed([&] { statement.PrintfFilter(); }));
}

TEST_F(StatementPrint, MailLineOfUnsetTextsIsEmptyBetweenItsNames) {
  WKFilterStatement statement;
  statement.SetSMTPAlert(true);
  const std::string text = Printed([&] { statement.PrintfFilter(); });
  EXPECT_NE(std::string::npos,
            text.find("SMTP Alert Set = 1\nTo:  - From:  - CC:  - Subject: \nSNMP"));
}

TEST_F(StatementPrint, MailLineNeedsAnActiveMail) {
  WKFilterStatement statement;
  FillAlerts(statement);
  statement.SetSMTPAlert(false);
  const std::string text = Printed([&] { statement.PrintfFilter(); });
  EXPECT_NE(std::string::npos, text.find("SMTP Alert Set = 0\nSNMP Alert Set: 1\n"));
}

TEST_F(StatementPrint, Title) {
  WKFilterStatement statement;
  EXPECT_EQ("Title \n", Printed([&] { statement.PrintTitle(); }));
  statement.SetTitle(Text("Night %d shift"));
  EXPECT_EQ("Title Night %d shift\n", Printed([&] { statement.PrintTitle(); }));
}

TEST_F(StatementPrint, LinkedList) {
  WKFilterStatement statement;
  CLinkList list;
  EXPECT_EQ("  <None Defined>\n", Printed([&] { statement.PrintLinkedList(list); }));
  AddBlock(list, "administrator");
  AddBlock(list, "bob");
  AddBlock(list, "");
  AddBlock(list, "%n%s");
  EXPECT_EQ("  administrator\n  bob\n  \n  %n%s\n",
            Printed([&] { statement.PrintLinkedList(list); }));
}

TEST_F(StatementPrint, LongEntryIsPrintedWhole) {
  WKFilterStatement statement;
  CLinkList list;
  const std::string entry(1000, 'n');
  AddBlock(list, entry);
  EXPECT_EQ("  " + entry + "\n", Printed([&] { statement.PrintLinkedList(list); }));
}

TEST_F(StatementPrint, EmptyDirectoryStatement) {
  WKEDAFilterStatement statement;
  EXPECT_EQ("Start of Statement\n"s + kEmptyStatement +
                "All Nodes = 1\n"
                "Node List:   <None Defined>\n"
                "Exclude Alert: 0\n"
                "SMTP Alert Set = 0\n"
                "SNMP Alert Set: 0\n"
                "Syslog Alert Set: 0\n"
                "All eDirectory: 0\n"
                "Audited Context: \n"
                "All Objects = 0\n"
                "Object List:   <None Defined>\n"
                "All Classes = 0\n"
                "Class List:   <None Defined>\n"
                "All Attributes = 0\n"
                "Attributes List:   <None Defined>\n"
                "All Values = 0\n"
                "Values List:   <None Defined>\n"
                "All Operations 0\n"
                "Audited Operations: \n"
                "End of Statement\n",
            Printed([&] { statement.PrintfFilter(); }));
}

TEST_F(StatementPrint, FilledDirectoryStatementCountsOperationsFrom20000) {
  WKEDAFilterStatement statement;
  Fill(statement);
  FillDirectoryPart(statement);
  for (const int code : {20001, 20007, 20016}) statement.AddOperation(code);
  EXPECT_EQ("Start of Statement\n"s + kFilledStatement +
                "All eDirectory: 1\n"
                "Audited Context: sales.acme\n"
                "All Objects = 1\n"
                "Object List:   jsmith\n"
                "All Classes = 1\n"
                "Class List:   User\n"
                "All Attributes = 1\n"
                "Attributes List:   Surname\n"
                "All Values = 1\n"
                "Values List:   Smith\n"
                "  Smythe\n"
                "All Operations 1\n"
                "Audited Operations: 20000 20006 20015 \n"
                "End of Statement\n",
            Printed([&] { statement.PrintfFilter(); }));
}

TEST_F(StatementPrint, EmptyLoginStatement) {
  WKELAFilterStatement statement;
  EXPECT_EQ("Start of Statement\n"s + kEmptyStatement +
                "All Nodes = 0\n"
                "Node List:   <None Defined>\n"
                "Exclude Alert: 0\n"
                "SMTP Alert Set = 0\n"
                "SNMP Alert Set: 0\n"
                "Syslog Alert Set: 0\n"
                "Audited Operations: Audited Operations - Conditions: \n"
                "End of Statement\n",
            Printed([&] { statement.PrintfFilter(); }));
}

TEST_F(StatementPrint, FilledLoginStatementCountsOneBelowItsCodes) {
  WKELAFilterStatement statement;
  Fill(statement);
  for (const int condition : {705, 706, 707}) statement.AddOperation(21001, condition);
  statement.AddOperation(21002, 0);
  EXPECT_EQ("Start of Statement\n"s + kFilledStatement +
                "Audited Operations: 21000 21001 "
                "Audited Operations - Conditions: 704 705 706 \n"
                "End of Statement\n",
            Printed([&] { statement.PrintfFilter(); }));
}

TEST_F(StatementPrint, LoginStatementPrintsItsSetCodesAlone) {
  WKELAFilterStatement statement;
  statement.AddOperation(21002, 706);
  EXPECT_THAT(Printed([&] { statement.PrintfFilter(); }),
              ::testing::EndsWith("Audited Operations: 21001 Audited Operations - Conditions: 705 "
                                  "\nEnd of Statement\n"));
}

TEST_F(StatementPrint, PrintoutIsVirtual) {
  WKEDAFilterStatement directory;
  WKELAFilterStatement login;
  for (WKFilterStatement* statement :
       {static_cast<WKFilterStatement*>(&directory), static_cast<WKFilterStatement*>(&login)}) {
    EXPECT_THAT(Printed([&] { statement->PrintfFilter(); }),
                ::testing::StartsWith("Start of Statement\nTitle = "));
  }
}

}  // namespace
}  // namespace wkagent::test
