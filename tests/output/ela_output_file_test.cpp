// Logins and logouts as records.

#include <string>
#include <vector>

#include "output/event_record.h"
#include "output/record_fixture.h"
#include "output/zones.h"
#include "support/local_time.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

static_assert(sizeof(WKELAOutputFile) == sizeof(WKOutputFile));

class ElaOutputFile : public RecordFixture<LoginRecord> {};

// What SampleEvent() must be written as by a login writer, where it is New York.
const Attributes kSampleAttributes = {{"Origin", "ELA"},
                                      {"Source", "Linux"},
                                      {"Category", "Logout"},
                                      {"EventID", "20008"},
                                      {"Status", "-603"},
                                      {"UserName", "admin.sales.acme"},
                                      {"UserGUID", ""},
                                      {"NodeAddress", "192.0.2.17"},
                                      {"ServerName", "srv1.acme"},
                                      {"TreeName", "ACME_TREE"},
                                      {"RecordHash", ""},
                                      {"InsertDate", "2026-11-15T08:22:05"},
                                      {"LogDate", "2026-11-15T08:22:05"},
                                      {"UTCDate", "2026-11-15T13:22:05"}};

TEST_F(ElaOutputFile, RecordHasItsAttributesInOrder) {
  const TimeZone local(kNewYork);
  const AuditElement record = Written(SampleEvent());
  EXPECT_EQ("ELADataRecord", record.name);
  EXPECT_EQ(kSampleAttributes, record.attributes);
}

TEST_F(ElaOutputFile, EveryEventButALoginIsALogout) {
  std::vector<tagWKEventData> events;
  for (const int id : {21001, 21002, 21000, 21003, 0, 20001, 65535}) {
    events.push_back(SampleEvent());
    events.back().EventID = static_cast<std::uint16_t>(id);
  }
  EXPECT_THAT(Values(Written(events), "Category"),
              ElementsAre("Login", "Logout", "Logout", "Logout", "Logout", "Logout", "Logout"));
}

TEST_F(ElaOutputFile, RecordsOfBothKindsGoIntoTheirOwnFiles) {
  Logged<WKEDAOutputFile> directory("eda.xml", "EDAuditData");
  Output login("ela.xml", "ELAuditData");
  tagWKEventData event = SampleEvent();
  ASSERT_EQ(0, directory.OpenFile() + login.OpenFile());
  EXPECT_EQ(0, directory.WriteAuditData(&event) + login.WriteAuditData(&event));
  directory.CloseFile();
  login.CloseFile();
  const std::vector<AuditFile> files = ParseAuditFiles({"eda.xml", "ela.xml"});
  EXPECT_THAT(files[0].Names(), ElementsAre("EDAuditData", "EDADataRecords", "EDADataRecord"));
  EXPECT_THAT(files[1].Names(), ElementsAre("ELAuditData", "EDADataRecords", "ELADataRecord"));
}

TEST_F(ElaOutputFile, ArchiveIsNamedAfterItsRoot) {
  Output output("live.xml", "ELAuditData", "ELADataRecords");
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  tagWKEventData event = SampleEvent();
  output.WriteAuditData(&event);
  output.WriteAuditData(&event);
  ASSERT_EQ(1U, Archives().size());
  EXPECT_THAT(home_.List("outbox")[0], ::testing::MatchesRegex("ELA[0-9]{14}\\.xml"));
}

}  // namespace
}  // namespace wkagent::test
