#ifndef WKAGENT_TESTS_FAULTS_TORTURE_H
#define WKAGENT_TESTS_FAULTS_TORTURE_H

#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "support/agent_home.h"

namespace wkagent::test {

// What a round has to say for itself.
struct Outcome {
  bool complete = false;  // all that was to be done is done
  bool told = false;      // the library has said, by a result or a message, that it is not
};

// How a call fails.
struct Failure {
  std::string call;  // both as in faults/fault_plan.h
  std::string act;
  int times = 1;  // 0: all that follow fail as well
};

// A round of work in a home, again and again, with a call that fails at each place in turn where
// there is one. Each time in a process of its own: a round without faults; the round with the
// fault, which may fall short of what it was to do where it says so; then one more without faults,
// which must be complete, whatever the one before has left. No memory may be left behind.
//
// A round that a signal ends, or that lasts longer than 20 seconds, fails the test, and so does one
// that an exception leaves. Only std::bad_alloc may where an allocation fails: it tells.
class Torture {
 public:
  using Round = std::function<Outcome(const AgentHome&)>;

  explicit Torture(Round round) : round_(std::move(round)) {}

  // A file that every home has before its first round.
  Torture& With(const std::string& name, const std::string& text);

  // Leaves the first round out: faults meet what is set up once a process as well. Memory is then
  // not compared.
  Torture& AtFirstUse();

  // Calls on files below this folder count, instead of those on files of the home.
  Torture& Under(const std::string& folder);

  // Called in the test's own process before each run.
  Torture& Before(std::function<void()> prepare);

  // Of more places than so many, evenly spread ones are taken.
  Torture& AtMost(long places);

  // So many blocks may stay, which are not the library's to give back.
  Torture& Allowing(long blocks);

  // Nothing may fall short, whatever the library says.
  Torture& LosingNothing();

  // Lets an exception of std::system_error tell as well, as where no thread can be started.
  Torture& MayThrowSystemErrors();

  // Lets a call fail at each place in turn, for each of these failures.
  void Fail(const std::vector<Failure>& failures);

 private:
  enum class Result { kPassed, kNotHit, kFailed };

  void FailAtEachPlace(const Failure& failure);
  [[nodiscard]] long CountPlaces(const std::string& call) const;
  [[nodiscard]] Result RunAt(long nth, const Failure& failure) const;
  [[nodiscard]] int RunRounds(const AgentHome& home, long nth, const Failure& failure) const;
  [[nodiscard]] int RunPair(const AgentHome& home, long nth, const Failure& failure) const;
  [[nodiscard]] std::string FolderOf(const AgentHome& home) const;
  [[nodiscard]] Outcome RunGuarded(const AgentHome& home) const;

  Round round_;
  std::vector<std::pair<std::string, std::string>> files_;
  bool atFirstUse_ = false;
  long allowed_ = 0;
  long most_ = 100;
  bool losesNothing_ = false;
  std::string under_;
  std::function<void()> prepare_ = [] {};
  bool systemErrors_ = false;
};

// What the library has logged in this round, kept without allocating.
class Messages {
 public:
  static void Forget();
  static void Take(int number, char* text, char* more);  // a log callback
  [[nodiscard]] static bool Any();
  [[nodiscard]] static bool Contain(const char* text);
  [[nodiscard]] static const char* Text();
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FAULTS_TORTURE_H
