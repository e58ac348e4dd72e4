#ifndef WKAGENT_AGENT_ACCESS_LOG_ENTRY_H
#define WKAGENT_AGENT_ACCESS_LOG_ENTRY_H

#include <string>
#include <string_view>
#include <vector>

namespace wkagent {

// An entry of OpenLDAP's cn=accesslog: one operation that a server has worked on (the schema of the
// overlay accesslog: reqType, reqDN and so on).
class AccessLogEntry {
 public:
  // The attributes that an entry is read with.
  static constexpr const char* kAttributes[] = {
      "reqStart", "reqType",   "reqResult", "reqSession",     "reqAuthzID", "reqDN",
      "reqMod",   "reqMethod", "reqNewRDN", "reqNewSuperior", "entryCSN"};

  void Add(std::string_view attribute, std::string_view value);

  // The first value of an attribute, whose name's case does not matter; empty where there is none.
  [[nodiscard]] std::string_view First(std::string_view attribute) const;

  // All its values, in their order.
  [[nodiscard]] std::vector<std::string_view> All(std::string_view attribute) const;

 private:
  struct Value {
    std::string attribute;
    std::string text;
  };

  std::vector<Value> values_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_ACCESS_LOG_ENTRY_H
