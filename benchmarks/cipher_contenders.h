#ifndef WKAGENT_BENCHMARKS_CIPHER_CONTENDERS_H
#define WKAGENT_BENCHMARKS_CIPHER_CONTENDERS_H

#include <functional>
#include <string>
#include <vector>

namespace wkagent::bench {

struct CipherTask {
  int mode;  // as CRijndael numbers them
  bool encrypts;
  int keySize;
  int blockSize;
};

// Every task with blocks of this size.
[[nodiscard]] std::vector<CipherTask> CipherTasks(int blockSize);

// "AES-128-CBC-encrypt", or "Rijndael-192-key-128-CBC-encrypt" where blocks are longer.
[[nodiscard]] std::string NameOf(const CipherTask& task);

// Takes all data through the task in place, in a stream that goes on from call to call. Throws
// where a library refuses.
using CipherAct = std::function<void(std::vector<char>& data)>;
[[nodiscard]] CipherAct ByWkagent(const CipherTask& task);
[[nodiscard]] CipherAct ByMcrypt(const CipherTask& task);
[[nodiscard]] CipherAct ByNettle(const CipherTask& task);
[[nodiscard]] CipherAct ByOpenssl(const CipherTask& task);

// Has Google Benchmark run "PROGRAM/TASK/CONTENDER" over 16 MiB.
void AddCipher(const std::string& program, const CipherTask& task, const std::string& contender,
               const CipherAct& act);

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_CIPHER_CONTENDERS_H
