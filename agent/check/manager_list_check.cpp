#include <cstdio>
#include <map>

#include <arpa/inet.h>

#include <wkagent/config.h>

#include "agent/check/document_check.h"
#include "agent/check/read_check.h"
#include "agent/check/settings_check.h"
#include "agent/check/xml_element.h"
#include "config/xml_walk.h"

namespace wkagent {
namespace {

bool IsAddress(const std::string& text) {
  unsigned char bytes[sizeof(in6_addr)];
  return inet_pton(AF_INET, text.c_str(), bytes) == 1 ||
         inet_pton(AF_INET6, text.c_str(), bytes) == 1;
}

// An IpAddress belongs to the MachineName before it among its own siblings.
class ManagersCheck {
 public:
  ManagersCheck(WKConfigFile& file, CheckReport& report) : file_(file), report_(report) {}

  void Visit(xmlNode* element) {
    if (ElementName(element) == "MachineName") VisitName(element);
    if (ElementName(element) == "IpAddress") VisitAddress(element);
  }

  void Finish() {
    for (const auto& [parent, machine] : machines_) ReportMissing(machine);
  }

 private:
  struct Machine {
    std::string name;
    long line = 0;
    long addressLine = 0;  // 0 where there is none
  };

  void VisitName(xmlNode* element) {
    const std::string name = ContentText(file_, element);
    if (name.empty()) {
      report_.Error(LineOf(element), Quote(ValuePlace{"MachineName"}, name) +
                                         " is empty; write <MachineName>manager1</MachineName>");
    }
    const auto earlier = machines_.find(element->parent);
    if (earlier != machines_.end()) ReportMissing(earlier->second);
    machines_[element->parent] = {name, LineOf(element), 0};
  }

  void VisitAddress(xmlNode* element) {
    const std::string address = ContentText(file_, element);
    const std::string quoted = Quote(ValuePlace{"IpAddress"}, address);
    const auto machine = machines_.find(element->parent);
    if (machine == machines_.end()) {
      return report_.Error(LineOf(element), quoted +
                                                " is ignored, since no MachineName stands "
                                                "before it; write <MachineName> first");
    }
    if (machine->second.addressLine != 0) {
      report_.Error(LineOf(element), quoted + " overrides the one of line " +
                                         std::to_string(machine->second.addressLine) +
                                         "; keep one of them");
    }
    machine->second.addressLine = LineOf(element);
    std::printf("Manager: %s, Address: %s\n", machine->second.name.c_str(), address.c_str());
    if (address.empty() || IsAddress(std::string(WithoutBlanks(address)))) return;
    report_.Error(LineOf(element),
                  quoted + " is no IP address; write one such as <IpAddress>192.0.2.1</IpAddress>");
  }

  void ReportMissing(const Machine& machine) {
    if (machine.addressLine != 0) return;
    report_.Warning(machine.line, Quote(ValuePlace{"MachineName"}, machine.name) +
                                      " has no address; write <IpAddress> behind it");
  }

  WKConfigFile& file_;
  CheckReport& report_;
  std::map<const xmlNode*, Machine> machines_;  // the last one among the children of each element
};

}  // namespace

void CheckManagerList(CheckReport& report) {
  WKConfigFile reader;
  if (!ReadForCheck(reader, ParserWords::kWithheld, report)) return;
  CheckDocument(reader, kManagerListRules, report);
  ManagersCheck check(reader, report);
  WalkElements(reader.GetXMLRootNode(), [&](xmlNode* element) { check.Visit(element); });
  check.Finish();
}

}  // namespace wkagent
