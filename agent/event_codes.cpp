#include "agent/event_codes.h"

#include "agent/ascii_case.h"
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

}  // namespace

unsigned short AttributeEventCode(std::string_view attribute, bool removed) {
  const std::string_view name = BaseName(attribute);
  for (const AttributeCodes& entry : kAttributes) {
    if (SameIgnoringCase(entry.attribute, name)) return removed ? entry.removed : entry.added;
  }
  return removed ? kValueRemoved : kValueAdded;
}

bool NamesSecondObject(unsigned short code) {
  return code == kMembershipAdded || code == kMembershipRemoved;
}

}  // namespace wkagent
