#include <wkagent/config.h>

#include "config/xml_values.h"
#include "config/xml_walk.h"
#include "core/bounded_copy.h"

namespace {

constexpr int kLdapsPort = 636;

}  // namespace

WKLdapConfig::WKLdapConfig() = default;

WKLdapConfig::~WKLdapConfig() = default;

int WKLdapConfig::ReadFile(char* path, tagLDAPConfig& config) {
  config.SecureConnection = false;
  if (WKConfigFile::ReadFile(path) != 0) return 1;
  GetLDAPSetting(GetXMLRootNode(), config);
  return 0;
}

void WKLdapConfig::GetLDAPSetting(_xmlNode* node, tagLDAPConfig& config) {
  wkagent::WalkElements(node, [&](_xmlNode* element) {
    if (wkagent::HasName(element, "LDAPeDirectoryTreeName")) {
      wkagent::CopyBounded(config.TreeName, GetNodeContent(element));
    } else if (wkagent::HasName(element, "LDAPServer")) {
      wkagent::CopyBounded(config.Server, GetNodeContent(element));
    } else if (wkagent::HasName(element, "LDAPUserName")) {
      wkagent::CopyBounded(config.UserName, GetNodeContent(element));
    } else if (wkagent::HasName(element, "LDAPPassword")) {
      wkagent::CopyBounded(config.Password, GetNodeContent(element));
    } else if (wkagent::HasName(element, "LDAPPortNumber")) {
      config.PortNumber = wkagent::ToInt(GetNodeContent(element));
      if (config.PortNumber == kLdapsPort) config.SecureConnection = true;
    }
  });
}
