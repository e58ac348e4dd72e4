#ifndef WKAGENT_COMPONENTS_SNMP_TRAP_SENDER_H
#define WKAGENT_COMPONENTS_SNMP_TRAP_SENDER_H

#include <string>

#include "components/snmp/trap.h"

namespace wkagent::components {

// Sends a trap as SNMPv2c with the community "public" to a manager, "host" or "host:port" with 162
// as the default port, over UDP. False where that fails, which `error` then tells; whether it
// arrives, nobody knows.
[[nodiscard]] bool SendTrap(const std::string& manager, Pdu trap, std::string& error);

}  // namespace wkagent::components

#endif  // WKAGENT_COMPONENTS_SNMP_TRAP_SENDER_H
