// What a crash at any moment leaves, as the next process finds it in safe mode.

#include <filesystem>
#include <string>

#include "output/event_record.h"
#include "output/output_fixture.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class CrashRepair : public OutputTest {
 protected:
  // A process opens its document over what is there, writes one record and ends.
  void NextProcess(int number) {
    LoggedOutput output;
    output.SetSafeArchive(true);
    ASSERT_EQ(0, output.OpenFile());
    ASSERT_EQ(0, WriteNumbers(output, number, number));
  }

  [[nodiscard]] std::vector<int> AllNumbers() const {
    std::vector<std::string> files = Archives();
    files.emplace_back("live.xml");
    return Numbers(files);
  }
};

TEST_F(CrashRepair, EmptyFileIsRemoved) {
  home_.Write("bin/live.xml", "");
  NextProcess(1);
  EXPECT_THAT(Archives(), IsEmpty());
}

TEST_F(CrashRepair, FileOfZeroBytesIsRemovedAndReported) {
  for (const std::size_t size : {10U, 64U, 100'000U}) {
    home_.Write("bin/live.xml", std::string(size, '\0'));
    NextProcess(1);
    EXPECT_THAT(Archives(), IsEmpty());
    EXPECT_EQ("Removed damaged parts of unfinished file live.xml", LogRecorder::Messages().back());
  }
}

TEST_F(CrashRepair, HoleInACompletedFileLosesOnlyWhatWasInIt) {
  NextProcess(1);
  std::string text = home_.Read("bin/live.xml");
  text.insert(text.find("    <Record"), std::string(4096, '\0') + "cut off\"/>\n");
  home_.Write("bin/live.xml", text);
  NextProcess(2);
  EXPECT_THAT(AllNumbers(), ElementsAre(1, 2));
}

TEST_F(CrashRepair, ArchivedFileWithoutSuccessorIsLeftAlone) {
  NextProcess(1);
  {
    LoggedOutput output;
    output.SetSafeArchive(true);
    ASSERT_EQ(0, output.RenameLog());
  }
  NextProcess(2);
  NextProcess(3);
  EXPECT_THAT(AllNumbers(), ElementsAre(1, 2, 3));
}

TEST_F(CrashRepair, FileThatWasCutAndNotCompletedIsCompleted) {
  NextProcess(1);
  const std::string text = home_.Read("bin/live.xml");
  home_.Write("bin/live.xml", text.substr(0, text.find("  </EDADataRecords>")));
  NextProcess(2);
  EXPECT_THAT(AllNumbers(), ElementsAre(1, 2));
}

TEST_F(CrashRepair, DocumentThatWasOnlyBegunIsRemoved) {
  home_.Write("bin/live.xml", "<?xml version=\"1.0\"?>\n<EDAuditData>\n  <EDADataRecords");
  NextProcess(1);
  EXPECT_THAT(Archives(), IsEmpty());
}

// Any length of a file of logins, which has other names.
TEST_F(CrashRepair, TornFileOfLoginsKeepsItsWholeRecords) {
  const auto with = [](auto use) {
    Logged<WKELAOutputFile> output("live.xml", "ELAuditData", "ELADataRecords");
    output.SetSafeArchive(true);
    EXPECT_EQ(0, output.OpenFile());
    use(output);
  };
  tagWKEventData event{};
  event.EventID = 21001;
  with([&](WKELAOutputFile& output) {
    for (int i = 0; i < 2; ++i) EXPECT_EQ(0, output.WriteAuditData(&event));
  });
  const std::string text = home_.Read("bin/live.xml");
  const std::size_t first = text.find("/>\n") + 3;
  const std::size_t second = text.find("/>\n", first) + 3;
  for (std::size_t size = first; size < text.size(); size += 13) {
    home_.Write("bin/live.xml", text.substr(0, size));
    with([](const WKELAOutputFile&) {});
    ASSERT_THAT(Archives(), SizeIs(1)) << size;
    EXPECT_THAT(ParseAuditFile(Archives()[0]).Records(), SizeIs(size < second ? 1 : 2)) << size;
    std::filesystem::remove(Archives()[0]);
  }
}

}  // namespace
}  // namespace wkagent::test
