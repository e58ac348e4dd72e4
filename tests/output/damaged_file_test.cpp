// Files in which a power failure has left zero bytes instead of blocks.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "output/audit_file.h"
#include "output/disk_calls.h"
#include "output/unfinished_file.h"
#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;

constexpr char kDocument[] =
    "<?xml version=\"1.0\"?>\n"
    "<Root>\n"
    "  <Group>\n"
    "    <Record Number=\"1\"/>\n"
    "    <Record Number=\"2\">\n"
    "      <Inner a=\"/&gt;\"/>\n"
    "    </Record>\n"
    "    <Record Number=\"3\"/>\n"
    "    <Record Number=\"4\"/>\n"
    "  </Group>\n"
    "</Root>\n";

class DamagedFile : public ::testing::Test {
 protected:
  // The document with zero bytes from `begin` to before `end`.
  [[nodiscard]] static std::string Holed(std::size_t begin, std::size_t end) {
    std::string text = kDocument;
    std::fill(text.begin() + static_cast<std::ptrdiff_t>(begin),
              text.begin() + static_cast<std::ptrdiff_t>(end), '\0');
    return text;
  }

  // The records that are whole then, each with the line end before it.
  [[nodiscard]] static std::vector<int> WholeRecords(std::size_t begin, std::size_t end) {
    const std::string text = kDocument;
    std::vector<int> whole;
    for (int number = 1; number <= 4; ++number) {
      const std::size_t from = text.find("    <Record Number=\"" + std::to_string(number)) - 1;
      const std::size_t to =
          text.find(number == 2 ? "    </Record>\n" : "/>\n", from + 1) + (number == 2 ? 14 : 3);
      if (end <= from || begin >= to) whole.push_back(number);
    }
    return whole;
  }

  [[nodiscard]] Completion Complete(const std::string& name, const std::string& text) const {
    home_.Write("bin/" + name, text);
    return CompleteFile(name, "Root", "Group");
  }

  AgentHome home_;
};

class HoleOf : public DamagedFile, public ::testing::WithParamInterface<std::size_t> {};

TEST_P(HoleOf, AnywhereLeavesTheRecordsOnBothSides) {
  const std::size_t size = sizeof(kDocument) - 1;
  std::vector<std::string> files;
  std::vector<std::vector<int>> expected;
  for (std::size_t begin = 0; begin + GetParam() <= size; ++begin) {
    const std::string name = "hole" + std::to_string(begin);
    const Completion result = Complete(name, Holed(begin, begin + GetParam()));
    EXPECT_NE(Completion::kFailed, result) << begin;
    const std::vector<int> whole = WholeRecords(begin, begin + GetParam());
    EXPECT_EQ(whole.empty(), home_.Read("bin/" + name).empty()) << begin;
    if (whole.empty()) continue;
    files.push_back(name);
    expected.push_back(whole);
  }
  const std::vector<AuditFile> parsed = ParseAuditFiles(files);
  for (std::size_t i = 0; i < files.size(); ++i) {
    EXPECT_EQ(expected[i], parsed[i].Numbers()) << files[i];
  }
}

INSTANTIATE_TEST_SUITE_P(Bytes, HoleOf, ::testing::Values(1, 7, 64, 120, sizeof(kDocument) - 1),
                         ::testing::PrintToStringParamName());

TEST_F(DamagedFile, OfZeroBytesOnlyBecomesEmpty) {
  for (const std::size_t size : {1U, 63U, 64U, 100'000U}) {
    EXPECT_EQ(Completion::kRepaired, Complete("zeros", std::string(size, '\0')));
    EXPECT_EQ("", home_.Read("bin/zeros"));
  }
}

TEST_F(DamagedFile, UnfinishedKeepsRecordsOnBothSidesToo) {
  const std::string text = Holed(60, 61);
  EXPECT_EQ(Completion::kRepaired, Complete("file", text.substr(0, text.find("  </Group>"))));
  EXPECT_EQ((std::vector<int>{2, 3, 4}), ParseAuditFile("file").Numbers());
}

TEST_F(DamagedFile, LeavesNoOtherFileBehind) {
  ASSERT_EQ(Completion::kRepaired, Complete("file", Holed(60, 61)));
  EXPECT_EQ(std::vector<std::string>{"file"}, home_.List("bin"));
}

TEST_F(DamagedFile, IsReplacedOnceItsRepairIsOnTheDisk) {
  DiskCalls disk;
  ASSERT_EQ(Completion::kRepaired, Complete("file", Holed(60, 61)));
  EXPECT_THAT(disk.Take(), ElementsAre("fsync file.repaired", "rename file.repaired to file"));
}

TEST_F(DamagedFile, WhoseRepairCannotBePutOnTheDiskStaysAlone) {
  DiskCalls disk;
  disk.FailNames(EIO);
  EXPECT_EQ(Completion::kFailed, Complete("file", Holed(60, 61)));
  EXPECT_EQ(Holed(60, 61), home_.Read("bin/file"));
  EXPECT_EQ(std::vector<std::string>{"file"}, home_.List("bin"));
}

TEST_F(DamagedFile, IsForItsOwnerAndGroupOnceRepaired) {
  const mode_t mask = umask(0);
  EXPECT_EQ(Completion::kRepaired, Complete("file", Holed(60, 61)));
  umask(mask);
  EXPECT_EQ(0640U, static_cast<unsigned>(std::filesystem::status("file").permissions()));
}

TEST_F(DamagedFile, WhoseRepairWasBrokenOffIsRepairedAgain) {
  home_.Write("bin/file.repaired", "half of a repai");
  ASSERT_EQ(Completion::kRepaired, Complete("file", Holed(60, 61)));
  EXPECT_EQ(std::vector<std::string>{"file"}, home_.List("bin"));
  EXPECT_EQ((std::vector<int>{2, 3, 4}), ParseAuditFile("file").Numbers());
}

TEST_F(DamagedFile, ThatCannotBeRepairedStays) {
  std::filesystem::create_directory("file.repaired");
  EXPECT_EQ(Completion::kFailed, Complete("file", Holed(60, 61)));
  EXPECT_EQ(Holed(60, 61), home_.Read("bin/file"));
}

TEST_F(DamagedFile, ThatIsNoAuditFileStays) {
  const std::string other = "\x7f" + std::string("ELF\0\0\0\n    text\n", 17);
  EXPECT_EQ(Completion::kWasComplete, Complete("file", other));
  EXPECT_EQ(other, home_.Read("bin/file"));
}

}  // namespace
}  // namespace wkagent::test
