#include "agent/live_marks.h"

#include <filesystem>
#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/agent_home.h"

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class LiveMarksTest : public ::testing::Test {
 protected:
  // The marks of the file "live" as it is, read back from their text.
  [[nodiscard]] static LiveMarks Marked(bool closed) {
    LiveMarks written;
    written.Add("live", closed);
    const std::string text = written.ToText();
    std::string_view rest = text;
    LiveMarks read;
    EXPECT_TRUE(read.FromText(rest));
    EXPECT_EQ("", rest);
    return read;
  }

  void Write(const std::string& text) const { home_.Write("bin/live", text); }
  [[nodiscard]] std::string Live() const { return home_.Read("bin/live"); }

  AgentHome home_;
};

TEST_F(LiveMarksTest, WhatWasAddedIsCutOffAndReported) {
  for (const bool closed : {false, true}) {
    Write("counted");
    const LiveMarks marks = Marked(closed);
    Write("counted and more");
    EXPECT_THAT(marks.CutBack(), ElementsAre(HasSubstr("live: 9 bytes cut off")));
    EXPECT_EQ("counted", Live());
    EXPECT_THAT(marks.CutBack(), IsEmpty()) << "which may be done again";
  }
}

TEST_F(LiveMarksTest, ALargeFileIsKnownByItsEnd) {
  const std::string large(100'000, 'x');
  Write(large + "a");
  const LiveMarks marks = Marked(false);
  Write(large + "b more");
  EXPECT_THAT(marks.CutBack(), ElementsAre(HasSubstr("not the file")));
  Write(large + "a more");
  (void)marks.CutBack();
  EXPECT_EQ(large + "a", Live());
}

TEST_F(LiveMarksTest, TheSuccessorOfAClosedFileIsEmptied) {
  Write("counted and archived");
  const LiveMarks marks = Marked(true);
  for (const char* text : {"begun", "begun later, and longer than the other"}) {
    Write(text);
    EXPECT_THAT(marks.CutBack(), ElementsAre(HasSubstr("cut off")));
    EXPECT_EQ("", Live());
  }
}

TEST_F(LiveMarksTest, AStrangerIsKeptAndReported) {
  Write("counted");
  const LiveMarks marks = Marked(false);
  for (const char* text : {"c", "another file"}) {
    Write(text);
    EXPECT_THAT(marks.CutBack(), ElementsAre(HasSubstr("all of it is kept")));
    EXPECT_EQ(text, Live());
  }
}

TEST_F(LiveMarksTest, AFileThatIsGoneHasBeenArchived) {
  Write("counted");
  const LiveMarks marks = Marked(false);
  std::filesystem::remove("live");
  EXPECT_THAT(marks.CutBack(), IsEmpty());
  EXPECT_FALSE(home_.Exists("bin/live"));
}

TEST_F(LiveMarksTest, WhatBeginsWhereThereWasNoFileIsEmptied) {
  const LiveMarks marks = Marked(false);
  Write("begun");
  (void)marks.CutBack();
  EXPECT_EQ("", Live());
}

TEST_F(LiveMarksTest, ALinkIsNotFollowed) {
  Write("counted");
  const LiveMarks marks = Marked(false);
  std::filesystem::rename("live", "elsewhere");
  home_.Write("bin/elsewhere", "counted and more");
  std::filesystem::create_symlink("elsewhere", "live");
  (void)marks.CutBack();
  EXPECT_EQ("counted and more", home_.Read("bin/elsewhere"));
}

TEST_F(LiveMarksTest, GarbageIsRefused) {
  for (const char* text : {"live a 1 2 half\n", "live a 1 2 open", "live a -1 2 open\n",
                           "live a 1 open\n", "live a x 2 open\n"}) {
    std::string_view rest = text;
    LiveMarks marks;
    EXPECT_FALSE(marks.FromText(rest)) << text;
  }
}

}  // namespace
}  // namespace wkagent::test
