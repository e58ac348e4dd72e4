#include "benchmarks/cipher_contenders.h"

#include <cstdint>
#include <memory>
#include <stdexcept>

#include <benchmark/benchmark.h>
#include <mcrypt.h>
#include <nettle/cbc.h>
#include <nettle/cfb.h>
#include <nettle/nettle-meta.h>
#include <openssl/evp.h>

#include <wkagent/crypto.h>

namespace wkagent::bench {
namespace {

constexpr std::size_t kSize = (std::size_t{16} << 20) / 96 * 96;  // whole blocks of each size

const std::string kModeNames[] = {"ECB", "CBC", "CFB"};
const std::string kKey = "0123456789abcdefghijklmnopqrstuv";
const std::string kChain = "ABCDEFGHIJKLMNOPQRSTUVWXYZ!?.,;:";

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(std::string(what) + " refuses");
}

const std::uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

// One cipher of nettle, in a mode.
class NettleStream {
 public:
  explicit NettleStream(const CipherTask& task)
      : task_(task),
        cipher_(task.keySize == 16   ? nettle_aes128
                : task.keySize == 24 ? nettle_aes192
                                     : nettle_aes256),
        context_(cipher_.context_size / sizeof(std::uint64_t) + 1),
        chain_(Bytes(kChain), Bytes(kChain) + 16),
        usesEncryption_(task.encrypts || task.mode == CRijndael::kCfb) {
    (usesEncryption_ ? cipher_.set_encrypt_key : cipher_.set_decrypt_key)(context_.data(),
                                                                          Bytes(kKey));
  }

  void Run(std::vector<char>& data) {
    auto* const buffer = reinterpret_cast<std::uint8_t*>(data.data());
    const auto function = usesEncryption_ ? cipher_.encrypt : cipher_.decrypt;
    if (task_.mode == CRijndael::kEcb) {
      return function(context_.data(), data.size(), buffer, buffer);
    }
    const auto run = task_.mode == CRijndael::kCbc
                         ? (task_.encrypts ? nettle_cbc_encrypt : nettle_cbc_decrypt)
                         : (task_.encrypts ? nettle_cfb_encrypt : nettle_cfb_decrypt);
    run(context_.data(), function, 16, chain_.data(), data.size(), buffer, buffer);
  }

 private:
  const CipherTask task_;
  const nettle_cipher& cipher_;
  std::vector<std::uint64_t> context_;
  std::vector<std::uint8_t> chain_;
  const bool usesEncryption_;
};

}  // namespace

std::vector<CipherTask> CipherTasks(int blockSize) {
  std::vector<CipherTask> tasks;
  for (const int mode : {CRijndael::kEcb, CRijndael::kCbc, CRijndael::kCfb}) {
    for (const int keySize : {16, 24, 32}) {
      for (const bool encrypts : {true, false}) {
        tasks.push_back({mode, encrypts, keySize, blockSize});
      }
    }
  }
  return tasks;
}

std::string NameOf(const CipherTask& task) {
  const std::string keyBits = std::to_string(8 * task.keySize);
  const std::string cipher =
      task.blockSize == 16 ? "AES-" + keyBits
                           : "Rijndael-" + std::to_string(8 * task.blockSize) + "-key-" + keyBits;
  return cipher + "-" + kModeNames[task.mode] + (task.encrypts ? "-encrypt" : "-decrypt");
}

CipherAct ByWkagent(const CipherTask& task) {
  auto cipher = std::make_shared<CRijndael>();
  cipher->MakeKey(kKey.data(), kChain.data(), task.keySize, task.blockSize);
  const auto run = task.encrypts ? &CRijndael::Encrypt : &CRijndael::Decrypt;
  return [=](std::vector<char>& data) {
    ((*cipher).*run)(data.data(), data.data(), data.size(), task.mode);
  };
}

CipherAct ByMcrypt(const CipherTask& task) {
  std::string algorithm = "rijndael-" + std::to_string(8 * task.blockSize);
  std::string modes[] = {"ecb", "cbc", "ncfb"};
  std::string key = kKey;
  std::string chain = kChain;
  const std::shared_ptr<CRYPT_STREAM> module(
      mcrypt_module_open(algorithm.data(), nullptr, modes[task.mode].data(), nullptr),
      mcrypt_module_close);
  Require(module != nullptr &&
              mcrypt_generic_init(module.get(), key.data(), task.keySize, chain.data()) >= 0,
          "libmcrypt");
  const auto run = task.encrypts ? mcrypt_generic : mdecrypt_generic;
  return [=](std::vector<char>& data) {
    Require(run(module.get(), data.data(), static_cast<int>(data.size())) == 0, "libmcrypt");
  };
}

CipherAct ByNettle(const CipherTask& task) {
  auto stream = std::make_shared<NettleStream>(task);
  return [=](std::vector<char>& data) { stream->Run(data); };
}

CipherAct ByOpenssl(const CipherTask& task) {
  const std::string name = "AES-" + std::to_string(8 * task.keySize) + "-" + kModeNames[task.mode];
  const std::shared_ptr<EVP_CIPHER> cipher(EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr),
                                           EVP_CIPHER_free);
  const std::shared_ptr<EVP_CIPHER_CTX> context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  Require(
      cipher != nullptr && EVP_CipherInit_ex2(context.get(), cipher.get(), Bytes(kKey),
                                              Bytes(kChain), task.encrypts ? 1 : 0, nullptr) == 1,
      "OpenSSL");
  EVP_CIPHER_CTX_set_padding(context.get(), 0);
  return [=](std::vector<char>& data) {
    auto* const buffer = reinterpret_cast<std::uint8_t*>(data.data());
    int length = 0;
    Require(EVP_CipherUpdate(context.get(), buffer, &length, buffer,
                             static_cast<int>(data.size())) == 1,
            "OpenSSL");
  };
}

void AddCipher(const std::string& program, const CipherTask& task, const std::string& contender,
               const CipherAct& act) {
  const std::string name = program + "/" + NameOf(task) + "/" + contender;
  benchmark::RegisterBenchmark(name.c_str(), [act](benchmark::State& state) {
    static std::vector<char> data(kSize, 'x');
    for (auto _ : state) act(data);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSize));
  })->Unit(benchmark::kMillisecond);
}

}  // namespace wkagent::bench
