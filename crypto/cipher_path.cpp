#include "crypto/cipher_path.h"

#include <atomic>

#include "crypto/aes_instructions.h"

namespace wkagent {
namespace {

std::atomic<CipherPath>& Path() {
  static std::atomic<CipherPath> path =
      aes_instructions::Exist() ? CipherPath::kInstructions : CipherPath::kTables;
  return path;
}

}  // namespace

CipherPath CurrentCipherPath() { return Path().load(std::memory_order_relaxed); }

bool SetCipherPath(CipherPath path) {
  if (path == CipherPath::kInstructions && !aes_instructions::Exist()) return false;
  Path().store(path, std::memory_order_relaxed);
  return true;
}

}  // namespace wkagent
