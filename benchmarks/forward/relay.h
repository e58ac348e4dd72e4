#ifndef WKAGENT_BENCHMARKS_FORWARD_RELAY_H
#define WKAGENT_BENCHMARKS_FORWARD_RELAY_H

#include <string>
#include <vector>

namespace wkagent::bench {

// Where a relay takes its lines from and where it sends them: ports of this machine.
struct RelayPlan {
  std::string folder;  // for its files
  int from = 0;        // over TCP
  int to = 0;
  std::string authority;  // the path of its certificate; empty for TCP, else lines leave over TLS
};

// The commands of daemons that forward each line as it came, with their settings written to the
// plan's folder. Names are not looked up and nothing is written to disks; all else is as it is
// when nothing is set.
[[nodiscard]] std::vector<std::string> RsyslogdRelay(const RelayPlan& plan);
[[nodiscard]] std::vector<std::string> SyslogNgRelay(const RelayPlan& plan);

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_FORWARD_RELAY_H
