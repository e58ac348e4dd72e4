#include "agent/statement_rules.h"

#include <algorithm>
#include <iterator>

#include <wkagent/output.h>

namespace wkagent {
namespace {

using Base = WKFilterStatement;

WKEDAFilterStatement& Eda(Base& statement) { return static_cast<WKEDAFilterStatement&>(statement); }
WKELAFilterStatement& Ela(Base& statement) { return static_cast<WKELAFilterStatement&>(statement); }

// What the text of an event's field may have.
#define WKAGENT_FIELD(field) (sizeof(tagWKEventData::field) - 1)

constexpr ListRule kEdaLists[] = {
    {"Users", "AllUsers", "User", NameForm::kDotted, WKAGENT_FIELD(UserName), false,
     [](Base& s) { return s.allUsers; }},
    {"Objects", "AllObjects", "Object", NameForm::kOwnName, WKAGENT_FIELD(Object1), false,
     [](Base& s) { return Eda(s).allObjects; }},
    {"Classes", "AllClasses", "Class", NameForm::kPlain, WKAGENT_FIELD(Class1), false,
     [](Base& s) { return Eda(s).allClasses; }},
    {"Attributes", "AllAttributes", "Attribute", NameForm::kPlain, WKAGENT_FIELD(Attribute1), true,
     [](Base& s) { return Eda(s).allAttributes; }},
    {"AttributeValues", "AllAttributeValues", "AttributeValue", NameForm::kValue,
     WKAGENT_FIELD(AttributeValue), true, [](Base& s) { return Eda(s).allValues; }},
};

constexpr ListRule kElaLists[] = {
    {"Users", "AllUsers", "User", NameForm::kDotted, WKAGENT_FIELD(UserName), false,
     [](Base& s) { return s.allUsers; }},
    {"Nodes", "AllNodes", "Node", NameForm::kPlain, WKAGENT_FIELD(NodeAddress), false,
     [](Base& s) { return s.allNodes; }},
};

template <typename Codes>
bool HasCode(const Codes& codes) {
  return std::any_of(std::begin(codes), std::end(codes), [](auto code) { return code != 0; });
}

}  // namespace

const StatementRules kEdaStatementRules = {kEdaLists, true,
                                           [](Base& s) { return Eda(s).allOperations; },
                                           [](Base& s) { return HasCode(Eda(s).operations); },
                                           "<Operation EventId=\"20001\" Condition=\"0\"/>"};

const StatementRules kElaStatementRules = {
    kElaLists, false, [](Base& s) { return Ela(s).allOperations; },
    [](Base& s) { return HasCode(Ela(s).operations) && HasCode(Ela(s).conditions); },
    "<Operation EventId=\"21001\" Condition=\"705\"/>"};

}  // namespace wkagent
