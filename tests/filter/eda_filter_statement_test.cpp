#include <climits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"

namespace wkagent::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

constexpr int kOutOfRange[] = {INT_MIN, -20001, -1, 0, 1, 15, 16, 20000, 20017, 21001, INT_MAX};

class EdaFilterStatement : public ::testing::Test {
 protected:
  void CoverAll() { CoverEverything(statement_); }

  void SetContext(const std::string& context) { statement_.SetAuditedContext(Text(context)); }

  bool ContextPasses(const std::string& context) {
    return statement_.PassContextCheck(Text(context));
  }

  bool OperationPasses(int operation) {
    DirectoryEvent event;
    event.operation = operation;
    return Passes(statement_, event);
  }

  bool ObjectPasses(const std::string& object) {
    DirectoryEvent event;
    event.object = object;
    return Passes(statement_, event);
  }

  WKEDAFilterStatement statement_;
};

TEST_F(EdaFilterStatement, StartsWithEveryFlagOffButAllNodes) {
  EXPECT_FALSE(statement_.enabled || statement_.include || statement_.allDay);
  EXPECT_FALSE(statement_.allUsers || statement_.excludeAlert);
  EXPECT_FALSE(statement_.allEDirectory || statement_.auditSubContexts);
  EXPECT_FALSE(statement_.allObjects || statement_.allClasses || statement_.allAttributes);
  EXPECT_FALSE(statement_.allValues || statement_.allOperations);
  EXPECT_TRUE(statement_.allNodes);
}

TEST_F(EdaFilterStatement, StartsWithoutContextOperationsAndEntries) {
  EXPECT_EQ(nullptr, statement_.auditedContext.Get());
  EXPECT_THAT(statement_.operations, Each(0));
  EXPECT_EQ(0, statement_.objects.GetCount() + statement_.classes.GetCount());
  EXPECT_EQ(0, statement_.attributes.GetCount() + statement_.values.GetCount());
}

struct FlagSetter {
  const char* name;
  void (WKEDAFilterStatement::*set)(bool);
  bool WKEDAFilterStatement::*flag;
};

constexpr FlagSetter kFlagSetters[] = {
    {"SetAllOpsFlag", &WKEDAFilterStatement::SetAllOpsFlag, &WKEDAFilterStatement::allOperations},
    {"SetAuditSubContexts", &WKEDAFilterStatement::SetAuditSubContexts,
     &WKEDAFilterStatement::auditSubContexts},
    {"SetAllObjFlag", &WKEDAFilterStatement::SetAllObjFlag, &WKEDAFilterStatement::allObjects},
    {"SetAllClassFlag", &WKEDAFilterStatement::SetAllClassFlag, &WKEDAFilterStatement::allClasses},
    {"SetAllAttrFlag", &WKEDAFilterStatement::SetAllAttrFlag, &WKEDAFilterStatement::allAttributes},
    {"SetAllValueFlag", &WKEDAFilterStatement::SetAllValueFlag, &WKEDAFilterStatement::allValues},
};

TEST_F(EdaFilterStatement, EachFlagSetterStoresItsFlagAlone) {
  for (const FlagSetter& setter : kFlagSetters) {
    SCOPED_TRACE(setter.name);
    (statement_.*setter.set)(true);
    for (const FlagSetter& other : kFlagSetters) {
      EXPECT_EQ(other.flag == setter.flag, statement_.*other.flag) << other.name;
    }
    (statement_.*setter.set)(false);
    EXPECT_FALSE(statement_.*setter.flag);
  }
}

TEST_F(EdaFilterStatement, ContextIsConvertedInPlaceAndCopied) {
  std::string context = "OU=sales,O=acme";
  statement_.SetAuditedContext(context.data());
  EXPECT_STREQ("sales.acme", context.c_str());
  context[0] = 'X';
  EXPECT_STREQ("sales.acme", statement_.auditedContext);
  EXPECT_FALSE(statement_.allEDirectory);
}

TEST_F(EdaFilterStatement, DottedContextIsKeptAsItIs) {
  SetContext("sales.acme");
  EXPECT_STREQ("sales.acme", statement_.auditedContext);
}

TEST_F(EdaFilterStatement, SecondContextReplacesTheFirst) {
  SetContext("sales.acme");
  SetContext("OU=marketing,O=acme");
  EXPECT_STREQ("marketing.acme", statement_.auditedContext);
}

TEST_F(EdaFilterStatement, EmptyContextCoversTheWholeDirectory) {
  SetContext("sales.acme");
  SetContext("");
  EXPECT_TRUE(statement_.allEDirectory);
  EXPECT_EQ(nullptr, statement_.auditedContext.Get());
}

TEST_F(EdaFilterStatement, WholeDirectoryStaysCoveredWhenAContextFollows) {
  SetContext("");
  SetContext("sales.acme");
  EXPECT_TRUE(statement_.allEDirectory);
  EXPECT_STREQ("sales.acme", statement_.auditedContext);
}

TEST_F(EdaFilterStatement, NullContextIsIgnored) {
  statement_.SetAuditedContext(nullptr);
  EXPECT_FALSE(statement_.allEDirectory);
  SetContext("sales.acme");
  statement_.SetAuditedContext(nullptr);
  EXPECT_STREQ("sales.acme", statement_.auditedContext);
}

TEST_F(EdaFilterStatement, ClearContextUnsetsTheContextAlone) {
  SetContext("");
  SetContext("sales.acme");
  statement_.ClearContext();
  statement_.ClearContext();
  EXPECT_EQ(nullptr, statement_.auditedContext.Get());
  EXPECT_TRUE(statement_.allEDirectory);
}

TEST_F(EdaFilterStatement, TypedContextWithoutNameIsAnEmptyContextNotTheWholeDirectory) {
  SetContext("O=");
  EXPECT_FALSE(statement_.allEDirectory);
  EXPECT_STREQ("", statement_.auditedContext);
  EXPECT_TRUE(ContextPasses(""));
  EXPECT_FALSE(ContextPasses("acme"));
}

TEST_F(EdaFilterStatement, AddOperationSetsItsOwnFlag) {
  for (int code = 20001; code <= 20016; ++code) {
    WKEDAFilterStatement statement;
    statement.AddOperation(code);
    statement.AddOperation(code);
    for (int index = 0; index < 16; ++index) {
      EXPECT_EQ(index == code - 20001 ? 1 : 0, statement.operations[index]) << code;
    }
  }
}

TEST_F(EdaFilterStatement, AddOperationIgnoresOtherCodes) {
  for (const int code : kOutOfRange) statement_.AddOperation(code);
  EXPECT_THAT(statement_.operations, Each(0));
}

TEST_F(EdaFilterStatement, ClearOperationsClearsTheTableAlone) {
  statement_.SetAllOpsFlag(true);
  for (int code = 20001; code <= 20016; ++code) statement_.AddOperation(code);
  EXPECT_THAT(statement_.operations, Each(1));
  statement_.ClearOperations();
  EXPECT_THAT(statement_.operations, Each(0));
  EXPECT_TRUE(statement_.allOperations);
}

TEST_F(EdaFilterStatement, ObjectsAreConvertedInPlace) {
  std::string name = "CN=jsmith";
  statement_.AddObject(name.data());
  statement_.AddObject(Text("ann"));
  EXPECT_STREQ("jsmith", name.c_str());
  EXPECT_THAT(Entries(statement_.objects), ElementsAre("jsmith", "ann"));
}

TEST_F(EdaFilterStatement, ClassesAttributesAndValuesAreStoredUnchanged) {
  statement_.AddClass(Text("CN=User"));
  statement_.AddAttr(Text("a=b,c=d"));
  statement_.AddAttrValue(Text("cn=x,o=y"));
  EXPECT_THAT(Entries(statement_.classes), ElementsAre("CN=User"));
  EXPECT_THAT(Entries(statement_.attributes), ElementsAre("a=b,c=d"));
  EXPECT_THAT(Entries(statement_.values), ElementsAre("cn=x,o=y"));
}

TEST_F(EdaFilterStatement, NullEntriesAreIgnored) {
  statement_.AddObject(nullptr);
  statement_.AddClass(nullptr);
  statement_.AddAttr(nullptr);
  statement_.AddAttrValue(nullptr);
  EXPECT_EQ(0, statement_.objects.GetCount() + statement_.classes.GetCount());
  EXPECT_EQ(0, statement_.attributes.GetCount() + statement_.values.GetCount());
}

TEST_F(EdaFilterStatement, ContextWithoutSubContainersIsEqualWhateverTheCase) {
  SetContext("sales.acme");
  EXPECT_TRUE(ContextPasses("Sales.Acme"));
  EXPECT_TRUE(ContextPasses("sales.acme"));
  EXPECT_FALSE(ContextPasses("east.sales.acme"));
  EXPECT_FALSE(ContextPasses("sales.acme.tree"));
  EXPECT_FALSE(ContextPasses("sales"));
  EXPECT_FALSE(ContextPasses(""));
}

TEST_F(EdaFilterStatement, ContextWithSubContainersOccursAnywhereWithCase) {
  SetContext("sales.acme");
  statement_.SetAuditSubContexts(true);
  EXPECT_TRUE(ContextPasses("sales.acme"));
  EXPECT_TRUE(ContextPasses("east.sales.acme"));
  EXPECT_TRUE(ContextPasses("presales.acme.tree"));
  EXPECT_FALSE(ContextPasses("East.Sales.Acme"));
  EXPECT_FALSE(ContextPasses("acme"));
}

TEST_F(EdaFilterStatement, UnsetOrNullContextDoesNotPass) {
  EXPECT_FALSE(ContextPasses("sales.acme"));
  statement_.SetAuditSubContexts(true);
  EXPECT_FALSE(ContextPasses("sales.acme"));
  SetContext("sales.acme");
  EXPECT_FALSE(statement_.PassContextCheck(nullptr));
}

TEST_F(EdaFilterStatement, ListChecksSearchTheirOwnList) {
  statement_.AddObject(Text("object"));
  statement_.AddClass(Text("class"));
  statement_.AddAttr(Text("attribute"));
  statement_.AddAttrValue(Text("value"));
  for (const std::string name : {"object", "class", "attribute", "value"}) {
    EXPECT_EQ(name == "object", statement_.PassObject(Text(name)));
    EXPECT_EQ(name == "class", statement_.PassClass(Text(name)));
    EXPECT_EQ(name == "attribute", statement_.PassAttr(Text(name)));
    EXPECT_EQ(name == "value", statement_.PassAttrValue(Text(name)));
  }
}

TEST_F(EdaFilterStatement, NullPassesAttributeAndValueChecksAlone) {
  statement_.AddObject(Text(""));
  statement_.AddClass(Text(""));
  statement_.AddAttr(Text("Surname"));
  statement_.AddAttrValue(Text("Smith"));
  EXPECT_FALSE(statement_.PassObject(nullptr));
  EXPECT_FALSE(statement_.PassClass(nullptr));
  EXPECT_TRUE(statement_.PassAttr(nullptr));
  EXPECT_TRUE(statement_.PassAttrValue(nullptr));
}

TEST_F(EdaFilterStatement, ListChecksAreSubstringTestsWithoutCase) {
  statement_.AddClass(Text("user"));
  statement_.AddAttr(Text("NAME"));
  EXPECT_TRUE(statement_.PassClass(Text("PowerUser")));
  EXPECT_TRUE(statement_.PassAttr(Text("Surname")));
  EXPECT_FALSE(statement_.PassClass(Text("Use")));
}

TEST_F(EdaFilterStatement, StatementThatCoversEverythingPasses) {
  CoverAll();
  EXPECT_TRUE(Passes(statement_, DirectoryEvent()));
}

TEST_F(EdaFilterStatement, DisabledStatementNeverPasses) {
  CoverAll();
  statement_.SetEnableFlag(false);
  EXPECT_FALSE(Passes(statement_, DirectoryEvent()));
}

TEST_F(EdaFilterStatement, EachOperationCoversItselfAlone) {
  CoverAll();
  statement_.SetAllOpsFlag(false);
  for (int code = 20001; code <= 20016; ++code) {
    statement_.ClearOperations();
    statement_.AddOperation(code);
    for (int asked = 20001; asked <= 20016; ++asked) {
      EXPECT_EQ(asked == code, OperationPasses(asked)) << code << " asked for " << asked;
    }
  }
}

TEST_F(EdaFilterStatement, OtherCodesPassOnlyWithAllOperations) {
  CoverAll();
  for (int code = 20001; code <= 20016; ++code) statement_.AddOperation(code);
  for (const int code : kOutOfRange) {
    statement_.SetAllOpsFlag(true);
    EXPECT_TRUE(OperationPasses(code)) << code;
    statement_.SetAllOpsFlag(false);
    EXPECT_FALSE(OperationPasses(code)) << code;
  }
}

TEST_F(EdaFilterStatement, NullUserOrObjectNeverPasses) {
  CoverAll();
  DirectoryEvent event;
  event.user.reset();
  EXPECT_FALSE(Passes(statement_, event));
  event = DirectoryEvent();
  event.object.reset();
  EXPECT_FALSE(Passes(statement_, event));
}

TEST_F(EdaFilterStatement, NullNodeAttributeAndValueAreCovered) {
  CoverAll();
  statement_.SetAllAttrFlag(false);
  statement_.AddAttr(Text("Surname"));
  statement_.SetAllValueFlag(false);
  statement_.AddAttrValue(Text("Smith"));
  DirectoryEvent event;
  EXPECT_TRUE(Passes(statement_, event));
  event.node.reset();
  event.attribute.reset();
  event.value.reset();
  EXPECT_TRUE(Passes(statement_, event));
}

TEST_F(EdaFilterStatement, EmptyAttributeAndValueListsCoverNullAlone) {
  CoverAll();
  statement_.SetAllAttrFlag(false);
  statement_.SetAllValueFlag(false);
  DirectoryEvent event;
  EXPECT_FALSE(Passes(statement_, event));
  event.attribute.reset();
  EXPECT_FALSE(Passes(statement_, event));
  event.value.reset();
  EXPECT_TRUE(Passes(statement_, event));
}

TEST_F(EdaFilterStatement, NullClassPassesOnlyWithAllClasses) {
  CoverAll();
  DirectoryEvent event;
  event.className.reset();
  EXPECT_TRUE(Passes(statement_, event));
  statement_.SetAllClassFlag(false);
  statement_.AddClass(Text(""));
  EXPECT_FALSE(Passes(statement_, event));
}

TEST_F(EdaFilterStatement, NodeListDoesNotRestrict) {
  CoverAll();
  statement_.AddNode(Text("another node"));
  EXPECT_TRUE(Passes(statement_, DirectoryEvent()));
}

TEST_F(EdaFilterStatement, ObjectNameIsSplitAtItsFirstDot) {
  CoverAll();
  statement_.SetAllObjFlag(false);
  statement_.AddObject(Text("sales"));
  EXPECT_TRUE(ObjectPasses("sales.acme"));
  EXPECT_TRUE(ObjectPasses("presales1.acme"));
  EXPECT_TRUE(ObjectPasses("sales"));
  EXPECT_FALSE(ObjectPasses("jsmith.sales.acme"));
  EXPECT_FALSE(ObjectPasses(".sales"));
}

TEST_F(EdaFilterStatement, ObjectEntryWithAContextIsNeverAnOwnName) {
  CoverAll();
  statement_.SetAllObjFlag(false);
  statement_.AddObject(Text("CN=jsmith,OU=sales,O=acme"));
  EXPECT_THAT(Entries(statement_.objects), ElementsAre("jsmith.sales.acme"));
  EXPECT_FALSE(ObjectPasses("jsmith.sales.acme"));
}

TEST_F(EdaFilterStatement, ContextIsWhatFollowsTheFirstDot) {
  CoverAll();
  statement_.allEDirectory = false;
  SetContext("Sales.acme");
  EXPECT_TRUE(ObjectPasses("jsmith.sales.ACME"));
  EXPECT_TRUE(ObjectPasses(".sales.acme"));
  EXPECT_FALSE(ObjectPasses("sales.acme"));
  EXPECT_FALSE(ObjectPasses("jsmith.east.sales.acme"));
  EXPECT_FALSE(ObjectPasses("jsmith."));
}

TEST_F(EdaFilterStatement, ContextWithSubContainersCoversThem) {
  CoverAll();
  statement_.allEDirectory = false;
  statement_.SetAuditSubContexts(true);
  SetContext("OU=sales,O=acme");
  EXPECT_TRUE(ObjectPasses("jsmith.sales.acme"));
  EXPECT_TRUE(ObjectPasses("jsmith.east.sales.acme"));
  EXPECT_FALSE(ObjectPasses("jsmith.Sales.Acme"));
  EXPECT_FALSE(ObjectPasses("sales.acme"));
}

TEST_F(EdaFilterStatement, ObjectWithoutDotLiesInTheRoot) {
  CoverAll();
  EXPECT_TRUE(ObjectPasses("jsmith"));
  statement_.allEDirectory = false;
  EXPECT_FALSE(ObjectPasses("jsmith"));
  SetContext("acme");
  EXPECT_FALSE(ObjectPasses("jsmith"));
  SetContext("[root]");
  EXPECT_TRUE(ObjectPasses("jsmith"));
  statement_.SetAuditSubContexts(true);
  EXPECT_FALSE(ObjectPasses("jsmith"));
  SetContext("[Root]");
  EXPECT_TRUE(ObjectPasses("jsmith"));
}

TEST_F(EdaFilterStatement, ObjectsOwnNameIsTheWholeNameWithoutDot) {
  CoverAll();
  statement_.SetAllObjFlag(false);
  statement_.AddObject(Text("smith"));
  EXPECT_TRUE(ObjectPasses("JSmith"));
  EXPECT_FALSE(ObjectPasses("[Root]"));
}

TEST_F(EdaFilterStatement, EventIsLeftAsItWas) {
  CoverAll();
  statement_.SetAllObjFlag(false);
  statement_.AddObject(Text("JSMITH"));
  std::string object = "jsmith.sales.acme";
  std::string user = "CN=admin,O=acme";
  EXPECT_TRUE(statement_.PassStatement(20001, user.data(), nullptr, object.data(), nullptr, nullptr,
                                       nullptr));
  EXPECT_EQ("jsmith.sales.acme", object);
  EXPECT_EQ("CN=admin,O=acme", user);
}

TEST_F(EdaFilterStatement, TwoArgumentFormIsTheCommonRule) {
  statement_.SetEnableFlag(true);
  statement_.SetAllDayFlag(true);
  statement_.AddUser(Text("bob"));
  EXPECT_TRUE(statement_.PassStatement(Text("bob"), nullptr));
  EXPECT_FALSE(statement_.PassStatement(Text("ann"), nullptr));
}

TEST_F(EdaFilterStatement, ReleaseOwnedLeavesNothingBehind) {
  SetContext("sales.acme");
  statement_.SetTitle(Text("title"));
  statement_.AddUser(Text("bob"));
  statement_.AddObject(Text("object"));
  statement_.AddClass(Text("class"));
  statement_.AddAttr(Text("attribute"));
  statement_.AddAttrValue(Text("value"));
  static_cast<WKFilterStatement&>(statement_).ReleaseOwned();
  EXPECT_EQ(nullptr, statement_.auditedContext.Get());
  EXPECT_EQ(nullptr, statement_.title.Get());
  EXPECT_EQ(0, statement_.users.GetCount() + statement_.objects.GetCount());
  EXPECT_EQ(0, statement_.classes.GetCount() + statement_.attributes.GetCount());
  EXPECT_EQ(0, statement_.values.GetCount());
}

}  // namespace
}  // namespace wkagent::test
