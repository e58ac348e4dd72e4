#include <cstdio>
#include <cstring>

#include <sys/stat.h>

#include <wkagent/config.h>

#include "agent/check/document_check.h"
#include "agent/check/read_check.h"
#include "agent/check/settings_check.h"

namespace wkagent {
namespace {

void CheckRights(CheckReport& report) {
  struct stat status {};
  if (stat(report.Path().c_str(), &status) != 0 || (status.st_mode & S_IRWXO) == 0) return;
  char mode[8];
  std::snprintf(mode, sizeof(mode), "%04o", static_cast<unsigned>(status.st_mode & 07777));
  report.Error(0,
               std::string("its mode ") + mode + " lets everybody at the password; chmod 0600 it");
}

void Print(const tagLDAPConfig& config) {
  std::printf("LDAP Settings Value: \n");
  std::printf("Server: %s, Port: %lld, %s\n", config.Server,
              static_cast<long long>(config.PortNumber),
              config.SecureConnection ? "LDAPS" : "STARTTLS when offered");
  std::printf("User: %s, Password: %s, Tree: %s\n", config.UserName,
              config.Password[0] == '\0' ? "none" : "set", config.TreeName);
}

void CheckComplete(const tagLDAPConfig& config, bool hasServer, bool hasPort, CheckReport& report) {
  if (!hasServer) {
    report.Error(0, "it has no LDAPServer; write <LDAPServer>ldap.acme.example</LDAPServer>");
  }
  if (!hasPort) {
    report.Warning(0, "it has no LDAPPortNumber; write <LDAPPortNumber>636</LDAPPortNumber>");
  }
  const bool user = config.UserName[0] != '\0';
  const bool password = config.Password[0] != '\0';
  if (user == password) return;
  report.Warning(0,
                 user ? "LDAPUserName is set without LDAPPassword, so nobody logs in; write both"
                      : "LDAPPassword is set without LDAPUserName, so nobody logs in; write both");
}

}  // namespace

void CheckLdapSettings(CheckReport& report) {
  WKLdapConfig reader;
  CheckRights(report);
  if (!ReadForCheck(reader, ParserWords::kWithheld, report)) return;
  constexpr std::int64_t kNoPort = -1;
  tagLDAPConfig config{};
  config.PortNumber = kNoPort;
  reader.GetLDAPSetting(reader.GetXMLRootNode(), config);
  const bool hasPort = config.PortNumber != kNoPort;
  if (!hasPort) config.PortNumber = 0;
  Print(config);
  CheckDocument(reader, kLdapSettingsRules, report);
  CheckComplete(config, HasElement(reader, "LDAPServer"), hasPort, report);
  explicit_bzero(config.Password, sizeof(config.Password));
}

}  // namespace wkagent
