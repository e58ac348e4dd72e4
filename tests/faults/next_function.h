#ifndef WKAGENT_TESTS_FAULTS_NEXT_FUNCTION_H
#define WKAGENT_TESTS_FAULTS_NEXT_FUNCTION_H

#include <atomic>

#include <dlfcn.h>

namespace wkagent::faults {

// The function that a replaced one stands before: that of the next library, by its symbol.
template <typename Function>
class NextFunction {
 public:
  constexpr explicit NextFunction(const char* symbol) : symbol_(symbol) {}

  // Null while it is being looked for, which may need memory itself.
  Function* Get() noexcept {
    Function* function = function_;
    if (function != nullptr || looking_.exchange(true)) return function;
    function = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol_));
    function_ = function;
    looking_ = false;
    return function;
  }

  template <typename... Arguments>
  auto operator()(Arguments... arguments) {
    return Get()(arguments...);
  }

 private:
  const char* symbol_;
  std::atomic<Function*> function_{nullptr};
  std::atomic<bool> looking_{false};
};

}  // namespace wkagent::faults

#endif  // WKAGENT_TESTS_FAULTS_NEXT_FUNCTION_H
