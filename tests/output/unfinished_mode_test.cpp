// Files that their writer did not complete, as the next one finds them.

#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include "output/output_fixture.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class UnfinishedFile : public OutputTest {
 protected:
  // Lets a process write the records 1 to `count` and be killed, where no more than what is flushed
  // has reached the file.
  void WriteAndDie(int count) const {
    const pid_t child = fork();
    if (child == 0) {
      LoggedOutput output;
      _exit(output.OpenFile() + WriteNumbers(output, 1, count) + output.FlushFile());
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_EQ(0, status);
  }

  // Opens a document in safe mode over what lies under the live name.
  static int OpenSafely(LoggedOutput& output) {
    output.SetSafeArchive(true);
    return output.OpenFile();
  }

  // A closed file with the records 1 to 3.
  static void WriteClosed(const std::string& root, const std::string& group) {
    LoggedOutput output("live.xml", root, group);
    output.OpenFile();
    WriteNumbers(output, 1, 3);
    output.CloseFile();
  }
};

TEST_F(UnfinishedFile, IsArchivedAsItIsByDefault) {
  WriteAndDie(3);
  const std::string before = home_.Read("bin/live.xml");
  LoggedOutput output;
  ASSERT_EQ(0, output.OpenFile());
  ASSERT_THAT(Archives(), SizeIs(1));
  EXPECT_EQ(before, home_.Read("bin/" + Archives()[0]));
}

TEST_F(UnfinishedFile, IsCompletedInSafeMode) {
  WriteAndDie(3);
  LoggedOutput output;
  ASSERT_EQ(0, OpenSafely(output));
  ASSERT_THAT(Archives(), SizeIs(1));
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("Completed unfinished file live.xml",
                                                   "Created archive file " + Archives()[0]));
  EXPECT_EQ(Range(1, 3), TakeArchive());
}

TEST_F(UnfinishedFile, IsCompletedBeforeItIsSetAside) {
  WriteAndDie(3);
  LoseOutbox();
  LoggedOutput output;
  ASSERT_EQ(0, OpenSafely(output));
  EXPECT_EQ(Range(1, 3), Numbers(SetAside()));
}

TEST_F(UnfinishedFile, WithoutWholeRecordIsRemoved) {
  WriteAndDie(0);
  home_.Write("bin/live.xml", home_.Read("bin/live.xml") + ">\n    <Record Number=\"1\"");
  LoggedOutput output;
  ASSERT_EQ(0, OpenSafely(output));
  EXPECT_THAT(Archives(), IsEmpty());
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("Completed unfinished file live.xml"));
}

TEST_F(UnfinishedFile, LosesItsLastRecordWhereThatIsCut) {
  WriteAndDie(3);
  std::filesystem::resize_file("live.xml", std::filesystem::file_size("live.xml") - 4);
  LoggedOutput output;
  ASSERT_EQ(0, OpenSafely(output));
  EXPECT_EQ(Range(1, 2), TakeArchive());
}

TEST_F(UnfinishedFile, IsNotTouchedWhenItIsComplete) {
  WriteClosed("EDAuditData", "EDADataRecords");
  const std::string before = home_.Read("bin/live.xml");
  LoggedOutput output;
  ASSERT_EQ(0, OpenSafely(output));
  ASSERT_THAT(Archives(), SizeIs(1));
  EXPECT_EQ(before, home_.Read("bin/" + Archives()[0]));
  EXPECT_THAT(LogRecorder::Messages(), ElementsAre("Created archive file " + Archives()[0]));
}

TEST_F(UnfinishedFile, IsNotMadeOfACompleteFileOfOtherNames) {
  for (const char* root : {"OldRoot", "EDAuditDat", ""}) {
    SCOPED_TRACE(root);
    WriteClosed(root, "OldRecords");
    const std::string before = home_.Read("bin/live.xml");
    LoggedOutput output;
    ASSERT_EQ(0, OpenSafely(output));
    ASSERT_THAT(Archives(), SizeIs(1));
    EXPECT_EQ(before, home_.Read("bin/" + Archives()[0]));
    std::filesystem::remove(Archives()[0]);
    output.CloseFile();
    std::filesystem::remove("live.xml");
  }
}

TEST_F(UnfinishedFile, WithoutNamesKeepsItsRecords) {
  for (const auto& [root, group] : {std::pair("", "Group"), std::pair("Root", "")}) {
    SCOPED_TRACE(std::string(root) + "/" + group);
    LoggedOutput output("live.xml", root, group);
    ASSERT_EQ(0, OpenSafely(output));
    ASSERT_EQ(0, WriteNumbers(output, 1, 3));
    output.CloseFile();
    const std::string before = home_.Read("bin/live.xml");
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_THAT(Archives(), SizeIs(1));
    EXPECT_EQ(before, home_.Read("bin/" + Archives()[0]));
    std::filesystem::remove(Archives()[0]);
  }
}

TEST_F(UnfinishedFile, OfAnotherKindIsArchivedAsItIs) {
  home_.Write("bin/live.xml", std::string(100, 'x') + "\n");
  LoggedOutput output;
  ASSERT_EQ(0, OpenSafely(output));
  ASSERT_THAT(Archives(), SizeIs(1));
  EXPECT_EQ(std::string(100, 'x') + "\n", home_.Read("bin/" + Archives()[0]));
}

TEST_F(UnfinishedFile, ThatCannotBeReadIsLeftAlone) {
  WriteAndDie(3);
  const std::string before = home_.Read("bin/live.xml");
  LoggedOutput output;
  EXPECT_EQ(0, output.RetryArchive());  // the first use, as NoMoreFiles asks for
  {
    const NoMoreFiles none;
    EXPECT_EQ(1, OpenSafely(output));
  }
  EXPECT_EQ(before, home_.Read("bin/live.xml"));
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(Range(1, 3), TakeArchive());
}

TEST_F(UnfinishedFile, ThatIsCompleteButCannotBeReadIsKept) {
  WriteClosed("EDAuditData", "EDADataRecords");
  LoggedOutput output;
  {
    const NoMoreFiles none;
    EXPECT_EQ(1, OpenSafely(output));
  }
  output.OpenFile();
  EXPECT_EQ(Range(1, 3), TakeArchive());
}

TEST_F(UnfinishedFile, RotationWithoutDescriptorsLosesNothing) {
  LoggedOutput output;
  output.SetThresholdLimit(3);
  ASSERT_EQ(0, OpenSafely(output));
  ASSERT_EQ(0, WriteNumbers(output, 1, 3));
  {
    const NoMoreFiles none;
    EXPECT_EQ(1, output.WriteStartRecord("Record"));
  }
  ASSERT_EQ(0, output.OpenFile());
  EXPECT_EQ(Range(1, 3), TakeArchive());
}

TEST_F(UnfinishedFile, FolderUnderTheLiveNameIsNotOverwritten) {
  LoseOutbox();
  std::filesystem::create_directories("live.xml/inside");
  LoggedOutput output;
  EXPECT_EQ(1, OpenSafely(output));
  EXPECT_EQ(nullptr, output.writer);
}

}  // namespace
}  // namespace wkagent::test
