#include "core/shell_command.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/agent_home.h"

namespace wkagent {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Handed over as the command, it tells by its exit status that the shell ran.
constexpr const char* kTellShell = "exit 7";
constexpr int kShellRan = 7 << 8;

// What the system shell makes of `word` when it stands in a command.
std::string ShellReads(const std::string& word) {
  const std::string command = "printf '%s|' " + word + " 2>&1";
  FILE* const shell = popen(command.c_str(), "re");
  std::string text;
  for (int c = std::fgetc(shell); c != EOF; c = std::fgetc(shell)) text += static_cast<char>(c);
  pclose(shell);
  return text;
}

class ShellCommand : public testing::Test {
 protected:
  int Touch(const std::string& name) { return RunOnPath(kTellShell, "touch", name.c_str()); }

  int MakeFolder(const std::string& name) { return RunOnPath(kTellShell, "mkdir", name.c_str()); }

  // Writes a script whose name no shell may see, and runs it.
  int RunScript(const std::string& text) {
    home_.Write("bin/a script", text);
    return RunOnPath(kTellShell, "sh", "a script");
  }

  test::AgentHome home_;
};

TEST_F(ShellCommand, RunsTheCommandThroughTheShellForAPlainName) {
  EXPECT_EQ(Touch("../outbox/Daemon.20261115082205.xml"), kShellRan);
  EXPECT_EQ(Touch("plain"), kShellRan);
  EXPECT_THAT(home_.List("bin"), IsEmpty());
}

TEST_F(ShellCommand, RunsTheProgramWithoutShellForAnyOtherName) {
  EXPECT_EQ(Touch("two words; exit 9"), 0);
  EXPECT_THAT(home_.List("bin"), ElementsAre("two words; exit 9"));
}

TEST_F(ShellCommand, ALeadingDashIsNoOption) {
  EXPECT_EQ(Touch("-r"), 0);
  EXPECT_EQ(Touch("--help"), 0);
  EXPECT_THAT(home_.List("bin"), ElementsAre("--help", "-r"));
}

TEST_F(ShellCommand, AnEmptyNameMeetsNoShell) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(Touch(""), 1 << 8);
  testing::internal::GetCapturedStderr();
}

// Every character that is let through to the shell must mean itself there; any other is handed to
// the program as it is.
TEST_F(ShellCommand, EveryCharacterMeansItself) {
  for (int c = 1; c < 256; ++c) {
    if (c == '/') continue;
    const std::string name = std::string("a") + static_cast<char>(c) + "b";
    const int result = Touch(name);
    if (result == kShellRan) {
      EXPECT_EQ(ShellReads(name), name + "|") << "character " << c;
    } else {
      EXPECT_EQ(result, 0) << "character " << c;
      EXPECT_TRUE(home_.Exists("bin/" + name)) << "character " << c;
    }
  }
}

// To touch, "-" is standard output; to mkdir it is a name like any other.
TEST_F(ShellCommand, EveryCharacterMeansItselfAlone) {
  for (int c = 1; c < 256; ++c) {
    if (c == '/' || c == '.') continue;
    const std::string name(1, static_cast<char>(c));
    const int result = MakeFolder(name);
    if (result == kShellRan) {
      EXPECT_EQ(ShellReads(name), name + "|") << "character " << c;
    } else {
      EXPECT_EQ(result, 0) << "character " << c;
      EXPECT_TRUE(home_.Exists("bin/" + name)) << "character " << c;
    }
  }
}

TEST_F(ShellCommand, TheNamesOfTheAgentsFilesArePlain) {
  for (const char* name : {"../outbox/EDA20261115082205.xml", "../tmp/SMTP.20261115082205.txt",
                           "../config/SMTPSettings.xml", "/opt/x/ABCxyz-_@%+,:09"}) {
    EXPECT_EQ(Touch(name), kShellRan) << name;
  }
}

TEST_F(ShellCommand, TheResultIsTheExitStatusAsSystemGivesIt) {
  EXPECT_EQ(RunScript("exit 0"), std::system("exit 0"));
  EXPECT_EQ(RunScript("exit 3"), std::system("exit 3"));
  EXPECT_EQ(RunScript("exit 255"), std::system("exit 255"));
}

TEST_F(ShellCommand, TheResultTellsTheSignalThatEndedTheProgram) {
  const int result = RunScript("kill -KILL $$");
  EXPECT_TRUE(WIFSIGNALED(result));
  EXPECT_EQ(WTERMSIG(result), SIGKILL);
}

TEST_F(ShellCommand, AMissingProgramGivesWhatTheShellGives) {
  testing::internal::CaptureStderr();
  const int expected = std::system("no-such-program");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(RunOnPath(kTellShell, "no-such-program", "a b"), expected);
}

TEST_F(ShellCommand, AHostThatIgnoresItsChildrenGetsWhatSystemGives) {
  const auto before = std::signal(SIGCHLD, SIG_IGN);
  const int expected = std::system("exit 0");
  const int result = Touch("a b");
  std::signal(SIGCHLD, before);
  EXPECT_EQ(result, expected);
  EXPECT_TRUE(home_.Exists("bin/a b"));
}

TEST_F(ShellCommand, NoChildIsLeftBehind) {
  EXPECT_EQ(Touch("a b"), 0);
  EXPECT_EQ(Touch("plain"), kShellRan);
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

// The script goes on until the handler has run ten times, so signals do meet the wait.
TEST_F(ShellCommand, AnInterruptedWaitGoesOn) {
  static volatile std::sig_atomic_t ticks;
  ticks = 0;
  struct sigaction action {
  }, before{};
  action.sa_handler = [](int) {
    ticks = ticks + 1;
    if (ticks == 10) close(creat("done", 0600));
  };
  sigaction(SIGALRM, &action, &before);
  const itimerval often{{0, 2000}, {0, 2000}}, never{};
  setitimer(ITIMER_REAL, &often, nullptr);
  const int result = RunScript("until test -e done; do :; done; exit 5");
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &before, nullptr);
  EXPECT_EQ(result, 5 << 8);
  EXPECT_GE(ticks, 10);
}

}  // namespace
}  // namespace wkagent
