#include "agent/pipeline.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include "agent/auditlog_fixture.h"
#include "agent/event_codes.h"
#include "agent/field_text.h"
#include "agent/jsonl_feed.h"
#include "support/agent_home.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

// A statement on the users whose names hold `user`; empty covers all.
std::string Statement(const std::string& user, bool include = true,
                      const std::string& alerts = "") {
  return std::string("<Filter Title=\"t\" IncludeExclude=\"") + (include ? "1" : "0") +
         "\" Enabled=\"1\" AllDay=\"1\" Context=\"\" IncludeSubContainers=\"1\">\n"
         "<Operations AllOperations=\"1\"/>\n<Users AllUsers=\"" +
         (user.empty() ? "1" : "0") + "\">" +
         (user.empty() ? "" : "<User Name=\"" + user + "\"/>") +
         "</Users>\n<Objects AllObjects=\"1\"/>\n<Classes AllClasses=\"1\"/>\n"
         "<Attributes AllAttributes=\"1\"/>\n<AttributeValues AllAttributeValues=\"1\"/>\n" +
         alerts + "</Filter>\n";
}

// A login filter file that covers logins and logouts of the users whose names hold `user`.
std::string Logins(const std::string& user, const std::string& condition) {
  return "<F><Filter Title=\"\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\"/>"
         "<Operations AllOperations=\"0\"/><Operation EventId=\"21001\" Condition=\"" +
         condition + "\"/><Operation EventId=\"21002\" Condition=\"" + condition +
         "\"/><Users AllUsers=\"" + (user.empty() ? "1" : "0") + "\"/>" +
         (user.empty() ? "" : "<User Name=\"" + user + "\"/>") + "<Nodes AllNodes=\"1\"/></F>";
}

constexpr char kAllAlerts[] =
    "<SNMP Alert=\"1\"/><SysLog Alert=\"1\"/>"
    "<SMTP Alert=\"1\" From=\"a@acme\" Subject=\"s\" To=\"b@acme\" Cc=\"\"/>";

std::string Filters(const std::string& statements) {
  return "<?xml version=\"1.0\"?>\n<Filters>\n" + statements + "</Filters>\n";
}

using Record = std::vector<std::pair<std::string, std::string>>;

// The records of an audit file, which must be complete XML.
std::vector<Record> RecordsIn(const std::string& path) {
  const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> document(
      xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET), xmlFreeDoc);
  EXPECT_NE(nullptr, document) << path;
  if (document == nullptr) return {};
  std::vector<Record> records;
  const xmlNode* const group = xmlFirstElementChild(xmlDocGetRootElement(document.get()));
  for (xmlNode* node = group->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    records.emplace_back();
    for (const xmlAttr* attribute = node->properties; attribute != nullptr;
         attribute = attribute->next) {
      const std::unique_ptr<xmlChar, decltype(xmlFree)> value(
          xmlNodeListGetString(document.get(), attribute->children, 1), xmlFree);
      records.back().emplace_back(reinterpret_cast<const char*>(attribute->name),
                                  value ? reinterpret_cast<const char*>(value.get()) : "");
    }
  }
  return records;
}

std::string ValueOf(const Record& record, const std::string& name) {
  for (const auto& [attribute, value] : record) {
    if (attribute == name) return value;
  }
  return "no " + name;
}

class PipelineTest : public ::testing::Test {
 protected:
  PipelineTest() { home_.Write("config/EDAFilter.xml", Filters(Statement(""))); }

  // Calls `action`; what it printed is in `printed_` then.
  template <typename Action>
  auto Quietly(Action action) {
    ::testing::internal::CaptureStderr();
    struct End {
      ~End() { text = ::testing::internal::GetCapturedStderr(); }
      std::string& text;
    } const end{printed_};
    return action();
  }

  // Starts a pipeline on the home as it is.
  ExitStatus Start() {
    pipeline_ = std::make_unique<Pipeline>(root_, "the feed");
    return Quietly([&] { return pipeline_->Start(); });
  }

  void Send(const std::string& user, int count = 1, int code = kEntryAdded) {
    tagWKEventData event{};
    event.EventID = static_cast<std::uint16_t>(code);
    SetField(event.UserName, user);
    Quietly([&] {
      for (int i = 0; i < count; ++i) {
        SetField(event.Object1, "object" + std::to_string(sent_++) + ".acme");
        pipeline_->OnEvent(event);
      }
      return 0;
    });
  }

  void Reload(const std::string& filterFile) {
    home_.Write("config/EDAFilter.xml", filterFile);
    Quietly([&] {
      pipeline_->Reload();
      return 0;
    });
  }

  ExitStatus Finish() {
    return Quietly([&] { return pipeline_->Finish(); });
  }

  [[nodiscard]] Totals GetTotals() { return pipeline_->GetTotals(); }

  // The numbers of the objects in all audit files of the home, sorted.
  [[nodiscard]] std::vector<int> Written() {
    std::vector<int> numbers;
    for (const std::string folder : {"outbox", "tmp"}) {
      for (const std::string& name : home_.List(folder)) {
        if (!name.starts_with("EDA")) continue;
        for (const Record& record : RecordsIn(home_.Path(folder + "/" + name))) {
          numbers.push_back(std::stoi(ValueOf(record, "Object1").substr(6)));
        }
      }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
  }

  [[nodiscard]] static std::vector<int> Numbers(int count) {
    std::vector<int> numbers;
    for (int i = 0; i < count; ++i) numbers.push_back(i);
    return numbers;
  }

  AgentHome home_;
  const std::string root_ = std::filesystem::path(home_.Path("bin")).parent_path().string();
  std::unique_ptr<Pipeline> pipeline_;
  std::string printed_;
  int sent_ = 0;
};

// Start.

TEST_F(PipelineTest, StartsQuietlyAndOpensTheLiveFile) {
  EXPECT_EQ(kDone, Start());
  EXPECT_EQ("", printed_);
  EXPECT_TRUE(home_.Exists("tmp/EDALive.xml"));
  EXPECT_FALSE(pipeline_->Failed());
}

TEST_F(PipelineTest, AMissingFilterFileIsBadConfiguration) {
  std::filesystem::remove(home_.Path("config/EDAFilter.xml"));
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ +
                                  "/config/EDAFilter.xml: No such file or directory\n"));
  EXPECT_FALSE(home_.Exists("tmp/EDALive.xml"));
}

TEST_F(PipelineTest, AMalformedFilterFileIsBadConfigurationWithItsLine) {
  home_.Write("config/EDAFilter.xml", "<Filters>\n\n<Filter a=\"1\" a=\"2\"/>\n</Filters>\n");
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ + "/config/EDAFilter.xml:3: "));
}

TEST_F(PipelineTest, AnEmptyFileIsBadConfigurationToo) {
  for (const char* const text : {"", "\n", "not XML", "<Filters>", "\0", "<a/><b/>"}) {
    home_.Write("config/EDAFilter.xml", text);
    EXPECT_EQ(kBadConfiguration, Start()) << text;
    EXPECT_THAT(printed_, HasSubstr(root_ + "/config/EDAFilter.xml:")) << text;
  }
}

TEST_F(PipelineTest, AFolderIsNoFilterFile) {
  std::filesystem::remove(home_.Path("config/EDAFilter.xml"));
  std::filesystem::create_directory(home_.Path("config/EDAFilter.xml"));
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr("/config/EDAFilter.xml: Is a directory\n"));
}

TEST_F(PipelineTest, WithoutStatementsEveryEventIsDroppedAndTheOperatorToldSo) {
  home_.Write("config/EDAFilter.xml", "<Filters/>\n");
  EXPECT_EQ(kDone, Start());
  EXPECT_EQ("wkagentd: " + root_ +
                "/config/EDAFilter.xml: it has no Filter element, so every event "
                "is dropped\n",
            printed_);
  Send("a", 3);
  EXPECT_EQ(3, GetTotals().dropped);
}

TEST_F(PipelineTest, WithoutItsFolderTheLiveFileCannotBeWritten) {
  std::filesystem::remove(home_.Path("tmp"));
  EXPECT_EQ(kOutputFailed, Start());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ + "/tmp/EDALive.xml: cannot be written\n"));
}

TEST_F(PipelineTest, InAReadOnlyFolderTheLiveFileCannotBeWritten) {
  InPrivateRoot([&] {
    MountReadOnly(home_.Path("tmp"));
    EXPECT_EQ(kOutputFailed, Start());
    EXPECT_THAT(printed_, HasSubstr(root_ + "/tmp/EDALive.xml: cannot be written\n"));
  });
}

// Decisions and totals.

TEST_F(PipelineTest, KeptEventsAreWrittenAndDroppedOnesAreNot) {
  home_.Write("config/EDAFilter.xml", Filters(Statement("bob") + Statement("bobby", false)));
  ASSERT_EQ(kDone, Start());
  Send("bob.acme");     // object 0
  Send("eve.acme");     // 1, covered by no statement
  Send("bobby.acme");   // 2, excluded
  Send("bob.it.acme");  // 3
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(Written(), ElementsAre(0, 3));
  const Totals totals = GetTotals();
  EXPECT_EQ(4, totals.read);
  EXPECT_EQ(2, totals.kept);
  EXPECT_EQ(2, totals.dropped);
  EXPECT_EQ(0, totals.malformed);
}

TEST_F(PipelineTest, WithoutALoginFilterLoginsAreDropped) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 1, kLogin);
  Send("bob", 1, kLogout);
  EXPECT_EQ(2, GetTotals().dropped);
  EXPECT_EQ(0, GetTotals().kept);
  EXPECT_FALSE(home_.Exists("tmp/ELALive.xml"));
}

TEST_F(PipelineTest, LoginsHaveAFilterAndALiveFileOfTheirOwn) {
  home_.Write("config/EDAFilter.xml", "<F/>");
  home_.Write("config/ELAFilter.xml", Logins("bob", "0"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 1, kLogin);
  Send("eve", 1, kLogin);
  Send("bob", 1, kLogout);
  Send("bob", 1, kEntryAdded);
  EXPECT_EQ(kDone, Finish());
  EXPECT_EQ(2, GetTotals().dropped);
  const std::vector<Record> records = RecordsIn(home_.Path("tmp/ELALive.xml"));
  ASSERT_THAT(records, SizeIs(2));
  EXPECT_EQ("Login", ValueOf(records[0], "Category"));
  EXPECT_EQ("Logout", ValueOf(records[1], "Category"));
}

TEST_F(PipelineTest, TheConditionOfALoginDecides) {
  home_.Write("config/ELAFilter.xml", Logins("bob", "706"));
  ASSERT_EQ(kDone, Start());
  JsonlFeed feed(*pipeline_);
  feed.Take("{\"EventID\":21001,\"UserName\":\"bob\",\"Condition\":706}\n");
  feed.Take("{\"EventID\":21001,\"UserName\":\"bob\",\"Condition\":705}\n");
  feed.Take("{\"EventID\":21001,\"UserName\":\"bob\"}\n");
  EXPECT_EQ(1, GetTotals().kept);
  EXPECT_EQ(2, GetTotals().dropped);
}

TEST_F(PipelineTest, ArchivesOfTheTwoKindsBearTheirLetters) {
  home_.Write("config/ELAFilter.xml", Logins("", "0"));
  ASSERT_EQ(kDone, Start());
  Settings settings;
  settings.archiveThreshold = 2;
  pipeline_->Apply(settings);
  Send("bob", 3, kLogin);
  Send("bob", 3, kEntryAdded);
  EXPECT_THAT(home_.Archives(), ElementsAre(StartsWith("EDA"), StartsWith("ELA")));
}

TEST_F(PipelineTest, ABrokenLoginFilterIsBadConfiguration) {
  home_.Write("config/ELAFilter.xml", "<F>");
  EXPECT_EQ(kBadConfiguration, Start());
  EXPECT_THAT(printed_, HasSubstr(root_ + "/config/ELAFilter.xml:1: "));
}

TEST_F(PipelineTest, ALoginFilterThatComesLaterIsTakenOver) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 1, kLogin);
  home_.Write("config/ELAFilter.xml", Logins("", "0"));
  Quietly([&] {
    pipeline_->Reload("ELAFilter.xml");
    return 0;
  });
  EXPECT_THAT(printed_, HasSubstr(root_ + "/config/ELAFilter.xml: read again, 1 statements\n"));
  Send("bob", 1, kLogin);
  EXPECT_EQ(1, GetTotals().kept);
  EXPECT_EQ(1, GetTotals().dropped);
}

TEST_F(PipelineTest, ABrokenLoginFilterThatComesLaterIsReported) {
  ASSERT_EQ(kDone, Start());
  home_.Write("config/ELAFilter.xml", "<F>");
  Quietly([&] {
    pipeline_->Reload();
    return 0;
  });
  EXPECT_THAT(printed_, HasSubstr("; there is no filter yet that could stay in force\n"));
  Send("bob", 1, kLogin);
  EXPECT_EQ(1, GetTotals().dropped);
}

TEST_F(PipelineTest, AReloadByNameLeavesTheOtherFilterAlone) {
  ASSERT_EQ(kDone, Start());
  home_.Write("config/EDAFilter.xml", "<F/>");
  Quietly([&] {
    pipeline_->Reload("ELAFilter.xml");
    return 0;
  });
  EXPECT_EQ("", printed_);
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
}

TEST_F(PipelineTest, AlertsOfKeptEventsAreCounted) {
  home_.Write("config/EDAFilter.xml",
              Filters(Statement("bob", true, kAllAlerts) + Statement("eve", false, kAllAlerts) +
                      Statement("zoe", true)));
  ASSERT_EQ(kDone, Start());
  Send("bob");
  Send("eve");
  Send("zoe");
  Send("bob");
  EXPECT_EQ(6, GetTotals().alerts);
}

TEST_F(PipelineTest, MalformedEntriesAreReportedWithFeedAndLine) {
  ASSERT_EQ(kDone, Start());
  Quietly([&] {
    pipeline_->OnMalformed(12, "not a JSON object");
    pipeline_->OnMalformed(13, "EventID is missing");
    return 0;
  });
  EXPECT_EQ(
      "wkagentd: the feed:12: not a JSON object; skipped\n"
      "wkagentd: the feed:13: EventID is missing; skipped\n",
      printed_);
  EXPECT_EQ(2, GetTotals().malformed);
  EXPECT_EQ(0, GetTotals().read);
}

TEST_F(PipelineTest, TotalsAreOneLine) {
  EXPECT_EQ(
      "wkagentd: totals: read 5, malformed 1, kept 3, dropped 2, files archived 4, alerts "
      "gathered 6",
      Describe({5, 1, 3, 2, 4, 6}));
  EXPECT_EQ(
      "wkagentd: totals: read 0, malformed 0, kept 0, dropped 0, files archived 0, alerts "
      "gathered 0",
      Describe({}));
}

// Reload.

TEST_F(PipelineTest, ReloadedFiltersDecideTheEventsThatFollow) {
  ASSERT_EQ(kDone, Start());
  Send("bob");
  Reload(Filters(Statement("eve") + Statement("zoe")));
  EXPECT_EQ("wkagentd: " + root_ + "/config/EDAFilter.xml: read again, 2 statements\n", printed_);
  Send("bob");
  Send("eve");
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(Written(), ElementsAre(0, 2));
}

TEST_F(PipelineTest, AReloadThatFailsLeavesTheOldFiltersInForce) {
  ASSERT_EQ(kDone, Start());
  Reload("<Filters>\n<Filter\n");
  EXPECT_THAT(printed_, AllOf(HasSubstr(root_ + "/config/EDAFilter.xml:"),
                              HasSubstr("; the filters read before stay in force\n")));
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
  Reload(Filters(Statement("eve")));
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
  EXPECT_EQ(1, GetTotals().dropped);
}

TEST_F(PipelineTest, AReloadOfAMissingFileLeavesTheOldFiltersInForce) {
  ASSERT_EQ(kDone, Start());
  std::filesystem::remove(home_.Path("config/EDAFilter.xml"));
  Quietly([&] {
    pipeline_->Reload();
    return 0;
  });
  EXPECT_THAT(printed_, HasSubstr("wkagentd: " + root_ +
                                  "/config/EDAFilter.xml: No such file or directory; the filters "
                                  "read before stay in force\n"));
  Send("bob");
  EXPECT_EQ(1, GetTotals().kept);
}

// Files.

TEST_F(PipelineTest, FullFilesAreArchived) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 1200);
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Archives(), SizeIs(2));
  EXPECT_EQ(2, GetTotals().archived);
  EXPECT_THAT(RecordsIn(home_.Path("tmp/EDALive.xml")), SizeIs(200));
  EXPECT_EQ(Numbers(1200), Written());
}

TEST_F(PipelineTest, WhatAnEarlierProcessLeftIsArchived) {
  ASSERT_EQ(kDone, Start());
  Send("bob", 3);
  EXPECT_EQ(kDone, Finish());
  pipeline_.reset();
  ASSERT_EQ(kDone, Start());
  EXPECT_THAT(home_.Archives(), SizeIs(1));
  EXPECT_THAT(printed_, HasSubstr("wkagentd: Created archive file"));
  Send("bob", 2);
  EXPECT_EQ(kDone, Finish());
  EXPECT_EQ(Numbers(5), Written());
}

TEST_F(PipelineTest, WithoutOutboxNothingIsLost) {
  std::filesystem::remove(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 1100);
  EXPECT_THAT(printed_, HasSubstr("wkagentd: Rename error"));
  EXPECT_FALSE(pipeline_->Failed());
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(printed_, HasSubstr("wkagentd: 2 files wait in " + root_ + "/tmp to be archived\n"));
  EXPECT_EQ(0, GetTotals().archived);
  std::filesystem::create_directory(home_.Path("outbox"));
  EXPECT_EQ(Numbers(1100), Written());
}

TEST_F(PipelineTest, WhatWaitedIsArchivedOnceTheOutboxIsBack) {
  std::filesystem::remove(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 1100);
  std::filesystem::create_directory(home_.Path("outbox"));
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Archives(), SizeIs(2));
  EXPECT_THAT(home_.List("tmp"), ElementsAre("EDALive.xml", "wkagentd.status"));
  EXPECT_EQ(Numbers(1100), Written());
}

TEST_F(PipelineTest, WhatAnEarlierProcessCouldNotArchiveIsArchivedAtStart) {
  std::filesystem::remove(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  Send("bob", 501);
  EXPECT_EQ(kDone, Finish());
  pipeline_.reset();
  std::filesystem::create_directory(home_.Path("outbox"));
  ASSERT_EQ(kDone, Start());
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Archives(), SizeIs(2));
  EXPECT_EQ(Numbers(501), Written());
}

TEST_F(PipelineTest, IdleMakesRecordsVisible) {
  ASSERT_EQ(kDone, Start());
  Send("bob");
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), Not(HasSubstr("object0.acme")));
  pipeline_->Idle();
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), HasSubstr("object0.acme"));
  EXPECT_FALSE(pipeline_->Failed());
}

TEST_F(PipelineTest, AFullDiskFailsWithTheFilesName) {
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=32k");
    ASSERT_EQ(kDone, Start());
    for (int i = 0; i < 1000 && !pipeline_->Failed(); ++i) Send("bob", 1);
    EXPECT_TRUE(pipeline_->Failed());
    EXPECT_THAT(printed_, EndsWith("wkagentd: " + root_ +
                                   "/tmp/EDALive.xml: cannot be written: No space left on device; "
                                   "the feed can be read again\n"));
    const std::int64_t read = GetTotals().read;
    EXPECT_GT(read, 0);
    Send("bob", 10);
    EXPECT_EQ("", printed_);
    EXPECT_EQ(read, GetTotals().read);
    EXPECT_EQ(kOutputFailed, Finish());
    Unmount(home_.Path("tmp"));
  });
}

TEST_F(PipelineTest, ADiskThatIsFullAtTheEndFails) {
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=8k");
    ASSERT_EQ(kDone, Start());
    home_.Write("tmp/ballast", std::string(std::size_t{8} << 10, 'x'));
    Send("bob", 2);
    EXPECT_EQ(kOutputFailed, Finish());
    EXPECT_THAT(printed_, HasSubstr(root_ + "/tmp/EDALive.xml: cannot be "));
    Unmount(home_.Path("tmp"));
  });
}

TEST_F(PipelineTest, ADiskThatIsFullWhenIdleFails) {
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=8k");
    ASSERT_EQ(kDone, Start());
    home_.Write("tmp/ballast", std::string(std::size_t{8} << 10, 'x'));
    Send("bob", 2);
    Quietly([&] {
      pipeline_->Idle();
      return 0;
    });
    EXPECT_TRUE(pipeline_->Failed());
    EXPECT_THAT(printed_, HasSubstr("No space left on device"));
    EXPECT_EQ(kOutputFailed, Finish());
    Unmount(home_.Path("tmp"));
  });
}

// The position in a log.

TEST_F(PipelineTest, ThePositionIsSavedWithTheRecords) {
  ASSERT_EQ(kDone, Start());
  pipeline_->KeepPosition("the log", {});
  Send("bob");
  pipeline_->OnEntryRead("20261120204603.000012Z#000000#000#000000", "a");
  EXPECT_FALSE(home_.Exists("tmp/accesslog.position"));
  pipeline_->Idle();
  LogPosition position;
  EXPECT_TRUE(position.FromText(home_.Read("tmp/accesslog.position"), "the log"));
  EXPECT_TRUE(position.Contains("a"));
  EXPECT_THAT(home_.Read("tmp/EDALive.xml"), HasSubstr("object0.acme"));
}

TEST_F(PipelineTest, ThePositionIsSavedAtTheEnd) {
  ASSERT_EQ(kDone, Start());
  pipeline_->KeepPosition("the log", {});
  pipeline_->OnEntryRead("20261120204603.000012Z#000000#000#000000", "a");
  EXPECT_EQ(kDone, Finish());
  EXPECT_THAT(home_.Read("tmp/accesslog.position"), HasSubstr(" a\n"));
}

TEST_F(PipelineTest, APositionThatCannotBeSavedIsReportedOnce) {
  ASSERT_EQ(kDone, Start());
  pipeline_->KeepPosition("the log", {});
  std::filesystem::create_directory(home_.Path("tmp/accesslog.position.new"));
  for (int i = 0; i < 3; ++i) {
    pipeline_->OnEntryRead("20261120204603.000012Z#000000#000#000000", std::to_string(i));
    Quietly([&] {
      pipeline_->Idle();
      return 0;
    });
    EXPECT_EQ(i == 0,
              printed_.find("/tmp/accesslog.position: Is a directory;") != std::string::npos);
  }
}

// From feed to file.

TEST_F(PipelineTest, EveryTextOfAnEventArrivesInItsRecord) {
  ASSERT_EQ(kDone, Start());
  JsonlFeed feed(*pipeline_);
  feed.Take(
      "{\"EventID\":20005,\"Status\":-601,\"UserName\":\"a\\\"<&>'b\",\"NodeAddress\":\"::1\","
      "\"Class1\":\"c\",\"Object1\":\"J\u00FCrgen \\ud83d\\ude00\",\"Attribute1\":\"d\","
      "\"AttributeValue\":\"1\\n2\\t3\\r\\u0000\\u001b\\uffff\",\"Class2\":\"e\",\"Object2\":"
      "\"]]>\",\"ServerName\":\"s\",\"TreeName\":\"t\",\"EventTime\":0}\n");
  EXPECT_EQ(kDone, Finish());
  const std::vector<Record> records = RecordsIn(home_.Path("tmp/EDALive.xml"));
  ASSERT_THAT(records, SizeIs(1));
  const Record& record = records[0];
  EXPECT_EQ("20005", ValueOf(record, "EventID"));
  EXPECT_EQ("-601", ValueOf(record, "Status"));
  EXPECT_EQ("a\"<&>'b", ValueOf(record, "UserName"));
  EXPECT_EQ("J\u00FCrgen \U0001F600", ValueOf(record, "Object1"));
  EXPECT_EQ("1\n2\t3\r\uFFFD\uFFFD\uFFFD", ValueOf(record, "AttributeValue"));
  EXPECT_EQ("]]>", ValueOf(record, "Object2"));
  EXPECT_EQ("1970-01-01T00:00:00", ValueOf(record, "UTCDate"));
}

TEST_F(PipelineTest, TheSampleLogsEventsAreAllWrittenAndNoPassword) {
  ASSERT_EQ(kDone, Start());
  AuditlogFeed feed(*pipeline_, "dir1");
  Quietly([&] {
    TakeInBlocks(feed, SampleLog(), 4096);
    return 0;
  });
  EXPECT_EQ(kDone, Finish());
  std::size_t records = 0;
  std::string text;
  for (const std::string folder : {"outbox", "tmp"}) {
    for (const std::string& name : home_.List(folder)) {
      text += home_.Read(folder + "/" + name);
      if (!name.starts_with("EDA")) continue;
      records += RecordsIn(home_.Path(folder + "/" + name)).size();
    }
  }
  EXPECT_EQ(Found(SampleLog()).events.size(), records);
  EXPECT_EQ(static_cast<std::int64_t>(records), GetTotals().kept);
  for (const char* const trace : {"c2VjcmV0", "\"secret\"", "{SSHA}", "e1NTSEF9"}) {
    EXPECT_THAT(text, Not(HasSubstr(trace)));
  }
}

}  // namespace
}  // namespace wkagent::test
