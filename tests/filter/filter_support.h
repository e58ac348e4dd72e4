#ifndef WKAGENT_TESTS_FILTER_FILTER_SUPPORT_H
#define WKAGENT_TESTS_FILTER_FILTER_SUPPORT_H

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include <wkagent/filter.h>

#include "support/list_objects.h"
#include "support/text.h"

namespace wkagent::test {

// The blocks of a list, each as a text of its size; the cursor stays.
inline std::vector<std::string> Entries(const CLinkList& list) {
  std::vector<std::string> entries;
  for (const tagLinkList* node = list.head; node != nullptr; node = node->next) {
    entries.emplace_back(node->data, static_cast<std::size_t>(node->size));
  }
  return entries;
}

// Appends a block as it stands, embedded zero bytes included.
inline void AddBlock(CLinkList& list, std::string block) {
  list.AddNode(block.data(), static_cast<int>(block.size()));
}

// The gathered alerts as "snmp", "syslog" and "mail <recipients>".
inline std::vector<std::string> Alerts(const WKFilter& filter) {
  std::vector<std::string> alerts;
  for (AlertWrapper* wrapper : Objects<AlertWrapper>(filter.alerts)) {
    WKSMTPAlertObject* const mail = wrapper->GetSMTPAlertInfo();
    const char* const to = mail == nullptr ? nullptr : mail->GetTo();
    switch (wrapper->GetAlertType()) {
      case 1:
        alerts.push_back(std::string("mail ") + (to == nullptr ? "(nobody)" : to));
        break;
      case 2:
        alerts.emplace_back(mail == nullptr ? "snmp" : "snmp with mail settings");
        break;
      case 3:
        alerts.emplace_back(mail == nullptr ? "syslog" : "syslog with mail settings");
        break;
      default:
        alerts.push_back("kind " + std::to_string(wrapper->GetAlertType()));
    }
  }
  return alerts;
}

// A text argument that may be null.
class OptionalText {
 public:
  explicit OptionalText(std::optional<std::string> text) : text_(std::move(text)) {}
  operator char*() { return text_ ? text_->data() : nullptr; }

 private:
  std::optional<std::string> text_;
};

// One directory event; every field but the operation may be null.
struct DirectoryEvent {
  int operation = 20001;
  std::optional<std::string> user = "admin.acme";
  std::optional<std::string> node = "10.0.0.1";
  std::optional<std::string> object = "jsmith.sales.acme";
  std::optional<std::string> className = "User";
  std::optional<std::string> attribute = "Surname";
  std::optional<std::string> value = "Smith";
};

// One login or logout; user and node may be null.
struct LoginEvent {
  int operation = 21001;
  int condition = 705;
  std::optional<std::string> user = "admin.acme";
  std::optional<std::string> node = "10.0.0.1";
};

inline bool Passes(WKEDAFilterStatement& statement, const DirectoryEvent& event) {
  return statement.PassStatement(event.operation, OptionalText(event.user),
                                 OptionalText(event.node), OptionalText(event.object),
                                 OptionalText(event.className), OptionalText(event.attribute),
                                 OptionalText(event.value));
}

inline bool Passes(WKEDAFilter& filter, const DirectoryEvent& event) {
  return filter.PassFilter(event.operation, OptionalText(event.user), OptionalText(event.node),
                           OptionalText(event.object), OptionalText(event.className),
                           OptionalText(event.attribute), OptionalText(event.value));
}

inline bool Passes(WKELAFilterStatement& statement, const LoginEvent& event) {
  return statement.PassStatement(event.operation, event.condition, OptionalText(event.user),
                                 OptionalText(event.node));
}

inline bool Passes(WKELAFilter& filter, const LoginEvent& event) {
  return filter.PassFilter(event.operation, event.condition, OptionalText(event.user),
                           OptionalText(event.node));
}

// Makes an include statement that covers every event and wants no alert.
inline void CoverEverything(WKELAFilterStatement& statement) {
  statement.SetEnableFlag(true);
  statement.SetIncExFlag(true);
  statement.SetAllDayFlag(true);
  statement.SetAllUserFlag(true);
  statement.SetAllNodeFlag(true);
  statement.SetAllOpsFlag(true);
}

inline void CoverEverything(WKEDAFilterStatement& statement) {
  statement.SetEnableFlag(true);
  statement.SetIncExFlag(true);
  statement.SetAllDayFlag(true);
  statement.SetAllUserFlag(true);
  statement.SetAllOpsFlag(true);
  statement.SetAllObjFlag(true);
  statement.SetAllClassFlag(true);
  statement.SetAllAttrFlag(true);
  statement.SetAllValueFlag(true);
  statement.SetAuditedContext(Text(""));
}

// Hands a new statement that covers everything over to the filter.
template <typename Statement>
Statement& AddStatement(WKFilter& filter) {
  auto* statement = new Statement;
  CoverEverything(*statement);
  filter.AddNode(&statement, sizeof(statement));
  return *statement;
}

// Sets the time window to seconds relative to `now`.
inline void SetWindow(WKFilterStatement& statement, time_t now, int start, int end) {
  const time_t startTime = now + start;
  const time_t endTime = now + end;
  tm startRecord{};
  tm endRecord{};
  localtime_r(&startTime, &startRecord);
  localtime_r(&endTime, &endRecord);
  statement.SetTime(&startRecord, &endRecord);
}

// The process's time zone until the object ends.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) {
    if (const char* before = std::getenv("TZ"); before != nullptr) before_ = before;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~TimeZone() {
    if (before_) {
      setenv("TZ", before_->c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;

 private:
  std::optional<std::string> before_;
};

inline constexpr char kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";

// A filter file around `elements`.
inline std::string FilterFile(const std::string& elements) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<EDAFilter>\n" + elements + "</EDAFilter>\n";
}

// A `Filter` element that is enabled, includes, and covers all days and the whole directory.
inline std::string FilterElement(const std::string& filterTitle, const std::string& elements = "") {
  return "<Filter Title=\"" + filterTitle +
         "\" IncludeExclude=\"1\" Enabled=\"1\" AllDay=\"1\" StartTime=\"08:00:00 AM\""
         " EndTime=\"05:00:00 PM\" Context=\"\" IncludeSubContainers=\"0\">" +
         elements + "</Filter>\n";
}

// What makes a statement of any kind cover every event.
inline constexpr char kAllElements[] =
    "<Operations AllOperations=\"1\"/><Users AllUsers=\"1\"/><Nodes AllNodes=\"1\"/>"
    "<Objects AllObjects=\"1\"/><Classes AllClasses=\"1\"/><Attributes AllAttributes=\"1\"/>"
    "<AttributeValues AllAttributeValues=\"1\"/>";

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FILTER_FILTER_SUPPORT_H
