#ifndef WKAGENT_TESTS_AGENT_CONFIG_CHECK_FIXTURE_H
#define WKAGENT_TESTS_AGENT_CONFIG_CHECK_FIXTURE_H

// A home whose files are right until a test breaks one of them.

#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "agent/check/config_check.h"
#include "support/agent_home.h"

namespace wkagent::test {

inline constexpr char kEdaFilter[] = R"(<?xml version="1.0"?>
<Filters>
<Filter Title="T" IncludeExclude="1" Enabled="1" AllDay="1" StartTime="00:00:00 AM" EndTime="00:00:00 AM" Context="OU=sales,O=acme" IncludeSubContainers="1">
<Operations AllOperations="0">
<Operation EventId="20001" Condition="0"/>
</Operations>
<Users AllUsers="0">
<User Name="bob"/>
</Users>
<Objects AllObjects="0">
<Object Name="bob"/>
</Objects>
<Classes AllClasses="1"/>
<Attributes AllAttributes="1"/>
<AttributeValues AllAttributeValues="1"/>
<Action ExcludeAlert="0"/>
<SNMP Alert="0"/>
<SysLog Alert="0"/>
<SMTP Alert="1" From="a@acme" Subject="s" To="b@acme" Cc=""/>
</Filter>
</Filters>
)";

inline constexpr char kElaFilter[] = R"(<?xml version="1.0"?>
<Filters>
<Filter Title="T" IncludeExclude="1" Enabled="1" AllDay="1" StartTime="00:00:00 AM" EndTime="00:00:00 AM">
<Operations AllOperations="0">
<Operation EventId="21001" Condition="705"/>
</Operations>
<Users AllUsers="1"/>
<Nodes AllNodes="0">
<Node Name="192.0.2.1"/>
</Nodes>
<Action ExcludeAlert="0"/>
<SNMP Alert="0"/>
<SysLog Alert="0"/>
<SMTP Alert="0"/>
</Filter>
</Filters>
)";

inline constexpr char kDaemonSettings[] = R"(<?xml version="1.0"?>
<Settings>
<PollInterval>10</PollInterval>
<TxfrInterval>15</TxfrInterval>
<ArmThreshold>500</ArmThreshold>
<QRAServiceStart>0</QRAServiceStart>
<QRAServiceStop>0</QRAServiceStop>
<PersistentMount>0</PersistentMount>
<WorkspaceGuid>0123-4567</WorkspaceGuid>
<Logging Enable="1">
<From>a@acme</From>
<To>b@acme</To>
<CC></CC>
</Logging>
</Settings>
)";

inline constexpr char kMemorySettings[] = R"(<?xml version="1.0"?>
<Settings>
<MaxNSSMemoryBlocks>5000</MaxNSSMemoryBlocks>
<NSSVigilThreadDelay>200</NSSVigilThreadDelay>
<NSSQueueThreadDelay>200</NSSQueueThreadDelay>
<MaxEDIRMemoryBlocks>5000</MaxEDIRMemoryBlocks>
<EDIRVigilThreadDelay>200</EDIRVigilThreadDelay>
<EDIRQueueThreadDelay>200</EDIRQueueThreadDelay>
<SMBVersion>2.0</SMBVersion>
<DeduplicationInterval>10</DeduplicationInterval>
</Settings>
)";

inline constexpr char kLdapSettings[] = R"(<?xml version="1.0"?>
<Settings>
<LDAPServer>ldap.acme.example</LDAPServer>
<LDAPPortNumber>636</LDAPPortNumber>
<LDAPUserName>cn=auditor,o=acme</LDAPUserName>
<LDAPPassword>kX9-geheim</LDAPPassword>
<LDAPeDirectoryTreeName>acme</LDAPeDirectoryTreeName>
</Settings>
)";

inline constexpr char kManagerList[] = R"(<?xml version="1.0"?>
<Managers>
<Manager>
<MachineName>manager1</MachineName>
<IpAddress>192.0.2.1</IpAddress>
</Manager>
</Managers>
)";

// The right text of a file with `from`, which it holds, replaced by `to`.
inline std::string Broken(std::string text, const std::string& from, const std::string& to) {
  const std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("nothing to break: " + from);
  return text.replace(at, from.size(), to);
}

// A way to break a file, and the whole of what is said about it, without the file's path.
struct BrokenFile {
  const char* name;
  std::string from;
  std::string to;
  std::vector<std::string> messages;
};

inline void PrintTo(const BrokenFile& broken, std::ostream* out) { *out << broken.name; }

class ConfigCheckTest : public ::testing::Test {
 protected:
  struct Answer {
    int status;
    std::string out;
    std::string err;
  };

  ConfigCheckTest() {
    Write("EDAFilter.xml", kEdaFilter);
    Write("ELAFilter.xml", kElaFilter);
    Write("DaemonSettings.xml", kDaemonSettings);
    Write("WKMemorySettings.xml", kMemorySettings);
    Write("LDAPSettings.xml", kLdapSettings);
    Write("ManagerList.xml", kManagerList);
  }

  void Write(const std::string& file, const std::string& text) {
    home_.Write("config/" + file, text);
    std::filesystem::permissions(Path(file), std::filesystem::perms(0600));
  }

  [[nodiscard]] std::string Path(const std::string& file) const {
    return home_.Path("config/" + file);
  }

  [[nodiscard]] Answer Check() const {
    Answer answer{};
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    answer.status = CheckConfig(home_.Path("."));
    answer.out = ::testing::internal::GetCapturedStdout();
    answer.err = ::testing::internal::GetCapturedStderr();
    return answer;
  }

  // The messages as they are printed.
  [[nodiscard]] std::string Lines(const std::string& file,
                                  const std::vector<std::string>& messages) const {
    std::string lines;
    for (const std::string& message : messages) {
      lines += home_.Path(".") + "/config/" + file + message + "\n";
    }
    return lines;
  }

  // Breaks the file, and expects these messages and no others.
  void ExpectMessages(const std::string& file, const std::string& right, const BrokenFile& broken) {
    Write(file, Broken(right, broken.from, broken.to));
    const Answer answer = Check();
    EXPECT_EQ(Lines(file, broken.messages), answer.err);
    EXPECT_EQ(answer.err.find(": error: ") == std::string::npos ? 0 : 78, answer.status);
  }

  AgentHome home_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_AGENT_CONFIG_CHECK_FIXTURE_H
