// Variables of a trap: name, type and value of each, a zero byte behind them.

#include "components/snmp/trap.h"
#include "fuzz/fuzz.h"

namespace {

std::string Joined(const wkagent::components::Oid& numbers) {
  std::string text;
  for (const oid number : numbers) text.append(".").append(std::to_string(number));
  return text;
}

// The same of a name as it was given, which may lack the first dot and have zeros before numbers.
std::string WithoutZeros(const std::string& name) {
  std::string text = name.starts_with('.') ? name : '.' + name;
  for (std::size_t at = 0; (at = text.find(".0", at)) != text.npos;) {
    if (at + 2 == text.size() || text[at + 2] == '.') {
      ++at;
    } else {
      text.erase(at + 1, 1);
    }
  }
  return text;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  using namespace wkagent::components;
  std::vector<Variable> variables;
  for (Parts parts(data, size); !parts.IsEmpty();) {
    const std::string name = parts.Next();
    const int type = parts.NextNumber();
    variables.push_back({name, type, parts.Next()});
  }
  std::string error;
  const Pdu trap = BuildTrap(variables, error);
  Require((trap == nullptr) == !error.empty(), "a trap that cannot be built has a reason");
  if (trap == nullptr) return 0;
  const variable_list* built = trap->variables;
  for (const Variable& variable : variables) {
    Require(built != nullptr && built->type == variable.type, "each variable is in the trap");
    const auto name = ParseOid(variable.name);
    Require(name && Joined(*name) == WithoutZeros(variable.name), "a name is read as it stands");
    Require(Oid(built->name, built->name + built->name_length) == *name, "names are as given");
    const bool isText = variable.type == kOctetString;
    Require(!isText || std::string(reinterpret_cast<const char*>(built->val.string),
                                   built->val_len) == variable.value,
            "texts are as given");
    built = built->next_variable;
  }
  Require(built == nullptr, "nothing else is in the trap");
  return 0;
}
