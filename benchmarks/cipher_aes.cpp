// The cipher by the processor's AES instructions: against OpenSSL's, which has them as well, and
// for larger blocks, which it does not have, against our own tables.

#include <cstdio>
#include <exception>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/cipher_contenders.h"
#include "crypto/cipher_path.h"

namespace {

using namespace wkagent::bench;

CipherAct ByOurTables(const CipherTask& task) {
  return [act = ByWkagent(task)](std::vector<char>& data) {
    wkagent::SetCipherPath(wkagent::CipherPath::kTables);
    act(data);
    wkagent::SetCipherPath(wkagent::CipherPath::kInstructions);
  };
}

void AddAll() {
  for (const int blockSize : {16, 24, 32}) {
    for (const CipherTask& task : CipherTasks(blockSize)) {
      AddCipher("cipher_aes", task, "wkagent", ByWkagent(task));
      if (blockSize == 16) {
        AddCipher("cipher_aes", task, "openssl", ByOpenssl(task));
      } else {
        AddCipher("cipher_aes", task, "wkagent_tables", ByOurTables(task));
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (wkagent::CurrentCipherPath() != wkagent::CipherPath::kInstructions) {
    std::fputs("cipher_aes: this processor has no AES instructions\n", stderr);
    return 70;
  }
  try {
    AddAll();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "cipher_aes: %s\n", error.what());
    return 70;
  }
}
