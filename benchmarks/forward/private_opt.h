#ifndef WKAGENT_BENCHMARKS_FORWARD_PRIVATE_OPT_H
#define WKAGENT_BENCHMARKS_FORWARD_PRIVATE_OPT_H

#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>

#include "support/private_root.h"

namespace wkagent::bench {

// Gives this process an /opt of its own, in memory, with the folders that the library wants. Must
// run as root.
inline void EnterPrivateOpt() {
  test::EnterPrivateRoot();
  test::MountTmpfs("/opt", "");
  for (const char* part : {"config", "log", "auditdata"}) {
    std::filesystem::create_directories(std::string("/opt/mossgrove/") + part);
  }
}

// The main function of benchmarks that need it.
inline int RunInPrivateOpt(int argc, char** argv) {
  EnterPrivateOpt();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 64;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_FORWARD_PRIVATE_OPT_H
