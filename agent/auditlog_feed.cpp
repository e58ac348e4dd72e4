#include "agent/auditlog_feed.h"

#include "agent/ascii_case.h"
#include "agent/change_header.h"
#include "agent/distinguished_name.h"

namespace wkagent {
namespace {

// The last value of an attribute, empty where the record has none.
std::string_view LastValue(const LdifRecord& record, std::string_view attribute) {
  std::string_view value;
  for (const LdifLine& line : record.lines) {
    if (SameIgnoringCase(line.name, attribute)) value = line.value;
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

}  // namespace

AuditlogFeed::AuditlogFeed(FeedSink& sink, std::string_view serverName)
    : sink_(sink), reader_(*this), changes_(sink, serverName) {}

void AuditlogFeed::Take(std::string_view block) { reader_.Take(block); }

void AuditlogFeed::Finish() { reader_.Finish(); }

void AuditlogFeed::OnMalformed(long line, std::string_view reason) {
  sink_.OnMalformed(line, reason);
}

void AuditlogFeed::OnBoundary(std::int64_t offset, long line) { sink_.OnBoundary(offset, line); }

void AuditlogFeed::OnRecord(const LdifRecord& record) {
  std::size_t next = 1;  // the first line is the dn
  while (next < record.lines.size() && SameIgnoringCase(record.lines[next].name, "control")) ++next;
  if (next == record.lines.size() || !SameIgnoringCase(record.lines[next].name, "changetype")) {
    return sink_.OnMalformed(record.lines.front().number, "the record has no changetype");
  }
  const LdifLine& type = record.lines[next++];
  changes_.Clear();
  bool understood = true;
  if (SameIgnoringCase(type.value, "add")) {
    understood = ReadAdd(record, next);
  } else if (SameIgnoringCase(type.value, "delete")) {
    changes_.EntryDeleted();
  } else if (SameIgnoringCase(type.value, "modify")) {
    understood = ReadModify(record, next);
  } else if (SameIgnoringCase(type.value, "modrdn") || SameIgnoringCase(type.value, "moddn")) {
    understood = ReadRename(record, next);
  } else {
    understood = Fail(type, "unknown changetype");
  }
  if (understood) Emit(record);
}

bool AuditlogFeed::Fail(const LdifLine& line, std::string_view reason) {
  sink_.OnMalformed(line.number, reason);
  return false;
}

bool AuditlogFeed::ReadAdd(const LdifRecord& record, std::size_t first) {
  changes_.EntryAdded();
  for (std::size_t i = first; i < record.lines.size(); ++i) {
    const LdifLine& line = record.lines[i];
    if (line.name == "-") return Fail(line, "an added entry has no changes");
    changes_.Value(line.name, line.value, false);
  }
  return true;
}

bool AuditlogFeed::ReadModify(const LdifRecord& record, std::size_t first) {
  const auto& lines = record.lines;
  for (std::size_t i = first; i < lines.size(); ++i) {
    const LdifLine& operation = lines[i];
    const bool removed = SameIgnoringCase(operation.name, "delete");
    const bool replaced = SameIgnoringCase(operation.name, "replace");
    if (!removed && !replaced && !SameIgnoringCase(operation.name, "add") &&
        !SameIgnoringCase(operation.name, "increment")) {
      return Fail(operation, "not a change: add, delete, replace or increment is expected");
    }
    const std::string_view attribute = operation.value;
    bool anyValue = false;
    for (++i; i < lines.size() && lines[i].name != "-"; ++i) {
      if (!SameIgnoringCase(lines[i].name, attribute))
        return Fail(lines[i], "a value of another attribute");
      changes_.Value(attribute, lines[i].value, removed);
      anyValue = true;
    }
    // Without values the attribute as a whole is deleted.
    if (!anyValue) changes_.Value(attribute, {}, removed || replaced);
  }
  return true;
}

bool AuditlogFeed::ReadRename(const LdifRecord& record, std::size_t first) {
  const std::string_view name = record.lines.front().value;
  std::string_view newRdn;
  std::string_view newParent = ParentName(name);
  for (std::size_t i = first; i < record.lines.size(); ++i) {
    if (SameIgnoringCase(record.lines[i].name, "newrdn")) newRdn = record.lines[i].value;
    if (SameIgnoringCase(record.lines[i].name, "newsuperior")) newParent = record.lines[i].value;
  }
  if (newRdn.empty()) return Fail(record.lines.front(), "the new name is missing");
  changes_.EntryRenamed(name, newRdn, newParent);
  return true;
}

void AuditlogFeed::Emit(const LdifRecord& record) {
  const std::string_view name = record.lines.front().value;
  ChangeHeader header;
  if (!record.header.empty()) header = ReadChangeHeader(record.header, name);
  if (header.user.empty()) header.user = ModifierOf(record);
  if (header.time == 0) header.time = ReadGeneralizedTime(LastValue(record, "modifyTimestamp"));
  if (header.suffix != suffix_) {
    tree_ = DottedName(header.suffix);
    suffix_ = header.suffix;
  }
  changes_.Emit({.entry = name,
                 .user = header.user,
                 .address = header.address,
                 .entryClass = ClassOf(record),
                 .tree = tree_,
                 .time = header.time});
}

}  // namespace wkagent
