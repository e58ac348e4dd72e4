#ifndef WKAGENT_TESTS_SYSLOG_SYSLOG_FIXTURE_H
#define WKAGENT_TESTS_SYSLOG_SYSLOG_FIXTURE_H

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/printed.h"

namespace wkagent::test {

// Where the syslog classes read and write; see support/private_opt_main.cpp.
inline const std::filesystem::path kConfigFile = "/opt/mossgrove/config/syslog_config.xml";
inline const std::filesystem::path kLogFolder = "/opt/mossgrove/log";
inline const std::filesystem::path kSenderLog = kLogFolder / "syslog_sender.log";
inline const std::filesystem::path kRetryLog = kLogFolder / "syslog_retry.log";
inline const std::filesystem::path kAuditData = "/opt/mossgrove/auditdata";
inline const std::filesystem::path kStore = kAuditData / "nsa";

inline std::string ReadFile(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// "<word> 1" to "<word> <count>".
inline std::vector<std::string> Numbered(const std::string& word, int count) {
  std::vector<std::string> lines;
  for (int number = 1; number <= count; ++number) {
    lines.push_back(word + ' ' + std::to_string(number));
  }
  return lines;
}

// The lines as they stand in a file, or go over a connection.
inline std::string Text(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text.append(line).push_back('\n');
  return text;
}

// Each case finds no settings, empty logs and an empty folder for audit data.
class SyslogTest : public testing::Test {
 protected:
  SyslogTest() {
    std::filesystem::remove(kConfigFile);
    // They stay: the library holds them open.
    std::filesystem::resize_file(kSenderLog, 0);
    std::filesystem::resize_file(kRetryLog, 0);
    for (const auto& entry : std::filesystem::directory_iterator(kAuditData)) {
      std::filesystem::remove_all(entry);
    }
  }

  static void WriteSettings(const std::string& elements) {
    WriteFile(kConfigFile, "<syslog>" + elements + "</syslog>");
  }

  // What `act` says, on standard error and in the log alike.
  template <typename Act>
  static std::string SenderSays(Act act) {
    return Says(kSenderLog, act);
  }
  template <typename Act>
  static std::string RetrySays(Act act) {
    return Says(kRetryLog, act);
  }

 private:
  template <typename Act>
  static std::string Says(const std::filesystem::path& log, Act act) {
    const std::string before = ReadFile(log);
    const std::string said = Complaints(act);
    EXPECT_EQ(ReadFile(log), before + said);
    return said;
  }
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SYSLOG_SYSLOG_FIXTURE_H
