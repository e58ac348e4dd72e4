// Runs a fuzz target without a fuzzer: once for each file that is named, and for each file of a
// folder that is named.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/fuzz.h"

// Some targets have one.
extern "C" [[gnu::weak]] int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& path) {
  if (!fs::is_directory(path)) return {path};
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(path)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

// In memory of just their size, so that a sanitizer sees a read past their end.
void Run(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
  if (LLVMFuzzerInitialize != nullptr) LLVMFuzzerInitialize(&argc, &argv);
  std::vector<fs::path> files;
  // A target may change the working directory.
  for (int i = 1; i < argc; ++i) {
    for (const fs::path& file : FilesOf(fs::absolute(argv[i]))) files.push_back(file);
  }
  for (const fs::path& file : files) Run(file);
  std::cout << files.size() << " cases" << std::endl;
  return files.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}
