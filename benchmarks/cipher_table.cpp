// The cipher by its tables, against nettle's tables in assembly (AES only) and libmcrypt's.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "benchmarks/cipher_contenders.h"
#include "crypto/cipher_path.h"

namespace {

// nettle reads it when it is loaded: it is to use no instructions but those of every x86-64.
constexpr char kFeatures[] = "NETTLE_FAT_OVERRIDE";
constexpr char kNone[] = "none";

void AddAll() {
  using namespace wkagent::bench;
  for (const int blockSize : {16, 24, 32}) {
    for (const CipherTask& task : CipherTasks(blockSize)) {
      AddCipher("cipher_table", task, "wkagent", ByWkagent(task));
      AddCipher("cipher_table", task, "libmcrypt", ByMcrypt(task));
      if (blockSize == 16) AddCipher("cipher_table", task, "nettle", ByNettle(task));
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  const char* const features = std::getenv(kFeatures);
  if (features == nullptr || std::string(features) != kNone) {
    setenv(kFeatures, kNone, 1);
    execv("/proc/self/exe", argv);
    std::perror("cipher_table: cannot start itself again");
    return 70;
  }
  benchmark::Initialize(&argc, argv);
  wkagent::SetCipherPath(wkagent::CipherPath::kTables);
  try {
    AddAll();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "cipher_table: %s\n", error.what());
    return 70;
  }
}
