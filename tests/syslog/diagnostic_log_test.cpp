#include "syslog/diagnostic_log.h"

#include <cerrno>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/private_root.h"
#include "syslog/syslog_fixture.h"

namespace wkagent::test {
namespace {

class SyslogDiagnosticLog : public SyslogTest {
 protected:
  const std::filesystem::path path_ = kAuditData / "some.log";
};

TEST_F(SyslogDiagnosticLog, WritesEachMessageAsALineToBoth) {
  DiagnosticLog log(path_.c_str());
  EXPECT_EQ(Complaints([&] {
              log.Report("one");
              log.Report("");
              log.Report(std::string_view("two and more", 3));
            }),
            "one\n\ntwo\n");
  EXPECT_EQ(ReadFile(path_), "one\n\ntwo\n");
}

TEST_F(SyslogDiagnosticLog, PutsTheTextOfAnErrorBehindTheMessage) {
  DiagnosticLog log(path_.c_str());
  EXPECT_EQ(Complaints([&] {
              log.ReportError("Connect failed: ", ECONNREFUSED);
              log.ReportError("", ENOENT);
              log.ReportError("zero ", 0);
              log.ReportError("none ", 123456);
            }),
            "Connect failed: Connection refused\nNo such file or directory\nzero Success\n"
            "none Unknown error 123456\n");
}

TEST_F(SyslogDiagnosticLog, AppendsToTheFile) {
  WriteFile(path_, "before\n");
  (void)Complaints([this] { DiagnosticLog(path_.c_str()).Report("after"); });
  (void)Complaints([this] { DiagnosticLog(path_.c_str()).Report("again"); });
  EXPECT_EQ(ReadFile(path_), "before\nafter\nagain\n");
}

TEST_F(SyslogDiagnosticLog, WithoutFolderSpeaksToStandardErrorOnly) {
  const std::filesystem::path folder = kAuditData / "none";
  DiagnosticLog log((folder / "some.log").c_str());
  EXPECT_EQ(Complaints([&] { log.Report("message"); }), "message\n");
  std::filesystem::create_directory(folder);
  EXPECT_EQ(Complaints([&] { log.Report("message"); }), "message\n");
  EXPECT_TRUE(std::filesystem::is_empty(folder));
}

TEST_F(SyslogDiagnosticLog, WorksAgainAfterTheDiskWasFull) {
  MountTmpfs(kAuditData, "size=8k");
  {
    DiagnosticLog log(path_.c_str());
    WriteFile(kAuditData / "filler", std::string(8192, 'x'));
    EXPECT_EQ(Complaints([&] { log.Report("lost"); }), "lost\n");
    std::filesystem::remove(kAuditData / "filler");
    (void)Complaints([&] { log.Report("kept"); });
    EXPECT_TRUE(ReadFile(path_).ends_with("kept\n"));
  }
  Unmount(kAuditData);
}

TEST_F(SyslogDiagnosticLog, KeepsTheLinesOfThreadsWhole) {
  DiagnosticLog log(path_.c_str());
  const std::string said = Complaints([&] {
    std::vector<std::thread> threads;
    for (const char letter : {'a', 'b', 'c'}) {
      threads.emplace_back([&log, letter] {
        for (int i = 0; i < 200; ++i) log.Report(std::string(100, letter));
      });
    }
    for (std::thread& thread : threads) thread.join();
  });
  EXPECT_TRUE(ReadFile(path_) == said);
  std::istringstream lines(said);
  std::map<std::string, int> counts;
  for (std::string line; std::getline(lines, line);) ++counts[line];
  EXPECT_EQ(counts, (std::map<std::string, int>{{std::string(100, 'a'), 200},
                                                {std::string(100, 'b'), 200},
                                                {std::string(100, 'c'), 200}}));
}

TEST_F(SyslogDiagnosticLog, SenderAndRetryHandlerHaveOneEach) {
  EXPECT_EQ(SenderSays([] { senderLog.Report("sender"); }), "sender\n");
  EXPECT_EQ(RetrySays([] { retryLog.Report("retry"); }), "retry\n");
  EXPECT_EQ(ReadFile(kSenderLog), "sender\n");
}

}  // namespace
}  // namespace wkagent::test
