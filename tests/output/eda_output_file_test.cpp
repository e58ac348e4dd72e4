// Directory events as records.

#include <cstring>
#include <iterator>
#include <limits>
#include <map>
#include <string>

#include "output/event_record.h"
#include "output/output_fixture.h"
#include "output/zones.h"
#include "support/local_time.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

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

class EdaOutputFile : public OutputTest {
 protected:
  // Writes records into a file and reads them back.
  [[nodiscard]] static std::vector<AuditElement> Written(std::vector<tagWKEventData> events) {
    {
      Logged<WKEDAOutputFile> output;
      EXPECT_EQ(0, output.OpenFile());
      for (tagWKEventData& event : events) EXPECT_EQ(0, output.WriteAuditData(&event));
    }
    return ParseAuditFile("live.xml").Records();
  }
  [[nodiscard]] static AuditElement Written(const tagWKEventData& event) {
    return Written(std::vector<tagWKEventData>{event}).at(0);
  }

  [[nodiscard]] static std::string Value(const AuditElement& record, const std::string& attribute) {
    for (const auto& [name, value] : record.attributes) {
      if (name == attribute) return value;
    }
    return "no attribute " + attribute;
  }
};

tagWKEventData SampleEvent() {
  tagWKEventData event{};
  event.EventID = 20008;
  event.Status = -603;
  event.EventTime = 1'794'748'925;  // 2026-11-15 13:22:05 UTC
  Fill(event.UserName, "admin.sales.acme");
  Fill(event.NodeAddress, "192.0.2.17");
  Fill(event.Class1, "User");
  Fill(event.Object1, "bob.sales.acme");
  Fill(event.Attribute1, "Security Equals");
  Fill(event.AttributeValue, "[true]");
  Fill(event.Class2, "Group");
  Fill(event.Object2, "managers.acme");
  Fill(event.ServerName, "srv1.acme");
  Fill(event.TreeName, "ACME_TREE");
  return event;
}

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

TEST_F(EdaOutputFile, EmptyRecordHasAllItsAttributes) {
  const TimeZone local("UTC0");
  tagWKEventData event{};
  EXPECT_EQ(ExpectedAttributes(event), Written(event).attributes);
}

TEST_F(EdaOutputFile, RecordIsOnlyRead) {
  tagWKEventData event = SampleEvent();
  std::memset(event.reserved1, 0x7f, sizeof(event.reserved1));
  std::memset(event.reserved2, 0x7f, sizeof(event.reserved2));
  const tagWKEventData before = event;
  Logged<WKEDAOutputFile> output;
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, output.WriteAuditData(&event));
  EXPECT_EQ(0, std::memcmp(&before, &event, sizeof(event)));
  EXPECT_EQ(1, output.recordCount);
}

TEST_F(EdaOutputFile, EventIdIsUnsigned) {
  std::vector<tagWKEventData> events;
  for (const int id : {0, 1, 20001, 32767, 32768, 65535}) {
    events.push_back(SampleEvent());
    events.back().EventID = static_cast<std::uint16_t>(id);
  }
  std::vector<std::string> ids;
  for (const AuditElement& record : Written(events)) ids.push_back(Value(record, "EventID"));
  EXPECT_THAT(ids, ElementsAre("0", "1", "20001", "32767", "32768", "65535"));
}

constexpr std::pair<std::int64_t, const char*> kStatuses[] = {
    {0, "0"},
    {-1, "-1"},
    {-669, "-669"},
    {0x7fffffff, "2147483647"},
    {0x80000000, "-2147483648"},
    {0xffffffff, "-1"},
    {0x100000000, "0"},
    {0x100000005, "5"},
    {-0x100000001, "-1"},
    {std::numeric_limits<std::int64_t>::max(), "-1"},
    {std::numeric_limits<std::int64_t>::min(), "0"}};

TEST_F(EdaOutputFile, StatusIsItsLow32BitsSigned) {
  std::vector<tagWKEventData> events(std::size(kStatuses), SampleEvent());
  for (std::size_t i = 0; i < events.size(); ++i) events[i].Status = kStatuses[i].first;
  const std::vector<AuditElement> records = Written(events);
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(kStatuses[i].second, Value(records.at(i), "Status")) << kStatuses[i].first;
  }
}

TEST_F(EdaOutputFile, FieldsWithoutTerminatorAreTakenWhole) {
  tagWKEventData event = SampleEvent();
  char letter = 'a';
  ForEachField(event, [&](auto& field) { Fill(field, std::string(sizeof(field), letter++)); });
  const AuditElement record = Written(event);
  EXPECT_EQ(ExpectedAttributes(event), record.attributes);
  EXPECT_EQ(std::string(300, 'a'), Value(record, "UserName"));
  EXPECT_EQ(std::string(50, 'b'), Value(record, "NodeAddress"));
  EXPECT_EQ(std::string(128, 'j'), Value(record, "TreeName"));
}

TEST_F(EdaOutputFile, FieldEndsAtItsTerminator) {
  tagWKEventData event = SampleEvent();
  ForEachField(event, [&](auto& field) {
    Fill(field, std::string(sizeof(field), 'x'));
    field[sizeof(field) - 1] = '\0';
    field[1] = '\0';
  });
  const AuditElement record = Written(event);
  EXPECT_EQ("x", Value(record, "UserName"));
  EXPECT_EQ(ExpectedAttributes(event), record.attributes);
}

TEST_F(EdaOutputFile, SpecialCharactersAreEscaped) {
  tagWKEventData event = SampleEvent();
  ForEachField(event, [&](auto& field) { Fill(field, "<\"&'>\n\r\t\u00e9\u20ac\U0001f600%s%n"); });
  EXPECT_EQ(ExpectedAttributes(event), Written(event).attributes);
}

TEST_F(EdaOutputFile, RandomRecordsAreReadBack) {
  std::mt19937 random(RandomSeed());
  std::vector<Attributes> expected;
  {
    Logged<WKEDAOutputFile> output;
    ASSERT_EQ(0, output.OpenFile());
    for (int i = 0; i < 300; ++i) {
      tagWKEventData event = RandomEvent(random, Texts::kValid);
      expected.push_back(ExpectedAttributes(event));
      EXPECT_EQ(0, output.WriteAuditData(&event));
    }
  }
  const std::vector<AuditElement> records = ParseAuditFile("live.xml").Records();
  ASSERT_EQ(expected.size(), records.size());
  for (std::size_t i = 0; i < records.size(); ++i) EXPECT_EQ(expected[i], records[i].attributes);
}

struct DateCase {
  const char* zone;
  std::time_t time;
  const char* local;
  const char* utc;
};
constexpr DateCase kDates[] = {
    {"UTC0", 0, "1970-01-01T00:00:00", "1970-01-01T00:00:00"},
    {"UTC0", -1, "1969-12-31T23:59:59", "1969-12-31T23:59:59"},
    {"UTC0", 2'147'483'648, "2038-01-19T03:14:08", "2038-01-19T03:14:08"},
    {kNewYork, 0, "1969-12-31T19:00:00", "1970-01-01T00:00:00"},
    {kNewYork, 1'772'953'199, "2026-03-08T01:59:59", "2026-03-08T06:59:59"},
    {kNewYork, 1'772'953'200, "2026-03-08T03:00:00", "2026-03-08T07:00:00"},
    {kNewYork, 1'793'512'799, "2026-11-01T01:59:59", "2026-11-01T05:59:59"},
    {kNewYork, 1'793'512'800, "2026-11-01T01:00:00", "2026-11-01T06:00:00"},
    {kKathmandu, 1'794'748'925, "2026-11-15T19:07:05", "2026-11-15T13:22:05"}};

TEST_F(EdaOutputFile, DatesFollowTheZoneAndTheSeason) {
  {
    Logged<WKEDAOutputFile> output;
    ASSERT_EQ(0, output.OpenFile());
    for (const DateCase& c : kDates) {
      const TimeZone local(c.zone);
      tagWKEventData event = SampleEvent();
      event.EventTime = c.time;
      ASSERT_EQ(0, output.WriteAuditData(&event));
    }
  }
  const std::vector<AuditElement> records = ParseAuditFile("live.xml").Records();
  for (std::size_t i = 0; i < std::size(kDates); ++i) {
    EXPECT_EQ(kDates[i].local, Value(records.at(i), "LogDate"));
    EXPECT_EQ(kDates[i].local, Value(records.at(i), "InsertDate"));
    EXPECT_EQ(kDates[i].utc, Value(records.at(i), "UTCDate"));
  }
}

TEST_F(EdaOutputFile, TimeThatNoCalendarHoldsHasEmptyDates) {
  std::vector<tagWKEventData> events(2, SampleEvent());
  events[0].EventTime = std::numeric_limits<std::time_t>::max();
  events[1].EventTime = std::numeric_limits<std::time_t>::min();
  for (const AuditElement& record : Written(events)) {
    ASSERT_EQ(22U, record.attributes.size());
    EXPECT_EQ("", Value(record, "InsertDate"));
    EXPECT_EQ("", Value(record, "LogDate"));
    EXPECT_EQ("", Value(record, "UTCDate"));
  }
}

TEST_F(EdaOutputFile, RecordAtTheThresholdIsTheFirstOfANewFile) {
  Logged<WKEDAOutputFile> output;
  output.SetThresholdLimit(2);
  ASSERT_EQ(0, output.OpenFile());
  for (std::uint16_t id = 1; id <= 3; ++id) {
    tagWKEventData event = SampleEvent();
    event.EventID = id;
    EXPECT_EQ(0, output.WriteAuditData(&event));
  }
  output.CloseFile();
  ASSERT_EQ(1U, Archives().size());
  EXPECT_EQ(2U, ParseAuditFile(Archives()[0]).Records().size());
  const std::vector<AuditElement> live = ParseAuditFile("live.xml").Records();
  ASSERT_EQ(1U, live.size());
  EXPECT_EQ("3", Value(live[0], "EventID"));
}

TEST_F(EdaOutputFile, RecordWithoutDocumentReportsEachPartAndGivesZero) {
  Logged<WKEDAOutputFile> output;
  tagWKEventData event = SampleEvent();
  EXPECT_EQ(0, output.WriteAuditData(&event));
  const std::vector<std::string> messages = LogRecorder::Messages();
  ASSERT_EQ(23U, messages.size());
  const Attributes attributes = ExpectedAttributes(event);
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    const auto& [name, value] = attributes[i];
    EXPECT_EQ("Error writing attribute " + name + " - Value " + value + " Error: -1\n",
              messages[i]);
  }
  EXPECT_EQ("Error in end element\n", messages[22]);
  EXPECT_EQ(1, output.recordCount);
}

TEST_F(EdaOutputFile, DistinctObjectsShareNothing) {
  Logged<WKEDAOutputFile> one("one.xml", "One");
  Logged<WKEDAOutputFile> two("two.xml", "Two");
  tagWKEventData event = SampleEvent();
  ASSERT_EQ(0, one.OpenFile() + two.OpenFile());
  one.WriteAuditData(&event);
  event.EventID = 2;
  two.WriteAuditData(&event);
  one.CloseFile();
  two.CloseFile();
  const std::vector<AuditFile> files = ParseAuditFiles({"one.xml", "two.xml"});
  EXPECT_EQ("20008", Value(files[0].Records().at(0), "EventID"));
  EXPECT_EQ("2", Value(files[1].Records().at(0), "EventID"));
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
  Logged<WKEDAOutputFile> output;
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
  Logged<WKEDAOutputFile> output;
  char category[22];
  output.GetCategory(20009, category);
  EXPECT_STREQ("Security Equivalances", category);
}

}  // namespace
}  // namespace wkagent::test
