#include "agent/line_splitter.h"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace wkagent::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Line {
  long number;
  std::string text;
  bool tooLong;

  bool operator==(const Line&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Line& line) {
  return out << line.number << (line.tooLong ? "!" : ":") << line.text;
}

constexpr std::size_t kLongest = 8;

// A splitter with a limit of 8 bytes whose lines are recorded.
class Splitter {
 public:
  void Split(std::string_view block) {
    splitter_.Split(block, [this](std::string_view line) { Record(line); });
  }
  void Finish() {
    splitter_.Finish([this](std::string_view line) { Record(line); });
  }
  [[nodiscard]] bool HasPart() const { return splitter_.HasPart(); }
  [[nodiscard]] long Number() const { return splitter_.Number(); }

  std::vector<Line> lines;

 private:
  void Record(std::string_view line) {
    lines.push_back({splitter_.Number(), std::string(line), splitter_.IsTooLong(line)});
  }

  LineSplitter splitter_{kLongest};
};

std::vector<Line> Lines(const std::vector<std::string>& blocks) {
  Splitter splitter;
  for (const std::string& block : blocks) splitter.Split(block);
  splitter.Finish();
  return splitter.lines;
}

std::vector<std::string> Texts(const std::vector<std::string>& blocks) {
  std::vector<std::string> texts;
  for (const Line& line : Lines(blocks)) texts.push_back(line.text);
  return texts;
}

// What becomes of `text` must not depend on where it is cut into two or three blocks.
void ExpectSameHoweverCut(const std::string& text, const std::vector<Line>& expected) {
  for (std::size_t first = 0; first <= text.size(); ++first) {
    for (std::size_t second = first; second <= text.size(); ++second) {
      EXPECT_EQ(expected, Lines({text.substr(0, first), text.substr(first, second - first),
                                 text.substr(second)}))
          << ::testing::PrintToString(text) << " cut at " << first << " and " << second;
    }
  }
}

TEST(LineSplitter, NumbersLinesFromOne) {
  EXPECT_THAT(Lines({"one\ntwo\n\nfour\n"}),
              ElementsAre(Line{1, "one", false}, Line{2, "two", false}, Line{3, "", false},
                          Line{4, "four", false}));
}

TEST(LineSplitter, TakesCrLfAsOneLineEnd) {
  EXPECT_THAT(Texts({"one\r\n\r\nthree\r\n"}), ElementsAre("one", "", "three"));
}

TEST(LineSplitter, KeepsAReturnThatIsNoLineEnd) {
  EXPECT_THAT(Texts({"a\rb\n\rc\nd\r\r\n"}), ElementsAre("a\rb", "\rc", "d\r"));
}

TEST(LineSplitter, GivesTheSameHoweverTheInputIsCut) {
  const std::string text = "one\n\r\nfour\r\n\n\na\rb\nlast";
  ExpectSameHoweverCut(text, Lines({text}));
  EXPECT_THAT(Texts({text}), ElementsAre("one", "", "four", "", "", "a\rb", "last"));
}

TEST(LineSplitter, EmptyBlocksChangeNothing) {
  EXPECT_THAT(Texts({"", "o", "", "ne", "", "\n", ""}), ElementsAre("one"));
}

TEST(LineSplitter, HandsALineOverAsSoonAsItEnds) {
  Splitter splitter;
  splitter.Split("on");
  EXPECT_THAT(splitter.lines, IsEmpty());
  EXPECT_TRUE(splitter.HasPart());
  splitter.Split("e\n");
  EXPECT_THAT(splitter.lines, ElementsAre(Line{1, "one", false}));
  EXPECT_FALSE(splitter.HasPart());
}

TEST(LineSplitter, FinishHandsOverALastLineWithoutEnd) {
  EXPECT_THAT(Lines({"one\ntw", "o"}), ElementsAre(Line{1, "one", false}, Line{2, "two", false}));
  EXPECT_THAT(Texts({"one\r"}), ElementsAre("one"));
}

TEST(LineSplitter, FinishAfterALineEndHandsNothingOver) {
  EXPECT_THAT(Texts({"one\n"}), ElementsAre("one"));
  EXPECT_THAT(Texts({""}), IsEmpty());
}

TEST(LineSplitter, CountsAnewAfterFinish) {
  Splitter splitter;
  splitter.Split("one\ntwo");
  splitter.Finish();
  EXPECT_EQ(0, splitter.Number());
  splitter.lines.clear();
  splitter.Split("uno\n");
  EXPECT_THAT(splitter.lines, ElementsAre(Line{1, "uno", false}));
}

TEST(LineSplitter, DoesNotCopyALineThatLiesWithinABlock) {
  LineSplitter splitter(kLongest);
  const std::string block = "one\ntwo\n";
  splitter.Split(block, [&](std::string_view line) {
    EXPECT_GE(line.data(), block.data());
    EXPECT_LE(line.data() + line.size(), block.data() + block.size());
  });
}

TEST(LineSplitter, TellsALineOfTheLimitFromALongerOneHoweverCut) {
  for (const char* const end : {"\n", "\r\n"}) {
    ExpectSameHoweverCut(std::string("1234567") + end, {{1, "1234567", false}});
    ExpectSameHoweverCut(std::string("12345678") + end, {{1, "12345678", false}});
    for (const std::string text : {"123456789", "1234567890", "12345678901", "123456789012"}) {
      for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        const auto lines = Lines({text.substr(0, cut), text.substr(cut), end, "next\n"});
        ASSERT_EQ(2U, lines.size());
        EXPECT_TRUE(lines[0].tooLong) << text << " cut at " << cut;
        EXPECT_EQ("12345678", lines[0].text.substr(0, kLongest));
        EXPECT_EQ((Line{2, "next", false}), lines[1]);
      }
    }
  }
}

TEST(LineSplitter, AReturnBehindTheLimitDoesNotHideThatALineIsTooLong) {
  const std::string text = "12345678\rx\n";
  for (std::size_t cut = 0; cut < text.size(); ++cut) {
    const auto lines = Lines({text.substr(0, cut), text.substr(cut)});
    ASSERT_EQ(1U, lines.size());
    EXPECT_TRUE(lines[0].tooLong) << "cut at " << cut;
  }
}

TEST(LineSplitter, KeepsLittleOfALineThatIsTooLong) {
  Splitter splitter;
  for (int i = 0; i < 1000; ++i) splitter.Split("0123456789");
  splitter.Split("\nnext\n");
  ASSERT_EQ(2U, splitter.lines.size());
  EXPECT_TRUE(splitter.lines[0].tooLong);
  EXPECT_LE(splitter.lines[0].text.size(), kLongest + 2);
  EXPECT_EQ((Line{2, "next", false}), splitter.lines[1]);
}

TEST(LineSplitter, ALongLastLineWithoutEndIsTooLongAsWell) {
  const auto lines = Lines({"12345", "67890"});
  ASSERT_EQ(1U, lines.size());
  EXPECT_TRUE(lines[0].tooLong);
}

}  // namespace
}  // namespace wkagent::test
