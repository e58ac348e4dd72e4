// What may stand in the settings files.

#include <wkagent/config.h>

#include "agent/check/document_rules.h"

namespace wkagent {
namespace {

constexpr std::size_t kTerminator = 1;

constexpr ValueRule Flag() { return {ValueKind::kFlag, "1"}; }
constexpr ValueRule Number(long least, const char* example) {
  return {ValueKind::kNumber, example, least};
}
constexpr ValueRule TextIn(std::size_t buffer, const char* example,
                           ValueKind kind = ValueKind::kText) {
  return {kind, example, 0, 0, buffer - kTerminator};
}

constexpr ElementRule Setting(const char* name, const ValueRule& value) {
  return {name, nullptr, false, true, value, {}};
}

// Mail addresses are kept whole, whatever their length. Which of them, and which
// Enable, count is for another check.
constexpr ElementRule Address(const char* name) {
  constexpr std::size_t kAnyLength = std::numeric_limits<int>::max();
  return {name, nullptr, true, true, TextIn(kAnyLength, "security@acme.example"), {}};
}

constexpr AttributeRule kLogging[] = {{"Enable", Flag(), Need::kOptional}};

constexpr ElementRule kDaemonSettings[] = {
    Setting("PollInterval", Number(1, "10")),
    Setting("TxfrInterval", Number(1, "15")),
    Setting("ArmThreshold", Number(1, "500")),
    Setting("QRAServiceStart", Flag()),
    Setting("QRAServiceStop", Flag()),
    {"Logging", nullptr, false, false, {}, kLogging},
    {"Enable", nullptr, true, true, Flag(), {}},
    Address("From"),
    Address("To"),
    Address("CC"),
    Setting("PersistentMount", Flag()),
    Setting("WorkspaceGuid", TextIn(sizeof(WKDaemonSettings::workspaceGuid), "")),
};

constexpr std::size_t kVersionPrefix = sizeof("vers=") - kTerminator;

constexpr ElementRule kMemorySettings[] = {
    Setting("MaxNSSMemoryBlocks", Number(1, "5000")),
    Setting("NSSVigilThreadDelay", Number(0, "200")),
    Setting("NSSQueueThreadDelay", Number(0, "200")),
    Setting("MaxEDIRMemoryBlocks", Number(1, "5000")),
    Setting("EDIRVigilThreadDelay", Number(0, "200")),
    Setting("EDIRQueueThreadDelay", Number(0, "200")),
    Setting("SMBVersion", TextIn(sizeof(WKMemorySettings::smbVersion) - kVersionPrefix, "2.0",
                                 ValueKind::kShareVersion)),
    Setting("DeduplicationInterval", Number(0, "10")),
};

constexpr ElementRule kLdapSettings[] = {
    Setting("LDAPServer",
            TextIn(sizeof(tagLDAPConfig::Server), "ldap.acme.example", ValueKind::kHost)),
    Setting("LDAPPortNumber", {ValueKind::kNumber, "636", 1, 65535}),
    Setting("LDAPUserName", TextIn(sizeof(tagLDAPConfig::UserName), "cn=auditor,o=acme")),
    Setting("LDAPPassword", TextIn(sizeof(tagLDAPConfig::Password), "", ValueKind::kSecret)),
    Setting("LDAPeDirectoryTreeName", TextIn(sizeof(tagLDAPConfig::TreeName), "acme")),
};

constexpr ElementRule kManagerList[] = {
    {"MachineName", nullptr, true, true, TextIn(std::numeric_limits<int>::max(), "manager1"), {}},
    {"IpAddress",
     nullptr,
     true,
     true,
     TextIn(sizeof(WKShareFolderSetting::machineIpAddress), "192.0.2.1", ValueKind::kHost),
     {}},
};

}  // namespace

const DocumentRules kDaemonSettingsRules = {"DaemonSettings.xml", kDaemonSettings};
const DocumentRules kMemorySettingsRules = {"WKMemorySettings.xml", kMemorySettings};
const DocumentRules kLdapSettingsRules = {"LDAPSettings.xml", kLdapSettings};
const DocumentRules kManagerListRules = {"ManagerList.xml", kManagerList, true};

}  // namespace wkagent
