#ifndef WKAGENT_TESTS_FAULTS_FAULT_CONTROL_H
#define WKAGENT_TESTS_FAULTS_FAULT_CONTROL_H

// For programs that are built with the sources of failing_calls: the same faults in the process
// itself, without an environment. Texts as in faults/fault_plan.h.

extern "C" {

// Counts anew from here on, and lets calls fail; with a null `call` none does.
void wkfault_begin(const char* call, long nth, long times, const char* act, const char* under);

// Ends that. The number of calls that were acted upon.
long wkfault_end();

// Leaves the calls out that come now, of all threads, and takes them in again.
void wkfault_pause();
void wkfault_resume();

// The calls of a kind since the beginning.
long wkfault_count(const char* call);

// The blocks of memory that the process has not given back.
long wkfault_live();
}

namespace wkagent::test {

// Within it no call fails: for what a round does on its own account.
class WithoutFaults {
 public:
  WithoutFaults() { wkfault_pause(); }
  ~WithoutFaults() { wkfault_resume(); }
  WithoutFaults(const WithoutFaults&) = delete;
  WithoutFaults& operator=(const WithoutFaults&) = delete;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_FAULTS_FAULT_CONTROL_H
