// Construction, opening, writing and closing of one live file.

#include <string>
#include <type_traits>

#include <fcntl.h>

#include "output/output_fixture.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;

constexpr char kEmptyDocument[] =
    "<?xml version=\"1.0\"?>\n"
    "<EDAuditData>\n"
    "  <EDADataRecords/>\n"
    "</EDAuditData>\n";

static_assert(std::is_polymorphic_v<WKOutputFile>);
static_assert(!std::has_virtual_destructor_v<WKOutputFile>);
static_assert(!std::is_copy_constructible_v<WKOutputFile>);
static_assert(std::is_base_of_v<WKLogStatus, WKOutputFile>);
static_assert(sizeof(WKOutputFile::rootElement) == 25);
static_assert(sizeof(WKOutputFile::groupElement) == 25);
static_assert(sizeof(WKOutputFile::fileName) == 255);
static_assert(sizeof(WKOutputFile::errorText) == 500);

class OutputFile : public OutputTest {};

// The descriptor on which the process has a file open, -1 for none.
int DescriptorOf(const std::string& path) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone) == path) {
      return std::stoi(entry.path().filename());
    }
  }
  return -1;
}

TEST_F(OutputFile, StartsWithoutDocument) {
  const LoggedOutput output("live.xml", "Root", "Group");
  EXPECT_EQ(nullptr, output.writer);
  EXPECT_EQ(500, output.thresholdLimit);
  EXPECT_EQ(0, output.recordCount);
  EXPECT_STREQ("live.xml", output.fileName);
  EXPECT_STREQ("Root", output.rootElement);
  EXPECT_STREQ("Group", output.groupElement);
  EXPECT_THAT(output.errorText, Each('\0'));
  EXPECT_THAT(home_.List("bin"), IsEmpty());
}

TEST_F(OutputFile, NamesKeep24Bytes) {
  for (const std::size_t length : {1U, 24U, 25U, 30U, 4000U}) {
    SCOPED_TRACE(length);
    const std::string root(length, 'r');
    const std::string group(length, 'g');
    LoggedOutput output("live.xml", root, group);
    ASSERT_EQ(0, output.OpenFile());
    output.CloseFile();
    EXPECT_THAT(ParseAuditFile("live.xml").Names(),
                ElementsAre(root.substr(0, 24), group.substr(0, 24)));
    EXPECT_STREQ("live.xml", output.fileName);
  }
}

TEST_F(OutputFile, PathKeeps254Bytes) {
  const std::string folder = "../tmp/" + std::string(200, 'd') + "/";
  std::filesystem::create_directory(folder);
  for (const std::size_t length : {254U, 255U, 300U}) {
    SCOPED_TRACE(length);
    const std::string path = folder + std::string(length - folder.size(), 'f');
    LoggedOutput output(path);
    ASSERT_EQ(0, output.OpenFile());
    output.CloseFile();
    EXPECT_EQ(path.substr(0, 254), output.fileName);
    EXPECT_EQ(kEmptyDocument, home_.Read("bin/" + path.substr(0, 254)));
    std::filesystem::remove(path.substr(0, 254));
  }
}

TEST_F(OutputFile, NullNamesAreEmpty) {
  WKOutputFile output(nullptr, nullptr, nullptr);
  output.InitializeLogMessage(&LogRecorder::Callback);
  EXPECT_EQ(1, output.OpenFile());
  EXPECT_STREQ("xmlNewTextWriterFilename failed to open file ", output.GetError());
}

TEST_F(OutputFile, DocumentWithoutRecordsHasItsTwoElements) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_NE(nullptr, output.writer);
  output.CloseFile();
  EXPECT_EQ(nullptr, output.writer);
  EXPECT_EQ(kEmptyDocument, home_.Read("bin/live.xml"));
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
  EXPECT_STREQ("", output.GetError());
}

TEST_F(OutputFile, RecordsAreIndentedByTwoBlanksALevel) {
  LoggedOutput output("live.xml", "Root", "Group");
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 2));
  output.CloseFile();
  EXPECT_EQ(
      "<?xml version=\"1.0\"?>\n"
      "<Root>\n"
      "  <Group>\n"
      "    <Record Number=\"1\"/>\n"
      "    <Record Number=\"2\"/>\n"
      "  </Group>\n"
      "</Root>\n",
      home_.Read("bin/live.xml"));
}

TEST_F(OutputFile, ElementsNestInsideARecord) {
  LoggedOutput output("live.xml", "Root", "Group");
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, output.WriteStartRecord("Record"));
  EXPECT_EQ(0, output.WriteStartElement("Inner"));
  EXPECT_EQ(0, output.WriteElementAttribute("b", "1"));
  EXPECT_EQ(0, output.WriteElementAttribute("a", ""));
  EXPECT_EQ(0, output.WriteEndElement());
  EXPECT_EQ(0, output.recordCount);
  EXPECT_EQ(0, output.WriteEndRecord());
  output.CloseFile();
  const AuditFile file = ParseAuditFile("live.xml");
  EXPECT_THAT(file.Names(), ElementsAre("Root", "Group", "Record", "Inner"));
  EXPECT_THAT(file.elements[3].attributes, ElementsAre(Pair("b", "1"), Pair("a", "")));
}

TEST_F(OutputFile, WriteEndRecordCounts) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  for (int count = 1; count <= 3; ++count) {
    WriteNumbers(output, count, count);
    EXPECT_EQ(count, output.recordCount);
  }
  output.CloseFile();
  EXPECT_EQ(3, output.recordCount);
}

TEST_F(OutputFile, CloseFileEndsWhatIsOpen) {
  LoggedOutput output("live.xml", "Root", "Group");
  ASSERT_EQ(0, output.OpenFile());
  output.WriteStartRecord("Record");
  output.WriteStartElement("Inner");
  output.WriteElementAttribute("Value", "1");
  output.CloseFile();
  EXPECT_THAT(ParseAuditFile("live.xml").Names(), ElementsAre("Root", "Group", "Record", "Inner"));
}

TEST_F(OutputFile, CloseFileWithoutDocumentDoesNothing) {
  LoggedOutput output;
  output.CloseFile();
  EXPECT_THAT(home_.List("bin"), IsEmpty());
  ASSERT_EQ(0, output.OpenFile());
  output.CloseFile();
  output.CloseFile();
  EXPECT_EQ(kEmptyDocument, home_.Read("bin/live.xml"));
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
}

TEST_F(OutputFile, DestructorClosesWithoutArchiving) {
  {
    LoggedOutput output;
    ASSERT_EQ(0, output.OpenFile());
    WriteNumbers(output, 1, 3);
  }
  EXPECT_EQ(Range(1, 3), ParseAuditFile("live.xml").Numbers());
  EXPECT_THAT(Archives(), IsEmpty());
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
}

TEST_F(OutputFile, NoRecordBeginsWithoutDocument) {
  LoggedOutput output;
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  ASSERT_EQ(0, output.OpenFile());
  output.CloseFile();
  EXPECT_EQ(1, output.WriteStartRecord("Record"));
  EXPECT_EQ(kEmptyDocument, home_.Read("bin/live.xml"));
  EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
  EXPECT_STREQ("", output.GetError());
}

TEST_F(OutputFile, EveryCallIsSafeBeforeOpenFile) {
  LoggedOutput output;
  EXPECT_EQ(1, output.WriteStartElement("Record"));
  EXPECT_EQ(1, output.WriteElementAttribute("Number", "1"));
  EXPECT_EQ(1, output.WriteEndElement());
  EXPECT_EQ(0, output.ThresholdLimitReached());
  EXPECT_EQ(1, output.FlushFile());
  EXPECT_EQ(0, output.GetWriteError());
  EXPECT_EQ(0, output.GetArchivedCount());
  EXPECT_EQ(0, output.RetryArchive());
  EXPECT_EQ(-1, output.RenameLog());
  EXPECT_THAT(home_.List("bin"), IsEmpty());
  EXPECT_THAT(home_.List("outbox"), IsEmpty());
}

TEST_F(OutputFile, RecordEndedWithoutDocumentIsCounted) {
  LoggedOutput output;
  EXPECT_EQ(0, output.WriteEndRecord());
  EXPECT_EQ(1, output.recordCount);
  EXPECT_EQ(0, output.ThresholdLimitReached());
  EXPECT_NE(nullptr, output.writer);
  EXPECT_EQ(0, output.recordCount);
}

TEST_F(OutputFile, ValuesAreEscaped) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  const std::string value = "<a b=\"c\">&amp; 'd'\n\r\t \u00e9\u20ac\U0001f600 %s%n ]]> --";
  output.WriteStartRecord("Record");
  EXPECT_EQ(0, output.WriteElementAttribute("Value", value.c_str()));
  output.WriteEndRecord();
  output.CloseFile();
  EXPECT_THAT(ParseAuditFile("live.xml").Records().at(0).attributes,
              ElementsAre(Pair("Value", value)));
}

TEST_F(OutputFile, LongValueIsWhole) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  const std::string value(100'000, 'v');
  output.WriteStartRecord("Record");
  EXPECT_EQ(0, output.WriteElementAttribute("Value", value.c_str()));
  output.WriteEndRecord();
  output.CloseFile();
  EXPECT_THAT(ParseAuditFile("live.xml").Records().at(0).attributes,
              ElementsAre(Pair("Value", value)));
}

TEST_F(OutputFile, PathIsTakenLiterally) {
  for (const std::string path : {"a%20b.xml", "-", "file:live.xml", "live.xml.gz"}) {
    SCOPED_TRACE(path);
    LoggedOutput output(path);
    ASSERT_EQ(0, output.OpenFile());
    output.CloseFile();
    EXPECT_EQ(kEmptyDocument, home_.Read("bin/" + path));
  }
}

TEST_F(OutputFile, LiveFileOfLessThan64BytesIsRemoved) {
  for (const std::size_t size : {0U, 1U, 63U}) {
    SCOPED_TRACE(size);
    home_.Write("bin/live.xml", std::string(size, 'x'));
    LoggedOutput output;
    ASSERT_EQ(0, output.OpenFile());
    EXPECT_THAT(Archives(), IsEmpty());
    EXPECT_THAT(LogRecorder::Lines(), IsEmpty());
    output.CloseFile();
    EXPECT_EQ(kEmptyDocument, home_.Read("bin/live.xml"));
    std::filesystem::remove("live.xml");
  }
}

TEST_F(OutputFile, LiveFileOf64BytesIsArchived) {
  for (const std::size_t size : {64U, 65U, 100'000U}) {
    SCOPED_TRACE(size);
    home_.Write("bin/live.xml", std::string(size, 'x'));
    LoggedOutput output;
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(1U, Archives().size());
    EXPECT_EQ(std::string(size, 'x'), home_.Read("bin/" + Archives()[0]));
    std::filesystem::remove(Archives()[0]);
    output.CloseFile();
    std::filesystem::remove("live.xml");
  }
}

TEST_F(OutputFile, EmptyDocumentIsRemovedWhereItsNamesAreShort) {
  LoggedOutput output("live.xml", "Root", "Group");
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(0, output.OpenFile());
    output.CloseFile();
  }
  EXPECT_THAT(Archives(), IsEmpty());
}

TEST_F(OutputFile, EmptyDocumentOf64BytesIsArchived) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  output.CloseFile();
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(1U, Archives().size());
  EXPECT_EQ(kEmptyDocument, home_.Read("bin/" + Archives()[0]));
}

TEST_F(OutputFile, ClosedFileIsArchivedByTheNextOpenFile) {
  LoggedOutput output;
  for (int number = 1; number <= 3; ++number) {
    ASSERT_EQ(0, output.OpenFile());
    EXPECT_EQ(0, output.recordCount);
    EXPECT_EQ(number == 1 ? std::vector<int>{} : Range(number - 1, number - 1), TakeArchive());
    ASSERT_EQ(0, WriteNumbers(output, number, number));
    output.CloseFile();
    EXPECT_THAT(Archives(), IsEmpty());
  }
}

TEST_F(OutputFile, FileOfAnEarlierProcessIsArchived) {
  {
    LoggedOutput earlier;
    ASSERT_EQ(0, earlier.OpenFile());
    WriteNumbers(earlier, 1, 2);
  }
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 3, 4));
  output.CloseFile();
  EXPECT_EQ(Range(1, 2), TakeArchive());
  EXPECT_EQ(Range(3, 4), ParseAuditFile("live.xml").Numbers());
}

TEST_F(OutputFile, OpenFileBeginsANewDocumentOverAnOpenOne) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(0, output.recordCount);
  ASSERT_EQ(0, WriteNumbers(output, 4, 5));
  output.CloseFile();
  EXPECT_EQ(Range(4, 5), ParseAuditFile("live.xml").Numbers());
}

TEST_F(OutputFile, OpenFileDoesNotCompleteAnOpenDocument) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1000));
  ASSERT_EQ(0, output.FlushFile());
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(1U, Archives().size());
  EXPECT_THAT(home_.Read("bin/" + Archives()[0]), StartsWith("<?xml version"));
  EXPECT_THROW(ParseAuditFile(Archives()[0]), std::runtime_error);
  output.CloseFile();
  EXPECT_EQ(kEmptyDocument, home_.Read("bin/live.xml"));
}

TEST_F(OutputFile, RenameLogLeavesTheDocumentOpen) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 2));
  ASSERT_EQ(0, output.RenameLog());
  EXPECT_FALSE(home_.Exists("bin/live.xml"));
  ASSERT_EQ(0, WriteNumbers(output, 3, 4));
  output.CloseFile();
  EXPECT_EQ(Range(1, 4), TakeArchive());
}

TEST_F(OutputFile, FlushFileShowsTheRecordsSoFar) {
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_EQ(0, WriteNumbers(output, 1, 1));
  EXPECT_EQ("", home_.Read("bin/live.xml"));
  EXPECT_EQ(0, output.FlushFile());
  EXPECT_THAT(home_.Read("bin/live.xml"), ::testing::HasSubstr("<Record Number=\"1\""));
  EXPECT_EQ(0, output.FlushFile());
  ASSERT_EQ(0, WriteNumbers(output, 2, 2));
  output.CloseFile();
  EXPECT_EQ(Range(1, 2), ParseAuditFile("live.xml").Numbers());
  EXPECT_EQ(1, output.FlushFile());
}

TEST_F(OutputFile, DescriptorDoesNotCrossExec) {
  LoggedOutput output;
  output.SetThresholdLimit(1);
  ASSERT_EQ(0, output.OpenFile());
  for (int number = 1; number <= 3; ++number) {
    ASSERT_EQ(0, WriteNumbers(output, number, number));
    const int fd = DescriptorOf(std::filesystem::canonical("live.xml"));
    ASSERT_GE(fd, 0);
    EXPECT_EQ(FD_CLOEXEC, fcntl(fd, F_GETFD) & FD_CLOEXEC);
  }
}

TEST_F(OutputFile, ClosedAndAbandonedDocumentsKeepNoDescriptor) {
  const auto before = OpenFiles();
  LoggedOutput output;
  for (int i = 0; i < 10; ++i) ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(before + 1, OpenFiles());
  output.CloseFile();
  EXPECT_EQ(before, OpenFiles());
}

// A host's own writer, as the record writers are.
class HostOutput : public WKOutputFile {
 public:
  using WKOutputFile::WKOutputFile;
  void SetThresholdLimit(int limit) override { WKOutputFile::SetThresholdLimit(limit * 2); }
};

TEST_F(OutputFile, SetThresholdLimitIsVirtual) {
  HostOutput output(Text("live.xml"), "Root", "Group");
  static_cast<WKOutputFile&>(output).SetThresholdLimit(21);
  EXPECT_EQ(42, output.thresholdLimit);
}

TEST_F(OutputFile, SetThresholdLimitTakesAnyNumber) {
  LoggedOutput output;
  for (const int limit : {1, 0, -1, 2'147'483'647, -2'147'483'647 - 1}) {
    output.SetThresholdLimit(limit);
    EXPECT_EQ(limit, output.thresholdLimit);
  }
}

}  // namespace
}  // namespace wkagent::test
