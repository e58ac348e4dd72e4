// What 16 MiB cost in CRijndael, against libmcrypt, which has all block sizes, and against
// OpenSSL's AES with the processor's own instructions for it switched off: tables against tables.
// It goes by its large tables in CBC alone, so that is the comparison that counts; elsewhere it has
// small ones, whose times tell less of the key. All work in place, on the same data. Times are the
// processor's, so that other programs count as little as may be.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <mcrypt.h>
#include <openssl/evp.h>
#include <unistd.h>

#include <wkagent/crypto.h>

namespace {

// OpenSSL reads this when it is loaded; the bits are those of AES-NI and of SSSE3, which its vector
// code needs.
constexpr char kCapabilities[] = "OPENSSL_ia32cap";
constexpr char kWithoutAes[] = "~0x200020000000000";

constexpr std::size_t kSize = (std::size_t{16} << 20) / 96 * 96;  // whole blocks of each size
constexpr char kModeNames[][4] = {"ECB", "CBC", "CFB"};

struct Task {
  int mode;
  bool encrypts;
  int keySize;
  int blockSize;
};

const std::string kKey = "0123456789abcdefghijklmnopqrstuv";
const std::string kChain = "ABCDEFGHIJKLMNOPQRSTUVWXYZ!?.,;:";

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(std::string(what) + " refuses");
}

using Data = std::vector<char>;
using Act = std::function<void(Data&)>;

Act ByUs(const Task& task) {
  auto cipher = std::make_shared<CRijndael>();
  cipher->MakeKey(kKey.data(), kChain.data(), task.keySize, task.blockSize);
  return [cipher, task](Data& data) {
    if (task.encrypts) {
      cipher->Encrypt(data.data(), data.data(), data.size(), task.mode);
    } else {
      cipher->Decrypt(data.data(), data.data(), data.size(), task.mode);
    }
  };
}

Act ByMcrypt(const Task& task) {
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
  return [module, task](Data& data) {
    const auto run = task.encrypts ? mcrypt_generic : mdecrypt_generic;
    Require(run(module.get(), data.data(), static_cast<int>(data.size())) == 0, "libmcrypt");
  };
}

Act ByOpenssl(const Task& task) {
  const std::string name = "AES-" + std::to_string(8 * task.keySize) + "-" + kModeNames[task.mode];
  const std::shared_ptr<EVP_CIPHER> cipher(EVP_CIPHER_fetch(nullptr, name.c_str(), nullptr),
                                           EVP_CIPHER_free);
  const std::shared_ptr<EVP_CIPHER_CTX> context(EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
  const auto bytes = [](const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
  };
  Require(
      cipher != nullptr && EVP_CipherInit_ex2(context.get(), cipher.get(), bytes(kKey),
                                              bytes(kChain), task.encrypts ? 1 : 0, nullptr) == 1,
      "OpenSSL");
  EVP_CIPHER_CTX_set_padding(context.get(), 0);
  return [context](Data& data) {
    auto* const buffer = reinterpret_cast<unsigned char*>(data.data());
    int length = 0;
    Require(EVP_CipherUpdate(context.get(), buffer, &length, buffer,
                             static_cast<int>(data.size())) == 1,
            "OpenSSL");
  };
}

double Seconds(const Act& act, Data& data) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  };
  const double start = now();
  act(data);
  return now() - start;
}

// Takes turns; the fewest seconds of each.
std::vector<double> Compare(const std::vector<Act>& acts, int rounds) {
  Data data(kSize, 'x');
  std::vector<double> best(acts.size(), 1e9);
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < acts.size(); ++i) {
      best[i] = std::min(best[i], Seconds(acts[i], data));
    }
  }
  return best;
}

class Table {
 public:
  explicit Table(int rounds) : rounds_(rounds) {
    std::printf("  key block mode          CRijndael   libmcrypt       OpenSSL, tables\n");
  }

  void Add(const Task& task) {
    std::vector<Act> acts = {ByUs(task), ByMcrypt(task)};
    if (task.blockSize == 16) acts.push_back(ByOpenssl(task));
    const std::vector<double> seconds = Compare(acts, rounds_);
    std::printf("  %3d %5d %s %s  %4.0f MB/s", task.keySize, task.blockSize, kModeNames[task.mode],
                task.encrypts ? "encrypt" : "decrypt", Speed(seconds[0]));
    for (std::size_t i = 1; i < seconds.size(); ++i) {
      const double ratio = seconds[i] / seconds[0];
      std::printf("  %4.0f MB/s (%.2f)", Speed(seconds[i]), ratio);
      worst_[i - 1] = std::min(worst_[i - 1], ratio);
    }
    std::printf("\n");
  }

  void Summarise() const {
    std::printf(
        "cipher: libmcrypt takes %.2f times as long at least, OpenSSL's tables %.2f times\n",
        worst_[0], worst_[1]);
  }

 private:
  static double Speed(double seconds) { return static_cast<double>(kSize) / 1e6 / seconds; }

  const int rounds_;
  double worst_[2] = {1e9, 1e9};
};

void CompareAll(int rounds) {
  Table table(rounds);
  for (const int mode : {CRijndael::kEcb, CRijndael::kCbc, CRijndael::kCfb}) {
    for (const int keySize : {16, 32}) {
      for (const bool encrypts : {true, false}) table.Add({mode, encrypts, keySize, 16});
    }
  }
  for (const int blockSize : {24, 32}) {
    for (const bool encrypts : {true, false}) {
      table.Add({CRijndael::kCbc, encrypts, 32, blockSize});
    }
  }
  table.Summarise();
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 10;
  if (rounds <= 0) {
    std::fputs("usage: cipher [ROUNDS]\n", stderr);
    return 64;
  }
  const char* const capabilities = std::getenv(kCapabilities);
  if (capabilities == nullptr || std::string(capabilities) != kWithoutAes) {
    setenv(kCapabilities, kWithoutAes, 1);
    execv("/proc/self/exe", argv);
    std::perror("cipher: cannot start itself again");
    return 70;
  }
  try {
    CompareAll(rounds);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "cipher: %s\n", error.what());
    return 70;
  }
}
