// Directory events as records.

#include <cstring>
#include <map>
#include <string>

#include "output/event_record.h"
#include "output/record_fixture.h"
#include "output/zones.h"
#include "support/local_time.h"

namespace wkagent::test {
namespace {

static_assert(sizeof(WKEDAOutputFile) == sizeof(WKOutputFile));
static_assert(sizeof(tagWKEventData::EventID) == 2 && sizeof(tagWKEventData::Status) == 8);
static_assert(sizeof(tagWKEventData::UserName) == 300);
static_assert(sizeof(tagWKEventData::NodeAddress) == 50);
static_assert(sizeof(tagWKEventData::Class1) == 64 && sizeof(tagWKEventData::Class2) == 64);
static_assert(sizeof(tagWKEventData::Object1) == 300 && sizeof(tagWKEventData::Object2) == 300);
static_assert(sizeof(tagWKEventData::Attribute1) == 128);
static_assert(sizeof(tagWKEventData::AttributeValue) == 300);
static_assert(sizeof(tagWKEventData::ServerName) == 128);
static_assert(sizeof(tagWKEventData::TreeName) == 128);
static_assert(sizeof(tagWKEventData::EventTime) == 8);

class EdaOutputFile : public RecordFixture<DirectoryRecord> {};

// What SampleEvent() must be written as, where it is New York.
const Attributes kSampleAttributes = {{"Origin", "EDA"},
                                      {"Source", "Linux"},
                                      {"Category", "eDirectory"},
                                      {"EventID", "20008"},
                                      {"Status", "-603"},
                                      {"UserName", "admin.sales.acme"},
                                      {"UserGUID", ""},
                                      {"NodeAddress", "192.0.2.17"},
                                      {"Class1", "User"},
                                      {"Object1", "bob.sales.acme"},
                                      {"ObjectGuid1", ""},
                                      {"Attribute1", "Security Equals"},
                                      {"AttributeValue", "[true]"},
                                      {"Class2", "Group"},
                                      {"Object2", "managers.acme"},
                                      {"ObjectGuid2", ""},
                                      {"ServerName", "srv1.acme"},
                                      {"TreeName", "ACME_TREE"},
                                      {"RecordHash", ""},
                                      {"InsertDate", "2026-11-15T08:22:05"},
                                      {"LogDate", "2026-11-15T08:22:05"},
                                      {"UTCDate", "2026-11-15T13:22:05"}};

TEST_F(EdaOutputFile, RecordHasItsAttributesInOrder) {
  const TimeZone local(kNewYork);
  const AuditElement record = Written(SampleEvent());
  EXPECT_EQ("EDADataRecord", record.name);
  EXPECT_EQ(kSampleAttributes, record.attributes);
  EXPECT_EQ(kSampleAttributes, ExpectedAttributes(SampleEvent()));
}

// The table once more, a line for each code.
const std::map<int, std::string> kCategories = {
    {20001, "Object"},
    {20002, "Object"},
    {20003, "Object"},
    {20004, "Object"},
    {20005, "Attribute"},
    {20006, "Attribute"},
    {20007, "Password"},
    {20008, "Security Equivalances"},
    {20009, "Security Equivalances"},
    {20010, "Replica"},
    {20011, "Replica"},
    {20012, "Schema Changes"},
    {20013, "Schema Changes"},
    {20014, "Schema Changes"},
    {20015, "Schema Changes"},
    {20016, "Schema Changes"},
    {21001, "Login"},
    {21002, "Logout"},
};

TEST_F(EdaOutputFile, GetCategoryKnowsItsCodesOnly) {
  Output output;
  for (int code = 0; code <= 65535; ++code) {
    char category[32];
    std::memset(category, '~', sizeof(category));
    std::string expected(sizeof(category), '~');
    const auto entry = kCategories.find(code);
    if (entry != kCategories.end()) {
      expected.replace(0, entry->second.size() + 1, entry->second.c_str(),
                       entry->second.size() + 1);
    }
    output.GetCategory(static_cast<unsigned short>(code), category);
    ASSERT_EQ(expected, std::string(category, sizeof(category))) << code;
  }
}

TEST_F(EdaOutputFile, GetCategoryNeeds22Bytes) {
  Output output;
  char category[22];
  output.GetCategory(20009, category);
  EXPECT_STREQ("Security Equivalances", category);
}

}  // namespace
}  // namespace wkagent::test
