// What a host's thread pays for a line of 300 bytes: send over TCP against what a queue cannot do
// without, the push of a copy into a deque under a mutex.
//
//   alone    no other thread takes lines: the sender's worker is held back
//   drained  a thread takes up to 100 lines at a time: the worker, which sends them, or one that
//            throws them away
//   p99      drained; the 99th percentile of the calls, the clock's time included
//
// Must run as root, for a private /opt.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include <wkagent/syslog.h>

#include "forward/line_sink.h"
#include "forward/lines.h"
#include "forward/private_opt.h"

namespace {

constexpr int kLinesPerRound = 10'000;
constexpr std::size_t kSamples = 1'000;

const std::vector<std::string>& Samples() {
  static const std::vector<std::string> samples = wkagent::bench::SampleLines(kSamples);
  return samples;
}

const std::string& Sample(int number) {
  return Samples()[static_cast<std::size_t>(number) % kSamples];
}

// A deque of lines under a mutex.
class LockedDeque {
 public:
  void Push(const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.push_back(line);
  }

  void Settle() {
    const std::lock_guard<std::mutex> lock(mutex_);
    lines_.clear();
  }

 protected:
  std::mutex mutex_;
  std::deque<std::string> lines_;  // guarded by mutex_
};

// One that a thread drains.
class DrainedDeque : private LockedDeque {
 public:
  ~DrainedDeque() {
    stops_ = true;
    changed_.notify_one();
    drain_.join();
  }

  void Push(const std::string& line) {
    LockedDeque::Push(line);
    changed_.notify_one();
  }

  // Waits until the deque is empty.
  void Settle() {
    while (true) {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (lines_.empty()) return;
    }
  }

 private:
  void Drain() {
    while (!stops_) {
      std::vector<std::string> batch;
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait_for(lock, std::chrono::milliseconds(100),
                        [this] { return !lines_.empty() || stops_; });
      while (!lines_.empty() && batch.size() < WKSyslogSender::BATCH_SIZE) {
        batch.push_back(std::move(lines_.front()));
        lines_.pop_front();
      }
    }
  }

  std::atomic<bool> stops_ = false;
  std::condition_variable changed_;
  std::thread drain_{[this] { Drain(); }};
};

// A sender whose worker sends to a sink.
class DrainedSender {
 public:
  DrainedSender() {
    std::ofstream("/opt/mossgrove/config/syslog_config.xml")
        << "<syslog><port>" << sink_.Port() << "</port><protocol>TCP</protocol></syslog>";
    sender_ = std::make_unique<WKSyslogSender>();
  }

  void Push(const std::string& line) { sender_->send(line); }
  void Settle() { sender_->WaitUntilEmpty(std::chrono::seconds(10)); }

 protected:
  wkagent::bench::LineSink sink_;
  std::unique_ptr<WKSyslogSender> sender_;
};

// A sender whose worker waits for a connection until the end.
class LoneSender : public DrainedSender {
 public:
  LoneSender() : held_(sender_->poolMutex) {
    Push("line");
    while (QueueSize() > 0) std::this_thread::yield();
  }
  ~LoneSender() { held_.unlock(); }

  void Settle() {
    const wkagent::MutexLock lock(sender_->queueMutex);
    sender_->messageQueue.clear();
  }

 private:
  [[nodiscard]] std::size_t QueueSize() const {
    const wkagent::MutexLock lock(sender_->queueMutex);
    return sender_->messageQueue.size();
  }

  std::unique_lock<std::mutex> held_;
};

template <typename Queue>
void Push(benchmark::State& state) {
  Queue queue;
  int number = 0;
  while (state.KeepRunningBatch(kLinesPerRound)) {
    for (int i = 0; i < kLinesPerRound; ++i) queue.Push(Sample(number++));
    state.PauseTiming();
    queue.Settle();
    state.ResumeTiming();
  }
}

template <typename Queue>
void PushPercentile(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  Queue queue;
  std::vector<double> seconds(kLinesPerRound);
  int number = 0;
  while (state.KeepRunningBatch(kLinesPerRound)) {
    for (double& time : seconds) {
      const Clock::time_point start = Clock::now();
      queue.Push(Sample(number++));
      time = std::chrono::duration<double>(Clock::now() - start).count();
    }
    queue.Settle();
    const auto percentile = seconds.begin() + kLinesPerRound * 99 / 100;
    std::nth_element(seconds.begin(), percentile, seconds.end());
    state.SetIterationTime(*percentile * kLinesPerRound);  // of as many calls
  }
}

BENCHMARK(Push<LoneSender>)->Name("syslog_caller/alone/wkagent");
BENCHMARK(Push<LockedDeque>)->Name("syslog_caller/alone/deque");
BENCHMARK(Push<DrainedSender>)->Name("syslog_caller/drained/wkagent");
BENCHMARK(Push<DrainedDeque>)->Name("syslog_caller/drained/deque");
BENCHMARK(PushPercentile<DrainedSender>)->Name("syslog_caller/p99/wkagent")->UseManualTime();
BENCHMARK(PushPercentile<DrainedDeque>)->Name("syslog_caller/p99/deque")->UseManualTime();

}  // namespace

int main(int argc, char** argv) { return wkagent::bench::RunInPrivateOpt(argc, argv); }
