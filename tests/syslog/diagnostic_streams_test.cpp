// The two logs that the library opens when it is loaded.

#include <filesystem>
#include <iostream>
#include <streambuf>
#include <string>
#include <utility>

#include <fcntl.h>

#include <wkagent/syslog.h>

#include "support/process.h"
#include "syslog/open_paths.h"
#include "syslog/syslog_fixture.h"

namespace wkagent::test {
namespace {

using testing::HasSubstr;

constexpr char kSenderMessages[] =
    "Unable to read XML config: /opt/mossgrove/config/syslog_config.xml\n"
    "Failed to load syslog config from: /opt/mossgrove/config/syslog_config.xml\n";
constexpr char kRetryMessage[] = "Failed to open retry directory: /opt/mossgrove/auditdata/nsa\n";

// What a host says that loads the library now.
std::string HostSays() {
  const Ended host = RunToEnd({WKAGENT_SYSLOG_HOST});
  EXPECT_EQ(host.status, 0);
  return host.errors;
}

// Gives the folder of the logs another name while it lives.
class LostLogFolder {
 public:
  LostLogFolder() { std::filesystem::rename(kLogFolder, kAside); }
  ~LostLogFolder() {
    std::filesystem::remove_all(kLogFolder);
    std::filesystem::rename(kAside, kLogFolder);
  }
  LostLogFolder(const LostLogFolder&) = delete;
  LostLogFolder& operator=(const LostLogFolder&) = delete;

 private:
  static inline const std::filesystem::path kAside = "/opt/mossgrove/log.aside";
};

// Takes the place of standard error and looks into a file when it gets its first text.
class FileAtFirstOutput : public std::streambuf {
 public:
  explicit FileAtFirstOutput(std::filesystem::path path)
      : path_(std::move(path)), before_(std::cerr.rdbuf(this)) {}
  ~FileAtFirstOutput() override { std::cerr.rdbuf(before_); }

  [[nodiscard]] const std::string& Output() const { return output_; }
  [[nodiscard]] const std::string& FileThen() const { return file_; }

 protected:
  int overflow(int character) override {
    const char text = traits_type::to_char_type(character);
    xsputn(&text, 1);
    return character;
  }
  std::streamsize xsputn(const char* text, std::streamsize size) override {
    if (output_.empty()) file_ = ReadFile(path_);
    output_.append(text, static_cast<std::size_t>(size));
    return size;
  }

 private:
  const std::filesystem::path path_;
  std::streambuf* const before_;
  std::string output_;
  std::string file_ = "no output";
};

class SyslogDiagnostics : public SyslogTest {};

TEST_F(SyslogDiagnostics, LogsAreOpenBeforeAnySenderIs) {
  EXPECT_TRUE(IsOpenForThisProcessOnly(kSenderLog));
  EXPECT_TRUE(IsOpenForThisProcessOnly(kRetryLog));
}

TEST_F(SyslogDiagnostics, EachClassWritesItsOwnLog) {
  const std::string said = HostSays();
  EXPECT_THAT(said, HasSubstr(kSenderMessages));
  EXPECT_THAT(said, HasSubstr(kRetryMessage));
  EXPECT_EQ(ReadFile(kSenderLog), kSenderMessages);
  EXPECT_EQ(ReadFile(kRetryLog), kRetryMessage);
}

TEST_F(SyslogDiagnostics, MessagesAreAppendedToThoseOfEarlierProcesses) {
  WriteFile(kSenderLog, "earlier\n");
  WriteFile(kRetryLog, "earlier\n");
  HostSays();
  EXPECT_EQ(ReadFile(kSenderLog), std::string("earlier\n") + kSenderMessages);
  EXPECT_EQ(ReadFile(kRetryLog), std::string("earlier\n") + kRetryMessage);
}

TEST_F(SyslogDiagnostics, MissingFolderIsNotMade) {
  const LostLogFolder lost;
  const std::string said = HostSays();
  EXPECT_THAT(said, HasSubstr(kSenderMessages));
  EXPECT_THAT(said, HasSubstr(kRetryMessage));
  EXPECT_FALSE(std::filesystem::exists(kLogFolder));
}

TEST_F(SyslogDiagnostics, MissingFileIsMade) {
  const LostLogFolder lost;
  std::filesystem::create_directory(kLogFolder);
  HostSays();
  EXPECT_EQ(ReadFile(kSenderLog), kSenderMessages);
  EXPECT_EQ(ReadFile(kRetryLog), kRetryMessage);
}

TEST_F(SyslogDiagnostics, LogThatCannotBeOpenedLeavesTheOtherOne) {
  const LostLogFolder lost;
  std::filesystem::create_directories(kSenderLog);
  EXPECT_THAT(HostSays(), HasSubstr(kSenderMessages));
  EXPECT_EQ(ReadFile(kRetryLog), kRetryMessage);
}

TEST_F(SyslogDiagnostics, MessageGoesToStandardErrorBeforeTheLog) {
  WKSyslogRetryHandler handler;
  const FileAtFirstOutput standardError(kRetryLog);
  handler.retryPendingFiles();
  EXPECT_EQ(standardError.Output(), kRetryMessage);
  EXPECT_EQ(standardError.FileThen(), "");
  EXPECT_EQ(ReadFile(kRetryLog), kRetryMessage);
}

TEST_F(SyslogDiagnostics, MessageIsInTheLogWhenTheCallReturns) {
  WKSyslogRetryHandler handler;
  for (const std::string& expected :
       {std::string(kRetryMessage), std::string(kRetryMessage) + kRetryMessage}) {
    (void)Complaints([&] { handler.retryPendingFiles(); });
    EXPECT_EQ(ReadFile(kRetryLog), expected);
  }
}

TEST_F(SyslogDiagnostics, NothingGoesToStandardOutput) {
  EXPECT_EQ(RunToEnd({WKAGENT_SYSLOG_HOST}).output, "");
}

}  // namespace
}  // namespace wkagent::test
