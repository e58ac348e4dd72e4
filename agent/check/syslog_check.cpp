// Unlike the readers of the home's files, that of the remote syslog looks at the root's children
// only, takes texts without trimming them, and throws where the port is no number.

#include "agent/check/syslog_check.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include <arpa/inet.h>
#include <unistd.h>

#include <wkagent/config.h>

#include "agent/check/name_distance.h"
#include "agent/check/read_check.h"
#include "agent/check/xml_element.h"

namespace wkagent {
namespace {

class SyslogCheck;

struct Element {
  const char* name;
  void (SyslogCheck::*check)(const xmlNode* element, const std::string& text);
};

std::string TextOf(const xmlNode* element) {
  const XmlText text(reinterpret_cast<char*>(xmlNodeGetContent(element)));
  return text == nullptr ? std::string() : text.get();
}

class SyslogCheck {
 public:
  explicit SyslogCheck(CheckReport& report) : report_(report) {}

  void VisitRoot(const xmlNode* root);
  void CheckTogether();

 private:
  void CheckHost(const xmlNode* element, const std::string& text);
  void CheckPort(const xmlNode* element, const std::string& text);
  void CheckProtocol(const xmlNode* element, const std::string& text);
  void CheckFile(const xmlNode* element, const std::string& text);
  void CheckFlag(const xmlNode* element, const std::string& text);
  void CheckServerName(const xmlNode* element, const std::string& text);
  void VisitTls(const xmlNode* element, const std::string& text);

  template <std::size_t kCount>
  void Visit(const xmlNode* parent, const Element (&elements)[kCount]);

  static const Element kElements[4];
  static const Element kTlsElements[6];

  CheckReport& report_;
  std::vector<std::string_view> seen_;  // names of elements that have come already
  std::string protocol_ = "UDP";
  long tlsLine_ = 0;
  long mutualLine_ = 0;  // of a mutual_tls that is on
  bool clientCertificate_ = false;
  bool clientKey_ = false;
};

const Element SyslogCheck::kElements[] = {
    {"host", &SyslogCheck::CheckHost},
    {"port", &SyslogCheck::CheckPort},
    {"protocol", &SyslogCheck::CheckProtocol},
    {"tls", &SyslogCheck::VisitTls},
};

const Element SyslogCheck::kTlsElements[] = {
    {"ca_cert", &SyslogCheck::CheckFile},
    {"client_cert", &SyslogCheck::CheckFile},
    {"client_key", &SyslogCheck::CheckFile},
    {"mutual_tls", &SyslogCheck::CheckFlag},
    {"verify_server_cert", &SyslogCheck::CheckFlag},
    {"server_name", &SyslogCheck::CheckServerName},
};

template <std::size_t kCount>
void SyslogCheck::Visit(const xmlNode* parent, const Element (&elements)[kCount]) {
  std::vector<std::string_view> names;
  for (const Element& element : elements) names.emplace_back(element.name);
  for (const xmlNode* node = parent->children; node != nullptr; node = node->next) {
    if (node->type != XML_ELEMENT_NODE) continue;
    const std::string_view name = ElementName(node);
    const auto known = std::find(names.begin(), names.end(), name);
    if (known == names.end()) {
      const std::string_view nearest = NearestName(name, names);
      report_.Warning(LineOf(node),
                      std::string(name) + " is not looked at here" +
                          (nearest.empty() ? "" : "; did you mean " + std::string(nearest) + "?"));
      continue;
    }
    if (std::find(seen_.begin(), seen_.end(), name) != seen_.end()) {
      report_.Warning(LineOf(node), std::string(name) + " overrides an earlier one; keep one");
    }
    seen_.push_back(*known);
    (this->*elements[known - names.begin()].check)(node, TextOf(node));
  }
}

void SyslogCheck::VisitRoot(const xmlNode* root) {
  if (root != nullptr) Visit(root, kElements);
}

void SyslogCheck::VisitTls(const xmlNode* element, const std::string& /*text*/) {
  tlsLine_ = LineOf(element);
  Visit(element, kTlsElements);
}

void SyslogCheck::CheckHost(const xmlNode* element, const std::string& text) {
  in_addr address{};
  if (inet_pton(AF_INET, text.c_str(), &address) == 1) return;
  report_.Error(LineOf(element), "host \"" + text +
                                     "\" is no IPv4 address, and names are not looked up; write "
                                     "<host>192.0.2.1</host>, without blanks");
}

void SyslogCheck::CheckPort(const xmlNode* element, const std::string& text) {
  const bool digits = !text.empty() && text.size() <= 5 &&
                      text.find_first_not_of("0123456789") == std::string::npos;
  const int port = digits ? std::stoi(text) : 0;
  if (port >= 1 && port <= 65535) return;
  report_.Error(LineOf(element), "port \"" + text +
                                     "\" is no number from 1 to 65535; write <port>514</port>, or "
                                     "<port>6514</port> for TLS");
}

void SyslogCheck::CheckProtocol(const xmlNode* element, const std::string& text) {
  if (text == "UDP" || text == "TCP" || text == "TLS") {
    protocol_ = text;
    return;
  }
  report_.Error(LineOf(element), "protocol \"" + text + "\" is ignored, so " + protocol_ +
                                     " stays; write UDP, TCP or TLS, in capitals");
}

void SyslogCheck::CheckFile(const xmlNode* element, const std::string& text) {
  const std::string_view name = ElementName(element);
  if (name == "client_cert") clientCertificate_ = !text.empty();
  if (name == "client_key") clientKey_ = !text.empty();
  if (text.empty() || access(text.c_str(), R_OK) == 0) return;
  report_.Error(LineOf(element), std::string(name) + " \"" + text +
                                     "\" cannot be read: " + std::strerror(errno) +
                                     "; write the path of a PEM file, without blanks around it");
}

void SyslogCheck::CheckFlag(const xmlNode* element, const std::string& text) {
  const std::string name(ElementName(element));
  const bool on = text == "true" || text == "1";
  if (name == "mutual_tls") mutualLine_ = on ? LineOf(element) : 0;
  if (on || text == "false" || text == "0") return;
  report_.Error(LineOf(element), name + " \"" + text + "\" counts as false; write true or false");
}

void SyslogCheck::CheckServerName(const xmlNode* element, const std::string& text) {
  if (text.find_first_of(" \t\r\n") == std::string::npos) return;
  report_.Error(LineOf(element),
                "server_name \"" + text + "\" holds blanks, which count; write it without");
}

void SyslogCheck::CheckTogether() {
  if (tlsLine_ > 0 && protocol_ != "TLS") {
    report_.Warning(tlsLine_, "tls is not used, as the protocol is " + protocol_ +
                                  "; write <protocol>TLS</protocol>, or leave it out");
  }
  if (mutualLine_ > 0 && !(clientCertificate_ && clientKey_)) {
    report_.Error(mutualLine_,
                  "mutual_tls needs client_cert and client_key; write the paths of both");
  }
}

}  // namespace

void CheckSyslogSettings(CheckReport& report) {
  WKConfigFile file;
  if (!ReadForCheck(file, ParserWords::kQuoted, report)) return;
  SyslogCheck check(report);
  check.VisitRoot(file.GetXMLRootNode());
  check.CheckTogether();
}

}  // namespace wkagent
