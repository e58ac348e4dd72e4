#include "agent/report.h"

#include <string>

#include <gtest/gtest.h>

#include "support/text.h"

namespace wkagent::test {
namespace {

// What an action prints on standard error.
template <typename Action>
std::string Printed(Action action) {
  ::testing::internal::CaptureStderr();
  action();
  return ::testing::internal::GetCapturedStderr();
}

TEST(Report, PrintsOneLine) {
  EXPECT_EQ("wkagentd: 100 %s is a text\n", Printed([] { Report("100 %s is a text"); }));
  EXPECT_EQ("wkagentd: \n", Printed([] { Report(""); }));
}

TEST(Report, PrintsOnlyThePartThatIsGiven) {
  EXPECT_EQ("wkagentd: one\n", Printed([] { Report(std::string_view("one two").substr(0, 3)); }));
}

TEST(Report, PrintsControlCharactersAsTheirNumbers) {
  EXPECT_EQ("wkagentd: \\x1b[2Jname\\x07\\x7f\\x00\\x0d\ttext\xc3\xa4\n", Printed([] {
              using std::string_literals::operator""s;
              Report("\x1b[2Jname\a\x7f\0\r\ttext\xc3\xa4"s);
            }));
}

TEST(Report, TakesTheLineEndsOffTheLibrarysMessages) {
  EXPECT_EQ("wkagentd: Rename error\n",
            Printed([] { ReportLibraryMessage(1, Text("Rename error\n\n"), Text("")); }));
  EXPECT_EQ("wkagentd: \n", Printed([] { ReportLibraryMessage(1, Text(""), nullptr); }));
}

TEST(Report, ProgressIsErasedByTheNextLine) {
  EXPECT_EQ("\r\x1b[K10 events\r\x1b[K20 events\r\x1b[Kwkagentd: done\nwkagentd: again\n",
            Printed([] {
              ReportProgress("10 events");
              ReportProgress("20 events");
              Report("done");
              Report("again");
            }));
}

TEST(Report, AnEmptyProgressErasesOnlyWhatWasShown) {
  EXPECT_EQ("", Printed([] { ReportProgress(""); }));
  EXPECT_EQ("\r\x1b[K10 events\r\x1b[K", Printed([] {
              ReportProgress("10 events");
              ReportProgress("");
              ReportProgress("");
            }));
}

}  // namespace
}  // namespace wkagent::test
