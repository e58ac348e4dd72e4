#include "output/unfinished_file.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/audit_file.h"
#include "support/agent_home.h"
#include "support/open_files.h"

namespace wkagent::test {
namespace {

constexpr char kDocument[] =
    "<?xml version=\"1.0\"?>\n"
    "<Root>\n"
    "  <Group>\n"
    "    <Record Number=\"1\"/>\n"
    "    <Record Number=\"2\">\n"
    "      <Inner a=\"/&gt;\"/>\n"
    "      <Inner>\n"
    "        <Innermost/>\n"
    "      </Inner>\n"
    "    </Record>\n"
    "    <Record Number=\"3\" b=\"&lt;/Root&gt;&#10;\"/>\n"
    "  </Group>\n"
    "</Root>\n";

class FileCompletion : public ::testing::Test {
 protected:
  [[nodiscard]] Completion Complete(const std::string& text, const std::string& root = "Root",
                                    const std::string& group = "Group") const {
    home_.Write("bin/file", text);
    return CompleteFile("file", root, group);
  }

  // The offsets behind the records of kDocument.
  [[nodiscard]] static std::vector<std::size_t> RecordEnds() {
    const std::string text = kDocument;
    return {text.find("1\"/>\n") + 5, text.find("    </Record>\n") + 14,
            text.find("&#10;\"/>\n") + 9};
  }

  // The numbers of the records that are whole in the first `size` bytes of kDocument.
  [[nodiscard]] static std::vector<int> WholeRecords(std::size_t size) {
    std::vector<int> whole;
    for (const std::size_t end : RecordEnds()) {
      if (size >= end) whole.push_back(static_cast<int>(whole.size()) + 1);
    }
    return whole;
  }

  AgentHome home_;
};

TEST_F(FileCompletion, CompleteDocumentStays) {
  EXPECT_EQ(Completion::kWasComplete, Complete(kDocument));
  EXPECT_EQ(kDocument, home_.Read("bin/file"));
}

TEST_F(FileCompletion, FileCutBeforeItsFirstRecordEndsBecomesEmpty) {
  for (std::size_t size = 0; size < RecordEnds().front(); ++size) {
    EXPECT_EQ(Completion::kCompleted, Complete(std::string(kDocument).substr(0, size))) << size;
    EXPECT_EQ("", home_.Read("bin/file")) << size;
  }
}

TEST_F(FileCompletion, FileCutAtAnyByteKeepsItsWholeRecords) {
  const std::string text = kDocument;
  const std::size_t first = RecordEnds().front();
  std::vector<std::string> files;
  for (std::size_t size = first; size < text.size(); ++size) {
    EXPECT_EQ(Completion::kCompleted, Complete(text.substr(0, size))) << size;
    files.push_back("cut" + std::to_string(size));
    std::filesystem::rename("file", files.back());
  }
  const std::vector<AuditFile> parsed = ParseAuditFiles(files);
  for (std::size_t i = 0; i < parsed.size(); ++i) {
    EXPECT_EQ(WholeRecords(first + i), parsed[i].Numbers()) << files[i];
  }
}

TEST_F(FileCompletion, CutBehindTheRecordsGivesTheDocumentBack) {
  const std::string text = kDocument;
  for (std::size_t size = RecordEnds().back(); size < text.size(); ++size) {
    EXPECT_EQ(Completion::kCompleted, Complete(text.substr(0, size)));
    EXPECT_EQ(text, home_.Read("bin/file")) << size;
  }
}

TEST_F(FileCompletion, CompletingTwiceChangesNothing) {
  ASSERT_EQ(Completion::kCompleted, Complete(std::string(kDocument).substr(0, 100)));
  const std::string once = home_.Read("bin/file");
  EXPECT_EQ(Completion::kWasComplete, CompleteFile("file", "Root", "Group"));
  EXPECT_EQ(once, home_.Read("bin/file"));
}

TEST_F(FileCompletion, RemainsOfAFailedWriteAreCutOff) {
  const std::string text = std::string(kDocument).substr(0, RecordEnds()[1]);
  EXPECT_EQ(Completion::kCompleted, Complete(text + std::string(100, '\0')));
  EXPECT_EQ((std::vector<int>{1, 2}), ParseAuditFile("file").Numbers());
}

TEST_F(FileCompletion, LongRecordsAreWhole) {
  const std::string head = "<?xml version=\"1.0\"?>\n<Root>\n  <Group>\n";
  const std::string record =
      "    <Record Number=\"1\" v=\"" + std::string(1'000'000, 'v') + "\"/>\n";
  EXPECT_EQ(Completion::kCompleted, Complete(head + record + record.substr(0, 500'000)));
  EXPECT_EQ((std::vector<int>{1}), ParseAuditFile("file").Numbers());
}

TEST_F(FileCompletion, FileThatIsMissingFails) {
  EXPECT_EQ(Completion::kFailed, CompleteFile("missing", "Root", "Group"));
  EXPECT_FALSE(home_.Exists("bin/missing"));
}

TEST_F(FileCompletion, FileThatCannotBeReadStays) {
  for (const std::string& text : {std::string(kDocument), std::string(kDocument).substr(0, 100)}) {
    home_.Write("bin/file", text);
    {
      const NoMoreFiles none;
      EXPECT_EQ(Completion::kFailed, CompleteFile("file", "Root", "Group"));
    }
    EXPECT_EQ(text, home_.Read("bin/file"));
  }
}

TEST_F(FileCompletion, RecordIsFoundOnceItIsWhole) {
  const std::string text = kDocument;
  for (std::size_t size = 0; size <= text.size(); ++size) {
    home_.Write("bin/file", text.substr(0, size));
    EXPECT_EQ(size >= RecordEnds().front(), MayHoldRecord("file")) << size;
  }
}

TEST_F(FileCompletion, FileThatCannotBeReadMayHoldRecords) {
  EXPECT_TRUE(MayHoldRecord("missing"));
  home_.Write("bin/file", "");
  EXPECT_FALSE(MayHoldRecord("file"));
  const NoMoreFiles none;
  EXPECT_TRUE(MayHoldRecord("file"));
}

TEST_F(FileCompletion, FolderFails) {
  EXPECT_EQ(Completion::kFailed, CompleteFile("../tmp", "Root", "Group"));
}

}  // namespace
}  // namespace wkagent::test
