#include "faults/fault.h"

#include <fstream>

namespace wkagent::test {

std::vector<std::string> WithFault(const Fault& fault, const std::string& report,
                                   const std::vector<std::string>& command) {
  std::vector<std::string> words = {"env",
                                    "LD_PRELOAD=" WKAGENT_FAILING_CALLS,
                                    "ASAN_OPTIONS=verify_asan_link_order=0",
                                    "WKFAULT_REPORT=" + report,
                                    "WKFAULT_UNDER=" + fault.under,
                                    "WKFAULT_FROM=" + fault.from};
  if (!fault.call.empty()) {
    words.push_back("WKFAULT_CALL=" + fault.call);
    words.push_back("WKFAULT_NTH=" + std::to_string(fault.nth));
    words.push_back("WKFAULT_TIMES=" + std::to_string(fault.times));
    words.push_back("WKFAULT_ACT=" + fault.act);
  }
  words.insert(words.end(), command.begin(), command.end());
  return words;
}

FaultReport ReadFaultReport(const std::string& path) {
  FaultReport report;
  std::ifstream file(path);
  std::string name;
  for (long number = 0; file >> name >> number;) {
    if (name == "hit") {
      report.hits = number;
    } else if (name == "live") {
      report.live = number;
    } else {
      report.calls[name] = number;
    }
  }
  return report;
}

}  // namespace wkagent::test
