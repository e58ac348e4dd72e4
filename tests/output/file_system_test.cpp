// Full disks, read-only folders and an outbox on another file system.

#include <cerrno>
#include <string>

#include "output/output_fixture.h"
#include "support/private_root.h"

namespace wkagent::test {
namespace {

using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

class FileSystem : public OutputTest {
 protected:
  // Puts the whole home onto a file system of its own.
  void MountHome(const std::string& options) const {
    MountTmpfs(home_.Path(""), options);
    for (const char* folder : {"bin", "outbox", "tmp"}) {
      std::filesystem::create_directory(home_.Path(folder));
    }
    std::filesystem::current_path(home_.Path("bin"));
  }

  // Takes all the room that is left.
  void FillDisk() const { home_.Write("tmp/filler", std::string(1'000'000, 'x')); }
  void MakeRoom() const { std::filesystem::remove(home_.Path("tmp/filler")); }

  // Writes records until one fails; its number, 0 when none failed.
  static int FirstFailure(WKOutputFile& output) {
    for (int number = 1; number <= 10'000; ++number) {
      const std::size_t before = LogRecorder::Lines().size();
      WriteNumbers(output, number, number);
      if (LogRecorder::Lines().size() > before) return number;
    }
    return 0;
  }

  // Leaves a complete file.
  static void WriteThreeRecords(const std::string& path) {
    LoggedOutput output(path);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  }

  // How many of the records in a file that is cut are whole.
  static int WholeRecords(const std::string& text) {
    int records = 0;
    for (std::size_t at = 0; (at = text.find("\"/>\n", at)) != text.npos; ++at) ++records;
    return records;
  }

  // Writes record 1, which reaches to the offset `end` of the file that is open.
  int WriteRecordUpTo(WKOutputFile& output, std::size_t end) const {
    const std::string text =
        "<?xml version=\"1.0\"?>\n<EDAuditData>\n  <EDADataRecords>\n"
        "    <Record Number=\"1\" Value=\"\"/>\n";
    const std::string value(end - text.size(), 'v');
    return output.WriteStartRecord("Record") + output.WriteElementAttribute("Number", "1") +
           output.WriteElementAttribute("Value", value.c_str()) + output.WriteEndRecord() +
           output.FlushFile();
  }
};

TEST_F(FileSystem, FullDiskIsReportedByTheRecordThatFindsIt) {
  InPrivateRoot([this] {
    MountHome("size=32k");
    LoggedOutput output;
    output.SetThresholdLimit(0);
    ASSERT_EQ(0, output.OpenFile());
    EXPECT_GT(FirstFailure(output), 500);
    EXPECT_EQ(ENOSPC, output.GetWriteError());
    EXPECT_THAT(LogRecorder::Messages(),
                Each(AnyOf("Error in start element Record\n", "Error in end element\n",
                           MatchesRegex("Error writing attribute Number - Value .* Error: -1\n"))));
  });
}

TEST_F(FileSystem, FullDiskFailsEveryPartOfTheRecordsThatFollow) {
  InPrivateRoot([this] {
    MountHome("size=32k");
    LoggedOutput output;
    output.SetThresholdLimit(0);
    ASSERT_EQ(0, output.OpenFile());
    FirstFailure(output);
    const std::size_t before = LogRecorder::Lines().size();
    EXPECT_EQ(1, output.WriteStartRecord("Record"));
    EXPECT_STREQ("Error in start element Record\n", output.GetError());
    EXPECT_EQ(1, output.WriteElementAttribute("Number", "7"));
    EXPECT_STREQ("Error writing attribute Number - Value 7 Error: -1\n", output.GetError());
    EXPECT_EQ(0, output.WriteEndRecord());
    EXPECT_STREQ("Error in end element\n", output.GetError());
    EXPECT_EQ(before + 3, LogRecorder::Lines().size());
  });
}

TEST_F(FileSystem, FullDiskFailsFlushFile) {
  InPrivateRoot([this] {
    MountHome("size=32k");
    LoggedOutput output;
    ASSERT_EQ(0, output.OpenFile());
    FillDisk();
    ASSERT_EQ(0, WriteNumbers(output, 1, 1));
    EXPECT_EQ(0, output.GetWriteError());
    EXPECT_EQ(1, output.FlushFile());
    EXPECT_EQ(ENOSPC, output.GetWriteError());
    EXPECT_EQ(1, output.FlushFile());
  });
}

TEST_F(FileSystem, FullDiskIsSeenAfterCloseFile) {
  InPrivateRoot([this] {
    MountHome("size=32k");
    LoggedOutput output;
    ASSERT_EQ(0, output.OpenFile());
    FillDisk();
    ASSERT_EQ(0, WriteNumbers(output, 1, 1));
    output.CloseFile();
    EXPECT_EQ(ENOSPC, output.GetWriteError());
    EXPECT_EQ("", home_.Read("bin/live.xml"));
  });
}

TEST_F(FileSystem, FileStaysCutWhereTheDiskWasFull) {
  InPrivateRoot([this] {
    MountHome("size=32k");
    LoggedOutput output;
    output.SetThresholdLimit(0);
    ASSERT_EQ(0, output.OpenFile());
    FirstFailure(output);
    const std::string before = home_.Read("bin/live.xml");
    MountTmpfs(home_.Path("tmp"), "size=32k");
    WriteNumbers(output, 1, 1000);
    output.CloseFile();
    EXPECT_EQ(before, home_.Read("bin/live.xml"));
    EXPECT_EQ(32U * 1024, before.size());
    EXPECT_THROW(ParseAuditFile("live.xml"), std::runtime_error);
  });
}

TEST_F(FileSystem, OpenFileBeginsAfreshWhenThereIsRoomAgain) {
  InPrivateRoot([this] {
    MountHome("size=32k");
    LoggedOutput output;
    ASSERT_EQ(0, output.OpenFile());
    FillDisk();
    WriteNumbers(output, 1, 1);
    EXPECT_EQ(1, output.FlushFile());
    MakeRoom();
    ASSERT_EQ(0, output.OpenFile());
    EXPECT_EQ(0, output.GetWriteError());
    ASSERT_EQ(0, WriteNumbers(output, 2, 3));
    output.CloseFile();
    EXPECT_EQ(0, output.GetWriteError());
    EXPECT_EQ(Range(2, 3), ParseAuditFile("live.xml").Numbers());
  });
}

TEST_F(FileSystem, RotationOnAFullDiskIsReported) {
  InPrivateRoot([this] {
    MountHome("size=32k");
    LoggedOutput output;
    output.SetThresholdLimit(1);
    ASSERT_EQ(0, output.OpenFile());
    FillDisk();
    ASSERT_EQ(0, WriteNumbers(output, 1, 1));
    EXPECT_EQ(0, output.GetWriteError());
    EXPECT_EQ(0, output.WriteStartRecord("Record"));
    EXPECT_EQ(ENOSPC, output.GetWriteError());
  });
}

TEST_F(FileSystem, SafeArchiveCompletesTheFileOnceThereIsRoom) {
  InPrivateRoot([this] {
    MountHome("size=36k");
    home_.Write("tmp/filler", "x");
    LoggedOutput output;
    output.SetSafeArchive(true);
    output.SetThresholdLimit(0);
    ASSERT_EQ(0, output.OpenFile());
    FirstFailure(output);
    const int whole = WholeRecords(home_.Read("bin/live.xml"));
    EXPECT_GT(whole, 500);
    MakeRoom();
    ASSERT_EQ(0, output.OpenFile());
    EXPECT_EQ(Range(1, whole), TakeArchive());
  });
}

TEST_F(FileSystem, FileThatCannotBeCompletedYetIsKept) {
  InPrivateRoot([this] {
    MountHome("size=36k");
    home_.Write("tmp/filler", "x");
    LoggedOutput output;
    output.SetSafeArchive(true);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteRecordUpTo(output, 32 * 1024 - 10));
    WriteNumbers(output, 2, 2);
    EXPECT_EQ(1, output.FlushFile());
    for (int i = 0; i < 2; ++i) EXPECT_EQ(1, output.OpenFile());
    EXPECT_STREQ("Cannot complete unfinished file live.xml", output.GetError());
    MakeRoom();
    ASSERT_EQ(0, output.OpenFile());
    EXPECT_EQ(Range(1, 1), TakeArchive());
  });
}

TEST_F(FileSystem, OpenFileFailsWithoutRoomForAFile) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=1");
    LoggedOutput output("../tmp/live.xml");
    EXPECT_EQ(1, output.OpenFile());
    EXPECT_EQ(nullptr, output.writer);
    EXPECT_THAT(LogRecorder::Messages(),
                ElementsAre("xmlNewTextWriterFilename failed to open file ../tmp/live.xml"));
  });
}

TEST_F(FileSystem, OpenFileFailsInAReadOnlyFolder) {
  InPrivateRoot([this] {
    MountReadOnly(home_.Path("tmp"));
    LoggedOutput output("../tmp/live.xml");
    EXPECT_EQ(1, output.OpenFile());
    EXPECT_THAT(LogRecorder::Messages(),
                ElementsAre("xmlNewTextWriterFilename failed to open file ../tmp/live.xml"));
  });
}

TEST_F(FileSystem, ReadOnlyFolderKeepsItsLiveFile) {
  WriteThreeRecords("../tmp/live.xml");
  InPrivateRoot([this] {
    MountReadOnly(home_.Path("tmp"));
    LoggedOutput output("../tmp/live.xml");
    EXPECT_EQ(1, output.OpenFile());
    EXPECT_THAT(LogRecorder::Messages(),
                ElementsAre(AllOf(StartsWith("Rename error - From:../tmp/live.xml To "),
                                  EndsWith(" Error Code:" + std::to_string(EXDEV))),
                            "xmlNewTextWriterFilename failed to open file ../tmp/live.xml"));
    EXPECT_EQ(Range(1, 3), ParseAuditFile("../tmp/live.xml").Numbers());
  });
}

TEST_F(FileSystem, FileOfAReadOnlyFolderCannotBeSetAside) {
  WriteThreeRecords("../tmp/live.xml");
  InPrivateRoot([this] {
    MountReadOnly(home_.Path("tmp"));
    LoggedOutput output("../tmp/live.xml");
    output.SetSafeArchive(true);
    EXPECT_EQ(1, output.OpenFile());
    EXPECT_THAT(
        LogRecorder::Messages(),
        ElementsAre(StartsWith("Rename error - From:../tmp/live.xml To "),
                    AllOf(StartsWith("Cannot set aside ../tmp/live.xml as ../tmp/live.xml."),
                          EndsWith(" Error Code:" + std::to_string(EROFS)))));
    EXPECT_EQ(Range(1, 3), ParseAuditFile("../tmp/live.xml").Numbers());
  });
}

TEST_F(FileSystem, OutboxOnAnotherDiskCannotTakeFiles) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("outbox"), "size=32k");
    LoggedOutput output;
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, 1, 1));
    output.CloseFile();
    EXPECT_EQ(-1, output.RenameLog());
    EXPECT_THAT(output.GetError(), EndsWith(" Error Code:" + std::to_string(EXDEV)));
    EXPECT_EQ(Range(1, 1), ParseAuditFile("live.xml").Numbers());
  });
}

TEST_F(FileSystem, SafeArchiveWaitsForAnOutboxThatItCanUse) {
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("outbox"), "size=32k");
    LoggedOutput output;
    output.SetSafeArchive(true);
    output.SetThresholdLimit(1);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, 1, 4));
    EXPECT_THAT(Archives(), IsEmpty());
    EXPECT_EQ(Range(1, 3), Numbers(SetAside()));
    Unmount(home_.Path("outbox"));
    EXPECT_EQ(0, output.RetryArchive());
    EXPECT_EQ(Range(1, 3), Numbers(Archives()));
  });
}

TEST_F(FileSystem, ReadOnlyOutboxIsWaitedFor) {
  InPrivateRoot([this] {
    MountHome("size=1m");
    MountReadOnly(home_.Path("outbox"));
    LoggedOutput output;
    output.SetSafeArchive(true);
    output.SetThresholdLimit(1);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, 1, 3));
    EXPECT_THAT(LogRecorder::Messages(), Each(StartsWith("Rename error - ")));
    EXPECT_EQ(2, output.RetryArchive());
    Unmount(home_.Path("outbox"));
    EXPECT_EQ(0, output.RetryArchive());
    EXPECT_EQ(Range(1, 2), Numbers(Archives()));
  });
}

}  // namespace
}  // namespace wkagent::test
