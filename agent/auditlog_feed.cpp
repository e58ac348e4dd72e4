#include "agent/auditlog_feed.h"

#include <ctime>

#include <strings.h>

#include "agent/change_header.h"
#include "agent/distinguished_name.h"
#include "agent/event_codes.h"
#include "agent/field_text.h"
#include "agent/secret_attributes.h"

namespace wkagent {
namespace {

bool Same(std::string_view left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

// The last value of an attribute, empty where the record has none.
std::string_view LastValue(const LdifRecord& record, std::string_view attribute) {
  std::string_view value;
  for (const LdifLine& line : record.lines) {
    if (Same(line.name, attribute)) value = line.value;
  }
  return value;
}

// The class of an entry, as far as its record tells: the structural one, or the one listed last.
std::string_view ClassOf(const LdifRecord& record) {
  const std::string_view structural = LastValue(record, "structuralObjectClass");
  return structural.empty() ? LastValue(record, "objectClass") : structural;
}

// What a record without header still tells about who changed the entry.
std::string_view ModifierOf(const LdifRecord& record) {
  const std::string_view modifier = LastValue(record, "modifiersName");
  return modifier.empty() ? LastValue(record, "creatorsName") : modifier;
}

bool HasBinaryOption(std::string_view attribute) {
  std::string_view options = attribute.substr(BaseName(attribute).size());
  while (!options.empty()) {
    options.remove_prefix(1);  // the semicolon
    const std::string_view option = BaseName(options);
    if (Same(option, "binary")) return true;
    options.remove_prefix(option.size());
  }
  return false;
}

}  // namespace

AuditlogFeed::AuditlogFeed(FeedSink& sink, std::string_view serverName)
    : sink_(sink), reader_(*this) {
  SetField(event_.ServerName, serverName);
}

void AuditlogFeed::Take(std::string_view block) { reader_.Take(block); }

void AuditlogFeed::Finish() { reader_.Finish(); }

void AuditlogFeed::OnMalformed(long line, std::string_view reason) {
  sink_.OnMalformed(line, reason);
}

void AuditlogFeed::OnRecord(const LdifRecord& record) {
  std::size_t next = 1;  // the first line is the dn
  while (next < record.lines.size() && Same(record.lines[next].name, "control")) ++next;
  if (next == record.lines.size() || !Same(record.lines[next].name, "changetype")) {
    return sink_.OnMalformed(record.lines.front().number, "the record has no changetype");
  }
  const LdifLine& type = record.lines[next++];
  changes_.clear();
  newName_.clear();
  bool understood = true;
  if (Same(type.value, "add")) {
    understood = ReadAdd(record, next);
  } else if (Same(type.value, "delete")) {
    changes_.push_back({kEntryDeleted, {}, {}});
  } else if (Same(type.value, "modify")) {
    understood = ReadModify(record, next);
  } else if (Same(type.value, "modrdn") || Same(type.value, "moddn")) {
    understood = ReadRename(record, next);
  } else {
    understood = Fail(type, "unknown changetype");
  }
  if (!understood) return;
  FillOrigin(record);
  for (const Change& change : changes_) Emit(change);
}

bool AuditlogFeed::Fail(const LdifLine& line, std::string_view reason) {
  sink_.OnMalformed(line.number, reason);
  return false;
}

bool AuditlogFeed::ReadAdd(const LdifRecord& record, std::size_t first) {
  changes_.push_back({kEntryAdded, {}, {}});
  for (std::size_t i = first; i < record.lines.size(); ++i) {
    const LdifLine& line = record.lines[i];
    if (line.name == "-") return Fail(line, "an added entry has no changes");
    AddChange(line.name, line.value, false);
  }
  return true;
}

bool AuditlogFeed::ReadModify(const LdifRecord& record, std::size_t first) {
  const auto& lines = record.lines;
  for (std::size_t i = first; i < lines.size(); ++i) {
    const LdifLine& operation = lines[i];
    const bool removed = Same(operation.name, "delete");
    const bool replaced = Same(operation.name, "replace");
    if (!removed && !replaced && !Same(operation.name, "add") &&
        !Same(operation.name, "increment")) {
      return Fail(operation, "not a change: add, delete, replace or increment is expected");
    }
    const std::string_view attribute = operation.value;
    bool anyValue = false;
    for (++i; i < lines.size() && lines[i].name != "-"; ++i) {
      if (!Same(lines[i].name, attribute)) return Fail(lines[i], "a value of another attribute");
      AddChange(attribute, lines[i].value, removed);
      anyValue = true;
    }
    // Without values the attribute as a whole is deleted.
    if (!anyValue) AddChange(attribute, {}, removed || replaced);
  }
  return true;
}

bool AuditlogFeed::ReadRename(const LdifRecord& record, std::size_t first) {
  const std::string_view name = record.lines.front().value;
  const std::string_view parent = ParentName(name);
  std::string_view newRdn;
  std::string_view newParent = parent;
  for (std::size_t i = first; i < record.lines.size(); ++i) {
    if (Same(record.lines[i].name, "newrdn")) newRdn = record.lines[i].value;
    if (Same(record.lines[i].name, "newsuperior")) newParent = record.lines[i].value;
  }
  if (newRdn.empty()) return Fail(record.lines.front(), "the new name is missing");
  newName_ = DottedName(newRdn);
  if (!newParent.empty()) newName_.append(1, '.').append(DottedName(newParent));
  changes_.push_back({SameName(parent, newParent) ? kEntryRenamed : kEntryMoved, {}, {}});
  return true;
}

void AuditlogFeed::AddChange(std::string_view attribute, std::string_view value, bool removed) {
  const unsigned short code = AttributeEventCode(attribute, removed);
  if (code != 0) changes_.push_back({code, attribute, value});
}

// Fills what all events of a record have in common.
void AuditlogFeed::FillOrigin(const LdifRecord& record) {
  const std::string_view name = record.lines.front().value;
  ChangeHeader header;
  if (!record.header.empty()) header = ReadChangeHeader(record.header, name);
  if (header.user.empty()) header.user = ModifierOf(record);
  if (header.time == 0) header.time = ReadGeneralizedTime(LastValue(record, "modifyTimestamp"));
  event_.EventTime = header.time == 0 ? std::time(nullptr) : header.time;
  SetField(event_.UserName, DottedName(header.user));
  SetField(event_.NodeAddress, header.address);
  SetField(event_.TreeName, DottedName(header.suffix));
  SetField(event_.Object1, DottedName(name));
  SetField(event_.Class1, ClassOf(record));
}

void AuditlogFeed::Emit(const Change& change) {
  event_.EventID = change.code;
  SetField(event_.Attribute1, change.attribute);
  const std::string value = WithoutCredentials(change.attribute, change.value);
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
