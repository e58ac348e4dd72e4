#include "agent/access_log_events.h"

#include <charconv>

#include "agent/ascii_case.h"
#include "agent/change_header.h"
#include "agent/distinguished_name.h"
#include "agent/event_codes.h"
#include "agent/field_text.h"

namespace wkagent {
namespace {

constexpr int kSuccess = 0;
constexpr int kSaslBindInProgress = 14;  // RFC 4511: not a result yet

int ReadResult(std::string_view text) {
  int result = kSuccess;
  std::from_chars(text.data(), text.data() + text.size(), result);
  return result;
}

// A value of `reqMod`, "ATTRIBUTE:OPERATION VALUE", with + - = or # as operation. The blank and the
// value may be missing.
struct Modification {
  std::string_view attribute;
  char operation = 0;
  std::string_view value;
  bool hasValue = false;
};

[[nodiscard]] bool ReadModification(std::string_view text, Modification& modification) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || colon + 1 == text.size()) return false;
  modification.attribute = text.substr(0, colon);
  modification.operation = text[colon + 1];
  text.remove_prefix(colon + 2);
  modification.hasValue = text.starts_with(' ');
  if (modification.hasValue) text.remove_prefix(1);
  modification.value = text;
  return !modification.attribute.empty() &&
         std::string_view("+-=#").find(modification.operation) != std::string_view::npos;
}

}  // namespace

AccessLogEvents::AccessLogEvents(FeedSink& sink, std::string_view serverName,
                                 std::string_view treeName)
    : sink_(sink), serverName_(serverName), treeName_(treeName), changes_(sink, serverName) {}

std::string AccessLogEvents::Take(const AccessLogEntry& entry) {
  const std::string_view type = entry.First("reqType");
  const int result = ReadResult(entry.First("reqResult"));
  if (SameIgnoringCase(type, "bind")) {
    if (result != kSaslBindInProgress) EmitSession(entry, kLogin);
    return {};
  }
  if (SameIgnoringCase(type, "unbind")) {
    EmitSession(entry, kLogout);
    return {};
  }
  if (result != kSuccess) return {};

  const std::string_view name = entry.First("reqDN");
  changes_.Clear();
  entryClass_ = {};
  if (SameIgnoringCase(type, "add") || SameIgnoringCase(type, "modify")) {
    if (SameIgnoringCase(type, "add")) changes_.EntryAdded();
    if (std::string error = ReadModifications(entry); !error.empty()) return error;
    if (SameIgnoringCase(type, "modify")) entryClass_ = {};
  } else if (SameIgnoringCase(type, "delete")) {
    changes_.EntryDeleted();
  } else if (SameIgnoringCase(type, "modrdn")) {
    const std::string_view newRdn = entry.First("reqNewRDN");
    const std::string_view superior = entry.First("reqNewSuperior");
    if (newRdn.empty()) return "the new name is missing";
    changes_.EntryRenamed(name, newRdn, superior.empty() ? ParentName(name) : superior);
  } else {
    return {};
  }
  changes_.Emit({.entry = name,
                 .user = entry.First("reqAuthzID"),
                 .address = {},
                 .entryClass = entryClass_,
                 .tree = treeName_,
                 .time = ReadGeneralizedTime(entry.First("reqStart"))});
  return {};
}

std::string AccessLogEvents::ReadModifications(const AccessLogEntry& entry) {
  bool structural = false;
  for (const std::string_view text : entry.All("reqMod")) {
    if (text == ":") continue;  // stands between two changes of one attribute
    Modification modification;
    if (!ReadModification(text, modification)) return "reqMod is not understood";
    const bool wholeAttribute = !modification.hasValue;
    const bool removed =
        modification.operation == '-' || (modification.operation == '=' && wholeAttribute);
    changes_.Value(modification.attribute, modification.value, removed);
    if (SameIgnoringCase(modification.attribute, "structuralObjectClass")) {
      entryClass_ = modification.value;
      structural = true;
    } else if (!structural && SameIgnoringCase(modification.attribute, "objectClass")) {
      entryClass_ = modification.value;
    }
  }
  return {};
}

void AccessLogEvents::EmitSession(const AccessLogEntry& entry, unsigned short code) {
  // A login's name is the one that was tried; with SASL and at a logout it is the session's.
  std::string_view user = code == kLogin ? entry.First("reqDN") : std::string_view();
  if (user.empty()) user = entry.First("reqAuthzID");
  tagWKEventData event{};
  event.EventID = code;
  event.Status = ReadResult(entry.First("reqResult"));
  event.EventTime = ReadGeneralizedTime(entry.First("reqStart"));
  SetField(event.UserName, DottedName(user));
  SetField(event.ServerName, serverName_);
  SetField(event.TreeName, treeName_);
  sink_.OnEvent(event);
}

}  // namespace wkagent
