#include "agent/change_events.h"

#include "agent/ascii_case.h"
#include "agent/distinguished_name.h"
#include "agent/event_codes.h"
#include "agent/field_text.h"
#include "agent/secret_attributes.h"

namespace wkagent {
namespace {

bool HasBinaryOption(std::string_view attribute) {
  std::string_view options = attribute.substr(BaseName(attribute).size());
  while (!options.empty()) {
    options.remove_prefix(1);  // the semicolon
    const std::string_view option = BaseName(options);
    if (SameIgnoringCase(option, "binary")) return true;
    options.remove_prefix(option.size());
  }
  return false;
}

}  // namespace

ChangeEvents::ChangeEvents(FeedSink& sink, std::string_view serverName) : sink_(sink) {
  SetField(event_.ServerName, serverName);
}

void ChangeEvents::Clear() {
  changes_.clear();
  newName_.clear();
}

void ChangeEvents::EntryAdded() { changes_.push_back({kEntryAdded, {}, {}}); }

void ChangeEvents::EntryDeleted() { changes_.push_back({kEntryDeleted, {}, {}}); }

void ChangeEvents::EntryRenamed(std::string_view name, std::string_view newRdn,
                                std::string_view newParent) {
  newName_ = DottedName(newRdn);
  if (!newParent.empty()) newName_.append(1, '.').append(DottedName(newParent));
  const bool moved = !SameName(ParentName(name), newParent);
  changes_.push_back({moved ? kEntryMoved : kEntryRenamed, {}, {}});
}

void ChangeEvents::Value(std::string_view attribute, std::string_view value, bool removed) {
  const unsigned short code = AttributeEventCode(attribute, removed);
  if (code != 0) changes_.push_back({code, attribute, value});
}

void ChangeEvents::Emit(const ChangeOrigin& origin) {
  event_.EventTime = origin.time == 0 ? std::time(nullptr) : origin.time;
  if (origin.user != user_) {
    SetField(event_.UserName, DottedName(origin.user));
    user_ = origin.user;
  }
  SetField(event_.NodeAddress, origin.address);
  SetField(event_.TreeName, origin.tree);
  SetField(event_.Object1, DottedName(origin.entry));
  SetField(event_.Class1, origin.entryClass);
  for (const Change& change : changes_) EmitOne(change);
}

void ChangeEvents::EmitOne(const Change& change) {
  event_.EventID = change.code;
  SetField(event_.Attribute1, change.attribute);
  std::string shown;
  std::string_view value = change.value;
  if (MayHoldCredentials(change.attribute)) {
    value = shown = WithoutCredentials(change.attribute, change.value);
  }
  if (IsSecretAttribute(change.attribute)) {
    SetField(event_.AttributeValue, "");
  } else if (HasBinaryOption(change.attribute) || IsBinary(value)) {
    SetField(event_.AttributeValue, EncodeBase64(value, sizeof(event_.AttributeValue) - 1));
  } else {
    SetField(event_.AttributeValue, value);
  }
  SetField(event_.Object2, NamesSecondObject(change.code) ? DottedName(change.value) : newName_);
  sink_.OnEvent(event_);
}

}  // namespace wkagent
