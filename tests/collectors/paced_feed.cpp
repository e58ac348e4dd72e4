#include "collectors/paced_feed.h"

#include <algorithm>
#include <chrono>

#include "collectors/numbered_lines.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr int kBurst = Scaled(1000);
constexpr std::chrono::milliseconds kPause(100);

}  // namespace

PacedFeed::PacedFeed(WKSyslogSender& sender) : sender_(sender), thread_([this] { Run(); }) {}

PacedFeed::~PacedFeed() {
  {
    const MutexLock lock(mutex_);
    stopped_ = true;
  }
  allowed_.notify_all();
  thread_.join();
}

void PacedFeed::Allow(int end) {
  {
    const MutexLock lock(mutex_);
    end_ = end;
  }
  allowed_.notify_all();
}

bool PacedFeed::WaitForEnd() {
  return WaitUntil([this] {
    const MutexLock lock(mutex_);
    return next_ == end_;
  });
}

void PacedFeed::Run() {
  auto due = std::chrono::steady_clock::now();
  MutexLock lock(mutex_);
  while (true) {
    allowed_.wait(lock.Native(), [this] {
      mutex_.AssertHeld();
      return stopped_ || next_ < end_;
    });
    if (stopped_) return;
    const int last = std::min(next_ + kBurst, end_);
    for (; next_ < last; ++next_) sender_.send(NumberedLine(next_));
    due += kPause;
    allowed_.wait_until(lock.Native(), due, [this] {
      mutex_.AssertHeld();
      return stopped_;
    });
  }
}

}  // namespace wkagent::test
