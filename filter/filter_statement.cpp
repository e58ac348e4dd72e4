#include <cstdio>
#include <cstring>

#include <wkagent/filter.h>

#include "core/printed_text.h"
#include "core/time_stamp.h"
#include "core/watched_changes.h"
#include "filter/dotted_name.h"
#include "filter/entity_match.h"
#include "filter/list_matcher.h"
#include "filter/statement_text.h"

using wkagent::TextOrEmpty;

WKFilterStatement::WKFilterStatement()
    : enabled(false),
      include(false),
      allDay(false),
      startTime(0),
      endTime(0),
      allUsers(false),
      allNodes(false),
      excludeAlert(false) {}

WKFilterStatement::~WKFilterStatement() = default;

void WKFilterStatement::ReleaseOwned() {
  Changed();
  userMatcher_.reset();
  nodeMatcher_.reset();
  title.Reset();
  users.ClearList();
  nodes.ClearList();
  smtpAlert.Add(nullptr, nullptr, nullptr, nullptr);
  for (WKAlertObject* alert :
       {static_cast<WKAlertObject*>(&smtpAlert), static_cast<WKAlertObject*>(&snmpAlert),
        static_cast<WKAlertObject*>(&syslogAlert)}) {
    alert->alertMessage.Reset();
  }
}

void WKFilterStatement::SetTitle(char* text) {
  if (text != nullptr) title.Assign(text);
}
void WKFilterStatement::ClearTitle() { title.Reset(); }

void WKFilterStatement::Changed() { wkagent::CountWatchedChange(); }

void WKFilterStatement::Change(bool& flag, bool on) {
  flag = on;
  Changed();
}

void WKFilterStatement::SetEnableFlag(bool on) { Change(enabled, on); }
void WKFilterStatement::SetIncExFlag(bool on) { include = on; }
void WKFilterStatement::SetAllDayFlag(bool on) { allDay = on; }
void WKFilterStatement::SetAllUserFlag(bool on) { Change(allUsers, on); }
void WKFilterStatement::SetAllNodeFlag(bool on) { Change(allNodes, on); }
void WKFilterStatement::SetExcludeAlert(bool on) { excludeAlert = on; }

void WKFilterStatement::SetTime(tm* start, tm* end) {
  if (start == nullptr || end == nullptr) return;
  startTime = mktime(start);
  endTime = mktime(end);
}

void WKFilterStatement::SetTo(char* text) { smtpAlert.SetTo(text); }
void WKFilterStatement::SetCC(char* text) { smtpAlert.SetCC(text); }
void WKFilterStatement::SetFrom(char* text) { smtpAlert.SetFrom(text); }
void WKFilterStatement::SetSubject(char* text) { smtpAlert.SetSubject(text); }
void WKFilterStatement::SetSMTPAlert(bool on) { smtpAlert.SetSMTPAlert(on); }
void WKFilterStatement::SetSNMPAlert(bool on) { snmpAlert.SetSNMPAlert(on); }
void WKFilterStatement::SetSyslogAlert(bool on) { syslogAlert.SetSyslogAlert(on); }

void WKFilterStatement::AddUser(char* name) {
  ConvertToNDAPFormat(name);
  wkagent::AddText(users, name);
}

void WKFilterStatement::AddNode(char* name) { wkagent::AddText(nodes, name); }

bool WKFilterStatement::IsEnabled() { return enabled; }
bool WKFilterStatement::IsExcluded() { return !include; }
bool WKFilterStatement::IsExcludeAlert() { return excludeAlert; }
bool WKFilterStatement::IsSMTPAlertSet() { return smtpAlert.IsSMTPAlertActive(); }
bool WKFilterStatement::IsSNMPAlertSet() { return snmpAlert.IsSNMPAlertActive(); }
bool WKFilterStatement::IsSyslogAlertSet() { return syslogAlert.IsSyslogAlertActive(); }
bool WKFilterStatement::IsAlertActive() {
  return IsSMTPAlertSet() || IsSNMPAlertSet() || IsSyslogAlertSet();
}

WKSMTPAlertObject* WKFilterStatement::GetSMTPData() { return smtpAlert.Clone(); }

bool WKFilterStatement::PassStatement(char* user, char* node) {
  if (!enabled) return false;
  if (!allDay && !PassTimeCheck()) return false;
  if (!allUsers && !PassUserCheck(user)) return false;
  return allNodes || PassNodeCheck(node);
}

bool WKFilterStatement::PassTimeCheck() {
  const time_t now = time(nullptr);
  return endTime <= now && now <= startTime;
}

bool WKFilterStatement::PassUserCheck(char* user) {
  return wkagent::Occurs(userMatcher_, users, user);
}
bool WKFilterStatement::PassNodeCheck(char* node) {
  return wkagent::Occurs(nodeMatcher_, nodes, node);
}

bool WKFilterStatement::EntityMatch(char* value, CLinkList& list) {
  return value != nullptr && wkagent::EntityOccurs(value, list);
}

char* WKFilterStatement::ConvertToNDAPFormat(char* name) {
  return wkagent::ConvertTypedName(name, ',');
}

time_t WKFilterStatement::ParseTime(char* /*text*/) {
  tm noon{};
  noon.tm_year = 90;
  noon.tm_mday = 1;
  noon.tm_hour = 12;
  noon.tm_isdst = 1;
  return mktime(&noon);
}

void WKFilterStatement::ConvertTime(time_t seconds, char* out) {
  constexpr std::size_t kLimit = 9;  // of "%d %H %M %S" this is all that fits
  if (out == nullptr) return;
  const tm local = wkagent::LocalTime(seconds);
  std::strftime(out, kLimit, "%d %H %M", &local);
}

void WKFilterStatement::PrintTitle() { std::printf("Title %s\n", TextOrEmpty(title)); }

void WKFilterStatement::PrintLinkedList(CLinkList& list) {
  if (list.GetCount() == 0) std::puts("  <None Defined>");
  for (const tagLinkList* entry = list.head; entry != nullptr; entry = entry->next) {
    std::printf("  %.*s\n", entry->size, entry->data);
  }
}

void WKFilterStatement::PrintfFilter() {
  char start[9];
  char end[9];
  ConvertTime(startTime, start);
  ConvertTime(endTime, end);
  std::printf("Title = %s\n", TextOrEmpty(title));
  std::printf("Enable Status = %d\n", enabled);
  std::printf("IncludeExclude Status = %d\n", include);
  std::printf("AllDayFlag = %d\n", allDay);
  std::printf("Start Time: %s End Time: %s\n", start, end);
  std::printf("All User = %d\n", allUsers);
  std::printf("User List: ");
  PrintLinkedList(users);
  std::printf("All Nodes = %d\n", allNodes);
  std::printf("Node List: ");
  PrintLinkedList(nodes);
  std::printf("Exclude Alert: %d\n", excludeAlert);
  std::printf("SMTP Alert Set = %d\n", IsSMTPAlertSet());
  if (IsSMTPAlertSet()) {
    std::printf("To: %s - From: %s - CC: %s - Subject: %s\n", TextOrEmpty(smtpAlert.GetTo()),
                TextOrEmpty(smtpAlert.GetFrom()), TextOrEmpty(smtpAlert.GetCC()),
                TextOrEmpty(smtpAlert.GetSubject()));
  }
  std::printf("SNMP Alert Set: %d\n", IsSNMPAlertSet());
  std::printf("Syslog Alert Set: %d\n", IsSyslogAlertSet());
}
