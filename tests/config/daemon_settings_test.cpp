#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/config.h>

#include "support/counted_heap.h"
#include "support/printed.h"
#include "tests/config/settings_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

static_assert(std::is_base_of_v<WKConfigFile, WKDaemonSettings>);
static_assert(sizeof(WKDaemonSettings::workspaceGuid) == 128);

constexpr char kFile[] = "DaemonSettings.xml";

// A `Logging` element with its switch as an attribute.
std::string Logging(const std::string& enable, const std::string& elements = "") {
  return "<Logging Enable=\"" + enable + "\">" + elements + "</Logging>";
}

const std::string kAddresses = Element("From", "from") + Element("To", "to") + Element("CC", "cc");

class DaemonSettings : public SettingsFixture<WKDaemonSettings> {
 protected:
  void ReadElements(const std::string& elements) {
    WriteElements(kFile, elements);
    EXPECT_EQ(reader_.Read(), 0) << elements;
  }

  // The three numbers and the three flags, in one line.
  std::string Show() {
    std::string text;
    for (const int number : {reader_.GetPollInterval(), reader_.GetTransferInterval(),
                             reader_.GetArchiveThreshold()}) {
      text += std::to_string(number) + " ";
    }
    for (const bool flag : {reader_.GetAuditDaemonStart(), reader_.GetAuditDaemonStop(),
                            reader_.GetPersistentMount()}) {
      text += flag ? "1" : "0";
    }
    return text;
  }

  // The mail addressing, in one line.
  std::string ShowMail() {
    const auto shown = [](const char* text) { return text == nullptr ? "-" : text; };
    return std::string(shown(reader_.alert.GetFrom())) + " " + shown(reader_.alert.GetTo()) + " " +
           shown(reader_.alert.GetCC()) + (reader_.alert.IsSMTPAlertActive() ? " on" : " off");
  }
};

constexpr char kDefaults[] = "10 15 500 000";

const std::string kDefaultElements =
    Element("PollInterval", "10") + Element("TxfrInterval", "15") + Element("ArmThreshold", "500") +
    Element("QRAServiceStart", "0") + Element("QRAServiceStop", "0") +
    Element("PersistentMount", "0");

TEST_F(DaemonSettings, StartWithTheirDefaults) {
  EXPECT_EQ(Show(), kDefaults);
  EXPECT_FALSE(reader_.loggingEnabled);
  EXPECT_STREQ(reader_.GetWorkspaceGuid(), "");
  EXPECT_EQ(ShowMail(), "- - - off");
}

TEST_F(DaemonSettings, FieldsStandInTheirOrder) {
  EXPECT_LT(&reader_.pollInterval, &reader_.transferInterval);
  EXPECT_LT(&reader_.transferInterval, &reader_.archiveThreshold);
  EXPECT_LT(static_cast<void*>(&reader_.archiveThreshold),
            static_cast<void*>(&reader_.auditDaemonStart));
  EXPECT_LT(&reader_.auditDaemonStart, &reader_.auditDaemonStop);
  EXPECT_LT(&reader_.auditDaemonStop, &reader_.loggingEnabled);
  EXPECT_LT(&reader_.loggingEnabled, &reader_.persistentMount);
  EXPECT_LT(static_cast<void*>(&reader_.persistentMount),
            static_cast<void*>(reader_.workspaceGuid));
  EXPECT_LT(static_cast<void*>(reader_.workspaceGuid), static_cast<void*>(&reader_.alert));
}

TEST_F(DaemonSettings, MissingFileFailsIsLoggedAndKeepsTheDefaults) {
  EXPECT_EQ(reader_.Read(), 1);
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("WKConfigFile.ReadFile:Unable to access file "
                                                   "../config/DaemonSettings.xml - Error 2\n"));
  EXPECT_EQ(Show(), kDefaults);
}

TEST_F(DaemonSettings, MalformedFileFailsSilentlyAndKeepsTheDefaults) {
  WriteText(kFile, "<Root><PollInterval>30</PollInterval>");
  EXPECT_EQ(reader_.Read(), 1);
  EXPECT_THAT(LogRecorder::Messages(), IsEmpty());
  EXPECT_EQ(Show(), kDefaults);
}

TEST_F(DaemonSettings, FileOfOneSettingLeavesTheOthers) {
  ReadElements(Element("PollInterval", "30"));
  EXPECT_EQ(Show(), "30 15 500 000");
  EXPECT_FALSE(reader_.loggingEnabled);
}

TEST_F(DaemonSettings, EachElementSetsItsSettingAlone) {
  const std::pair<const char*, const char*> cases[] = {
      {"PollInterval", "1 15 500 000"},    {"TxfrInterval", "10 1 500 000"},
      {"ArmThreshold", "10 15 1 000"},     {"QRAServiceStart", "10 15 500 100"},
      {"QRAServiceStop", "10 15 500 010"}, {"PersistentMount", "10 15 500 001"}};
  for (const auto& [name, expected] : cases) {
    ReadElements(kDefaultElements + Element(name, "1"));
    EXPECT_EQ(Show(), expected) << name;
  }
}

TEST_F(DaemonSettings, NumbersAreReadAsStrtolDoes) {
  for (const NumberText& c : kNumberTexts) {
    ReadElements(Element("PollInterval", c.text) + Element("TxfrInterval", c.text) +
                 Element("ArmThreshold", c.text));
    EXPECT_EQ(reader_.GetPollInterval(), c.number) << c.text;
    EXPECT_EQ(reader_.GetTransferInterval(), c.number) << c.text;
    EXPECT_EQ(reader_.GetArchiveThreshold(), c.number) << c.text;
  }
}

TEST_F(DaemonSettings, AnyNumberButZeroIsTrue) {
  const auto flags = [this](const std::string& text) {
    ReadElements(Element("QRAServiceStart", text) + Element("QRAServiceStop", text) +
                 Element("PersistentMount", text));
    return Show();
  };
  for (const char* text : kTrueTexts) EXPECT_EQ(flags(text), "10 15 500 111") << text;
  for (const char* text : kFalseTexts) EXPECT_EQ(flags(text), "10 15 500 000") << text;
}

TEST_F(DaemonSettings, ElementsAreFoundAtAnyDepthAlsoInsideEachOther) {
  ReadElements("text<a><b>" + Element("PollInterval", "1") + "</b></a><!-- c -->" +
               "<TxfrInterval>2<x>" + Element("ArmThreshold", "3") + "</x></TxfrInterval>");
  EXPECT_EQ(Show(), "1 23 3 000");
}

TEST_F(DaemonSettings, RootElementMayBeASetting) {
  WriteText(kFile, "<PollInterval>30</PollInterval>");
  EXPECT_EQ(reader_.Read(), 0);
  EXPECT_EQ(reader_.GetPollInterval(), 30);
}

TEST_F(DaemonSettings, ElementNamesAreExact) {
  ReadElements(Element("pollInterval", "1") + Element("PollIntervals", "2") +
               Element("PollInterva", "3") + Element("POLLINTERVAL", "4") +
               "<x PollInterval=\"5\"/>");
  EXPECT_EQ(Show(), kDefaults);
}

TEST_F(DaemonSettings, LaterElementOverridesAnEarlierOne) {
  ReadElements(Element("PollInterval", "1") + Element("QRAServiceStart", "1") +
               Element("PollInterval", "2") + Element("QRAServiceStart", "0"));
  EXPECT_EQ(Show(), "2 15 500 000");
}

TEST_F(DaemonSettings, SecondReadKeepsWhatItsFileDoesNotName) {
  ReadElements(Element("PollInterval", "1") + Element("WorkspaceGuid", "guid"));
  ReadElements(Element("TxfrInterval", "2"));
  EXPECT_EQ(Show(), "1 2 500 000");
  EXPECT_STREQ(reader_.GetWorkspaceGuid(), "guid");
}

TEST_F(DaemonSettings, FailedSecondReadKeepsTheSettings) {
  ReadElements(Element("PollInterval", "1"));
  WriteText(kFile, "<Root>" + Element("PollInterval", "2"));
  EXPECT_EQ(reader_.Read(), 1);
  std::filesystem::remove(home_.Path("config/DaemonSettings.xml"));
  EXPECT_EQ(reader_.Read(), 1);
  EXPECT_EQ(Show(), "1 15 500 000");
}

TEST_F(DaemonSettings, ReadCallsTheVirtualReadFile) {
  class Recording : public WKDaemonSettings {
   public:
    int ReadFile(char* path) override {
      path_ = path;
      return 5;
    }
    std::string path_;
  };
  Recording settings;
  EXPECT_EQ(settings.Read(), 1);
  EXPECT_EQ(settings.path_, "../config/DaemonSettings.xml");
}

TEST_F(DaemonSettings, WorkspaceGuidIsCopied) {
  ReadElements(Element("WorkspaceGuid", " {12-ab} *x* "));
  EXPECT_STREQ(reader_.GetWorkspaceGuid(), " {12-ab} *x* ");
  EXPECT_EQ(reader_.GetWorkspaceGuid(), reader_.workspaceGuid);
  ReadElements(Element("WorkspaceGuid", ""));
  EXPECT_STREQ(reader_.GetWorkspaceGuid(), "");
}

TEST_F(DaemonSettings, LongWorkspaceGuidIsCutAt127Bytes) {
  for (const std::size_t size : {127U, 128U, 129U, 5000U}) {
    ReadElements(Element("WorkspaceGuid", std::string(size, 'g')));
    EXPECT_EQ(reader_.GetWorkspaceGuid(), std::string(127, 'g')) << size;
    EXPECT_EQ(ShowMail(), "- - - off");
  }
}

TEST_F(DaemonSettings, EnabledLoggingTakesItsAddressesAndSwitchesTheAlertOn) {
  ReadElements(Logging("1", kAddresses));
  EXPECT_TRUE(reader_.loggingEnabled);
  EXPECT_EQ(ShowMail(), "from to cc on");
}

TEST_F(DaemonSettings, EnabledLoggingWithoutAddressesIsOnAsWell) {
  ReadElements(Logging("1"));
  EXPECT_EQ(ShowMail(), "- - - on");
}

TEST_F(DaemonSettings, SwitchMayBeAChildElement) {
  ReadElements("<Logging>" + Element("Enable", "1") + kAddresses + "</Logging>");
  EXPECT_TRUE(reader_.loggingEnabled);
  EXPECT_EQ(ShowMail(), "from to cc on");
}

TEST_F(DaemonSettings, SwitchElementMayFollowTheAddresses) {
  ReadElements("<Logging>" + kAddresses + "<Enable>1</Enable></Logging>");
  EXPECT_EQ(ShowMail(), "from to cc on");
}

TEST_F(DaemonSettings, AttributeCountsBeforeTheChildElement) {
  ReadElements("<Logging Enable=\"0\">" + Element("Enable", "1") + kAddresses + "</Logging>");
  EXPECT_FALSE(reader_.loggingEnabled);
  EXPECT_EQ(ShowMail(), "- - - off");
}

TEST_F(DaemonSettings, SwitchIsANumberWithoutItsStars) {
  for (const char* text : {"1", "2", "-1", "*1*", "1x"}) {
    ReadElements(Logging("0") + Logging(text));
    EXPECT_TRUE(reader_.loggingEnabled) << text;
  }
  for (const char* text : {"0", "", "true", "*", "x"}) {
    ReadElements(Logging("1") + Logging(text));
    EXPECT_FALSE(reader_.loggingEnabled) << text;
  }
}

TEST_F(DaemonSettings, LoggingWithoutASwitchIsDisabled) {
  ReadElements(Logging("1") + "<Logging>" + kAddresses + "</Logging>");
  EXPECT_FALSE(reader_.loggingEnabled);
  EXPECT_EQ(ShowMail(), "- - - on");
}

TEST_F(DaemonSettings, AddressesOfDisabledLoggingAreIgnored) {
  ReadElements(Logging("0", kAddresses));
  EXPECT_EQ(ShowMail(), "- - - off");
}

TEST_F(DaemonSettings, AddressesBeforeAnyEnabledLoggingAreIgnored) {
  ReadElements(kAddresses + Logging("0") + kAddresses + Logging("1"));
  EXPECT_EQ(ShowMail(), "- - - on");
}

TEST_F(DaemonSettings, AddressesAfterEnabledLoggingCount) {
  ReadElements(Logging("1", Element("From", "a") + Element("To", "b")) + Element("To", "c"));
  EXPECT_EQ(ShowMail(), "a c - on");
}

TEST_F(DaemonSettings, DisabledLoggingDoesNotSwitchTheAlertOff) {
  ReadElements(Logging("1", kAddresses) + Logging("0", Element("To", "other")));
  EXPECT_FALSE(reader_.loggingEnabled);
  EXPECT_EQ(ShowMail(), "from to cc on");
}

TEST_F(DaemonSettings, AddressNamesAreExact) {
  ReadElements(Logging("1", Element("Cc", "cc") + Element("to", "to") + Element("FROM", "from")));
  EXPECT_EQ(ShowMail(), "- - - on");
}

TEST_F(DaemonSettings, GetAlertObjectAddsTheAddressing) {
  ReadElements(Logging("1", kAddresses));
  reader_.alert.SetSubject(Text("subject"));
  WKSMTPAlertObject target;
  reader_.GetAlertObject(target);
  EXPECT_STREQ(target.GetFrom(), "from");
  EXPECT_STREQ(target.GetTo(), "to");
  EXPECT_STREQ(target.GetCC(), "cc");
  EXPECT_STREQ(target.GetSubject(), "subject");
  EXPECT_TRUE(target.IsSMTPAlertActive());
  EXPECT_EQ(target.logCallback, &LogRecorder::Callback);
}

TEST_F(DaemonSettings, GetAlertObjectUnsetsWhatIsNotSet) {
  WKSMTPAlertObject target;
  target.Add("old", "old", "old", "old");
  reader_.InitializeLogMessage(nullptr);
  target.InitializeLogMessage(LogRecorder::Callback);
  reader_.GetAlertObject(target);
  EXPECT_EQ(target.GetTo(), nullptr);
  EXPECT_EQ(target.GetSubject(), nullptr);
  EXPECT_FALSE(target.IsSMTPAlertActive());
  EXPECT_EQ(target.logCallback, nullptr);
}

TEST_F(DaemonSettings, PrintWritesTheDefaults) {
  EXPECT_EQ(Printed([&] { reader_.Print(); }),
            "Deamon Settings Value: \n"
            "Poll Interval: 10, Transfer Interval: 15, Archive  Threshold: 500\n"
            "Audit Daemon Start: 0, Daemon Stop: 0, Persistent Mount: 0\n"
            "Workspace Guid: \n");
}

TEST_F(DaemonSettings, PrintWritesTheMailOfAnActiveAlert) {
  ReadElements(Element("PollInterval", "1") + Element("TxfrInterval", "-2") +
               Element("ArmThreshold", "3") + Element("QRAServiceStop", "1") +
               Element("PersistentMount", "9") + Element("WorkspaceGuid", "%s%n") +
               Logging("1", kAddresses));
  EXPECT_EQ(Printed([&] { reader_.Print(); }),
            "Deamon Settings Value: \n"
            "Poll Interval: 1, Transfer Interval: -2, Archive  Threshold: 3\n"
            "Audit Daemon Start: 0, Daemon Stop: 1, Persistent Mount: 1\n"
            "Workspace Guid: %s%n\n"
            "From: from, To: to, Cc: cc\n");
}

TEST_F(DaemonSettings, PrintNeedsAnActiveAlertForTheMail) {
  ReadElements(Logging("1", kAddresses));
  reader_.alert.SetSMTPAlert(false);
  EXPECT_THAT(Printed([&] { reader_.Print(); }), Not(HasSubstr("From:")));
}

TEST_F(DaemonSettings, WalkOfNothingReadsNothing) {
  reader_.ReadDaemonTags(nullptr);
  EXPECT_EQ(Show(), kDefaults);
}

TEST_F(DaemonSettings, WalkCoversTheFollowingSiblings) {
  reader_.ReadDaemonTags(
      Root(Element("PollInterval", "1") + Element("TxfrInterval", "2"))->children);
  EXPECT_EQ(Show(), "1 2 500 000");
}

TEST_F(DaemonSettings, ReadsReleaseTheirTexts) {
  WriteElements(kFile, Logging("1", kAddresses) + Element("WorkspaceGuid", "g"));
  const auto read = [] {
    WKDaemonSettings settings;
    return settings.Read() + settings.Read();
  };
  EXPECT_EQ(read(), 0);
  const long before = LiveBlocks();
  read();
  const long after = LiveBlocks();
  EXPECT_EQ(after, before);
}

}  // namespace
}  // namespace wkagent::test
