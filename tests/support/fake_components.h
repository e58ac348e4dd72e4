#ifndef WKAGENT_TESTS_SUPPORT_FAKE_COMPONENTS_H
#define WKAGENT_TESTS_SUPPORT_FAKE_COMPONENTS_H

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <wkagent/components.h>

namespace wkagent::test {

// A mail and an SNMP component that send nothing and write down how they were called. Compiled into
// a test program, they are what the library finds, from any thread.
class FakeComponents {
 public:
  // Forgets what was written down, and is well-behaved again.
  FakeComponents();

  // The calls, a line each: "Set 22 0 127.0.0.1 0" is property, index, value and length.
  static std::vector<std::string> Calls() {
    const std::lock_guard lock(mutex_);
    return calls_;
  }

  // The values that were given to a property, one a send.
  static std::vector<std::string> ValuesOf(int property);

  // What the next results are.
  static inline std::atomic<int> doResult = 0;
  static inline std::atomic<int> destroyResult = 0;
  static inline std::atomic<int> upTime = 4711;

  // Called during the send, when the sink can be called.
  static inline std::function<void(ComponentEventSink sink, void* wrapper)> duringDo;

  // The number of handles that were created and not destroyed.
  static int Alive() { return alive_; }

  // For the C functions.
  static void Note(std::string call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
  }
  static void* Create(ComponentEventSink sink, void* wrapper, const char* key);
  static int Do(void* handle, int method, int count, void** params, const int* lengths);
  static int Destroy(void* handle);

 private:
  static inline std::mutex mutex_;
  static inline std::vector<std::string> calls_;
  static inline std::atomic<int> alive_ = 0;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_FAKE_COMPONENTS_H
