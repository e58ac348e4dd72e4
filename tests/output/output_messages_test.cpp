// What output files report, letter for letter, through the callback and in GetError.

#include <string>

#include "output/output_fixture.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class OutputMessages : public OutputTest {
 protected:
  // Expects that `message` was the last and that GetError has it, too.
  void ExpectLast(WKOutputFile& output, const std::string& message) {
    ASSERT_FALSE(LogRecorder::Lines().empty());
    EXPECT_EQ(0, LogRecorder::Lines().back().level);
    EXPECT_EQ(message, LogRecorder::Lines().back().message);
    EXPECT_EQ("", LogRecorder::Lines().back().extra);
    EXPECT_EQ(message, output.GetError());
  }
};

TEST_F(OutputMessages, OfARecordWithoutDocument) {
  LoggedOutput output;
  EXPECT_EQ(1, output.WriteStartElement("Record"));
  ExpectLast(output, "Error in start element Record\n");
  EXPECT_EQ(1, output.WriteElementAttribute("Number", "17"));
  ExpectLast(output, "Error writing attribute Number - Value 17 Error: -1\n");
  EXPECT_EQ(1, output.WriteEndElement());
  ExpectLast(output, "Error in end element\n");
  EXPECT_EQ(0, output.WriteEndRecord());
  ExpectLast(output, "Error in end element\n");
  EXPECT_EQ(4U, LogRecorder::Lines().size());
}

TEST_F(OutputMessages, OfAMissingFolder) {
  LoggedOutput output("../nowhere/live.xml");
  EXPECT_EQ(1, output.OpenFile());
  EXPECT_EQ(nullptr, output.writer);
  ExpectLast(output, "xmlNewTextWriterFilename failed to open file ../nowhere/live.xml");
  EXPECT_EQ(1U, LogRecorder::Lines().size());
}

TEST_F(OutputMessages, OfAnArchive) {
  home_.Write("bin/live.xml", std::string(64, 'x'));
  LoggedOutput output;
  EXPECT_EQ(0, output.OpenFile());
  ASSERT_EQ(1U, Archives().size());
  ExpectLast(output, "Created archive file " + Archives()[0]);
  EXPECT_EQ(1U, LogRecorder::Lines().size());
}

TEST_F(OutputMessages, OfAMissingOutbox) {
  LoseOutbox();
  home_.Write("bin/live.xml", std::string(64, 'x'));
  LoggedOutput output;
  EXPECT_EQ(-1, output.RenameLog());
  EXPECT_EQ(0, output.OpenFile());
  EXPECT_THAT(LogRecorder::Messages(),
              ::testing::Each(MatchesRegex("Rename error - From:live\\.xml To "
                                           "\\.\\./outbox/EDA[0-9]{14}\\.xml Error Code:2")));
  ExpectLast(output, LogRecorder::Messages()[1]);
  EXPECT_EQ(2U, LogRecorder::Lines().size());
}

TEST_F(OutputMessages, OfAMissingLiveFile) {
  LoggedOutput output;
  EXPECT_EQ(-1, output.RenameLog());
  EXPECT_THAT(output.GetError(),
              MatchesRegex("Rename error - From:live\\.xml To \\.\\./outbox/EDA[0-9]{14}\\.xml "
                           "Error Code:2"));
}

TEST_F(OutputMessages, OfAFileInThePlaceOfTheOutbox) {
  LoseOutbox();
  home_.Write("outbox", "a file");
  home_.Write("bin/live.xml", std::string(64, 'x'));
  LoggedOutput output;
  EXPECT_EQ(-1, output.RenameLog());
  EXPECT_THAT(output.GetError(), ::testing::EndsWith(" Error Code:20"));
}

TEST_F(OutputMessages, OfAFolderInThePlaceOfTheLiveFile) {
  LoseOutbox();
  std::filesystem::create_directories("live.xml/inside");
  LoggedOutput output;
  EXPECT_EQ(1, output.OpenFile());
  ExpectLast(output, "xmlNewTextWriterFilename failed to open file live.xml");
}

TEST_F(OutputMessages, OfAFailedRotation) {
  LoggedOutput output("../tmp/live.xml");
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  std::filesystem::remove_all("../tmp");
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("xmlNewTextWriterFilename failed to open file ../tmp/live.xml",
                          "Error in new file", "Error in start element Record\n"));
  ExpectLast(output, "Error in start element Record\n");
  EXPECT_EQ(nullptr, output.writer);
  EXPECT_EQ(0, output.recordCount);
}

TEST_F(OutputMessages, AfterAFailedRotationNoRecordBegins) {
  LoggedOutput output("../tmp/live.xml");
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  std::filesystem::remove_all("../tmp");
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  const std::size_t before = LogRecorder::Lines().size();
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  EXPECT_EQ(before, LogRecorder::Lines().size());
  EXPECT_EQ(1, output.WriteElementAttribute("Number", "2"));
  ExpectLast(output, "Error writing attribute Number - Value 2 Error: -1\n");
  EXPECT_EQ(0, output.WriteEndRecord());
  ExpectLast(output, "Error in end element\n");
  EXPECT_EQ(1, output.recordCount);
}

TEST_F(OutputMessages, AfterAFailedRotationOpenFileGoesOn) {
  LoggedOutput output("../tmp/live.xml");
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  std::filesystem::remove_all("../tmp");
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  std::filesystem::create_directory("../tmp");
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 2, 2));
  output.CloseFile();
  EXPECT_EQ(Range(2, 2), ParseAuditFile("../tmp/live.xml").Numbers());
}

TEST_F(OutputMessages, OfARotationThatFindsNoDescriptor) {
  LoggedOutput output;
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  {
    const NoMoreFiles none;
    EXPECT_EQ(1, output.WriteStartRecord("Record"));
  }
  ASSERT_EQ(1U, Archives().size());
  EXPECT_THAT(LogRecorder::Messages(),
              ElementsAre("Created archive file " + Archives()[0],
                          "xmlNewTextWriterFilename failed to open file live.xml",
                          "Error in new file", "Error in start element Record\n"));
  EXPECT_EQ(Range(1, 1), TakeArchive());
}

TEST_F(OutputMessages, OfANameThatIsNone) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(1, output.WriteStartElement(""));
  ExpectLast(output, "Error in start element \n");
  EXPECT_EQ(1, output.WriteStartRecord(nullptr));
  ExpectLast(output, "Error in start element \n");
  ASSERT_EQ(0, output.WriteStartElement("Record"));
  EXPECT_EQ(1, output.WriteElementAttribute("", "value"));
  ExpectLast(output, "Error writing attribute  - Value value Error: -1\n");
  EXPECT_EQ(1, output.WriteElementAttribute("Name", nullptr));
  ExpectLast(output, "Error writing attribute Name - Value  Error: -1\n");
}

TEST_F(OutputMessages, OfAnAttributeAfterItsElement) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  EXPECT_EQ(1, output.WriteElementAttribute("Late", "1"));
  ExpectLast(output, "Error writing attribute Late - Value 1 Error: -1\n");
  ASSERT_EQ(0, WriteNumbers(output, 2, 2));
  output.CloseFile();
  EXPECT_EQ(Range(1, 2), ParseAuditFile("live.xml").Numbers());
}

TEST_F(OutputMessages, OfOneEndTooMany) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, output.WriteEndElement());
  EXPECT_EQ(0, output.WriteEndElement());
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
  EXPECT_EQ(1, output.WriteEndElement());
  ExpectLast(output, "Error in end element\n");
  EXPECT_EQ(0, output.WriteEndRecord());
  EXPECT_EQ(1, output.recordCount);
}

TEST_F(OutputMessages, AreCutAt499Bytes) {
  LoggedOutput output;
  const std::string value(600, 'v');
  EXPECT_EQ(1, output.WriteElementAttribute("Number", value.c_str()));
  ExpectLast(output, ("Error writing attribute Number - Value " + value).substr(0, 499));
  EXPECT_EQ(1, output.WriteStartElement(value.c_str()));
  ExpectLast(output, ("Error in start element " + value).substr(0, 499));
  EXPECT_EQ(500, output.thresholdLimit);
  EXPECT_EQ(0, output.recordCount);
}

TEST_F(OutputMessages, HoldLongPathsWhole) {
  const std::string path = "../nowhere/" + std::string(243, 'p');
  LoggedOutput output(path);
  EXPECT_EQ(1, output.OpenFile());
  ExpectLast(output, "xmlNewTextWriterFilename failed to open file " + path);
  EXPECT_EQ(-1, output.RenameLog());
  EXPECT_THAT(output.GetError(), MatchesRegex("Rename error - From:" + path +
                                              " To ../outbox/EDA[0-9]{14}.xml Error Code:2"));
}

TEST_F(OutputMessages, TakePercentSignsLiterally) {
  LoggedOutput output("../no%nwhere/%s");
  EXPECT_EQ(1, output.OpenFile());
  ExpectLast(output, "xmlNewTextWriterFilename failed to open file ../no%nwhere/%s");
  EXPECT_EQ(1, output.WriteElementAttribute("%s%n", "100%% %d"));
  ExpectLast(output, "Error writing attribute %s%n - Value 100%% %d Error: -1\n");
  EXPECT_EQ(1, output.WriteStartElement("%s%s%s%n"));
  ExpectLast(output, "Error in start element %s%s%s%n\n");
}

TEST_F(OutputMessages, GoToStandardErrorWithoutACallback) {
  WKOutputFile output(Text("live.xml"), "Root", "Group");
  ::testing::internal::CaptureStderr();
  output.WriteElementAttribute("Share", "%s 100%%");
  EXPECT_EQ("Error writing attribute Share - Value %s 100% Error: -1\n",
            ::testing::internal::GetCapturedStderr());
  EXPECT_STREQ("Error writing attribute Share - Value %s 100%% Error: -1\n", output.GetError());
}

TEST_F(OutputMessages, StayUntilTheNext) {
  LoggedOutput output;
  output.WriteStartElement("Record");
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  output.CloseFile();
  EXPECT_STREQ("Error in start element Record\n", output.GetError());
  EXPECT_EQ(output.errorText, output.GetError());
}

}  // namespace
}  // namespace wkagent::test
