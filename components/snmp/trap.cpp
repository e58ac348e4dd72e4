#include "components/snmp/trap.h"

#include <charconv>
#include <cstdint>

namespace wkagent::components {
namespace {

bool AddValue(snmp_pdu* pdu, const Oid& name, const Variable& variable) {
  switch (variable.type) {
    case kTimeTicks: {
      std::uint32_t ticks = 0;
      const char* const end = variable.value.data() + variable.value.size();
      const auto [stop, error] = std::from_chars(variable.value.data(), end, ticks);
      if (error != std::errc() || stop != end) return false;
      const unsigned long value = ticks;
      return snmp_pdu_add_variable(pdu, name.data(), name.size(), ASN_TIMETICKS, &value,
                                   sizeof(value)) != nullptr;
    }
    case kObjectIdentifier: {
      const std::optional<Oid> value = ParseOid(variable.value);
      return value && snmp_pdu_add_variable(pdu, name.data(), name.size(), ASN_OBJECT_ID,
                                            value->data(), value->size() * sizeof(oid)) != nullptr;
    }
    case kOctetString:
      return snmp_pdu_add_variable(pdu, name.data(), name.size(), ASN_OCTET_STR,
                                   variable.value.data(), variable.value.size()) != nullptr;
    default:
      return false;
  }
}

}  // namespace

std::optional<Oid> ParseOid(std::string_view text) {
  constexpr std::size_t kMostNumbers = 128;
  if (text.starts_with('.')) text.remove_prefix(1);
  Oid numbers;
  for (;;) {
    std::uint32_t number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || numbers.size() == kMostNumbers) return {};
    numbers.push_back(number);
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    if (text.empty()) break;
    if (text.front() != '.') return {};
    text.remove_prefix(1);
  }
  if (numbers.size() < 2 || numbers[0] > 2) return {};
  return numbers;
}

Pdu BuildTrap(const std::vector<Variable>& variables, std::string& error) {
  Pdu pdu(snmp_pdu_create(SNMP_MSG_TRAP2));
  if (pdu == nullptr) {
    error = "out of memory";
    return nullptr;
  }
  for (const Variable& variable : variables) {
    const std::optional<Oid> name = ParseOid(variable.name);
    if (!name) {
      error = "not an object identifier: \"" + variable.name + '"';
      return nullptr;
    }
    if (!AddValue(pdu.get(), *name, variable)) {
      error = "not a value for " + variable.name + ": \"" + variable.value + '"';
      return nullptr;
    }
  }
  return pdu;
}

}  // namespace wkagent::components
