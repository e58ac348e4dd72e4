#include <map>
#include <memory>
#include <stdexcept>
#include <utility>

#include <openssl/evp.h>

#include "crypto/reference_ciphers.h"

namespace wkagent::test {
namespace {

struct CipherFreer {
  void operator()(EVP_CIPHER* cipher) const { EVP_CIPHER_free(cipher); }
};
struct ContextFreer {
  void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};
using Cipher = std::unique_ptr<EVP_CIPHER, CipherFreer>;
using Context = std::unique_ptr<EVP_CIPHER_CTX, ContextFreer>;

void Require(bool holds) {
  if (!holds) throw std::runtime_error("OpenSSL refuses");
}

const EVP_CIPHER* Fetched(int mode, std::size_t keySize) {
  static std::map<std::pair<int, std::size_t>, Cipher> ciphers;
  Cipher& cipher = ciphers[{mode, keySize}];
  if (cipher == nullptr) {
    const char* const names[] = {"ECB", "CBC", "CFB"};
    const std::string name = "AES-" + std::to_string(8 * keySize) + "-" + names[mode];
    cipher.reset(EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr));
  }
  Require(cipher != nullptr);
  return cipher.get();
}

const unsigned char* Bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

std::string ByOpenssl(Way way, int mode, const std::string& key, const std::string& chain,
                      std::string_view in) {
  const Context context(EVP_CIPHER_CTX_new());
  Require(EVP_CipherInit_ex2(context.get(), Fetched(mode, key.size()), Bytes(key), Bytes(chain),
                             way == Way::kEncrypt ? 1 : 0, nullptr) == 1);
  EVP_CIPHER_CTX_set_padding(context.get(), 0);
  std::string result(in.size(), '\0');
  int length = 0;
  Require(EVP_CipherUpdate(context.get(), reinterpret_cast<unsigned char*>(result.data()), &length,
                           Bytes(in), static_cast<int>(in.size())) == 1);
  Require(static_cast<std::size_t>(length) == in.size());
  return result;
}

}  // namespace wkagent::test
