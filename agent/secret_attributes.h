#ifndef WKAGENT_AGENT_SECRET_ATTRIBUTES_H
#define WKAGENT_AGENT_SECRET_ATTRIBUTES_H

#include <string>
#include <string_view>

namespace wkagent {

// An attribute's name without its options: "cn" of "cn;lang-en".
[[nodiscard]] std::string_view BaseName(std::string_view attribute);

// True for attributes whose values are passwords or keys: these are written nowhere.
[[nodiscard]] bool IsSecretAttribute(std::string_view attribute);

// True for attributes whose values may hold passwords beside other things.
[[nodiscard]] bool MayHoldCredentials(std::string_view attribute);

// Replaces the passwords inside a value that is not secret as a whole, such as the "credentials" of
// a replication agreement.
[[nodiscard]] std::string WithoutCredentials(std::string_view attribute, std::string_view value);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SECRET_ATTRIBUTES_H
