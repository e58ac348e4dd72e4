#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <wkagent/config.h>

#include "config/xml_values.h"
#include "config/xml_walk.h"

// The servers that the list owns. Those that reading the second file drops from `list` stay here,
// since a caller may still hold them.
class WKManagerList::Entries : public std::vector<std::unique_ptr<WKShareFolderSetting>> {};

namespace {

struct TextElement {
  const char* name;
  void (WKShareFolderSetting::*set)(char*);
};

constexpr TextElement kTexts[] = {
    {"MachineName", &WKShareFolderSetting::SetMachineName},
    {"SharedFolderPath", &WKShareFolderSetting::SetShareFolderPath},
    {"SharedFolderPrimaryUserName", &WKShareFolderSetting::SetPrimaryUser},
    {"SharedFolderPrimaryUserPassword", &WKShareFolderSetting::SetPrimaryUserPassword},
    {"SharedFolderSecondaryUserName", &WKShareFolderSetting::SetSecondaryUser},
    {"SharedFolderSecondaryUserPassword", &WKShareFolderSetting::SetSecondaryUserPassword},
};

bool SameName(const char* left, const char* right) {
  return left != nullptr && right != nullptr && std::strcmp(left, right) == 0;
}

}  // namespace

WKManagerList::WKManagerList() : pendingEntry(nullptr), entries_(std::make_unique<Entries>()) {}

WKManagerList::~WKManagerList() = default;

int WKManagerList::Read(char* sharedSettingsFile) {
  if (ReadFile(sharedSettingsFile) != 0) return 1;
  ReadSharedSettings(GetXMLRootNode());
  CreateNewNode();
  char path[] = "../config/ManagerList.xml";
  if (ReadFile(path) != 0) return 1;
  ReadManagerList(GetXMLRootNode());
  return 0;
}

void WKManagerList::ReadSharedSettings(_xmlNode* node) {
  wkagent::WalkElements(node, [this](_xmlNode* element) {
    if (wkagent::HasName(element, "SharedFolderSetting")) {
      CreateNewNode();
      entries_->push_back(std::make_unique<WKShareFolderSetting>());
      pendingEntry = entries_->back().get();
      return;
    }
    if (pendingEntry == nullptr) return;
    WKShareFolderSetting& server = *pendingEntry;
    if (wkagent::HasName(element, "IsPrincipal")) {
      server.SetPrimaryFlag(wkagent::ToFlag(GetNodeContent(element)));
    }
    for (const TextElement& entry : kTexts) {
      if (!wkagent::HasName(element, entry.name)) continue;
      (server.*entry.set)(GetNodeContent(element));
    }
  });
}

void WKManagerList::CreateNewNode() {
  if (pendingEntry == nullptr) return;
  WKShareFolderSetting& entry = *pendingEntry;
  if (!entry.IsPrimaryServer()) {
    list.AddNode(&pendingEntry, sizeof(pendingEntry));
    return;
  }
  primaryServer.SetPrimaryFlag(true);
  primaryServer.SetMachineName(entry.GetMachineName());
  primaryServer.SetPrimaryUser(entry.GetPrimaryUser());
  primaryServer.SetPrimaryUserPassword(entry.GetPrimaryUserPassword());
  primaryServer.SetPrimaryDomain(entry.GetPrimaryDomain());
  if (entry.GetSecondaryUser() != nullptr) {
    primaryServer.SetSecondaryUser(entry.GetSecondaryUser());
    primaryServer.SetSecondaryUserPassword(entry.GetSecondaryUserPassword());
    primaryServer.SetSecondaryDomain(entry.GetSecondaryDomain());
  }
  primaryServer.SetShareFolderPath(entry.GetShareFolderPath());
  std::erase_if(*entries_, [&](const auto& owned) { return owned.get() == &entry; });
  pendingEntry = nullptr;
}

void WKManagerList::ReadManagerList(_xmlNode* node) {
  // A name counts for the addresses that follow among its own siblings.
  std::map<const _xmlNode*, std::string> nameBelow;
  wkagent::WalkElements(node, [&](_xmlNode* element) {
    if (wkagent::HasName(element, "MachineName")) {
      nameBelow[element->parent] = GetNodeContent(element);
    }
    const auto name = nameBelow.find(element->parent);
    if (name == nameBelow.end() || !wkagent::HasName(element, "IpAddress")) return;
    char* const address = GetNodeContent(element);
    if (SameName(name->second.c_str(), primaryServer.GetMachineName())) {
      primaryServer.SetMachineIPAddress(address);
    } else {
      SetIPAddressforSecondaryMgrs(name->second.data(), address);
    }
  });
}

void WKManagerList::SetIPAddressforSecondaryMgrs(char* machineName, char* ipAddress) {
  if (pendingEntry == nullptr) return;
  WKShareFolderSetting* entry = nullptr;
  list.SetHead();
  while (list.GetNode(&entry, sizeof(entry)) == 0) {
    if (!SameName(entry->GetMachineName(), machineName)) continue;
    entry->SetMachineIPAddress(ipAddress);
    return;
  }
}

WKShareFolderSetting* WKManagerList::GetPrimaryServer() { return &primaryServer; }

int WKManagerList::GetSecondaryServers(CLinkList& target) {
  WKShareFolderSetting* entry = nullptr;
  int result = 0;
  list.SetHead();
  while ((result = list.GetNode(&entry, sizeof(entry))) == 0) {
    target.AddNode(&entry, sizeof(entry));
  }
  return result;
}
