#ifndef WKAGENT_TESTS_FAULTS_NEXT_FUNCTION_H
#define WKAGENT_TESTS_FAULTS_NEXT_FUNCTION_H

#include <atomic>
#include <utility>

#include <dlfcn.h>

namespace wkagent::faults {

// The thread is looking for a function, which may need memory.
__attribute__((tls_model("initial-exec"))) inline thread_local bool isLooking = false;

// The function that a replaced one stands before: that of the next library, by its symbol.
template <typename Function>
class NextFunction {
 public:
  constexpr explicit NextFunction(const char* symbol) : symbol_(symbol) {}

  // Null only where it is not known and the thread is looking for one.
  Function* Get() noexcept {
    Function* function = function_;
    if (function != nullptr || std::exchange(isLooking, true)) return function;
    function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol_));
    function_ = function;
    isLooking = false;
    return function;
  }

  template <typename... Arguments>
  auto operator()(Arguments... arguments) {
    return Get()(arguments...);
  }

 private:
  const char* symbol_;
  std::atomic<Function*> function_{nullptr};
};

}  // namespace wkagent::faults

#endif  // WKAGENT_TESTS_FAULTS_NEXT_FUNCTION_H
