#ifndef WKAGENT_TESTS_FILTER_FILTER_MODELS_H
#define WKAGENT_TESTS_FILTER_FILTER_MODELS_H

// Naive counterparts of the matching rules, and a source of random input. The models favour being
// evidently right over everything else.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace wkagent::test {

// A random source whose seed is printed. WKAGENT_TEST_SEED repeats a run.
class Random {
 public:
  Random() : seed_(Seed()), engine_(seed_) { std::cout << "seed " << seed_ << std::endl; }

  // 0 to `limit` - 1.
  int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(engine_); }

  // True in one of `cases` cases.
  bool OneIn(int cases) { return Below(cases) == 0; }

  std::string Word(std::string_view alphabet, int length) {
    std::string word;
    for (; length > 0; --length) {
      word += alphabet[static_cast<std::size_t>(Below(static_cast<int>(alphabet.size())))];
    }
    return word;
  }

 private:
  static unsigned Seed() {
    const char* const text = std::getenv("WKAGENT_TEST_SEED");
    if (text == nullptr) return std::random_device()();
    return static_cast<unsigned>(std::strtoul(text, nullptr, 10));
  }

  unsigned seed_;
  std::mt19937 engine_;
};

inline std::string UpperCase(std::string text) {
  for (char& letter : text) {
    if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
  }
  return text;
}

// Does an entry occur in the value, by one scratch buffer that is zeroed once?
inline bool NaiveEntityMatch(const std::optional<std::string>& value,
                             const std::vector<std::string>& entries) {
  if (!value) return false;
  const std::string upperValue = UpperCase(*value);
  std::string scratch(300, '\0');
  for (const std::string& entry : entries) {
    if (entry.size() > 300) break;
    scratch.replace(0, entry.size(), entry);
    const std::string text = UpperCase(scratch.substr(0, scratch.find('\0')));
    if (upperValue.find(text) != std::string::npos) return true;
  }
  return false;
}

// Split at the separators, keep the parts with "=", of each what follows its first "=", join.
inline std::optional<std::string> NaiveDottedName(const std::string& name, char separator) {
  if (name.find('=') == std::string::npos) return std::nullopt;
  std::vector<std::string> parts(1);
  for (const char letter : name) {
    if (letter == separator) {
      parts.emplace_back();
    } else {
      parts.back() += letter;
    }
  }
  std::string dotted;
  bool first = true;
  for (const std::string& part : parts) {
    const std::size_t equals = part.find('=');
    if (equals == std::string::npos) continue;
    if (!first) dotted += '.';
    dotted += part.substr(equals + 1);
    first = false;
  }
  return dotted.substr(0, 254);
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FILTER_FILTER_MODELS_H
