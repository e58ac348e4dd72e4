#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <wkagent/filter.h>

#include "filter_kinds.h"
#include "filter_support.h"
#include "reader_fixture.h"
#include "support/log_recorder.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <typename Kind>
class ConfigReads : public ReaderFixture<Kind> {};
TYPED_TEST_SUITE(ConfigReads, FilterKinds, KindName);

TYPED_TEST(ConfigReads, MissingFileIsReported) {
  LogRecorder log;
  this->reader_.InitializeLogMessage(&LogRecorder::Callback);
  EXPECT_EQ(1, this->reader_.ReadFile(Text("../config/none.xml")));
  EXPECT_THAT(log.Messages(),
              ElementsAre("WKConfigFile.ReadFile:Unable to access file ../config/none.xml - "
                          "Error 2\n"));
  EXPECT_EQ(1, this->reader_.ReadFile(nullptr));
  EXPECT_THAT(this->Statements(), IsEmpty());
}

TYPED_TEST(ConfigReads, ReadFileIsVirtual) {
  this->home_.Write("config/f.xml", FilterFile(FilterElement("only")));
  WKConfigFile& base = this->reader_;
  EXPECT_EQ(0, base.ReadFile(Text("../config/f.xml")));
  EXPECT_THAT(this->Titles(), ElementsAre("only"));
}

TYPED_TEST(ConfigReads, SecondReadReplacesStatementsThatWereNotHandedOver) {
  this->ReadElements(FilterElement("one") + FilterElement("two"));
  this->ReadElements(FilterElement("three"));
  EXPECT_THAT(this->Titles(), ElementsAre("three"));
}

TYPED_TEST(ConfigReads, FailedSecondReadLeavesNoStatements) {
  this->ReadElements(FilterElement("one"));
  EXPECT_EQ(1, this->ReadText("<x>"));
  EXPECT_THAT(this->Statements(), IsEmpty());
  EXPECT_EQ(nullptr, this->reader_.currentStatement);
  CLinkList out;
  this->reader_.GetFilterStatements(out);
  EXPECT_EQ(0, out.GetCount());
}

TYPED_TEST(ConfigReads, StatementsCarryTheReadersCallback) {
  this->reader_.InitializeLogMessage(&LogRecorder::Callback);
  EXPECT_EQ(&LogRecorder::Callback, this->ReadOne("").logCallback);
  this->reader_.InitializeLogMessage(nullptr);
  EXPECT_EQ(nullptr, this->ReadOne("").logCallback);
}

// Statements that a reader handed over.
template <typename Kind>
class ConfigHandOver : public ReaderFixture<Kind> {
 protected:
  using Statement = typename Kind::Statement;

  ~ConfigHandOver() override {
    for (auto* statement : Objects<Statement>(out_)) {
      const std::unique_ptr<Statement> owner(statement);
    }
  }

  std::vector<std::string> HandedOver() {
    std::vector<std::string> titles;
    for (const auto* statement : Objects<Statement>(out_)) {
      titles.emplace_back(statement->title.Get());
    }
    return titles;
  }

  CLinkList out_;
};
TYPED_TEST_SUITE(ConfigHandOver, FilterKinds, KindName);

TYPED_TEST(ConfigHandOver, StatementsAreAppendedInFileOrder) {
  this->ReadElements(FilterElement("one") + FilterElement("two"));
  this->reader_.GetFilterStatements(this->out_);
  EXPECT_THAT(this->HandedOver(), ElementsAre("one", "two"));
  EXPECT_EQ(nullptr, this->reader_.currentStatement);
}

TYPED_TEST(ConfigHandOver, StatementsOutliveTheirReader) {
  this->home_.Write("config/f.xml", FilterFile(FilterElement("one", "<User Name=\"a\"/>")));
  {
    typename TypeParam::Reader reader;
    EXPECT_EQ(0, reader.ReadFile(Text("../config/f.xml")));
    reader.GetFilterStatements(this->out_);
  }
  EXPECT_THAT(this->HandedOver(), ElementsAre("one"));
  EXPECT_THAT(Entries(Objects<typename TypeParam::Statement>(this->out_)[0]->users),
              ElementsAre("a"));
}

TYPED_TEST(ConfigHandOver, SecondCallGivesTheSameStatements) {
  this->ReadElements(FilterElement("one") + FilterElement("two"));
  this->reader_.GetFilterStatements(this->out_);
  CLinkList again;
  this->reader_.GetFilterStatements(again);
  EXPECT_EQ(Objects<typename TypeParam::Statement>(this->out_),
            Objects<typename TypeParam::Statement>(again));
}

TYPED_TEST(ConfigHandOver, SecondReadLeavesHandedOverStatementsAlone) {
  this->ReadElements(FilterElement("one") + FilterElement("two"));
  this->reader_.GetFilterStatements(this->out_);
  this->ReadElements(FilterElement("three"));
  EXPECT_THAT(this->HandedOver(), ElementsAre("one", "two"));
  EXPECT_THAT(this->Titles(), ElementsAre("three"));
  this->reader_.GetFilterStatements(this->out_);
  EXPECT_THAT(this->HandedOver(), ElementsAre("one", "two", "three"));
}

TYPED_TEST(ConfigHandOver, FailedSecondReadLeavesHandedOverStatementsAlone) {
  this->ReadElements(FilterElement("one"));
  this->reader_.GetFilterStatements(this->out_);
  EXPECT_EQ(1, this->ReadText("<x>"));
  EXPECT_THAT(this->HandedOver(), ElementsAre("one"));
  EXPECT_EQ(0, this->reader_.list.GetCount());
}

// Handlers called on elements directly.
template <typename Kind>
class ConfigHandlers : public ReaderFixture<Kind> {
 protected:
  // An `Operation` element of the second code.
  static std::string SecondOperation() {
    return "<Operation EventId=\"" + std::to_string(Kind::kFirstOperation + 1) + "\"/>";
  }

  // The first child of the root of a file.
  _xmlNode* FirstElement(const std::string& elements) {
    this->home_.Write("config/g.xml", "<x>" + elements + "</x>");
    EXPECT_EQ(0, source_.ReadFile(Text("../config/g.xml")));
    return source_.GetXMLRootNode()->children;
  }

  WKConfigFile source_;
};
TYPED_TEST_SUITE(ConfigHandlers, FilterKinds, KindName);

TYPED_TEST(ConfigHandlers, WalkCoversTheElementItsFollowingSiblingsAndAllBelow) {
  _xmlNode* const first = this->FirstElement(FilterElement("one") + "text" +
                                             FilterElement("two", "<y><User Name=\"a\"/></y>"));
  TypeParam::Walk(this->reader_, first);
  EXPECT_THAT(this->Titles(), ElementsAre("one", "two"));
  EXPECT_THAT(this->Users(), ElementsAre("", "a "));
}

TYPED_TEST(ConfigHandlers, WalkDoesNotLookBackOrUp) {
  _xmlNode* const first =
      this->FirstElement("<y><Filter Title=\"in\"/></y><Filter Title=\"after\"/>");
  TypeParam::Walk(this->reader_, first->children);
  EXPECT_THAT(this->Titles(), ElementsAre("in"));
  TypeParam::Walk(this->reader_, first->next);
  EXPECT_THAT(this->Titles(), ElementsAre("in", "after"));
}

TYPED_TEST(ConfigHandlers, WalkOfNothingReadsNothing) {
  TypeParam::Walk(this->reader_, nullptr);
  EXPECT_THAT(this->Statements(), IsEmpty());
}

TYPED_TEST(ConfigHandlers, HandlersReadTheElementTheyAreGiven) {
  _xmlNode* const filter = this->FirstElement("<Filter Title=\"T\"/>" + this->SecondOperation() +
                                              "<SMTP Alert=\"1\" To=\"ops\"/>");
  TypeParam::ReadFilter(this->reader_, filter);
  TypeParam::ReadOperation(this->reader_, filter->next);
  this->reader_.GetSMTPDetails(filter->next->next);
  typename TypeParam::Statement& statement = *this->Statements().at(0);
  EXPECT_EQ(&statement, this->reader_.currentStatement);
  EXPECT_STREQ("T", statement.title);
  EXPECT_EQ(1, statement.operations[1]);
  EXPECT_STREQ("ops", statement.smtpAlert.GetTo());
}

TYPED_TEST(ConfigHandlers, HandlersWithoutAStatementDoNothing) {
  _xmlNode* const operation = this->FirstElement(this->SecondOperation() + "<SMTP Alert=\"1\"/>");
  TypeParam::ReadOperation(this->reader_, operation);
  this->reader_.GetSMTPDetails(operation->next);
  EXPECT_THAT(this->Statements(), IsEmpty());
  EXPECT_EQ(nullptr, this->reader_.currentStatement);
}

}  // namespace
}  // namespace wkagent::test
