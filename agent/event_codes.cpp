#include "agent/event_codes.h"

#include <algorithm>
#include <iterator>

#include "agent/ascii_case.h"
#include "agent/name_filter.h"
#include "agent/secret_attributes.h"

namespace wkagent {
namespace {

struct AttributeCodes {
  std::string_view attribute;
  unsigned short added;
  unsigned short removed;
};

constexpr unsigned short kNoEvent = 0;

constexpr AttributeCodes kAttributes[] = {
    {"entryCSN", kNoEvent, kNoEvent},
    {"entryUUID", kNoEvent, kNoEvent},
    {"modifiersName", kNoEvent, kNoEvent},
    {"modifyTimestamp", kNoEvent, kNoEvent},
    {"creatorsName", kNoEvent, kNoEvent},
    {"createTimestamp", kNoEvent, kNoEvent},
    {"structuralObjectClass", kNoEvent, kNoEvent},
    {"userPassword", kPasswordChanged, kPasswordChanged},
    {"2.5.4.35", kPasswordChanged, kPasswordChanged},
    {"member", kMembershipAdded, kMembershipRemoved},
    {"uniqueMember", kMembershipAdded, kMembershipRemoved},
    {"groupMembership", kMembershipAdded, kMembershipRemoved},
    {"securityEquals", kMembershipAdded, kMembershipRemoved},
    {"olcSyncrepl", kReplicaChanged, kReplicaRemoved},
    {"olcMirrorMode", kReplicaChanged, kReplicaRemoved},
    {"olcMultiProvider", kReplicaChanged, kReplicaRemoved},  // the newer name of olcMirrorMode
    {"olcAttributeTypes", kAttributeTypeAdded, kAttributeTypeRemoved},
    {"attributeTypes", kAttributeTypeAdded, kAttributeTypeRemoved},
    {"olcObjectClasses", kObjectClassAdded, kObjectClassRemoved},
    {"objectClasses", kObjectClassAdded, kObjectClassRemoved},
    {"olcObjectIdentifier", kSchemaChanged, kSchemaChanged},
    {"olcLdapSyntaxes", kSchemaChanged, kSchemaChanged},
    {"olcDitContentRules", kSchemaChanged, kSchemaChanged},
    {"ldapSyntaxes", kSchemaChanged, kSchemaChanged},
    {"matchingRules", kSchemaChanged, kSchemaChanged},
    {"matchingRuleUse", kSchemaChanged, kSchemaChanged},
    {"nameForms", kSchemaChanged, kSchemaChanged},
    {"dITContentRules", kSchemaChanged, kSchemaChanged},
    {"dITStructureRules", kSchemaChanged, kSchemaChanged},
};

constexpr NameFilter FilterOfAttributes() {
  NameFilter filter;
  for (const AttributeCodes& entry : kAttributes) filter.Add(entry.attribute);
  return filter;
}

constexpr NameFilter kFilter = FilterOfAttributes();

// Null where an attribute's codes are those of most.
const AttributeCodes* FindCodes(std::string_view name) {
  if (!kFilter.MayBeName(name)) return nullptr;
  const auto* const found =
      std::find_if(std::begin(kAttributes), std::end(kAttributes),
                   [&](const auto& entry) { return SameIgnoringCase(entry.attribute, name); });
  return found == std::end(kAttributes) ? nullptr : found;
}

}  // namespace

unsigned short AttributeEventCode(std::string_view attribute, bool removed) {
  constexpr AttributeCodes kMost = {{}, kValueAdded, kValueRemoved};
  const AttributeCodes* const found = FindCodes(BaseName(attribute));
  const AttributeCodes& codes = found == nullptr ? kMost : *found;
  return removed ? codes.removed : codes.added;
}

bool NamesSecondObject(unsigned short code) {
  return code == kMembershipAdded || code == kMembershipRemoved;
}

}  // namespace wkagent
