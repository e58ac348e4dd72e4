#ifndef WKAGENT_TESTS_FAULTS_FAILING_CALL_H
#define WKAGENT_TESTS_FAULTS_FAILING_CALL_H

#include "faults/fault_plan.h"
#include "faults/next_function.h"

// Functions are replaced under names of ours for the compiler, and with the types of their binary
// interface (a stream is a void*, a mode an unsigned int): the C library's headers make some of
// them inline, or macros.
#define WKAGENT_REPLACED(result, name, parameters)  \
  extern "C" __attribute__((visibility("default"))) \
  result replaced_##name parameters __asm__(#name); \
  result replaced_##name parameters

// A replaced function of this name: what it returns, its parameters, its kind, what the call is
// about, what it returns where it is to fail, and its arguments.
#define WKAGENT_FALLIBLE(result, name, parameters, call, subject, failed, ...) \
  namespace {                                                                  \
  wkagent::faults::NextFunction<result parameters> next_##name(#name);         \
  }                                                                            \
  WKAGENT_REPLACED(result, name, parameters) {                                 \
    const wkagent::faults::Turn turn(wkagent::faults::Call::call, subject);    \
    if (turn.Fails()) return failed;                                           \
    return next_##name(__VA_ARGS__);                                           \
  }

// The same for one that moves `size` bytes, of which it may move less.
#define WKAGENT_PARTIAL(name, parameters, call, subject, ...)               \
  namespace {                                                               \
  wkagent::faults::NextFunction<long parameters> next_##name(#name);        \
  }                                                                         \
  WKAGENT_REPLACED(long, name, parameters) {                                \
    const wkagent::faults::Turn turn(wkagent::faults::Call::call, subject); \
    if (turn.Fails()) return -1;                                            \
    size = turn.Portion(size);                                              \
    return next_##name(__VA_ARGS__);                                        \
  }

namespace wkagent::faults {

inline Subject At(const char* path) { return {.path = path}; }
inline Subject At(int folder, const char* path) { return {.path = path, .folder = folder}; }
inline Subject Of(int file) { return {.file = file}; }

}  // namespace wkagent::faults

#endif  // WKAGENT_TESTS_FAULTS_FAILING_CALL_H
