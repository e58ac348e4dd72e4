// The readers of settings files, and both filters, while calls fail.

#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include <wkagent/config.h>
#include <wkagent/filter.h>

#include "faults/torture.h"
#include "support/text.h"

namespace wkagent::test {
namespace {

constexpr char kDaemonSettings[] =
    "<Settings><PollInterval>7</PollInterval><TxfrInterval>8</TxfrInterval>"
    "<ArmThreshold>9</ArmThreshold><QRAServiceStart>1</QRAServiceStart>"
    "<WorkspaceGuid>1B4E28BA-2FA1-11D2-883F-0016D3CCA427</WorkspaceGuid>"
    "<Logging Enable=\"1\"><From>a@acme</From><To>b@acme</To><CC>c@acme</CC></Logging></Settings>";

constexpr char kMemorySettings[] =
    "<Settings><MaxEDIRMemoryBlocks>11</MaxEDIRMemoryBlocks>"
    "<EDIRQueueThreadDelay>12</EDIRQueueThreadDelay><SMBVersion>3.0</SMBVersion></Settings>";

constexpr char kSharedSettings[] =
    "<Servers><SharedFolderSetting><IsPrincipal>1</IsPrincipal><MachineName>one</MachineName>"
    "<SharedFolderPrimaryUserName>ACME\\u</SharedFolderPrimaryUserName>"
    "<SharedFolderPrimaryUserPassword>p</SharedFolderPrimaryUserPassword></SharedFolderSetting>"
    "<SharedFolderSetting><IsPrincipal>0</IsPrincipal><MachineName>two</MachineName>"
    "</SharedFolderSetting></Servers>";

constexpr char kManagerList[] =
    "<List><Machine><MachineName>one</MachineName><IpAddress>10.0.0.1</IpAddress></Machine>"
    "<Machine><MachineName>two</MachineName><IpAddress>10.0.0.2</IpAddress></Machine></List>";

constexpr char kLdap[] =
    "<Ldap><LDAPeDirectoryTreeName>acme</LDAPeDirectoryTreeName><LDAPServer>h</LDAPServer>"
    "<LDAPUserName>u</LDAPUserName><LDAPPassword>p</LDAPPassword><LDAPPortNumber>636"
    "</LDAPPortNumber></Ldap>";

bool IsText(const char* text, const char* wanted) {
  return text != nullptr && std::strcmp(text, wanted) == 0;
}

const std::vector<Failure> kReadFailures = {{"allocate", "errno:ENOMEM"},
                                            {"allocate", "errno:ENOMEM", 0},
                                            {"open", "errno:EMFILE"},
                                            {"read", "errno:EIO"}};

Outcome ReadDaemonSettings(const AgentHome& /*home*/) {
  WKDaemonSettings settings;
  const bool read = settings.Read() == 0;
  return {.complete = read && settings.GetPollInterval() == 7 &&
                      settings.GetTransferInterval() == 8 && settings.GetArchiveThreshold() == 9 &&
                      settings.GetAuditDaemonStart() &&
                      std::strlen(settings.GetWorkspaceGuid()) == 36 &&
                      IsText(settings.alert.GetTo(), "b@acme"),
          .told = !read};
}

TEST(TorturedSettings, OfTheDaemonAreReadWholeOrNotAtAll) {
  Torture(ReadDaemonSettings)
      .With("config/DaemonSettings.xml", kDaemonSettings)
      .Fail(kReadFailures);
}

TEST(TorturedSettings, OfTheDaemonAreReadWholeOrNotAtAllAtFirstUse) {
  Torture(ReadDaemonSettings)
      .With("config/DaemonSettings.xml", kDaemonSettings)
      .AtFirstUse()
      .Fail(kReadFailures);
}

TEST(TorturedSettings, OfMemoryAreReadWholeOrNotAtAll) {
  Torture([](const AgentHome&) {
    WKMemorySettings settings;
    const bool read = settings.Read() == 0;
    char version[64] = {};
    settings.GetRequiredSMBVersion(version);
    return Outcome{.complete = read && settings.GetMaxEDIRMemoryBlocks() == 11 &&
                               settings.GetEDIRQueueThreadDelay() == 12 &&
                               IsText(version, "vers=3.0"),
                   .told = !read};
  })
      .With("config/WKMemorySettings.xml", kMemorySettings)
      .Fail(kReadFailures);
}

TEST(TorturedSettings, OfManagersAreReadWholeOrNotAtAll) {
  Torture([](const AgentHome&) {
    WKManagerList managers;
    const bool read = managers.Read(Text("../config/Shared.xml")) == 0;
    WKShareFolderSetting& first = *managers.GetPrimaryServer();
    return Outcome{.complete = read && IsText(first.GetMachineName(), "one") &&
                               IsText(first.GetPrimaryDomain(), "ACME") &&
                               IsText(first.GetPrimaryUserPassword(), "p") &&
                               IsText(first.GetMachineIpAddress(), "10.0.0.1"),
                   .told = !read};
  })
      .With("config/Shared.xml", kSharedSettings)
      .With("config/ManagerList.xml", kManagerList)
      .Fail(kReadFailures);
}

TEST(TorturedSettings, OfTheDirectoryAreReadWholeOrNotAtAll) {
  Torture([](const AgentHome&) {
    WKLdapConfig reader;
    tagLDAPConfig config{};
    const bool read = reader.ReadFile(Text("../config/LDAP.xml"), config) == 0;
    return Outcome{.complete = read && IsText(config.TreeName, "acme") &&
                               IsText(config.Password, "p") && config.PortNumber == 636 &&
                               config.SecureConnection,
                   .told = !read};
  })
      .With("config/LDAP.xml", kLdap)
      .Fail(kReadFailures);
}

TEST(TorturedSettings, ThatAreNotXmlAreRefused) {
  Torture([](const AgentHome&) {
    WKDaemonSettings settings;
    const bool refused = settings.Read() != 0;
    return Outcome{.complete = refused && settings.GetReadError() != nullptr};
  })
      .With("config/DaemonSettings.xml", "<Settings><PollInterval>7</PollInter>")
      .Fail({{"allocate", "errno:ENOMEM"}});
}

}  // namespace
}  // namespace wkagent::test
