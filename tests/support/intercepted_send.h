#ifndef WKAGENT_TESTS_SUPPORT_INTERCEPTED_SEND_H
#define WKAGENT_TESTS_SUPPORT_INTERCEPTED_SEND_H

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace wkagent::test {

// While it lives, sees each call of send(2) in the process, the library's included, and may answer
// it itself. For programs that are built with support/intercepted_send.cpp. One at a time.
//
//   const InterceptedSend sends(InterceptedSend::FailingWith(ECONNRESET));
class InterceptedSend {
 public:
  struct Call {
    int socket;
    std::string text;
    int flags;
  };

  // Gets a call before it is listed in Calls, on the thread that makes it; what it returns, and its
  // errno, are the answer.
  using Answer = std::function<ssize_t(const Call&)>;

  explicit InterceptedSend(Answer answer = System);
  ~InterceptedSend();
  InterceptedSend(const InterceptedSend&) = delete;
  InterceptedSend& operator=(const InterceptedSend&) = delete;

  // The calls that were answered so far.
  [[nodiscard]] std::vector<Call> Calls() const;
  [[nodiscard]] std::vector<std::string> Texts() const;

  // The answer of the system.
  static ssize_t System(const Call& call);

  // Fails each call; 0 is the result where there is no error.
  static Answer FailingWith(int error, ssize_t result = -1);

  // Lets the system take at most so much of each call.
  static Answer TakingAtMost(std::size_t size);

  struct State;

 private:
  std::shared_ptr<State> state_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_INTERCEPTED_SEND_H
