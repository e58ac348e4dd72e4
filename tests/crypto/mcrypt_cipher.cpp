#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include <mcrypt.h>

#include "crypto/reference_ciphers.h"

namespace wkagent::test {
namespace {

struct ModuleCloser {
  void operator()(CRYPT_STREAM* module) const { mcrypt_module_close(module); }
};
using Module = std::unique_ptr<CRYPT_STREAM, ModuleCloser>;

MCRYPT Opened(int mode, std::size_t blockSize) {
  static std::map<std::pair<int, std::size_t>, Module> modules;
  Module& module = modules[{mode, blockSize}];
  if (module == nullptr) {
    const char* const modes[] = {"ecb", "cbc", "ncfb"};  // "cfb" goes by the byte
    std::string algorithm = "rijndael-" + std::to_string(8 * blockSize);
    std::string name = modes[mode];
    module.reset(mcrypt_module_open(algorithm.data(), nullptr, name.data(), nullptr));
  }
  if (module == nullptr) throw std::runtime_error("libmcrypt has no such cipher");
  return module.get();
}

}  // namespace

std::string ByMcrypt(Way way, int mode, const std::string& key, const std::string& chain,
                     std::string_view in) {
  const MCRYPT module = Opened(mode, chain.size());
  std::string keyCopy = key;  // its arguments are not const
  std::string chainCopy = chain;
  if (mcrypt_generic_init(module, keyCopy.data(), static_cast<int>(key.size()), chainCopy.data()) <
      0) {
    throw std::runtime_error("libmcrypt refuses the key");
  }
  std::string result(in);
  const int size = static_cast<int>(result.size());
  const int failed = way == Way::kEncrypt ? mcrypt_generic(module, result.data(), size)
                                          : mdecrypt_generic(module, result.data(), size);
  mcrypt_generic_deinit(module);
  if (failed != 0) throw std::runtime_error("libmcrypt refuses the data");
  return result;
}

}  // namespace wkagent::test
