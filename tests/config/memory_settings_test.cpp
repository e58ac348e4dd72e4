#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/config.h>

#include "support/printed.h"
#include "tests/config/settings_fixture.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

static_assert(std::is_base_of_v<WKConfigFile, WKMemorySettings>);
static_assert(sizeof(WKMemorySettings::smbVersion) == 52);

constexpr char kFile[] = "WKMemorySettings.xml";
constexpr const char* kNumberElements[] = {
    "MaxNSSMemoryBlocks",   "NSSVigilThreadDelay",  "NSSQueueThreadDelay",  "MaxEDIRMemoryBlocks",
    "EDIRVigilThreadDelay", "EDIRQueueThreadDelay", "DeduplicationInterval"};

class MemorySettings : public SettingsFixture<WKMemorySettings> {
 protected:
  void ReadElements(const std::string& elements) {
    WriteElements(kFile, elements);
    EXPECT_EQ(reader_.Read(), 0) << elements;
  }

  // What the getters of numbers return, in the order of kNumberElements.
  std::vector<int> Numbers() {
    return {reader_.GeMaxNSSMemoryBlocks(),    reader_.GetNSSVigilThreadDelay(),
            reader_.GetNSSQueueThreadDelay(),  reader_.GetMaxEDIRMemoryBlocks(),
            reader_.GetEDIRLDAPThreadDelay(),  reader_.GetEDIRQueueThreadDelay(),
            reader_.GetDeduplicationInterval()};
  }

  std::string SmbVersion() {
    char target[52] = "unset";
    EXPECT_EQ(reader_.GetRequiredSMBVersion(target), target);
    return target;
  }

  std::string ReadFailing() {
    return Complaints([&] { EXPECT_EQ(reader_.Read(), 1); });
  }
};

const auto kDefaults = ElementsAre(5000, 200, 200, 5000, 200, 200, 10);

TEST_F(MemorySettings, StartWithTheirDefaults) {
  EXPECT_THAT(Numbers(), kDefaults);
  EXPECT_EQ(SmbVersion(), "vers=2.0");
}

TEST_F(MemorySettings, FieldsStandInTheirOrder) {
  EXPECT_LT(&reader_.maxNSSMemoryBlocks, &reader_.nssVigilThreadDelay);
  EXPECT_LT(&reader_.nssVigilThreadDelay, &reader_.nssQueueThreadDelay);
  EXPECT_LT(&reader_.nssQueueThreadDelay, &reader_.maxEDIRMemoryBlocks);
  EXPECT_LT(&reader_.maxEDIRMemoryBlocks, &reader_.edirVigilThreadDelay);
  EXPECT_LT(&reader_.edirVigilThreadDelay, &reader_.edirQueueThreadDelay);
  EXPECT_LT(static_cast<void*>(&reader_.edirQueueThreadDelay),
            static_cast<void*>(reader_.smbVersion));
  EXPECT_LT(static_cast<void*>(reader_.smbVersion),
            static_cast<void*>(&reader_.deduplicationInterval));
}

TEST_F(MemorySettings, MissingFileIsReportedTwiceAndKeepsTheDefaults) {
  EXPECT_EQ(ReadFailing(), "Unable to read file ../config/WKMemorySettings.xml\n");
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("WKConfigFile.ReadFile:Unable to access file "
                                                   "../config/WKMemorySettings.xml - Error 2\n"));
  EXPECT_THAT(Numbers(), kDefaults);
  EXPECT_EQ(SmbVersion(), "vers=2.0");
}

TEST_F(MemorySettings, MalformedFileIsReportedOnStandardErrorAlone) {
  WriteText(kFile, "<x>" + Element("MaxNSSMemoryBlocks", "1"));
  EXPECT_EQ(ReadFailing(), "Unable to read file ../config/WKMemorySettings.xml\n");
  EXPECT_THAT(LogRecorder::Messages(), IsEmpty());
  EXPECT_THAT(Numbers(), kDefaults);
}

TEST_F(MemorySettings, SuccessfulReadWritesNothing) {
  WriteElements(kFile, "");
  EXPECT_EQ(Complaints([&] { EXPECT_EQ(reader_.Read(), 0); }), "");
  EXPECT_THAT(Numbers(), kDefaults);
}

TEST_F(MemorySettings, FailedSecondReadKeepsTheSettings) {
  ReadElements(Element("NSSVigilThreadDelay", "7") + Element("SMBVersion", "3.0"));
  std::filesystem::remove(home_.Path("config/WKMemorySettings.xml"));
  ReadFailing();
  EXPECT_THAT(Numbers(), ElementsAre(5000, 7, 200, 5000, 200, 200, 10));
  EXPECT_EQ(SmbVersion(), "vers=3.0");
}

TEST_F(MemorySettings, SecondReadKeepsWhatItsFileDoesNotName) {
  ReadElements(Element("NSSVigilThreadDelay", "7"));
  ReadElements(Element("NSSQueueThreadDelay", "8"));
  EXPECT_THAT(Numbers(), ElementsAre(5000, 7, 8, 5000, 200, 200, 10));
}

TEST_F(MemorySettings, ReadCallsTheVirtualReadFile) {
  class Recording : public WKMemorySettings {
   public:
    int ReadFile(char* path) override {
      path_ = path;
      return 5;
    }
    std::string path_;
  };
  Recording settings;
  EXPECT_EQ(Complaints([&] { EXPECT_EQ(settings.Read(), 1); }),
            "Unable to read file ../config/WKMemorySettings.xml\n");
  EXPECT_EQ(settings.path_, "../config/WKMemorySettings.xml");
}

TEST_F(MemorySettings, EachElementSetsItsNumberAlone) {
  for (std::size_t i = 0; i < std::size(kNumberElements); ++i) {
    std::vector<int> expected = {5000, 200, 200, 5000, 200, 200, 10};
    std::string elements;
    for (std::size_t j = 0; j < expected.size(); ++j) {
      elements += Element(kNumberElements[j], std::to_string(expected[j]));
    }
    expected[i] = 77;
    ReadElements(elements + Element(kNumberElements[i], "77"));
    EXPECT_EQ(Numbers(), expected) << kNumberElements[i];
  }
}

TEST_F(MemorySettings, NumbersAreReadAsStrtolDoesWithoutBounds) {
  for (const NumberText& c : kNumberTexts) {
    std::string elements;
    for (const char* name : kNumberElements) elements += Element(name, c.text);
    ReadElements(elements);
    EXPECT_EQ(Numbers(), std::vector<int>(7, c.number)) << c.text;
  }
}

TEST_F(MemorySettings, SmbVersionBecomesAMountOption) {
  for (const std::string version : {"1.0", "3.0", "", " 3 ", "%s%n"}) {
    ReadElements(Element("SMBVersion", version));
    EXPECT_EQ(SmbVersion(), "vers=" + version);
  }
}

TEST_F(MemorySettings, LongSmbVersionIsCutToItsBuffer) {
  for (const std::size_t size : {46U, 47U, 48U, 5000U}) {
    ReadElements(Element("SMBVersion", std::string(size, '3')));
    EXPECT_EQ(SmbVersion(), "vers=" + std::string(46, '3')) << size;
    EXPECT_EQ(reader_.GetDeduplicationInterval(), 10);
  }
}

TEST_F(MemorySettings, SmbVersionNeedsATarget) {
  EXPECT_EQ(reader_.GetRequiredSMBVersion(nullptr), nullptr);
}

TEST_F(MemorySettings, LaterElementOverridesAnEarlierOne) {
  ReadElements(Element("SMBVersion", "1.0") + Element("MaxEDIRMemoryBlocks", "1") +
               Element("SMBVersion", "3.1.1") + Element("MaxEDIRMemoryBlocks", "2"));
  EXPECT_EQ(SmbVersion(), "vers=3.1.1");
  EXPECT_EQ(reader_.GetMaxEDIRMemoryBlocks(), 2);
}

TEST_F(MemorySettings, ElementsAreFoundAtAnyDepthByTheirExactNames) {
  ReadElements("<a><b>" + Element("MaxNSSMemoryBlocks", "1") + "</b></a><EDIRVigilThreadDelay>2" +
               Element("EDIRQueueThreadDelay", "3") + "</EDIRVigilThreadDelay>" +
               Element("maxEDIRMemoryBlocks", "4") + Element("EDIRLDAPThreadDelay", "5") +
               Element("SmbVersion", "6"));
  EXPECT_THAT(Numbers(), ElementsAre(1, 200, 200, 5000, 23, 3, 10));
  EXPECT_EQ(SmbVersion(), "vers=2.0");
}

TEST_F(MemorySettings, WalkCoversTheFollowingSiblings) {
  reader_.ReadMemorySettingsTags(
      Root(Element("MaxNSSMemoryBlocks", "1") + Element("NSSVigilThreadDelay", "2"))->children);
  reader_.ReadMemorySettingsTags(nullptr);
  EXPECT_THAT(Numbers(), ElementsAre(1, 2, 200, 5000, 200, 200, 10));
}

TEST_F(MemorySettings, PrintWritesSixNumbers) {
  ReadElements(Element("MaxNSSMemoryBlocks", "1") + Element("NSSVigilThreadDelay", "-2") +
               Element("NSSQueueThreadDelay", "3") + Element("MaxEDIRMemoryBlocks", "4") +
               Element("EDIRVigilThreadDelay", "5") + Element("EDIRQueueThreadDelay", "6") +
               Element("DeduplicationInterval", "7") + Element("SMBVersion", "8"));
  EXPECT_EQ(Printed([&] { reader_.Print(); }),
            "Memory Settings Value: \n"
            "Max NSS Memory: 1, NSS Thread Delay: -2, NSS Queue Thread Delay: 3\n"
            "Max EDIR Memory: 4, EDIR Thread Delay: 5, EDIR Queue Thread Delay: 6\n");
}

}  // namespace
}  // namespace wkagent::test
