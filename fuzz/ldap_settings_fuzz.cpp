// The file of LDAP settings.

#include <cstring>

#include <wkagent/config.h>

#include "core/bounded_copy.h"
#include "fuzz/xml_reader.h"

namespace wkagent::fuzz {
namespace {

// A field without its terminator would be as long as the field.
template <std::size_t kSize>
std::string Ended(const char (&field)[kSize]) {
  const std::string_view text = BoundedView(field);
  Require(text.size() < kSize, "a text ends in its field");
  return std::string(text) + '|';
}

std::string Describe(WKLdapConfig& reader) {
  tagLDAPConfig config{};
  reader.GetLDAPSetting(reader.GetXMLRootNode(), config);
  Require(config.SecureConnection || config.PortNumber != 636, "port 636 is secure");
  return Ended(config.Server) + Ended(config.UserName) + Ended(config.Password) +
         Ended(config.TreeName) + std::to_string(config.PortNumber) +
         (config.SecureConnection ? " secure" : " plain");
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  CheckReader<WKLdapConfig>({reinterpret_cast<const char*>(data), size}, Describe);
  return 0;
}
