#ifndef WKAGENT_TESTS_FAULTS_FAULT_H
#define WKAGENT_TESTS_FAULTS_FAULT_H

#include <map>
#include <string>
#include <vector>

#include "support/process.h"

namespace wkagent::test {

// A call that fails, of a program that runs with the failing_calls library; faults/fault_plan.h
// tells what each of them can be.
struct Fault {
  std::string call;  // empty: none fails, all are counted
  int nth = 1;
  std::string act = "errno:EIO";
  int times = 1;
  std::string under = {};
  std::string from = "main";
};

// What such a program reported.
struct FaultReport {
  long hits = -1;  // calls that failed; -1 where there is no report
  long live = 0;   // blocks of memory that were not given back
  std::map<std::string, long> calls;
};

// The command line that runs `command` with this fault, and writes the report to this file.
[[nodiscard]] std::vector<std::string> WithFault(const Fault& fault, const std::string& report,
                                                 const std::vector<std::string>& command);

[[nodiscard]] FaultReport ReadFaultReport(const std::string& path);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FAULTS_FAULT_H
