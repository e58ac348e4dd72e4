#include "agent/test_alert.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

#include <wkagent/alert.h>
#include <wkagent/config.h>

#include "agent/report.h"

namespace wkagent {
namespace {

constexpr char kSubject[] = "wkagentd test alert";

// For setters, which do not change what they are given.
char* Given(const char* text) { return const_cast<char*>(text == nullptr ? "" : text); }

ExitStatus Sent(bool sent, const std::string& what) {
  if (!sent) {
    Report("the test alert could not be sent");
    return kUnavailable;
  }
  std::puts(("wkagentd: " + what).c_str());
  return kDone;
}

ExitStatus SendMail(const TestAlert& alert) {
  WKDaemonSettings settings;
  settings.InitializeLogMessage(ReportLibraryMessage);
  WKSMTPAlert mail;
  mail.InitializeLogMessage(ReportLibraryMessage);
  const bool read = alert.to.empty() && settings.Read() == 0;
  mail.SetFromID(Given(read ? settings.alert.GetFrom() : nullptr));
  mail.SetToList(Given(read ? settings.alert.GetTo() : alert.to.c_str()));
  mail.SetCCList(Given(read ? settings.alert.GetCC() : nullptr));
  if (mail.toList[0] == '\0' && mail.ccList[0] == '\0') {
    Report("nobody to send the mail to; give --to ADDRESS, or write <To> into DaemonSettings.xml");
    return kBadConfiguration;
  }
  mail.SetSubject(Given(kSubject));
  mail.SetMessage(Given(alert.text.c_str()));
  mail.InstaSend();
  return Sent(mail.WasSent(), std::string("mail handed to ") + mail.server + " for " + mail.toList +
                                  (mail.ccList[0] == '\0' ? "" : ",") + mail.ccList);
}

ExitStatus SendTrap(const TestAlert& alert) {
  WKSNMPAlert trap;
  trap.InitializeLogMessage(ReportLibraryMessage);
  trap.SetMessage(Given(alert.text.c_str()));
  trap.SendMessage();
  return Sent(trap.WasSent(), std::string("trap sent to ") + trap.consoleMachineName +
                                  "; whether it has arrived, only the manager knows");
}

ExitStatus SendEntry(const TestAlert& alert) {
  WKSysLog entry;
  entry.SetMessage(Given(alert.text.c_str()));
  entry.SendMessage();
  return Sent(true, "entry handed to the local syslog");
}

}  // namespace

ExitStatus SendTestAlert(const std::string& home, const TestAlert& alert) {
  if (chdir((home + "/bin").c_str()) != 0) {
    Report(home + "/bin: " + std::strerror(errno));
    return kBadConfiguration;
  }
  if (alert.kind == "mail") return SendMail(alert);
  return alert.kind == "snmp" ? SendTrap(alert) : SendEntry(alert);
}

}  // namespace wkagent
