#ifndef WKAGENT_BENCHMARKS_BENCH_HOME_H
#define WKAGENT_BENCHMARKS_BENCH_HOME_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace wkagent::bench {

// An empty home of an agent, whose bin is the working directory while it lives. It lies in memory
// where it can, so that the disk is not measured.
class BenchHome {
 public:
  BenchHome() {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no folder for the benchmark");
    for (const char* folder : {"bin", "config", "outbox", "tmp"}) {
      std::filesystem::create_directory(path_ + '/' + folder);
    }
    std::filesystem::current_path(path_ + "/bin");
  }
  ~BenchHome() {
    std::filesystem::current_path("/");
    std::filesystem::remove_all(path_);
  }
  BenchHome(const BenchHome&) = delete;
  BenchHome& operator=(const BenchHome&) = delete;

  [[nodiscard]] const std::string& Path() const { return path_; }

 private:
  static std::string Folder() {
    constexpr char kMemory[] = "/dev/shm";
    if (access(kMemory, W_OK) == 0) return kMemory;
    return std::filesystem::temp_directory_path();
  }

  std::string path_ = Folder() + "/wkagent-bench-XXXXXX";
};

[[nodiscard]] inline std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_BENCH_HOME_H
