#include "agent/check/statement_rules.h"

#include <algorithm>
#include <iterator>

#include <wkagent/output.h>

namespace wkagent {
namespace {

using Base = WKFilterStatement;

WKEDAFilterStatement& Eda(Base& statement) { return static_cast<WKEDAFilterStatement&>(statement); }
WKELAFilterStatement& Ela(Base& statement) { return static_cast<WKELAFilterStatement&>(statement); }

// What the text of an event's field may have.
constexpr std::size_t kName = sizeof(tagWKEventData::UserName) - 1;
constexpr std::size_t kObject = sizeof(tagWKEventData::Object1) - 1;
constexpr std::size_t kClass = sizeof(tagWKEventData::Class1) - 1;
constexpr std::size_t kAttribute = sizeof(tagWKEventData::Attribute1) - 1;
constexpr std::size_t kValue = sizeof(tagWKEventData::AttributeValue) - 1;
constexpr std::size_t kNode = sizeof(tagWKEventData::NodeAddress) - 1;

constexpr ListRule kEdaLists[] = {
    {"Users", "AllUsers", "User", kName, [](Base& s) { return s.allUsers; }, NameForm::kDotted,
     false},
    {"Objects", "AllObjects", "Object", kObject, [](Base& s) { return Eda(s).allObjects; },
     NameForm::kOwnName, false},
    {"Classes", "AllClasses", "Class", kClass, [](Base& s) { return Eda(s).allClasses; },
     NameForm::kPlain, false},
    {"Attributes", "AllAttributes", "Attribute", kAttribute,
     [](Base& s) { return Eda(s).allAttributes; }, NameForm::kPlain, true},
    {"AttributeValues", "AllAttributeValues", "AttributeValue", kValue,
     [](Base& s) { return Eda(s).allValues; }, NameForm::kValue, true},
};

constexpr ListRule kElaLists[] = {
    {"Users", "AllUsers", "User", kName, [](Base& s) { return s.allUsers; }, NameForm::kDotted,
     false},
    {"Nodes", "AllNodes", "Node", kNode, [](Base& s) { return s.allNodes; }, NameForm::kPlain,
     false},
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
