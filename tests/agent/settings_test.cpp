#include "agent/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::StartsWith;

class SettingsTest : public ::testing::Test {
 protected:
  void WriteDaemon(const std::string& xml) { home_.Write("config/DaemonSettings.xml", xml); }
  void WriteMemory(const std::string& xml) { home_.Write("config/WKMemorySettings.xml", xml); }

  AgentHome home_;
  Settings settings_;
};

TEST_F(SettingsTest, MissingFilesLeaveTheDefaults) {
  EXPECT_EQ("", ReadSettings(settings_));
  EXPECT_EQ(500, settings_.archiveThreshold);
  EXPECT_EQ(10, settings_.pollSeconds);
  EXPECT_EQ(5000, settings_.blocks);
  EXPECT_EQ(200, settings_.quietMilliseconds);
  EXPECT_EQ(200, settings_.lookMilliseconds);
}

TEST_F(SettingsTest, EachComesFromItsElement) {
  WriteDaemon("<S><ArmThreshold>7</ArmThreshold><PollInterval>8</PollInterval></S>");
  WriteMemory(
      "<S><MaxEDIRMemoryBlocks>9</MaxEDIRMemoryBlocks><EDIRQueueThreadDelay>10"
      "</EDIRQueueThreadDelay><EDIRVigilThreadDelay>11</EDIRVigilThreadDelay></S>");
  EXPECT_EQ("", ReadSettings(settings_));
  EXPECT_EQ(7, settings_.archiveThreshold);
  EXPECT_EQ(8, settings_.pollSeconds);
  EXPECT_EQ(9, settings_.blocks);
  EXPECT_EQ(10, settings_.quietMilliseconds);
  EXPECT_EQ(11, settings_.lookMilliseconds);
}

TEST_F(SettingsTest, NumbersThatCannotBeUsedBecomeTheNearestThatCan) {
  WriteDaemon("<S><ArmThreshold>0</ArmThreshold><PollInterval>0</PollInterval></S>");
  WriteMemory(
      "<S><MaxEDIRMemoryBlocks>2000000000</MaxEDIRMemoryBlocks><EDIRQueueThreadDelay>-1"
      "</EDIRQueueThreadDelay><EDIRVigilThreadDelay>x</EDIRVigilThreadDelay></S>");
  EXPECT_EQ("", ReadSettings(settings_));
  EXPECT_EQ(0, settings_.archiveThreshold);  // never archives while it runs
  EXPECT_EQ(1, settings_.pollSeconds);
  EXPECT_EQ(1'000'000, settings_.blocks);
  EXPECT_EQ(1, settings_.quietMilliseconds);
  EXPECT_EQ(1, settings_.lookMilliseconds);
}

TEST_F(SettingsTest, ABrokenFileLeavesThemAsTheyWereAndSaysWhy) {
  settings_.archiveThreshold = 3;
  WriteDaemon("<S><ArmThreshold>7</ArmThreshold></S>");
  WriteMemory("<S>\n<b></S>");
  EXPECT_THAT(ReadSettings(settings_), StartsWith("../config/WKMemorySettings.xml:2: "));
  EXPECT_EQ(3, settings_.archiveThreshold);
  WriteMemory("<S/>");
  WriteDaemon("");
  EXPECT_THAT(ReadSettings(settings_), StartsWith("../config/DaemonSettings.xml:1: "));
  EXPECT_EQ(3, settings_.archiveThreshold);
}

TEST_F(SettingsTest, ASettingThatIsTakenOutIsTheDefaultAgain) {
  WriteDaemon("<S><ArmThreshold>7</ArmThreshold></S>");
  ASSERT_EQ("", ReadSettings(settings_));
  WriteDaemon("<S/>");
  EXPECT_EQ("", ReadSettings(settings_));
  EXPECT_EQ(500, settings_.archiveThreshold);
}

}  // namespace
}  // namespace wkagent::test
