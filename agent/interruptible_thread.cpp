#include "agent/interruptible_thread.h"

#include <chrono>
#include <csignal>
#include <utility>

#include <pthread.h>

namespace wkagent {
namespace {

constexpr int kSignal = SIGURG;  // nobody means anything else by it, and by itself it does nothing
constexpr std::chrono::milliseconds kStep(20);

void DoNothing(int /*number*/) {}

// Without SA_RESTART, so that calls fail.
void TakeSignal() {
  struct sigaction action {};
  action.sa_handler = DoNothing;
  sigaction(kSignal, &action, nullptr);
}

}  // namespace

InterruptibleThread::InterruptibleThread(std::string name, std::function<void()> body)
    : name_(std::move(name)), body_(std::move(body)), thread_([this] { Run(); }) {}

InterruptibleThread::~InterruptibleThread() {
  while (!WaitForEnd()) pthread_kill(thread_.native_handle(), kSignal);
  thread_.join();
}

void InterruptibleThread::Run() {
  pthread_setname_np(pthread_self(), name_.c_str());
  TakeSignal();
  body_();
  const MutexLock lock(mutex_);
  hasEnded_ = true;
  ended_.notify_all();
}

// True once the body has returned; false where it does not for a moment.
bool InterruptibleThread::WaitForEnd() {
  MutexLock lock(mutex_);
  return ended_.wait_for(lock.Native(), kStep, [this] {
    mutex_.AssertHeld();
    return hasEnded_;
  });
}

}  // namespace wkagent
