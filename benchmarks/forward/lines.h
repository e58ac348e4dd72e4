#ifndef WKAGENT_BENCHMARKS_FORWARD_LINES_H
#define WKAGENT_BENCHMARKS_FORWARD_LINES_H

#include <string>
#include <vector>

namespace wkagent::bench {

inline constexpr std::size_t kLineSize = 300;

// Different audit lines of kLineSize bytes each, without line feeds.
inline std::vector<std::string> SampleLines(std::size_t count) {
  std::vector<std::string> lines;
  for (std::size_t i = 0; i < count; ++i) {
    std::string line =
        "<110>1 2026-11-20T23:59:59Z ldap1.acme.example wkagentd 4711 EDA [wkaudit@32473 "
        "EventID=\"20005\" Status=\"0\" UserName=\"admin.acme\" NodeAddress=\"192.0.2.1\" "
        "Object1=\"user" +
        std::to_string(i) + ".sales.acme\" Attribute1=\"description\" AttributeValue=\"";
    line.resize(kLineSize - 2, 'x');
    lines.push_back(line + "\"]");
  }
  return lines;
}

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_FORWARD_LINES_H
