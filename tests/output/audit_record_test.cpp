// What the records of directory events and of logins share.

#include <cstring>
#include <iterator>
#include <limits>
#include <string>

#include "output/event_record.h"
#include "output/record_fixture.h"
#include "output/zones.h"
#include "support/local_time.h"
#include "support/random_seed.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

template <typename Kind>
class AuditRecord : public RecordFixture<Kind> {};
TYPED_TEST_SUITE(AuditRecord, RecordKinds, RecordKindName);

TYPED_TEST(AuditRecord, IsOneElementOfItsKind) {
  const AuditElement record = this->Written(SampleEvent());
  EXPECT_EQ(TypeParam::kElement, record.name);
  EXPECT_EQ(TypeParam::Expected(SampleEvent()), record.attributes);
}

TYPED_TEST(AuditRecord, EmptyRecordHasAllItsAttributes) {
  const TimeZone local("UTC0");
  tagWKEventData event{};
  EXPECT_EQ(TypeParam::Expected(event), this->Written(event).attributes);
}

TYPED_TEST(AuditRecord, RecordIsOnlyRead) {
  tagWKEventData event = SampleEvent();
  std::memset(event.reserved1, 0x7f, sizeof(event.reserved1));
  std::memset(event.reserved2, 0x7f, sizeof(event.reserved2));
  const tagWKEventData before = event;
  typename TestFixture::Output output;
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, output.WriteAuditData(&event));
  EXPECT_EQ(0, std::memcmp(&before, &event, sizeof(event)));
  EXPECT_EQ(1, output.recordCount);
}

TYPED_TEST(AuditRecord, EventIdIsUnsigned) {
  std::vector<tagWKEventData> events;
  for (const int id : {0, 1, 20001, 32767, 32768, 65535}) {
    events.push_back(SampleEvent());
    events.back().EventID = static_cast<std::uint16_t>(id);
  }
  std::vector<std::string> ids;
  for (const AuditElement& record : this->Written(events))
    ids.push_back(this->Value(record, "EventID"));
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

TYPED_TEST(AuditRecord, StatusIsItsLow32BitsSigned) {
  std::vector<tagWKEventData> events(std::size(kStatuses), SampleEvent());
  for (std::size_t i = 0; i < events.size(); ++i) events[i].Status = kStatuses[i].first;
  const std::vector<AuditElement> records = this->Written(events);
  for (std::size_t i = 0; i < events.size(); ++i) {
    EXPECT_EQ(kStatuses[i].second, this->Value(records.at(i), "Status")) << kStatuses[i].first;
  }
}

TYPED_TEST(AuditRecord, FieldsWithoutTerminatorAreTakenWhole) {
  tagWKEventData event = SampleEvent();
  char letter = 'a';
  ForEachField(event, [&](auto& field) { Fill(field, std::string(sizeof(field), letter++)); });
  const AuditElement record = this->Written(event);
  EXPECT_EQ(TypeParam::Expected(event), record.attributes);
  EXPECT_EQ(std::string(300, 'a'), this->Value(record, "UserName"));
  EXPECT_EQ(std::string(50, 'b'), this->Value(record, "NodeAddress"));
  EXPECT_EQ(std::string(128, 'j'), this->Value(record, "TreeName"));
}

TYPED_TEST(AuditRecord, FieldEndsAtItsTerminator) {
  tagWKEventData event = SampleEvent();
  ForEachField(event, [&](auto& field) {
    Fill(field, std::string(sizeof(field), 'x'));
    field[sizeof(field) - 1] = '\0';
    field[1] = '\0';
  });
  const AuditElement record = this->Written(event);
  EXPECT_EQ("x", this->Value(record, "UserName"));
  EXPECT_EQ(TypeParam::Expected(event), record.attributes);
}

TYPED_TEST(AuditRecord, SpecialCharactersAreEscaped) {
  tagWKEventData event = SampleEvent();
  ForEachField(event, [&](auto& field) { Fill(field, "<\"&'>\n\r\t\u00e9\u20ac\U0001f600%s%n"); });
  EXPECT_EQ(TypeParam::Expected(event), this->Written(event).attributes);
}

TYPED_TEST(AuditRecord, RandomRecordsAreReadBack) {
  std::mt19937 random(RandomSeed());
  std::vector<Attributes> expected;
  {
    typename TestFixture::Output output;
    ASSERT_EQ(0, output.OpenFile());
    for (int i = 0; i < 300; ++i) {
      tagWKEventData event = RandomEvent(random, Texts::kValid);
      expected.push_back(TypeParam::Expected(event));
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

TYPED_TEST(AuditRecord, DatesFollowTheZoneAndTheSeason) {
  {
    typename TestFixture::Output output;
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
    EXPECT_EQ(kDates[i].local, this->Value(records.at(i), "LogDate"));
    EXPECT_EQ(kDates[i].local, this->Value(records.at(i), "InsertDate"));
    EXPECT_EQ(kDates[i].utc, this->Value(records.at(i), "UTCDate"));
  }
}

TYPED_TEST(AuditRecord, TimeThatNoCalendarHoldsHasEmptyDates) {
  std::vector<tagWKEventData> events(2, SampleEvent());
  events[0].EventTime = std::numeric_limits<std::time_t>::max();
  events[1].EventTime = std::numeric_limits<std::time_t>::min();
  for (const AuditElement& record : this->Written(events)) {
    ASSERT_EQ(TypeParam::Expected(SampleEvent()).size(), record.attributes.size());
    EXPECT_EQ("", this->Value(record, "InsertDate"));
    EXPECT_EQ("", this->Value(record, "LogDate"));
    EXPECT_EQ("", this->Value(record, "UTCDate"));
  }
}

TYPED_TEST(AuditRecord, RecordAtTheThresholdIsTheFirstOfANewFile) {
  typename TestFixture::Output output;
  output.SetThresholdLimit(2);
  ASSERT_EQ(0, output.OpenFile());
  for (std::uint16_t id = 1; id <= 3; ++id) {
    tagWKEventData event = SampleEvent();
    event.EventID = id;
    EXPECT_EQ(0, output.WriteAuditData(&event));
  }
  output.CloseFile();
  ASSERT_EQ(1U, this->Archives().size());
  EXPECT_EQ(2U, ParseAuditFile(this->Archives()[0]).Records().size());
  const std::vector<AuditElement> live = ParseAuditFile("live.xml").Records();
  ASSERT_EQ(1U, live.size());
  EXPECT_EQ("3", this->Value(live[0], "EventID"));
}

TYPED_TEST(AuditRecord, RecordWithoutDocumentReportsEachPartAndGivesZero) {
  typename TestFixture::Output output;
  tagWKEventData event = SampleEvent();
  EXPECT_EQ(0, output.WriteAuditData(&event));
  const std::vector<std::string> messages = LogRecorder::Messages();
  const Attributes attributes = TypeParam::Expected(event);
  ASSERT_EQ(attributes.size() + 1, messages.size());
  for (std::size_t i = 0; i < attributes.size(); ++i) {
    const auto& [name, value] = attributes[i];
    EXPECT_EQ("Error writing attribute " + name + " - Value " + value + " Error: -1\n",
              messages[i]);
  }
  EXPECT_EQ("Error in end element\n", messages.back());
  EXPECT_EQ(1, output.recordCount);
}

TYPED_TEST(AuditRecord, DistinctObjectsShareNothing) {
  typename TestFixture::Output one("one.xml", "One");
  typename TestFixture::Output two("two.xml", "Two");
  tagWKEventData event = SampleEvent();
  ASSERT_EQ(0, one.OpenFile() + two.OpenFile());
  one.WriteAuditData(&event);
  event.EventID = 2;
  two.WriteAuditData(&event);
  one.CloseFile();
  two.CloseFile();
  const std::vector<AuditFile> files = ParseAuditFiles({"one.xml", "two.xml"});
  EXPECT_EQ("20008", this->Value(files[0].Records().at(0), "EventID"));
  EXPECT_EQ("2", this->Value(files[1].Records().at(0), "EventID"));
}

}  // namespace
}  // namespace wkagent::test
