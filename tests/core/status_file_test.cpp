#include <chrono>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <wkagent/core.h>

#include "support/agent_home.h"
#include "support/local_time.h"
#include "support/log_recorder.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kStampFormat = "%Y%m%d%H%M%S";

static_assert(sizeof(WKStatusFile::fileName) == 128);
static_assert(sizeof(WKStatusFile::command) == 256);
static_assert(sizeof(WKStatusFile::timeStamp) == 64);

class StatusFile : public testing::Test {
 protected:
  int Create(WKStatusFile& file) {
    file.InitializeLogMessage(LogRecorder::Callback);
    return file.CreateFile();
  }

  // Creates the marker of `name` and gives the name of the one file that this left in the outbox.
  std::string CreatedFor(const std::string& name) {
    WKStatusFile file(Text{name});
    EXPECT_EQ(Create(file), 0);
    const std::vector<std::string> files = home_.List("outbox");
    EXPECT_EQ(files.size(), 1U);
    return files.empty() ? "" : files.front();
  }

  // "NAME.STAMP.xml" with a stamp of the time since this test began.
  void ExpectMarker(const std::string& file, const std::string& name) {
    ASSERT_EQ(file.size(), name.size() + 1 + 14 + 4) << file;
    EXPECT_EQ(file.substr(0, name.size() + 1), name + ".");
    EXPECT_TRUE(IsStampSince(begin_, file.substr(name.size() + 1, 14), kStampFormat)) << file;
    EXPECT_EQ(file.substr(file.size() - 4), ".xml");
  }

  AgentHome home_;
  LogRecorder log_;
  std::time_t begin_ = std::time(nullptr);
};

TEST_F(StatusFile, FieldsStandInTheirOrder) {
  WKStatusFile file(Text("Daemon"));
  EXPECT_LT(static_cast<void*>(&file.logCallback), static_cast<void*>(file.fileName));
  EXPECT_EQ(file.fileName + sizeof(file.fileName), file.command);
  EXPECT_EQ(file.command + sizeof(file.command), file.timeStamp);
}

TEST_F(StatusFile, CreatesAnEmptyStampedFileInTheOutbox) {
  const std::string created = CreatedFor("Daemon");
  ExpectMarker(created, "Daemon");
  EXPECT_EQ(home_.Read("outbox/" + created), "");
}

TEST_F(StatusFile, GetTimeDateStringFillsFourteenDigitsOfLocalTime) {
  WKStatusFile file(Text("Daemon"));
  for (const char* zone : {"UTC0", "XXX-14", "XXX12"}) {
    const TimeZone local(zone);
    file.GetTimeDateString();
    EXPECT_THAT(file.timeStamp, testing::MatchesRegex("[0-9]{14}"));
    EXPECT_TRUE(IsStampSince(begin_, file.timeStamp, kStampFormat)) << zone;
  }
}

TEST_F(StatusFile, NothingIsCreatedBeforeCreateFile) {
  WKStatusFile file(Text("Daemon"));
  file.GetTimeDateString();
  EXPECT_STREQ(file.fileName, "Daemon");
  EXPECT_THAT(home_.List("outbox"), IsEmpty());
}

TEST_F(StatusFile, TheCommandsTextIsLogged) {
  WKStatusFile file(Text("Daemon"));
  EXPECT_EQ(Create(file), 0);
  const std::string command = "touch ../outbox/Daemon." + std::string(file.timeStamp) + ".xml";
  EXPECT_EQ(file.command, command);
  ASSERT_THAT(log_.Messages(), ElementsAre(command));
  EXPECT_EQ(log_.Lines()[0].level, 0);
  EXPECT_EQ(log_.Lines()[0].extra, "");
}

TEST_F(StatusFile, WithoutACallbackTheCommandsTextGoesToStandardError) {
  WKStatusFile file(Text("Daemon"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(file.CreateFile(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), file.command);
}

TEST_F(StatusFile, TheCommandIsLoggedBeforeItRuns) {
  static AgentHome* home;
  static std::vector<std::string> seen;
  home = &home_;
  seen = {"not called"};
  WKStatusFile file(Text("Daemon"));
  file.InitializeLogMessage([](int, char*, char*) { seen = home->List("outbox"); });
  EXPECT_EQ(file.CreateFile(), 0);
  EXPECT_THAT(seen, IsEmpty());
  EXPECT_EQ(home_.List("outbox").size(), 1U);
}

TEST_F(StatusFile, ACallbackThatWritesIntoItsTextDoesNotChangeTheCommand) {
  WKStatusFile file(Text("Daemon"));
  file.InitializeLogMessage([](int, char* text, char*) { std::strcpy(text, "touch pwned"); });
  EXPECT_EQ(file.CreateFile(), 0);
  EXPECT_FALSE(home_.Exists("bin/pwned"));
  EXPECT_EQ(home_.List("outbox").size(), 1U);
}

// Two calls within a second: tried until the second did not change in between.
TEST_F(StatusFile, ASecondCallInTheSameSecondRenewsTheFilesTime) {
  WKStatusFile file(Text("Daemon"));
  std::string stamp;
  do {
    EXPECT_EQ(Create(file), 0);
    stamp = file.timeStamp;
    const std::string path = home_.Path("outbox/Daemon." + stamp + ".xml");
    std::filesystem::last_write_time(path, {});
    EXPECT_EQ(Create(file), 0);
  } while (file.timeStamp != stamp);
  const std::filesystem::path path = home_.Path("outbox/Daemon." + stamp + ".xml");
  EXPECT_NE(std::filesystem::last_write_time(path), std::filesystem::file_time_type{});
}

TEST_F(StatusFile, AnExistingFileKeepsItsText) {
  WKStatusFile file(Text("Daemon"));
  std::string stamp;
  do {
    file.GetTimeDateString();
    stamp = file.timeStamp;
    home_.Write("outbox/Daemon." + stamp + ".xml", "kept");
    EXPECT_EQ(Create(file), 0);
  } while (file.timeStamp != stamp);
  EXPECT_EQ(home_.Read("outbox/Daemon." + stamp + ".xml"), "kept");
}

TEST_F(StatusFile, TheResultIsThatOfTheCommand) {
  std::filesystem::remove(home_.Path("outbox"));
  for (const char* name : {"Daemon", "Daemon;"}) {
    WKStatusFile file(Text{name});
    testing::internal::CaptureStderr();
    const int result = Create(file);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("../outbox/Daemon"));
    EXPECT_EQ(result, 1 << 8) << name;
  }
}

TEST_F(StatusFile, ANullNameIsEmpty) {
  WKStatusFile file(nullptr);
  EXPECT_STREQ(file.fileName, "");
  EXPECT_EQ(Create(file), 0);
  EXPECT_THAT(home_.List("outbox"), ElementsAre("." + std::string(file.timeStamp) + ".xml"));
}

TEST_F(StatusFile, TheObjectKeepsItsOwnCopyOfTheName) {
  std::string name = "Daemon";
  WKStatusFile file(name.data());
  name = "Others";
  EXPECT_STREQ(file.fileName, "Daemon");
}

TEST_F(StatusFile, ALongNameIsCut) {
  const std::string name(127, 'n');
  ExpectMarker(CreatedFor(name + "more"), name);
}

TEST_F(StatusFile, ALongNameThatNoShellMaySeeIsCut) {
  const std::string name = std::string(126, ' ') + ";";
  ExpectMarker(CreatedFor(name + "touch pwned"), name);
}

class StatusFileName : public StatusFile, public testing::WithParamInterface<std::string> {};

// Each would run `touch pwned`, or be read as an option, a pattern or several words, if a shell or
// touch itself took it for more than a name.
TEST_P(StatusFileName, IsNothingButAName) {
  ExpectMarker(CreatedFor(GetParam()), GetParam());
  EXPECT_THAT(home_.List("bin"), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Hostile, StatusFileName,
                         testing::Values("a;touch pwned;", "a;touch pwned #", "$(touch pwned)",
                                         "`touch pwned`", "a&touch pwned&", "a|touch pwned|cat ",
                                         "a||touch pwned||", "a\ntouch pwned\n", "\n", "two words",
                                         " ", "tab\tname", "a > pwned ", "a>pwned", "a<pwned",
                                         "-rf", "--help", "--", "-", "*", "?", "[a-z]", "~",
                                         "~root", "$HOME", "${IFS}", "'", "\"", "it's", "\\", "a\\",
                                         "!", "!!", "#", "a{b,c}", "(a)", "%s%n", "%%", "a=b", "=",
                                         "^", "\x01\x7f", "\xc3\xa9", "\xff\xfe", "a\r"));

}  // namespace
}  // namespace wkagent::test
