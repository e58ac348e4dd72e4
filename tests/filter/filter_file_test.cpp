#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
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
template <typename Kind>
class FilterFiles : public ::testing::Test {
 protected:
  using Statement = typename Kind::Statement;

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
    filter_ = std::make_unique<typename Kind::Filter>(Text(name));
    errors_ = ::testing::internal::GetCapturedStderr();
    filter_->InitializeLogMessage(&LogRecorder::Callback);
  }

  // What the constructor writes of a file that was read in vain.
  static std::string Unreadable(const std::string& name) {
    std::string text;
    for (const std::string& complaint : Kind::Complaint("../config/" + name)) text += complaint;
    return text + "Error reading file ../config/" + name + "\n";
  }

  std::vector<std::string> Titles() {
    std::vector<std::string> titles;
    for (const auto* statement : Objects<Statement>(filter_->statements)) {
      titles.emplace_back(statement->title.Get());
    }
    return titles;
  }

  AgentHome home_;
  LogRecorder log_;
  std::unique_ptr<typename Kind::Filter> filter_;
  std::string errors_;
};
TYPED_TEST_SUITE(FilterFiles, FilterKinds, KindName);

TYPED_TEST(FilterFiles, ConstructorTakesTheStatementsInFileOrder) {
  this->WriteTitles({"first", "second", "third"});
  this->Open();
  EXPECT_EQ("", this->errors_);
  EXPECT_EQ(nullptr, this->filter_->GetReadError());
  EXPECT_THAT(this->Titles(), ElementsAre("first", "second", "third"));
  EXPECT_TRUE(Passes(*this->filter_, typename TypeParam::Event()));
}

TYPED_TEST(FilterFiles, MissingFileIsReportedOnStandardError) {
  this->Open("missing.xml");
  EXPECT_EQ("WKConfigFile.ReadFile:Unable to access file ../config/missing.xml - Error 2\n" +
                this->Unreadable("missing.xml"),
            this->errors_);
  EXPECT_STREQ("../config/missing.xml: No such file or directory", this->filter_->GetReadError());
}

TYPED_TEST(FilterFiles, MissingFileLeavesAFilterThatKeepsNothing) {
  this->Open("missing.xml");
  EXPECT_FALSE(Passes(*this->filter_, typename TypeParam::Event()));
  EXPECT_THAT(this->Titles(), IsEmpty());
  AddStatement<typename TypeParam::Statement>(*this->filter_);
  EXPECT_TRUE(Passes(*this->filter_, typename TypeParam::Event()));
}

TYPED_TEST(FilterFiles, MalformedFileIsReportedByItsNameAlone) {
  this->WriteFile("<EDAFilter><Filter</EDAFilter>");
  this->Open();
  EXPECT_EQ(this->Unreadable("f.xml"), this->errors_);
  EXPECT_THAT(this->filter_->GetReadError(), StartsWith("../config/f.xml:1: "));
  EXPECT_FALSE(Passes(*this->filter_, typename TypeParam::Event()));
}

TYPED_TEST(FilterFiles, FileNameInAMessageIsNoFormat) {
  this->Open("%s%d.xml");
  EXPECT_THAT(this->errors_, EndsWith(this->Unreadable("%s%d.xml")));
}

TYPED_TEST(FilterFiles, EmptyFileAndFolderAreRefused) {
  this->WriteFile("");
  this->Open();
  EXPECT_EQ(this->Unreadable("f.xml"), this->errors_);
  this->Open(".");
  EXPECT_EQ(this->Unreadable("."), this->errors_);
  EXPECT_STREQ("../config/.: Is a directory", this->filter_->GetReadError());
}

TYPED_TEST(FilterFiles, SecondReadReplacesTheStatements) {
  this->WriteTitles({"first", "second"});
  this->Open();
  this->WriteTitles({"third"});
  EXPECT_EQ(0, this->filter_->ReadFilter());
  EXPECT_THAT(this->Titles(), ElementsAre("third"));
}

TYPED_TEST(FilterFiles, SecondReadOfAFileWithoutStatementsLeavesNone) {
  this->WriteTitles({"first"});
  this->Open();
  this->WriteFile(FilterFile(""));
  EXPECT_EQ(0, this->filter_->ReadFilter());
  EXPECT_THAT(this->Titles(), IsEmpty());
  EXPECT_FALSE(Passes(*this->filter_, typename TypeParam::Event()));
}

TYPED_TEST(FilterFiles, AddedStatementsGoWithTheNextSuccessfulRead) {
  this->WriteTitles({"first"});
  this->Open();
  AddStatement<typename TypeParam::Statement>(*this->filter_).SetTitle(Text("added"));
  EXPECT_THAT(this->Titles(), ElementsAre("first", "added"));
  EXPECT_EQ(0, this->filter_->ReadFilter());
  EXPECT_THAT(this->Titles(), ElementsAre("first"));
}

TYPED_TEST(FilterFiles, MissingFileKeepsTheStatementsAndReachesTheCallback) {
  this->WriteTitles({"first", "second"});
  this->Open();
  std::filesystem::remove(this->home_.Path("config/f.xml"));
  EXPECT_EQ(1, this->filter_->ReadFilter());
  EXPECT_THAT(this->Titles(), ElementsAre("first", "second"));
  EXPECT_TRUE(Passes(*this->filter_, typename TypeParam::Event()));
  std::vector<std::string> expected = TypeParam::Complaint("../config/f.xml");
  expected.insert(expected.begin(),
                  "WKConfigFile.ReadFile:Unable to access file ../config/f.xml - Error 2\n");
  EXPECT_EQ(expected, this->log_.Messages());
  EXPECT_STREQ("../config/f.xml: No such file or directory", this->filter_->GetReadError());
}

TYPED_TEST(FilterFiles, FailedSecondReadWritesNothingToStandardError) {
  this->WriteTitles({"first"});
  this->Open();
  this->WriteFile("<EDAFilter>");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(1, this->filter_->ReadFilter());
  EXPECT_EQ("", ::testing::internal::GetCapturedStderr());
  EXPECT_EQ(TypeParam::Complaint("../config/f.xml"), this->log_.Messages());
}

TYPED_TEST(FilterFiles, MalformedFileKeepsTheStatements) {
  this->WriteTitles({"first", "second"});
  this->Open();
  this->WriteFile(FilterFile(FilterElement("third") + "<Filter"));
  EXPECT_EQ(1, this->filter_->ReadFilter());
  EXPECT_EQ(1, this->filter_->ReadFilter());
  EXPECT_THAT(this->Titles(), ElementsAre("first", "second"));
  EXPECT_THAT(this->filter_->GetReadError(), StartsWith("../config/f.xml:"));
}

TYPED_TEST(FilterFiles, ReadThatSucceedsAfterAFailureClearsTheError) {
  this->Open();
  EXPECT_NE(nullptr, this->filter_->GetReadError());
  this->WriteTitles({"first"});
  EXPECT_EQ(0, this->filter_->ReadFilter());
  EXPECT_EQ(nullptr, this->filter_->GetReadError());
  EXPECT_THAT(this->Titles(), ElementsAre("first"));
}

TYPED_TEST(FilterFiles, GatheredAlertsOutliveTheirStatements) {
  this->WriteFile(FilterFile(
      FilterElement("first", std::string(kAllElements) + "<SMTP Alert=\"1\" To=\"ops\"/>")));
  this->Open();
  EXPECT_TRUE(Passes(*this->filter_, typename TypeParam::Event()));
  EXPECT_EQ(0, this->filter_->ReadFilter());
  EXPECT_THAT(Alerts(*this->filter_), ElementsAre("mail ops"));
}

TYPED_TEST(FilterFiles, StatementsCarryTheFiltersCallback) {
  this->WriteTitles({"first"});
  this->Open();
  EXPECT_EQ(nullptr, Objects<WKFilterStatement>(this->filter_->statements).front()->logCallback);
  EXPECT_EQ(0, this->filter_->ReadFilter());
  EXPECT_EQ(&LogRecorder::Callback,
            Objects<WKFilterStatement>(this->filter_->statements).front()->logCallback);
}

TYPED_TEST(FilterFiles, PathIsTakenFromTheWorkingFolderAtEachRead) {
  this->WriteTitles({"first"});
  this->Open();
  std::filesystem::current_path("/");
  EXPECT_EQ(1, this->filter_->ReadFilter());
  std::filesystem::current_path(this->home_.Path("outbox"));
  EXPECT_EQ(0, this->filter_->ReadFilter());
}

}  // namespace
}  // namespace wkagent::test
