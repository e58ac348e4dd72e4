#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/filter.h>

#include "filter_support.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

int g_destroyed = 0;
int g_released = 0;

class CountedStatement : public WKFilterStatement {
 public:
  ~CountedStatement() override { ++g_destroyed; }
  void ReleaseOwned() override {
    ++g_released;
    WKFilterStatement::ReleaseOwned();
  }
};

class Filter : public ::testing::Test {
 protected:
  Filter() : filter_(Text("EDAFilter.xml")) {}

  static std::string PathOf(const std::string& name) { return WKFilter(Text(name)).filterPath; }

  std::string Convert(std::string name) {
    char* const result = filter_.ConvertToNDAPFormat(name.data());
    EXPECT_TRUE(result == nullptr || result == name.data());
    return result == nullptr ? "(null)" : result;
  }

  WKFilter filter_;
};

TEST_F(Filter, StartsEmpty) {
  EXPECT_EQ(0, filter_.statements.GetCount());
  EXPECT_EQ(0, filter_.alerts.GetCount());
  EXPECT_FALSE(filter_.alertsExcluded);
  EXPECT_STREQ("", filter_.message);
  EXPECT_EQ(nullptr, filter_.GetReadError());
  EXPECT_EQ(nullptr, filter_.logCallback);
}

TEST_F(Filter, PathIsBelowTheConfigFolder) {
  EXPECT_STREQ("../config/EDAFilter.xml", filter_.filterPath);
  EXPECT_EQ("../config/sub/f.xml", PathOf("sub/f.xml"));
  EXPECT_EQ("../config/", PathOf(""));
  EXPECT_STREQ("../config/", WKFilter(nullptr).filterPath);
}

TEST_F(Filter, FileNameIsNoFormat) { EXPECT_EQ("../config/%s%n.xml", PathOf("%s%n.xml")); }

TEST_F(Filter, PathIsCutAt254Bytes) {
  for (const std::size_t length : {243U, 244U, 245U, 300U, 5000U}) {
    const std::string name(length, 'n');
    EXPECT_EQ(("../config/" + name).substr(0, 254), PathOf(name)) << length;
  }
}

TEST_F(Filter, FileNameIsCopied) {
  std::string name = "EDAFilter.xml";
  WKFilter filter(name.data());
  name.assign("other_one.xml");
  EXPECT_STREQ("../config/EDAFilter.xml", filter.filterPath);
}

TEST_F(Filter, NodesAreThoseOfTheStatementList) {
  auto* statement = new WKFilterStatement;
  EXPECT_EQ(0, filter_.AddNode(&statement, sizeof(statement)));
  EXPECT_THAT(Objects<WKFilterStatement>(filter_.statements), ElementsAre(statement));
  WKFilterStatement* got = nullptr;
  EXPECT_EQ(1, filter_.GetNode(&got, 7));
  EXPECT_EQ(0, filter_.GetNode(&got, sizeof(got)));
  EXPECT_EQ(statement, got);
  EXPECT_EQ(1, filter_.GetNode(&got, sizeof(got)));
  filter_.statements.SetHead();
  EXPECT_EQ(0, filter_.GetNode(&got, sizeof(got)));
}

TEST_F(Filter, AddedBlocksAreCopied) {
  auto* const statement = new WKFilterStatement;
  WKFilterStatement* pointer = statement;
  filter_.AddNode(&pointer, sizeof(pointer));
  pointer = nullptr;
  EXPECT_THAT(Objects<WKFilterStatement>(filter_.statements), ElementsAre(statement));
}

TEST_F(Filter, EndReleasesStatementsWithoutTheirDestructors) {
  g_destroyed = 0;
  g_released = 0;
  {
    WKFilter filter(Text("unused.xml"));
    for (int count = 0; count < 3; ++count) {
      WKFilterStatement* statement = new CountedStatement;
      statement->SetTitle(Text("released by the filter"));
      statement->AddUser(Text("bob"));
      filter.AddNode(&statement, sizeof(statement));
    }
  }
  EXPECT_EQ(3, g_released);
  EXPECT_EQ(0, g_destroyed);
}

TEST_F(Filter, EndReleasesGatheredAlerts) {
  auto* wrapper = new AlertWrapper(1);
  wrapper->SetSMTPAlert(new WKSMTPAlertObject);
  wrapper->GetSMTPAlertInfo()->SetTo(Text("released by the filter"));
  filter_.alerts.AddNode(&wrapper, sizeof(wrapper));
  EXPECT_THAT(Alerts(filter_), ElementsAre("mail released by the filter"));
}

TEST_F(Filter, ConvertsTypedDottedNames) {
  EXPECT_EQ("admin.sales.acme", Convert("CN=admin.OU=sales.O=acme"));
  EXPECT_EQ("admin", Convert("CN=admin"));
  EXPECT_EQ("a.c", Convert("CN=a.b.O=c"));
  EXPECT_EQ("admin,OU=sales", Convert("CN=admin,OU=sales"));
}

TEST_F(Filter, PlainNamesAreNotConverted) {
  std::string name = "admin.sales.acme";
  EXPECT_EQ(nullptr, filter_.ConvertToNDAPFormat(name.data()));
  EXPECT_EQ("admin.sales.acme", name);
  EXPECT_EQ(nullptr, filter_.ConvertToNDAPFormat(nullptr));
}

}  // namespace
}  // namespace wkagent::test
