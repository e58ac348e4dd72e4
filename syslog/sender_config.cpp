#include <string>

#include <libxml/tree.h>

#include <wkagent/syslog.h>

#include "config/xml_library.h"
#include "config/xml_walk.h"
#include "syslog/diagnostic_log.h"

namespace {

using Setter = void (*)(SyslogConfig& config, const std::string& text);

// What an element sets.
struct Setting {
  const char* element;
  Setter set;
};

bool IsTrue(const std::string& text) { return text == "true" || text == "1"; }

void SetProtocol(SyslogConfig& config, const std::string& text) {
  if (text == "UDP") config.protocol = SyslogConfig::UDP;
  if (text == "TCP") config.protocol = SyslogConfig::TCP;
  if (text == "TLS") config.protocol = SyslogConfig::TLS;
}

using Config = SyslogConfig;
using Text = const std::string;

constexpr Setting kSettings[] = {
    {"host", [](Config& config, Text& text) { config.serverHost = text; }},
    {"port", [](Config& config, Text& text) { config.serverPort = std::stoi(text); }},
    {"protocol", SetProtocol},
};

constexpr Setting kTlsSettings[] = {
    {"ca_cert", [](Config& config, Text& text) { config.tlsCACertPath = text; }},
    {"client_cert", [](Config& config, Text& text) { config.tlsClientCertPath = text; }},
    {"client_key", [](Config& config, Text& text) { config.tlsClientKeyPath = text; }},
    {"mutual_tls", [](Config& config, Text& text) { config.mutualTLS = IsTrue(text); }},
    {"verify_server_cert",
     [](Config& config, Text& text) { config.verifyServerCert = IsTrue(text); }},
    {"server_name", [](Config& config, Text& text) { config.tlsServerName = text; }},
};

std::string TextOf(const xmlNode* element) {
  const wkagent::XmlText text = wkagent::ContentOf(element);
  return text == nullptr ? std::string() : std::string(text.get());
}

template <std::size_t Count>
void Apply(const Setting (&settings)[Count], const xmlNode* element, SyslogConfig& config) {
  for (const Setting& setting : settings) {
    if (wkagent::HasName(element, setting.element)) setting.set(config, TextOf(element));
  }
}

const char* NameOf(std::int32_t protocol) {
  if (protocol == SyslogConfig::UDP) return "UDP";
  return protocol == SyslogConfig::TCP ? "TCP" : "TLS";
}

const char* NameOf(bool value) { return value ? "true" : "false"; }

}  // namespace

bool WKSyslogSender::loadXMLConfig(const std::string& path) {
  const wkagent::XmlDoc document = wkagent::ReadXmlFile(path.c_str(), 0);
  if (document == nullptr) {
    wkagent::senderLog.Report("Unable to read XML config: ", path);
    return false;
  }
  const xmlNode* const root = xmlDocGetRootElement(document.get());
  if (root == nullptr) return true;
  for (const xmlNode* node = root->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    Apply(kSettings, node, *this);
    if (!wkagent::HasName(node, "tls")) continue;
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
      if (child->type == XML_ELEMENT_NODE) Apply(kTlsSettings, child, *this);
    }
  }
  return true;
}

std::string WKSyslogSender::get_syslog_config() {
  std::string text = "Syslog Config Settings:\n";
  text.append("serverHost: ").append(serverHost);
  text.append("|serverPort: ").append(std::to_string(serverPort));
  text.append("|protocol: ").append(NameOf(protocol));
  if (protocol != TLS) return text;
  text.append("|tlsCACertPath: ").append(tlsCACertPath);
  text.append("|mutualTLS: ").append(NameOf(mutualTLS));
  if (mutualTLS) {
    text.append("|tlsClientCertPath: ").append(tlsClientCertPath);
    text.append("|tlsClientKeyPath: ").append(tlsClientKeyPath);
  }
  text.append("|verifyServerCert: ").append(NameOf(verifyServerCert));
  if (verifyServerCert) text.append("|tlsServerName: ").append(tlsServerName);
  return text;
}
