#include <climits>
#include <cstring>
#include <ctime>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/agent_home.h"
#include "support/local_time.h"
#include "support/open_files.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using testing::StartsWith;

constexpr const char* kStampFormat = "%m/%d/%Y - %H:%M:%S ";
constexpr std::size_t kStampLength = 22;

static_assert(sizeof(tagStatusMessage::message) == 300);
static_assert(sizeof(tagStatusMessage::errorCode) == 4);
static_assert(offsetof(tagStatusMessage, errorCode) < offsetof(tagStatusMessage, message));
static_assert(offsetof(tagStatusMessage, message) < offsetof(tagStatusMessage, functionName));

tagStatusMessage Record(int code, const std::string& message, const std::string& function = "") {
  tagStatusMessage record{};
  record.errorCode = code;
  message.copy(record.message, sizeof(record.message));
  function.copy(record.functionName, sizeof(record.functionName));
  return record;
}

class StatusMessage : public testing::Test {
 protected:
  void Write(tagStatusMessage record) { status_.WriteMessage(&record); }

  // The bytes of the file behind the stamp of its only line, which is checked.
  std::string LineBehindStamp() {
    const std::string text = home_.Read("tmp/status.txt");
    EXPECT_TRUE(IsStampSince(begin_, text.substr(0, kStampLength), kStampFormat)) << text;
    return text.substr(std::min(text.size(), kStampLength));
  }

  // What writing to `path` puts on standard error.
  std::string StderrOf(const std::string& path) {
    WKStatusMessage status(Text{path});
    tagStatusMessage record = Record(0, "message");
    testing::internal::CaptureStderr();
    status.WriteMessage(&record);
    return testing::internal::GetCapturedStderr();
  }

  AgentHome home_;
  std::time_t begin_ = std::time(nullptr);
  WKStatusMessage status_{Text("../tmp/status.txt")};
};

TEST_F(StatusMessage, APlainLineIsStampMessageAndLineEnd) {
  Write(Record(0, "Filter read"));
  EXPECT_EQ(LineBehindStamp(), "Filter read\n\r");
}

TEST_F(StatusMessage, APlainLineHasNoFunctionPart) {
  Write(Record(0, "Filter read", "ReadFile"));
  EXPECT_EQ(LineBehindStamp(), "Filter read\n\r");
}

TEST_F(StatusMessage, AnErrorLineEndsWithFunctionAndCode) {
  Write(Record(-1, "Unable to read", "ReadFile"));
  EXPECT_EQ(LineBehindStamp(), "Unable to read  Function: ReadFile return error - -1\n\r");
}

TEST_F(StatusMessage, AnyCodeButZeroIsAnError) {
  for (const int code : {1, 2, -2, INT_MAX, INT_MIN}) {
    home_.Write("tmp/status.txt", "");
    Write(Record(code, "", "F"));
    EXPECT_EQ(LineBehindStamp(), "  Function: F return error - " + std::to_string(code) + "\n\r");
  }
}

TEST_F(StatusMessage, AnEmptyMessageStillMakesALine) {
  Write(Record(0, ""));
  EXPECT_EQ(LineBehindStamp(), "\n\r");
}

TEST_F(StatusMessage, PercentSignsAndLineEndsArePlainText) {
  Write(Record(1, "100% %s %n\nnext", "%d"));
  EXPECT_EQ(LineBehindStamp(), "100% %s %n\nnext  Function: %d return error - 1\n\r");
}

TEST_F(StatusMessage, TextsWithoutTerminatorAreTakenAsLongAsTheirField) {
  const std::string message(300, 'm');
  const std::string function(sizeof(tagStatusMessage::functionName), 'f');
  Write(Record(1, message, function));
  EXPECT_EQ(LineBehindStamp(), message + "  Function: " + function + " return error - 1\n\r");
}

TEST_F(StatusMessage, TheStampIsLocalTime) {
  for (const char* zone : {"UTC0", "XXX-14", "XXX12"}) {
    const TimeZone local(zone);
    home_.Write("tmp/status.txt", "");
    Write(Record(0, "here"));
    EXPECT_EQ(LineBehindStamp(), "here\n\r") << zone;
  }
}

TEST_F(StatusMessage, LinesAreAppendedToWhatTheFileHolds) {
  home_.Write("tmp/status.txt", "kept\n");
  Write(Record(0, "one"));
  Write(Record(0, "two"));
  const std::string text = home_.Read("tmp/status.txt");
  EXPECT_THAT(text, StartsWith("kept\n"));
  EXPECT_EQ(text.substr(5 + kStampLength, 5), "one\n\r");
  EXPECT_EQ(text.substr(10 + 2 * kStampLength), "two\n\r");
}

TEST_F(StatusMessage, TwoObjectsShareAFileLineByLine) {
  WKStatusMessage other(Text("../tmp/status.txt"));
  tagStatusMessage two = Record(0, "two");
  Write(Record(0, "one"));
  other.WriteMessage(&two);
  Write(Record(0, "three"));
  EXPECT_THAT(home_.Read("tmp/status.txt"),
              testing::ContainsRegex("one\n\r[^\n]*two\n\r[^\n]*three\n\r$"));
}

TEST_F(StatusMessage, LinesOfManyThreadsStayWhole) {
  std::vector<std::thread> threads;
  for (const char letter : {'a', 'b', 'c', 'd'}) {
    threads.emplace_back([letter] {
      WKStatusMessage status(Text("../tmp/status.txt"));
      tagStatusMessage record = Record(1, std::string(299, letter), std::string(100, letter));
      for (int line = 0; line < 50; ++line) status.WriteMessage(&record);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::size_t length =
      kStampLength + 299 + std::strlen("  Function:  return error - 1\n\r") + 100;
  const std::string text = home_.Read("tmp/status.txt");
  ASSERT_EQ(text.size(), 200 * length);
  for (std::size_t at = 0; at < text.size(); at += length) {
    EXPECT_EQ(text.substr(at + kStampLength, 299), std::string(299, text[at + kStampLength]));
    EXPECT_EQ(text.substr(at + length - 2, 2), "\n\r");
  }
}

TEST_F(StatusMessage, TheObjectKeepsItsOwnCopyOfThePath) {
  std::string path = "../tmp/status.txt";
  WKStatusMessage status(path.data());
  path = "../tmp/other.txt";
  tagStatusMessage record = Record(0, "message");
  status.WriteMessage(&record);
  EXPECT_EQ(LineBehindStamp(), "message\n\r");
}

TEST_F(StatusMessage, AFileThatCannotBeOpenedIsReportedOnStandardError) {
  EXPECT_EQ(StderrOf("../missing/status.txt"),
            "QRAUDIT_ERROR: Unable to open ../missing/status.txt\n");
  EXPECT_EQ(StderrOf("../tmp"), "QRAUDIT_ERROR: Unable to open ../tmp\n");
  EXPECT_EQ(StderrOf("../no/100%%s%n"), "QRAUDIT_ERROR: Unable to open ../no/100%%s%n\n");
}

TEST_F(StatusMessage, AFileThatOpensIsNotReported) { EXPECT_EQ(StderrOf("../tmp/status.txt"), ""); }

TEST_F(StatusMessage, ALaterCallWritesWhatAnEarlierOneCouldNot) {
  WKStatusMessage status(Text("../later/status.txt"));
  tagStatusMessage record = Record(0, "message");
  testing::internal::CaptureStderr();
  status.WriteMessage(&record);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
  std::filesystem::create_directory(home_.Path("later"));
  status.WriteMessage(&record);
  EXPECT_THAT(home_.Read("later/status.txt"), testing::EndsWith("message\n\r"));
}

TEST_F(StatusMessage, OnlyTheOpeningIsReported) { EXPECT_EQ(StderrOf("/dev/full"), ""); }

TEST_F(StatusMessage, ALongPathIsCut) {
  EXPECT_EQ(StderrOf(std::string(5000, 'x')),
            "QRAUDIT_ERROR: Unable to open " + std::string(4095, 'x') + "\n");
}

TEST_F(StatusMessage, ANullPathOpensNothing) {
  WKStatusMessage status(nullptr);
  tagStatusMessage record = Record(0, "message");
  testing::internal::CaptureStderr();
  status.WriteMessage(&record);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "QRAUDIT_ERROR: Unable to open \n");
}

TEST_F(StatusMessage, ANullRecordIsIgnored) {
  status_.WriteMessage(nullptr);
  EXPECT_FALSE(home_.Exists("tmp/status.txt"));
}

TEST_F(StatusMessage, NoFileIsKeptOpen) {
  const long before = OpenFiles();
  Write(Record(0, "message"));
  EXPECT_EQ(OpenFiles(), before);
}

}  // namespace
}  // namespace wkagent::test
