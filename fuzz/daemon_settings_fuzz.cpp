// DaemonSettings.xml.

#include <cstring>

#include <wkagent/config.h>

#include "core/printed_text.h"
#include "fuzz/xml_reader.h"

namespace wkagent::fuzz {
namespace {

std::string Describe(WKDaemonSettings& settings) {
  settings.ReadDaemonTags(settings.GetXMLRootNode());
  Require(std::strlen(settings.GetWorkspaceGuid()) < sizeof(settings.workspaceGuid),
          "the GUID ends in its field");
  const bool addressed = settings.alert.GetFrom() != nullptr || settings.alert.GetTo() != nullptr;
  Require(settings.loggingEnabled || settings.alert.IsSMTPAlertActive() || !addressed,
          "addresses count only where logging is on");
  WKSMTPAlertObject mail;
  settings.GetAlertObject(mail);
  std::string text = settings.GetWorkspaceGuid();
  for (const int number :
       {settings.GetPollInterval(), settings.GetTransferInterval(), settings.GetArchiveThreshold(),
        int{settings.GetAuditDaemonStart()}, int{settings.GetAuditDaemonStop()},
        int{settings.GetPersistentMount()}}) {
    text.append(" ").append(std::to_string(number));
  }
  for (const char* part : {mail.GetTo(), mail.GetCC(), mail.GetFrom(), mail.GetSubject()}) {
    text.append("|").append(TextOrEmpty(part));
  }
  return text;
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  CheckReader<WKDaemonSettings>({reinterpret_cast<const char*>(data), size}, Describe);
  return 0;
}
