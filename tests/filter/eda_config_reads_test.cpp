#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/tree.h>

#include <wkagent/filter.h>

#include "eda_config_fixture.h"
#include "filter_support.h"
#include "support/log_recorder.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EdaConfigReads : public EdaConfigFixture {};

TEST_F(EdaConfigReads, MissingFileIsReported) {
  LogRecorder log;
  reader_.InitializeLogMessage(&LogRecorder::Callback);
  EXPECT_EQ(1, reader_.ReadFile(Text("../config/none.xml")));
  EXPECT_THAT(log.Messages(),
              ElementsAre("WKConfigFile.ReadFile:Unable to access file ../config/none.xml - "
                          "Error 2\n"));
  EXPECT_EQ(1, reader_.ReadFile(nullptr));
  EXPECT_THAT(Statements(), IsEmpty());
}

TEST_F(EdaConfigReads, ReadFileIsVirtual) {
  home_.Write("config/f.xml", FilterFile(FilterElement("only")));
  WKConfigFile& base = reader_;
  EXPECT_EQ(0, base.ReadFile(Text("../config/f.xml")));
  EXPECT_THAT(Titles(), ElementsAre("only"));
}

TEST_F(EdaConfigReads, SecondReadReplacesStatementsThatWereNotHandedOver) {
  ReadElements(FilterElement("one") + FilterElement("two"));
  ReadElements(FilterElement("three"));
  EXPECT_THAT(Titles(), ElementsAre("three"));
}

TEST_F(EdaConfigReads, FailedSecondReadLeavesNoStatements) {
  ReadElements(FilterElement("one"));
  EXPECT_EQ(1, ReadText("<x>"));
  EXPECT_THAT(Statements(), IsEmpty());
  EXPECT_EQ(nullptr, reader_.currentStatement);
  CLinkList out;
  reader_.GetFilterStatements(out);
  EXPECT_EQ(0, out.GetCount());
}

TEST_F(EdaConfigReads, StatementsCarryTheReadersCallback) {
  reader_.InitializeLogMessage(&LogRecorder::Callback);
  EXPECT_EQ(&LogRecorder::Callback, ReadOne("").logCallback);
  reader_.InitializeLogMessage(nullptr);
  EXPECT_EQ(nullptr, ReadOne("").logCallback);
}

// Statements that a reader handed over.
class EdaConfigHandOver : public EdaConfigFixture {
 protected:
  ~EdaConfigHandOver() override {
    for (auto* statement : Objects<WKEDAFilterStatement>(out_)) {
      const std::unique_ptr<WKEDAFilterStatement> owner(statement);
    }
  }

  std::vector<std::string> HandedOver() {
    std::vector<std::string> titles;
    for (const auto* statement : Objects<WKEDAFilterStatement>(out_)) {
      titles.emplace_back(statement->title.Get());
    }
    return titles;
  }

  CLinkList out_;
};

TEST_F(EdaConfigHandOver, StatementsAreAppendedInFileOrder) {
  ReadElements(FilterElement("one") + FilterElement("two"));
  reader_.GetFilterStatements(out_);
  EXPECT_THAT(HandedOver(), ElementsAre("one", "two"));
  EXPECT_EQ(nullptr, reader_.currentStatement);
}

TEST_F(EdaConfigHandOver, StatementsOutliveTheirReader) {
  home_.Write("config/f.xml", FilterFile(FilterElement("one", "<User Name=\"a\"/>")));
  {
    WKEdaConfig reader;
    EXPECT_EQ(0, reader.ReadFile(Text("../config/f.xml")));
    reader.GetFilterStatements(out_);
  }
  EXPECT_THAT(HandedOver(), ElementsAre("one"));
  EXPECT_THAT(Entries(Objects<WKEDAFilterStatement>(out_)[0]->users), ElementsAre("a"));
}

TEST_F(EdaConfigHandOver, SecondCallGivesTheSameStatements) {
  ReadElements(FilterElement("one") + FilterElement("two"));
  reader_.GetFilterStatements(out_);
  CLinkList again;
  reader_.GetFilterStatements(again);
  EXPECT_EQ(Objects<WKEDAFilterStatement>(out_), Objects<WKEDAFilterStatement>(again));
}

TEST_F(EdaConfigHandOver, SecondReadLeavesHandedOverStatementsAlone) {
  ReadElements(FilterElement("one") + FilterElement("two"));
  reader_.GetFilterStatements(out_);
  ReadElements(FilterElement("three"));
  EXPECT_THAT(HandedOver(), ElementsAre("one", "two"));
  EXPECT_THAT(Titles(), ElementsAre("three"));
  reader_.GetFilterStatements(out_);
  EXPECT_THAT(HandedOver(), ElementsAre("one", "two", "three"));
}

TEST_F(EdaConfigHandOver, FailedSecondReadLeavesHandedOverStatementsAlone) {
  ReadElements(FilterElement("one"));
  reader_.GetFilterStatements(out_);
  EXPECT_EQ(1, ReadText("<x>"));
  EXPECT_THAT(HandedOver(), ElementsAre("one"));
  EXPECT_EQ(0, reader_.list.GetCount());
}

// Handlers called on elements directly.
class EdaConfigHandlers : public EdaConfigFixture {
 protected:
  // The first child of the root of a file.
  _xmlNode* FirstElement(const std::string& elements) {
    home_.Write("config/g.xml", "<x>" + elements + "</x>");
    EXPECT_EQ(0, source_.ReadFile(Text("../config/g.xml")));
    return source_.GetXMLRootNode()->children;
  }

  WKConfigFile source_;
};

TEST_F(EdaConfigHandlers, WalkCoversTheElementItsFollowingSiblingsAndAllBelow) {
  _xmlNode* const first = FirstElement(FilterElement("one") + "text" +
                                       FilterElement("two", "<y><User Name=\"a\"/></y>"));
  reader_.MapEDADatatoObject(first);
  EXPECT_THAT(Titles(), ElementsAre("one", "two"));
  EXPECT_THAT(Users(), ElementsAre("", "a "));
}

TEST_F(EdaConfigHandlers, WalkDoesNotLookBackOrUp) {
  _xmlNode* const first = FirstElement("<y><Filter Title=\"in\"/></y><Filter Title=\"after\"/>");
  reader_.MapEDADatatoObject(first->children);
  EXPECT_THAT(Titles(), ElementsAre("in"));
  reader_.MapEDADatatoObject(first->next);
  EXPECT_THAT(Titles(), ElementsAre("in", "after"));
}

TEST_F(EdaConfigHandlers, WalkOfNothingReadsNothing) {
  reader_.MapEDADatatoObject(nullptr);
  EXPECT_THAT(Statements(), IsEmpty());
}

TEST_F(EdaConfigHandlers, HandlersReadTheElementTheyAreGiven) {
  _xmlNode* const filter = FirstElement(
      "<Filter Title=\"T\"/><Operation EventId=\"20002\"/><SMTP Alert=\"1\" To=\"ops\"/>");
  reader_.GetEDAFilterDetails(filter);
  reader_.GetEDAOperations(filter->next);
  reader_.GetSMTPDetails(filter->next->next);
  WKEDAFilterStatement& statement = *Statements().at(0);
  EXPECT_EQ(&statement, reader_.currentStatement);
  EXPECT_STREQ("T", statement.title);
  EXPECT_EQ(1, statement.operations[1]);
  EXPECT_STREQ("ops", statement.smtpAlert.GetTo());
}

TEST_F(EdaConfigHandlers, HandlersWithoutAStatementDoNothing) {
  _xmlNode* const operation = FirstElement("<Operation EventId=\"20002\"/><SMTP Alert=\"1\"/>");
  reader_.GetEDAOperations(operation);
  reader_.GetSMTPDetails(operation->next);
  EXPECT_THAT(Statements(), IsEmpty());
  EXPECT_EQ(nullptr, reader_.currentStatement);
}

}  // namespace
}  // namespace wkagent::test
