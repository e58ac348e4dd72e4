#include "faults/ledger.h"

#include <fstream>
#include <sstream>

#include <unistd.h>

#include "faults/fault_control.h"

namespace wkagent::test {
namespace {

constexpr char kTaken[] = "taken";
constexpr char kArrived[] = "arrived";

std::string AllNumbers(const AgentHome& home) { return home.Read("numbers"); }

}  // namespace

Ledger::Ledger(const AgentHome& home) : home_(home) {}

std::string Ledger::NextName() {
  const WithoutFaults within;
  Note("numbers", "x");
  const std::string name =
      "entry" + std::to_string(AllNumbers(home_).size() / 2) + "-" + std::to_string(getpid()) + ".";
  named_ += name + '\n';
  return name;
}

void Ledger::NoteTaken(const std::string& name) { Note(kTaken, name); }

void Ledger::NoteArrived(const std::string& name) { Note(kArrived, name); }

bool Ledger::AllTakenAre(const std::string& text) const {
  const WithoutFaults within;
  return Missing(text).empty();
}

void Ledger::Forgive() {
  const WithoutFaults within;
  home_.Write(kTaken, "");
}

std::string Ledger::Missing(const std::string& text) const {
  const WithoutFaults within;
  return FirstMissing(home_.Read(kTaken), text);
}

bool Ledger::AllNamedAre(const std::string& text) const {
  const WithoutFaults within;
  return FirstMissing(named_, text).empty();
}

void Ledger::Note(const char* file, const std::string& name) const {
  const WithoutFaults within;
  std::ofstream(home_.Path(file), std::ios::app) << name << '\n';
}

std::string Ledger::FirstMissing(const std::string& names, const std::string& text) const {
  const std::string everything = text + home_.Read(kArrived);
  std::istringstream lines(names);
  for (std::string name; std::getline(lines, name);) {
    if (everything.find(name) == std::string::npos) return name;
  }
  return {};
}

std::string AllText(const AgentHome& home, const std::string& folder) {
  const WithoutFaults within;
  std::string text;
  for (const std::string& name : home.List(folder)) text += home.Read(folder + "/" + name);
  return text;
}

}  // namespace wkagent::test
