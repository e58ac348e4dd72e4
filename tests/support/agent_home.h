#ifndef WKAGENT_TESTS_SUPPORT_AGENT_HOME_H
#define WKAGENT_TESTS_SUPPORT_AGENT_HOME_H

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace wkagent::test {

// A fresh agent home with bin, config, outbox and tmp; the process works in its bin until the
// object ends, when the home is removed.
class AgentHome {
 public:
  AgentHome() : before_(std::filesystem::current_path()) {
    umask(022);  // the agent does not work where others may write
    std::string name = (std::filesystem::temp_directory_path() / "wkagent-home-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
    root_ = name;
    for (const char* folder : {"bin", "config", "outbox", "tmp"}) {
      std::filesystem::create_directory(root_ / folder);
    }
    std::filesystem::current_path(root_ / "bin");
  }
  ~AgentHome() {
    std::error_code ignored;
    std::filesystem::current_path(before_, ignored);
    std::filesystem::remove_all(root_, ignored);
  }
  AgentHome(const AgentHome&) = delete;
  AgentHome& operator=(const AgentHome&) = delete;

  // The path of a file of the home, named relative to its root ("config/EDAFilter.xml").
  [[nodiscard]] std::string Path(const std::string& name) const { return (root_ / name).string(); }

  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(root_ / name, std::ios::binary) << text;
  }

  [[nodiscard]] std::string Read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(root_ / name, std::ios::binary).rdbuf();
    return text.str();
  }

  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(root_ / name);
  }

  // The names of the audit files in the outbox, sorted; the agent's markers lie there too.
  [[nodiscard]] std::vector<std::string> Archives() const {
    std::vector<std::string> names = List("outbox");
    std::erase_if(names, [](const std::string& name) {
      return !name.starts_with("EDA") && !name.starts_with("ELA");
    });
    return names;
  }

  // The names in a folder of the home, sorted.
  [[nodiscard]] std::vector<std::string> List(const std::string& folder) const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(root_ / folder)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::filesystem::path before_;
  std::filesystem::path root_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_AGENT_HOME_H
