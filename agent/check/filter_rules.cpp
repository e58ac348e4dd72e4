// What may stand in the two filter files.

#include "agent/check/document_rules.h"

namespace wkagent {
namespace {

constexpr ValueRule kFlag{ValueKind::kFlag, "1"};
constexpr ValueRule Text(const char* example) { return {ValueKind::kUnchecked, example}; }
constexpr ValueRule kDirectoryEvent{
    ValueKind::kCode, "20001 to 20016 (logins and logouts belong in ELAFilter.xml)", 20001, 20016};
constexpr ValueRule kLoginEvent{ValueKind::kCode,
                                "21001 for logins or 21002 for logouts (changes belong in "
                                "EDAFilter.xml)",
                                21001, 21002};
constexpr ValueRule kNoCondition{ValueKind::kUnused, "0"};
constexpr ValueRule kLoginCondition{ValueKind::kCondition, "705, 706 or 707, or 0 for 705", 705,
                                    707};

// The times, the context and the names are for the check of the statement.
constexpr AttributeRule kEdaFilter[] = {
    {"Title", Text("..."), Need::kWanted},
    {"IncludeExclude", kFlag},
    {"Enabled", kFlag},
    {"AllDay", kFlag},
    {"StartTime", Text(""), Need::kOptional},
    {"EndTime", Text(""), Need::kOptional},
    {"Context", Text("OU=sales,O=acme")},
    {"IncludeSubContainers", kFlag},
};
constexpr AttributeRule kElaFilter[] = {
    {"Title", Text("..."), Need::kWanted},
    {"IncludeExclude", kFlag},
    {"Enabled", kFlag},
    {"AllDay", kFlag},
    {"StartTime", Text(""), Need::kOptional},
    {"EndTime", Text(""), Need::kOptional},
};
constexpr AttributeRule kEdaOperation[] = {{"EventId", kDirectoryEvent},
                                           {"Condition", kNoCondition, Need::kWanted}};
constexpr AttributeRule kElaOperation[] = {{"EventId", kLoginEvent},
                                           {"Condition", kLoginCondition}};
constexpr AttributeRule kName[] = {{"Name", Text("...")}};
constexpr AttributeRule kAllOperations[] = {{"AllOperations", kFlag}};
constexpr AttributeRule kAllUsers[] = {{"AllUsers", kFlag}};
constexpr AttributeRule kAllNodes[] = {{"AllNodes", kFlag}};
constexpr AttributeRule kAllObjects[] = {{"AllObjects", kFlag}};
constexpr AttributeRule kAllClasses[] = {{"AllClasses", kFlag}};
constexpr AttributeRule kAllAttributes[] = {{"AllAttributes", kFlag}};
constexpr AttributeRule kAllAttributeValues[] = {{"AllAttributeValues", kFlag}};
constexpr AttributeRule kExcludeAlert[] = {{"ExcludeAlert", kFlag}};
constexpr AttributeRule kAlert[] = {{"Alert", kFlag}};
constexpr AttributeRule kMail[] = {{"Alert", kFlag},
                                   {"From", Text("agent@acme.example"), Need::kWithAlert},
                                   {"Subject", Text("..."), Need::kWithAlert},
                                   {"To", Text("security@acme.example"), Need::kWithAlert},
                                   {"Cc", Text(""), Need::kWithAlert}};

// A statement, a part of one, and an entry of a list.
constexpr ElementRule Statement(std::span<const AttributeRule> attributes) {
  return {kFilterElement, nullptr, true, false, {}, attributes};
}
constexpr ElementRule Part(const char* name, std::span<const AttributeRule> attributes) {
  return {name, kFilterElement, false, false, {}, attributes};
}
constexpr ElementRule Entry(const char* name, const char* list,
                            std::span<const AttributeRule> attributes = kName) {
  return {name, list, true, false, {}, attributes};
}

constexpr ElementRule kEdaElements[] = {
    Statement(kEdaFilter),
    Part("Operations", kAllOperations),
    Entry("Operation", "Operations", kEdaOperation),
    Part("Users", kAllUsers),
    Entry("User", "Users"),
    Part("Objects", kAllObjects),
    Entry("Object", "Objects"),
    Part("Classes", kAllClasses),
    Entry("Class", "Classes"),
    Part("Attributes", kAllAttributes),
    Entry("Attribute", "Attributes"),
    Part("AttributeValues", kAllAttributeValues),
    Entry("AttributeValue", "AttributeValues"),
    Part("Action", kExcludeAlert),
    Part("SNMP", kAlert),
    Part("SysLog", kAlert),
    Part("SMTP", kMail),
};

constexpr ElementRule kElaElements[] = {
    Statement(kElaFilter),
    Part("Operations", kAllOperations),
    Entry("Operation", "Operations", kElaOperation),
    Part("Users", kAllUsers),
    Entry("User", "Users"),
    Part("Nodes", kAllNodes),
    Entry("Node", "Nodes"),
    Part("Action", kExcludeAlert),
    Part("SNMP", kAlert),
    Part("SysLog", kAlert),
    Part("SMTP", kMail),
};

}  // namespace

const DocumentRules kEdaFilterRules = {"EDAFilter.xml", kEdaElements};
const DocumentRules kElaFilterRules = {"ELAFilter.xml", kElaElements};

}  // namespace wkagent
