#include <cstdio>
#include <cstring>

#include <wkagent/config.h>

#include "config/xml_values.h"
#include "config/xml_walk.h"
#include "core/bounded_copy.h"
#include "core/printed_text.h"

namespace {

struct NumberElement {
  const char* name;
  int WKDaemonSettings::*member;
};
struct FlagElement {
  const char* name;
  bool WKDaemonSettings::*member;
};
struct AddressElement {
  const char* name;
  void (WKSMTPAlertObject::*set)(char*);
};

constexpr NumberElement kNumbers[] = {
    {"PollInterval", &WKDaemonSettings::pollInterval},
    {"TxfrInterval", &WKDaemonSettings::transferInterval},
    {"ArmThreshold", &WKDaemonSettings::archiveThreshold},
};

constexpr FlagElement kFlags[] = {
    {"QRAServiceStart", &WKDaemonSettings::auditDaemonStart},
    {"QRAServiceStop", &WKDaemonSettings::auditDaemonStop},
    {"PersistentMount", &WKDaemonSettings::persistentMount},
};

constexpr AddressElement kAddresses[] = {
    {"From", &WKSMTPAlertObject::SetFrom},
    {"To", &WKSMTPAlertObject::SetTo},
    {"CC", &WKSMTPAlertObject::SetCC},
};

// The `Enable` of a `Logging` element: its attribute or, where there is none, its child element.
bool IsEnabled(WKConfigFile& file, _xmlNode* logging) {
  char name[] = "Enable";
  if (const char* const value = file.GetTagValue(logging, name); value != nullptr) {
    return wkagent::ToFlag(value);
  }
  for (_xmlNode* child = logging->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE && wkagent::HasName(child, name)) {
      return wkagent::ToFlag(file.GetNodeContent(child));
    }
  }
  return false;
}

}  // namespace

WKDaemonSettings::WKDaemonSettings()
    : pollInterval(10),
      transferInterval(15),
      archiveThreshold(500),
      auditDaemonStart(false),
      auditDaemonStop(false),
      loggingEnabled(false),
      persistentMount(false),
      workspaceGuid{} {}

// The GUID is a key.
WKDaemonSettings::~WKDaemonSettings() { explicit_bzero(workspaceGuid, sizeof(workspaceGuid)); }

int WKDaemonSettings::Read() {
  char path[] = "../config/DaemonSettings.xml";
  if (ReadFile(path) != 0) return 1;
  ReadDaemonTags(GetXMLRootNode());
  return 0;
}

void WKDaemonSettings::ReadDaemonTags(_xmlNode* node) {
  wkagent::WalkElements(node, [this](_xmlNode* element) {
    for (const NumberElement& entry : kNumbers) {
      if (!wkagent::HasName(element, entry.name)) continue;
      this->*entry.member = wkagent::ToInt(GetNodeContent(element));
    }
    for (const FlagElement& entry : kFlags) {
      if (!wkagent::HasName(element, entry.name)) continue;
      this->*entry.member = wkagent::ToFlag(GetNodeContent(element));
    }
    if (wkagent::HasName(element, "Logging")) {
      loggingEnabled = IsEnabled(*this, element);
      if (loggingEnabled) alert.SetSMTPAlert(true);
    }
    for (const AddressElement& entry : kAddresses) {
      if (!loggingEnabled || !wkagent::HasName(element, entry.name)) continue;
      (alert.*entry.set)(GetNodeContent(element));
    }
    if (wkagent::HasName(element, "WorkspaceGuid")) {
      wkagent::CopyBounded(workspaceGuid, GetNodeContent(element));
    }
  });
}

int WKDaemonSettings::GetPollInterval() { return pollInterval; }
int WKDaemonSettings::GetTransferInterval() { return transferInterval; }
int WKDaemonSettings::GetArchiveThreshold() { return archiveThreshold; }
bool WKDaemonSettings::GetAuditDaemonStart() { return auditDaemonStart; }
bool WKDaemonSettings::GetAuditDaemonStop() { return auditDaemonStop; }
bool WKDaemonSettings::GetPersistentMount() { return persistentMount; }
char* WKDaemonSettings::GetWorkspaceGuid() { return workspaceGuid; }

void WKDaemonSettings::GetAlertObject(WKSMTPAlertObject& target) {
  target.Add(alert.GetTo(), alert.GetCC(), alert.GetFrom(), alert.GetSubject());
  target.InitializeLogMessage(logCallback);
}

void WKDaemonSettings::Print() {
  using wkagent::TextOrEmpty;
  std::printf("Deamon Settings Value: \n");
  std::printf("Poll Interval: %d, Transfer Interval: %d, Archive  Threshold: %d\n", pollInterval,
              transferInterval, archiveThreshold);
  std::printf("Audit Daemon Start: %d, Daemon Stop: %d, Persistent Mount: %d\n", auditDaemonStart,
              auditDaemonStop, persistentMount);
  std::printf("Workspace Guid: %s\n", workspaceGuid);
  if (!alert.IsSMTPAlertActive()) return;
  std::printf("From: %s, To: %s, Cc: %s\n", TextOrEmpty(alert.GetFrom()),
              TextOrEmpty(alert.GetTo()), TextOrEmpty(alert.GetCC()));
}
