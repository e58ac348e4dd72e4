#ifndef WKAGENT_TESTS_FAULTS_LEDGER_H
#define WKAGENT_TESTS_FAULTS_LEDGER_H

#include <string>

#include "support/agent_home.h"

namespace wkagent::test {

// What the rounds in a home were given to keep, and what the library said that it has: one name an
// entry. It is a file of the home, so that it outlives a process that is killed. No fault meets it.
class Ledger {
 public:
  explicit Ledger(const AgentHome& home);

  // A name of its own for the next entry, that no other of the home contains.
  [[nodiscard]] std::string NextName();

  // Notes that the library has taken the entry.
  void NoteTaken(const std::string& name);

  // Notes that an entry has arrived where it was to go.
  void NoteArrived(const std::string& name);

  // True when all that were taken, in all rounds, are in `text`, or have arrived.
  [[nodiscard]] bool AllTakenAre(const std::string& text) const;

  // The library has said that it lost some of them.
  void Forgive();

  // One of those that are not; empty where there is none.
  [[nodiscard]] std::string Missing(const std::string& text) const;

  // The same for all that this object has named.
  [[nodiscard]] bool AllNamedAre(const std::string& text) const;

 private:
  void Note(const char* file, const std::string& name) const;
  [[nodiscard]] std::string FirstMissing(const std::string& names, const std::string& text) const;

  const AgentHome& home_;
  std::string named_;
};

// The contents of all files in a folder of the home, one behind the other; nothing fails in here.
[[nodiscard]] std::string AllText(const AgentHome& home, const std::string& folder);

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FAULTS_LEDGER_H
