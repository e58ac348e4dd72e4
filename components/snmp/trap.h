#ifndef WKAGENT_COMPONENTS_SNMP_TRAP_H
#define WKAGENT_COMPONENTS_SNMP_TRAP_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace wkagent::components {

// BER tags of the values that a variable may have.
inline constexpr int kTimeTicks = 0x43;
inline constexpr int kObjectIdentifier = 0x06;
inline constexpr int kOctetString = 0x04;

// One variable of a trap, as the host gives it.
struct Variable {
  std::string name;  // a numeric OID
  int type = 0;
  std::string value;
};

using Oid = std::vector<oid>;

// A numeric object identifier ("1.3.6.1", also with a dot before it); none where it is not one: at
// least two numbers of 32 bits, the first up to 2, at most 128 in all.
[[nodiscard]] std::optional<Oid> ParseOid(std::string_view text);

struct PduFreer {
  void operator()(snmp_pdu* pdu) const { snmp_free_pdu(pdu); }
};
using Pdu = std::unique_ptr<snmp_pdu, PduFreer>;

// An SNMPv2 trap (RFC 3416) with these variables, in this order. Null where one of them is wrong,
// which `error` then tells.
[[nodiscard]] Pdu BuildTrap(const std::vector<Variable>& variables, std::string& error);

}  // namespace wkagent::components

#endif  // WKAGENT_COMPONENTS_SNMP_TRAP_H
