#include <cstring>

#include "alert/sender_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

constexpr char kSettings[] =
    "<S><a><SNMPConsoleMachineName>console.acme.example</SNMPConsoleMachineName></a>"
    "<SNMPEOI>1.3.6.1.4.1.32473.1.1</SNMPEOI><TrapDescID>1.3.6.1.4.1.32473.0.1</TrapDescID></S>";

class SnmpAlertTest : public SenderTest {
 protected:
  SnmpAlertTest() { trap_.InitializeLogMessage(LogRecorder::Callback); }

  WKSNMPAlert trap_;
};

TEST_F(SnmpAlertTest, DrivesTheComponentInOrder) {
  WriteEncrypted("SNMPSettings.cfg", kSettings);
  trap_.SetMessage(Text("bob logged in"));
  FakeComponents::destroyResult = 42;
  EXPECT_EQ(trap_.SendMessage(), 42);
  EXPECT_THAT(
      FakeComponents::Calls(),
      ElementsAre("Create \"\"", "Do 8 0", "Set 12 0 2 0", "Set 6 0 3 0", "Set 3 0 WK Agent 8",
                  "Set 2 0 1 0", "Set 7 0 67 0", "Set 8 0 1.3.6.1.2.1.1.3.0 0", "Get 13 0",
                  "Set 10 0 4711 4", "Set 7 1 6 0", "Set 8 1 1.3.6.1.6.3.1.1.4.1.0 0",
                  "Set 10 1 1.3.6.1.4.1.32473.0.1 21", "Set 7 2 4 0",
                  "Set 8 2 1.3.6.1.4.1.32473.1.1 0", "Set 10 2 bob logged in 13",
                  "Do 12 2 console.acme.example 0 1.3.6.1.4.1.32473.0.1 0", "Destroy"));
  EXPECT_FALSE(home_.Exists("config/SNMPSettings.xml"));
}

TEST_F(SnmpAlertTest, SendsAndReadsNothingForAnEmptyMessage) {
  WriteEncrypted("SNMPSettings.cfg", kSettings);
  trap_.SendMessage();
  EXPECT_THAT(FakeComponents::Calls(), ElementsAre("Create \"\"", "Destroy"));
  EXPECT_STREQ(trap_.consoleMachineName, "");
}

TEST_F(SnmpAlertTest, CutsTheUpTimeTo9Characters) {
  trap_.SetMessage(Text("m"));
  FakeComponents::upTime = 2147483647;
  trap_.SendMessage();
  FakeComponents::upTime = -5;
  trap_.SendMessage();
  EXPECT_THAT(FakeComponents::ValuesOf(10), ElementsAre("214748364", "-5"));
}

TEST_F(SnmpAlertTest, ReadsItsSettingsForEachTrap) {
  trap_.SetMessage(Text("m"));
  WriteEncrypted("SNMPSettings.cfg", kSettings);
  trap_.SendMessage();
  WriteEncrypted("SNMPSettings.cfg",
                 "<S><SNMPConsoleMachineName>one</SNMPConsoleMachineName>"
                 "<SNMPConsoleMachineName>two</SNMPConsoleMachineName></S>");
  trap_.SendMessage();
  EXPECT_STREQ(trap_.consoleMachineName, "two");
  EXPECT_STREQ(trap_.enterpriseOid, "1.3.6.1.4.1.32473.1.1");
}

TEST_F(SnmpAlertTest, SendsWithWhatItHeldWhereTheSettingsCannotBeRead) {
  trap_.SetMessage(Text("m"));
  home_.Write("config/DaemonSettings.xml", "<S/>");
  trap_.SendMessage();
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("Cannot read SMTP Settings"));
  EXPECT_EQ(FakeComponents::Calls()[16], "Do 12 2  0  0");
  EXPECT_FALSE(home_.Exists("config/SNMPSettings.xml"));
}

TEST_F(SnmpAlertTest, CutsSettingsToTheirFields) {
  const std::string text(300, 'x');
  WriteEncrypted("SNMPSettings.cfg", "<S><SNMPConsoleMachineName>" + text +
                                         "</SNMPConsoleMachineName><SNMPEOI>" + text +
                                         "</SNMPEOI><TrapDescID>" + text + "</TrapDescID></S>");
  trap_.SetMessage(Text("m"));
  trap_.SendMessage();
  EXPECT_EQ(std::strlen(trap_.consoleMachineName), 63u);
  EXPECT_EQ(std::strlen(trap_.enterpriseOid), 127u);
  EXPECT_EQ(std::strlen(trap_.trapDescriptionId), 127u);
}

TEST_F(SnmpAlertTest, AnEmptyTextLeavesTheMessage) {
  trap_.SetMessage(Text("old"));
  trap_.SetMessage(Text(""));
  trap_.SetMessage(nullptr);
  EXPECT_STREQ(trap_.message, "old");
  trap_.SetMessage(Text(std::string(300, 'x')));
  EXPECT_EQ(std::strlen(trap_.message), 255u);
}

TEST_F(SnmpAlertTest, SpoolsALine) {
  trap_.Serialize();
  EXPECT_THAT(SpoolFiles("SNMP"), IsEmpty());
  trap_.SetMessage(Text("one"));
  trap_.Serialize();
  trap_.SetMessage(Text("two %s"));
  trap_.Serialize();
  EXPECT_EQ(Spooled("SNMP"), "one\ntwo %s\n");
  EXPECT_THAT(SpoolFiles("SNMP")[0], ::testing::MatchesRegex("SNMP\\.[0-9]{14}\\.txt"));
}

TEST_F(SnmpAlertTest, ReplaysALineATrapWithItsLineEndAndDeletesTheFile) {
  home_.Write("tmp/SNMP.20261115082205.txt", "one\ntwo\nthree\n");
  EXPECT_EQ(trap_.Deserialize(Text("../tmp/SNMP.20261115082205.txt")), 0);
  std::vector<std::string> messages;
  for (const std::string& call : FakeComponents::Calls()) {
    if (call.starts_with("Set 10 2 ")) messages.push_back(call.substr(9));
  }
  EXPECT_THAT(messages, ElementsAre("one\n 4", "two\n 4", "three\n 6"));
  EXPECT_THAT(SpoolFiles("SNMP"), IsEmpty());
}

TEST_F(SnmpAlertTest, SendsALongLineAsSeveralTraps) {
  home_.Write("tmp/SNMP.1.txt", std::string(600, 'x') + "\n");
  WKSNMPAlert::SNMPAlertAvailable("SNMP.1.txt");
  std::vector<std::string> lengths;
  for (const std::string& call : FakeComponents::Calls()) {
    if (call.starts_with("Set 10 2 ")) lengths.push_back(call.substr(call.rfind(' ') + 1));
  }
  EXPECT_THAT(lengths, ElementsAre("255", "255", "91"));
}

TEST_F(SnmpAlertTest, LeavesAMissingFileAlone) {
  EXPECT_EQ(trap_.Deserialize(Text("../tmp/SNMP.1.txt")), 0);
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
}

TEST_F(SnmpAlertTest, KeepsWhatWasNotSentWhenReplayIsSafe) {
  home_.Write("tmp/SNMP.1.txt", "one\ntwo\n");
  FakeComponents::doResult = 1;
  trap_.SetSafeReplay(true);
  trap_.Deserialize(Text("../tmp/SNMP.1.txt"));
  EXPECT_FALSE(trap_.WasSent());
  EXPECT_EQ(home_.Read("tmp/SNMP.1.txt"), "one\ntwo\n");
}

TEST_F(SnmpAlertTest, TheStaticEntryNeedsALiveObjectAndABareName) {
  home_.Write("tmp/SNMP.1.txt", "one\n");
  home_.Write("config/SNMP.1.txt", "one\n");
  WKSNMPAlert::SNMPAlertAvailable("../config/SNMP.1.txt");
  { const WKSNMPAlert ended; }
  WKSNMPAlert::SNMPAlertAvailable("SNMP.1.txt");
  EXPECT_THAT(FakeComponents::Calls(), IsEmpty());
  EXPECT_TRUE(home_.Exists("tmp/SNMP.1.txt"));
  EXPECT_TRUE(home_.Exists("config/SNMP.1.txt"));
}

TEST_F(SnmpAlertTest, AnswersEveryEventWith0AndChangesNoParameter) {
  std::vector<int> results;
  int numbers[16] = {};
  void* params[16] = {};
  for (int i = 0; i < 16; ++i) params[i] = &numbers[i];
  FakeComponents::duringDo = [&](ComponentEventSink sink, void* wrapper) {
    int lengths[16] = {};
    for (int id = -1; id <= 16; ++id) results.push_back(sink(wrapper, id, 16, params, lengths));
    for (int id = 1; id <= 14; ++id) results.push_back(sink(wrapper, id, 0, params, lengths));
  };
  trap_.SetMessage(Text("m"));
  trap_.SendMessage();
  EXPECT_THAT(results, ::testing::AllOf(::testing::SizeIs(64), ::testing::Each(0)));
  for (int i = 0; i < 16; ++i) EXPECT_EQ(params[i], &numbers[i]);
}

}  // namespace
}  // namespace wkagent::test
