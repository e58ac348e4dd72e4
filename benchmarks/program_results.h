#ifndef WKAGENT_BENCHMARKS_PROGRAM_RESULTS_H
#define WKAGENT_BENCHMARKS_PROGRAM_RESULTS_H

#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace wkagent::bench {

// The figures of whole programs, written as Google Benchmark writes those of functions, whose
// options these programs take as well.
class ProgramResults {
 public:
  // Reads --benchmark_out=FILE and --benchmark_repetitions=N; ignores all others.
  ProgramResults(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
      const std::string_view argument = argv[i];
      if (argument.starts_with(kOut)) path_ = argument.substr(kOut.size());
      if (argument.starts_with(kRepetitions)) {
        repetitions_ = std::stoi(std::string(argument.substr(kRepetitions.size())));
      }
    }
  }

  [[nodiscard]] int Repetitions() const { return repetitions_; }

  // `name` is "PROGRAM/CASE/CONTENDER"; the times are seconds for the same work of all contenders.
  void Add(const std::string& name, int repetition, double cpu, double wall) {
    entries_.push_back("{\"name\": \"" + name + R"(", "run_type": "iteration", )" +
                       "\"repetition_index\": " + std::to_string(repetition) +
                       ", \"cpu_time\": " + std::to_string(cpu) +
                       ", \"real_time\": " + std::to_string(wall) + R"(, "time_unit": "s"})");
  }

  void Write() const {
    if (path_.empty()) return;
    std::ofstream file(path_);
    file << "{\"benchmarks\": [";
    for (std::size_t i = 0; i < entries_.size(); ++i)
      file << (i == 0 ? "\n" : ",\n") << entries_[i];
    file << "\n]}\n";
    if (!file.flush()) throw std::runtime_error("cannot write " + path_);
  }

 private:
  static constexpr std::string_view kOut = "--benchmark_out=";
  static constexpr std::string_view kRepetitions = "--benchmark_repetitions=";

  std::string path_;
  int repetitions_ = 5;
  std::vector<std::string> entries_;
};

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_PROGRAM_RESULTS_H
