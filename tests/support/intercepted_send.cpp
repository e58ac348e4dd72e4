#include "support/intercepted_send.h"

#include <cerrno>
#include <mutex>
#include <utility>

#include <sys/socket.h>

namespace wkagent::test {

struct InterceptedSend::State {
  Answer answer;
  std::mutex mutex;
  std::vector<Call> calls;
};

namespace {

// A call under way keeps the state that it has found.
std::mutex currentMutex;
std::shared_ptr<InterceptedSend::State> current;

std::shared_ptr<InterceptedSend::State> Exchange(std::shared_ptr<InterceptedSend::State> state) {
  const std::lock_guard<std::mutex> lock(currentMutex);
  return std::exchange(current, std::move(state));
}

std::shared_ptr<InterceptedSend::State> Current() {
  const std::lock_guard<std::mutex> lock(currentMutex);
  return current;
}

ssize_t Answered(InterceptedSend::State& state, InterceptedSend::Call call) {
  const ssize_t result = state.answer(call);
  const int error = errno;
  {
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.calls.push_back(std::move(call));
  }
  errno = error;
  return result;
}

}  // namespace

InterceptedSend::InterceptedSend(Answer answer) : state_(std::make_shared<State>()) {
  state_->answer = std::move(answer);
  Exchange(state_);
}

InterceptedSend::~InterceptedSend() { Exchange(nullptr); }

std::vector<InterceptedSend::Call> InterceptedSend::Calls() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->calls;
}

std::vector<std::string> InterceptedSend::Texts() const {
  std::vector<std::string> texts;
  for (const Call& call : Calls()) texts.push_back(call.text);
  return texts;
}

ssize_t InterceptedSend::System(const Call& call) {
  // Which is what the C library's send does.
  return sendto(call.socket, call.text.data(), call.text.size(), call.flags, nullptr, 0);
}

InterceptedSend::Answer InterceptedSend::FailingWith(int error, ssize_t result) {
  return [error, result](const Call&) {
    errno = error;
    return result;
  };
}

InterceptedSend::Answer InterceptedSend::TakingAtMost(std::size_t size) {
  return [size](const Call& call) {
    return System({call.socket, call.text.substr(0, size), call.flags});
  };
}

}  // namespace wkagent::test

// Takes the place of the C library's, also for the shared library.
extern "C" __attribute__((visibility("default"))) ssize_t send(int socket, const void* text,
                                                               std::size_t size, int flags) {
  using wkagent::test::InterceptedSend;
  const InterceptedSend::Call call{socket, {static_cast<const char*>(text), size}, flags};
  const std::shared_ptr<InterceptedSend::State> state = wkagent::test::Current();
  return state == nullptr ? InterceptedSend::System(call) : wkagent::test::Answered(*state, call);
}
