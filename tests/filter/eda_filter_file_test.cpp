#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"
#include "support/agent_home.h"
#include "support/log_recorder.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Reading of filter files.
class EdaFilterFile : public ::testing::Test {
 protected:
  void WriteFile(const std::string& text) { home_.Write("config/f.xml", text); }

  // A file with one statement of each title.
  void WriteTitles(const std::vector<std::string>& titles) {
    std::string elements;
    for (const std::string& name : titles) elements += FilterElement(name, kAllElements);
    WriteFile(FilterFile(elements));
  }

  // Constructs the filter; what it writes to standard error stays in `errors_`.
  void Open(const std::string& name = "f.xml") {
    ::testing::internal::CaptureStderr();
    filter_ = std::make_unique<WKEDAFilter>(Text(name));
    errors_ = ::testing::internal::GetCapturedStderr();
    filter_->InitializeLogMessage(&LogRecorder::Callback);
  }

  std::vector<std::string> Titles() {
    std::vector<std::string> titles;
    for (const auto* statement : Objects<WKEDAFilterStatement>(filter_->statements)) {
      titles.emplace_back(statement->title.Get());
    }
    return titles;
  }

  AgentHome home_;
  LogRecorder log_;
  std::unique_ptr<WKEDAFilter> filter_;
  std::string errors_;
};

TEST_F(EdaFilterFile, ConstructorTakesTheStatementsInFileOrder) {
  WriteTitles({"first", "second", "third"});
  Open();
  EXPECT_EQ("", errors_);
  EXPECT_EQ(nullptr, filter_->GetReadError());
  EXPECT_THAT(Titles(), ElementsAre("first", "second", "third"));
  EXPECT_TRUE(Passes(*filter_, Event()));
}

// The example of the header.
TEST_F(EdaFilterFile, ExampleOfTheHeaderPrintsWhatIsKept) {
  WriteFile(FilterFile(FilterElement("one", std::string(kAllElements) + "<SNMP Alert=\"1\"/>")));
  char fileName[] = "f.xml", user[] = "admin", node[] = "", object[] = "o.acme",
       className[] = "User";
  ::testing::internal::CaptureStdout();
  WKEDAFilter filter(fileName);
  if (filter.GetReadError() != nullptr) puts(filter.GetReadError());
  if (filter.PassFilter(20001, user, node, object, className, nullptr, nullptr)) {
    printf("kept, %d alerts\n", filter.alerts.GetCount());
  }
  EXPECT_EQ("kept, 1 alerts\n", ::testing::internal::GetCapturedStdout());
}

TEST_F(EdaFilterFile, MissingFileIsReportedOnStandardError) {
  Open("missing.xml");
  EXPECT_EQ(
      "WKConfigFile.ReadFile:Unable to access file ../config/missing.xml - Error 2\n"
      "Error reading file ../config/missing.xml\n",
      errors_);
  EXPECT_STREQ("../config/missing.xml: No such file or directory", filter_->GetReadError());
}

TEST_F(EdaFilterFile, MissingFileLeavesAFilterThatKeepsNothing) {
  Open("missing.xml");
  EXPECT_FALSE(Passes(*filter_, Event()));
  EXPECT_THAT(Titles(), IsEmpty());
  AddStatement(*filter_);
  EXPECT_TRUE(Passes(*filter_, Event()));
}

TEST_F(EdaFilterFile, MalformedFileIsReportedByItsNameAlone) {
  WriteFile("<EDAFilter><Filter</EDAFilter>");
  Open();
  EXPECT_EQ("Error reading file ../config/f.xml\n", errors_);
  EXPECT_THAT(filter_->GetReadError(), StartsWith("../config/f.xml:1: "));
  EXPECT_FALSE(Passes(*filter_, Event()));
}

TEST_F(EdaFilterFile, FileNameInAMessageIsNoFormat) {
  Open("%s%d.xml");
  EXPECT_THAT(errors_, EndsWith("Error reading file ../config/%s%d.xml\n"));
}

TEST_F(EdaFilterFile, EmptyFileAndFolderAreRefused) {
  WriteFile("");
  Open();
  EXPECT_EQ("Error reading file ../config/f.xml\n", errors_);
  Open(".");
  EXPECT_EQ("Error reading file ../config/.\n", errors_);
  EXPECT_STREQ("../config/.: Is a directory", filter_->GetReadError());
}

TEST_F(EdaFilterFile, SecondReadReplacesTheStatements) {
  WriteTitles({"first", "second"});
  Open();
  WriteTitles({"third"});
  EXPECT_EQ(0, filter_->ReadFilter());
  EXPECT_THAT(Titles(), ElementsAre("third"));
}

TEST_F(EdaFilterFile, SecondReadOfAFileWithoutStatementsLeavesNone) {
  WriteTitles({"first"});
  Open();
  WriteFile(FilterFile(""));
  EXPECT_EQ(0, filter_->ReadFilter());
  EXPECT_THAT(Titles(), IsEmpty());
  EXPECT_FALSE(Passes(*filter_, Event()));
}

TEST_F(EdaFilterFile, AddedStatementsGoWithTheNextSuccessfulRead) {
  WriteTitles({"first"});
  Open();
  AddStatement(*filter_).SetTitle(Text("added"));
  EXPECT_THAT(Titles(), ElementsAre("first", "added"));
  EXPECT_EQ(0, filter_->ReadFilter());
  EXPECT_THAT(Titles(), ElementsAre("first"));
}

TEST_F(EdaFilterFile, MissingFileKeepsTheStatementsAndReachesTheCallback) {
  WriteTitles({"first", "second"});
  Open();
  std::filesystem::remove(home_.Path("config/f.xml"));
  EXPECT_EQ(1, filter_->ReadFilter());
  EXPECT_THAT(Titles(), ElementsAre("first", "second"));
  EXPECT_TRUE(Passes(*filter_, Event()));
  EXPECT_THAT(
      log_.Messages(),
      ElementsAre("WKConfigFile.ReadFile:Unable to access file ../config/f.xml - Error 2\n"));
  EXPECT_STREQ("../config/f.xml: No such file or directory", filter_->GetReadError());
}

TEST_F(EdaFilterFile, FailedSecondReadWritesNothingToStandardError) {
  WriteTitles({"first"});
  Open();
  WriteFile("<EDAFilter>");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(1, filter_->ReadFilter());
  EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
  EXPECT_THAT(log_.Messages(), IsEmpty());
}

TEST_F(EdaFilterFile, MalformedFileKeepsTheStatements) {
  WriteTitles({"first", "second"});
  Open();
  WriteFile(FilterFile(FilterElement("third") + "<Filter"));
  EXPECT_EQ(1, filter_->ReadFilter());
  EXPECT_EQ(1, filter_->ReadFilter());
  EXPECT_THAT(Titles(), ElementsAre("first", "second"));
  EXPECT_THAT(filter_->GetReadError(), StartsWith("../config/f.xml:"));
}

TEST_F(EdaFilterFile, ReadThatSucceedsAfterAFailureClearsTheError) {
  Open();
  EXPECT_NE(nullptr, filter_->GetReadError());
  WriteTitles({"first"});
  EXPECT_EQ(0, filter_->ReadFilter());
  EXPECT_EQ(nullptr, filter_->GetReadError());
  EXPECT_THAT(Titles(), ElementsAre("first"));
}

TEST_F(EdaFilterFile, GatheredAlertsOutliveTheirStatements) {
  WriteFile(FilterFile(
      FilterElement("first", std::string(kAllElements) + "<SMTP Alert=\"1\" To=\"ops\"/>")));
  Open();
  EXPECT_TRUE(Passes(*filter_, Event()));
  EXPECT_EQ(0, filter_->ReadFilter());
  EXPECT_THAT(Alerts(*filter_), ElementsAre("mail ops"));
}

TEST_F(EdaFilterFile, StatementsCarryTheFiltersCallback) {
  WriteTitles({"first"});
  Open();
  EXPECT_EQ(nullptr, Objects<WKFilterStatement>(filter_->statements).front()->logCallback);
  EXPECT_EQ(0, filter_->ReadFilter());
  EXPECT_EQ(&LogRecorder::Callback,
            Objects<WKFilterStatement>(filter_->statements).front()->logCallback);
}

TEST_F(EdaFilterFile, PathIsTakenFromTheWorkingFolderAtEachRead) {
  WriteTitles({"first"});
  Open();
  std::filesystem::current_path("/");
  EXPECT_EQ(1, filter_->ReadFilter());
  std::filesystem::current_path(home_.Path("outbox"));
  EXPECT_EQ(0, filter_->ReadFilter());
}

TEST_F(EdaFilterFile, WholeFileDecides) {
  WriteFile(
      FilterFile(FilterElement("sales",
                               "<Operations AllOperations=\"0\"><Operation EventId=\"20007\"/>"
                               "</Operations><Users AllUsers=\"1\"/><Objects AllObjects=\"1\"/>"
                               "<Classes AllClasses=\"0\"><Class Name=\"User\"/></Classes>"
                               "<Attributes AllAttributes=\"1\"/>"
                               "<AttributeValues AllAttributeValues=\"1\"/><SNMP Alert=\"1\"/>")));
  Open();
  Event event;
  EXPECT_FALSE(Passes(*filter_, event));
  event.operation = 20007;
  EXPECT_TRUE(Passes(*filter_, event));
  EXPECT_THAT(Alerts(*filter_), ElementsAre("snmp"));
  event.className = "Group";
  EXPECT_FALSE(Passes(*filter_, event));
}

}  // namespace
}  // namespace wkagent::test
