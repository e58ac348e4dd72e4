#include "output/audit_file.h"

#include <array>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace wkagent::test {
namespace {

std::string ReadAll(int fd) {
  std::string text;
  std::array<char, 65536> chunk{};
  ssize_t length = 0;
  while ((length = read(fd, chunk.data(), chunk.size())) > 0) {
    text.append(chunk.data(), static_cast<std::size_t>(length));
  }
  return text;
}

// Runs a program; returns what it writes to standard output. Throws where it fails.
std::string Run(std::vector<std::string> command) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  pid_t child = 0;
  const int error = posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  std::string text = ReadAll(ends[0]);
  close(ends[0]);
  if (error != 0) throw std::system_error(error, std::generic_category(), command[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) throw std::runtime_error("not an audit file: " + text);
  return text;
}

std::string Unquote(const std::string& quoted) {
  std::string text;
  for (std::size_t i = 0; i < quoted.size(); ++i) {
    if (quoted[i] != '%') {
      text += quoted[i];
    } else {
      text += static_cast<char>(std::stoi(quoted.substr(i + 1, 2), nullptr, 16));
      i += 2;
    }
  }
  return text;
}

}  // namespace

std::vector<std::string> AuditFile::Names() const {
  std::vector<std::string> names;
  for (const AuditElement& element : elements) names.push_back(element.name);
  return names;
}

std::vector<AuditElement> AuditFile::Records() const {
  std::vector<AuditElement> records;
  for (const AuditElement& element : elements) {
    if (element.depth == 2) records.push_back(element);
  }
  return records;
}

std::vector<int> AuditFile::Numbers() const {
  std::vector<int> numbers;
  for (const AuditElement& record : Records()) {
    for (const auto& [name, value] : record.attributes) {
      if (name == "Number") numbers.push_back(std::stoi(value));
    }
  }
  return numbers;
}

std::vector<AuditFile> ParseAuditFiles(const std::vector<std::string>& paths) {
  std::vector<std::string> command = {WKAGENT_PYTHON, "-I", "-S",
                                      WKAGENT_SOURCE_DIR "/tests/output/check_audit_file.py"};
  command.insert(command.end(), paths.begin(), paths.end());
  std::istringstream lines(Run(command));
  std::vector<AuditFile> files;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string kind;
    std::string first;
    std::string second;
    words >> kind >> first >> second;
    if (kind == "file") files.emplace_back();
    if (kind == "element") files.back().elements.push_back({std::stoi(first), Unquote(second), {}});
    if (kind == "attribute") {
      files.back().elements.back().attributes.emplace_back(Unquote(first), Unquote(second));
    }
  }
  if (files.size() != paths.size()) throw std::runtime_error("the parser read other files");
  return files;
}

AuditFile ParseAuditFile(const std::string& path) { return ParseAuditFiles({path}).front(); }

}  // namespace wkagent::test
