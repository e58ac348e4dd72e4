#include "agent/check/settings_check.h"

#include <map>

#include <wkagent/config.h>

#include "agent/check/document_check.h"
#include "agent/check/read_check.h"
#include "agent/check/xml_element.h"
#include "config/xml_values.h"
#include "config/xml_walk.h"
#include "core/bounded_copy.h"

namespace wkagent {
namespace {

// Which elements of the mail about the agent's own status count: From, To and CC do so behind a
// Logging whose Enable, an attribute or else its first such element, is not 0.
class LoggingCheck {
 public:
  LoggingCheck(WKDaemonSettings& settings, CheckReport& report)
      : settings_(settings), report_(report) {}

  void Visit(xmlNode* element) {
    const std::string_view name = ElementName(element);
    if (name == "Logging") VisitLogging(element);
    if (name == "Enable" && element != enable_) {
      report_.Error(LineOf(element), "Enable is not looked at here; write <Logging Enable=\"1\">");
    }
    if (name == "From" || name == "To" || name == "CC") VisitAddress(element);
  }

  void CheckMail() {
    WKSMTPAlertObject& mail = settings_.alert;
    if (!settings_.loggingEnabled) return;
    if (IsEmpty(mail.GetTo()) && IsEmpty(mail.GetCC())) {
      report_.Error(line_,
                    "Logging is enabled, but To and CC are empty, so the mail reaches "
                    "nobody; write <To>security@acme.example</To>, or Enable=\"0\"");
    }
    if (IsEmpty(mail.GetFrom())) {
      report_.Warning(line_,
                      "Logging is enabled, but From is empty, so the mail bears a default "
                      "sender; write <From>agent@acme.example</From>");
    }
  }

 private:
  static bool IsEmpty(const char* text) { return text == nullptr || WithoutBlanks(text).empty(); }

  void VisitLogging(xmlNode* logging) {
    line_ = LineOf(logging);
    auto value = AttributeText(settings_, logging, "Enable");
    enable_ = nullptr;
    if (!value) {
      enable_ = FirstEnable(logging);
      if (enable_ != nullptr) value = ContentText(settings_, enable_);
    }
    if (!value) {
      report_.Error(line_,
                    "Logging has no Enable, which counts as 0; write <Logging Enable=\"1\"> "
                    "or <Logging Enable=\"0\">");
    }
    enabled_ = value && ToFlag(value->c_str());
  }

  void VisitAddress(const xmlNode* element) {
    const std::string name(ElementName(element));
    const long line = LineOf(element);
    if (enabled_) {
      const auto [earlier, first] = addresses_.try_emplace(name, line);
      if (!first) {
        report_.Error(line, name + " overrides the one of line " + std::to_string(earlier->second) +
                                "; keep one of them");
      }
    } else if (Ancestor(element, "Logging") == nullptr) {
      report_.Error(line, name +
                              " stands before an enabled Logging and is ignored; move it into "
                              "<Logging Enable=\"1\">");
    }
  }

  static xmlNode* FirstEnable(xmlNode* logging) {
    for (xmlNode* child = logging->children; child != nullptr; child = child->next) {
      if (child->type == XML_ELEMENT_NODE && ElementName(child) == "Enable") return child;
    }
    return nullptr;
  }

  WKDaemonSettings& settings_;
  CheckReport& report_;
  xmlNode* enable_ = nullptr;  // the element that decides
  bool enabled_ = false;
  long line_ = 0;                          // of the last Logging
  std::map<std::string, long> addresses_;  // the lines of those that count
};

}  // namespace

void CheckDaemonSettings(CheckReport& report) {
  WKDaemonSettings settings;
  if (!ReadForCheck(settings, ParserWords::kQuoted, report)) return;
  settings.ReadDaemonTags(settings.GetXMLRootNode());
  // It is the key of other settings.
  if (settings.workspaceGuid[0] != '\0') CopyBounded(settings.workspaceGuid, "(set)");
  settings.Print();
  CheckDocument(settings, kDaemonSettingsRules, report);
  LoggingCheck check(settings, report);
  WalkElements(settings.GetXMLRootNode(), [&](xmlNode* element) { check.Visit(element); });
  check.CheckMail();
}

void CheckMemorySettings(CheckReport& report) {
  WKMemorySettings settings;
  if (!ReadForCheck(settings, ParserWords::kQuoted, report)) return;
  settings.ReadMemorySettingsTags(settings.GetXMLRootNode());
  settings.Print();
  CheckDocument(settings, kMemorySettingsRules, report);
}

}  // namespace wkagent
