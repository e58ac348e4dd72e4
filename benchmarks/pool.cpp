// Passing events of 2 KiB from one thread to another: the memory pool, against what one would write
// in its place with a std::mutex. The free list does with its blocks what the pool does, but knows
// their size, links them in one direction only and has them in one piece of memory. The deque
// allocates.
//
// A thread that finds its queue full or empty gives the processor away. The times are those of both
// threads; the contenders take turns. A further case, of one thread, shows how the cost grows with
// the number of events that are queued.

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sched.h>

#include <wkagent/core.h>

#include "benchmarks/program_results.h"

namespace {

constexpr std::size_t kBlockSize = 2048;
constexpr std::size_t kBlocks = 1000;
constexpr int kEvents = 20'000;
constexpr int kRounds = 12;  // in each repetition: how the threads meet is chance

using Block = std::array<char, kBlockSize>;

// ClsMemManager with the methods that the other contenders have.
class Pool {
 public:
  Pool() {
    Block none{};
    pool_.Initialize(static_cast<int>(kBlocks), none.data(), static_cast<int>(kBlockSize));
  }
  bool Put(Block& event) { return pool_.AddToQ(event.data()) == 0; }
  bool Take(Block& event) { return pool_.GetData(event.data()) == 0; }

 private:
  ClsMemManager pool_;
};

class FreeList {
 public:
  FreeList() : nodes_(kBlocks) {
    for (Node& node : nodes_) Push(free_, node);
  }

  bool Put(const Block& event) {
    const std::lock_guard lock(mutex_);
    Node* const node = Pop(free_);
    if (node == nullptr) return false;
    node->block = event;
    Push(used_, *node);
    return true;
  }

  bool Take(Block& event) {
    const std::lock_guard lock(mutex_);
    Node* const node = Pop(used_);
    if (node == nullptr) return false;
    event = node->block;
    node->block.fill(0);
    Push(free_, *node);
    return true;
  }

 private:
  struct Node {
    Node* next = nullptr;
    Block block{};
  };
  struct List {
    Node* head = nullptr;
    Node* tail = nullptr;
  };

  static Node* Pop(List& list) {
    Node* const node = list.head;
    if (node != nullptr) list.head = node->next;
    return node;
  }
  static void Push(List& list, Node& node) {
    node.next = nullptr;
    (list.head == nullptr ? list.head : list.tail->next) = &node;
    list.tail = &node;
  }

  std::mutex mutex_;
  std::vector<Node> nodes_;
  List free_;
  List used_;
};

class Deque {
 public:
  bool Put(const Block& event) {
    const std::lock_guard lock(mutex_);
    if (events_.size() == kBlocks) return false;
    events_.push_back(event);
    return true;
  }

  bool Take(Block& event) {
    const std::lock_guard lock(mutex_);
    if (events_.empty()) return false;
    event = events_.front();
    events_.pop_front();
    return true;
  }

 private:
  std::mutex mutex_;
  std::deque<Block> events_;
};

double CpuSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// Gives the calling thread a processor of its own, where there are two: how often the threads meet
// is not to be the scheduler's choice.
void Pin(int which) {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof(allowed), &allowed) != 0 || CPU_COUNT(&allowed) < 2) return;
  for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (!CPU_ISSET(cpu, &allowed) || which-- > 0) continue;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(cpu, &one);
    pthread_setaffinity_np(pthread_self(), sizeof(one), &one);
    return;
  }
}

template <typename Queue>
void Produce(Queue& queue) {
  Block event{};
  for (int i = 0; i < kEvents; ++i) {
    std::memcpy(event.data(), &i, sizeof(i));
    while (!queue.Put(event)) std::this_thread::yield();
  }
}

template <typename Queue>
void Consume(Queue& queue) {
  Block event{};
  for (int i = 0; i < kEvents; ++i) {
    while (!queue.Take(event)) std::this_thread::yield();
    if (std::memcmp(event.data(), &i, sizeof(i)) != 0) throw std::runtime_error("out of order");
  }
}

struct Contender {
  std::string name;
  std::function<void()> pass;
};

template <typename Queue>
Contender Make(const std::string& name) {
  auto queue = std::make_shared<Queue>();
  return {"pool/two-threads/" + name, [=] {
            std::thread producer([&] {
              Pin(0);
              Produce(*queue);
            });
            std::thread consumer([&] {
              Pin(1);
              Consume(*queue);
            });
            producer.join();
            consumer.join();
          }};
}

// One thread, which finds so many events queued each time.
template <typename Queue>
Contender MakeQueued(int queued, const std::string& name) {
  auto queue = std::make_shared<Queue>();
  Block event{};
  for (int i = 0; i < queued; ++i) queue->Put(event);
  return {"pool/queued-" + std::to_string(queued) + '/' + name, [=]() mutable {
            for (int i = 0; i < kEvents; ++i) {
              if (!queue->Put(event) || !queue->Take(event)) throw std::runtime_error("refused");
            }
          }};
}

void Measure(wkagent::bench::ProgramResults& results) {
  std::vector<Contender> contenders = {Make<Pool>("wkagent"), Make<FreeList>("free_list"),
                                       Make<Deque>("deque")};
  for (const int queued : {1, 10, 100, 900}) {
    contenders.push_back(MakeQueued<Pool>(queued, "wkagent"));
    contenders.push_back(MakeQueued<FreeList>(queued, "free_list"));
    contenders.push_back(MakeQueued<Deque>(queued, "deque"));
  }
  for (int round = 0; round < kRounds * results.Repetitions(); ++round) {
    for (const Contender& contender : contenders) {
      const double cpu = CpuSeconds();
      const auto wall = std::chrono::steady_clock::now();
      contender.pass();
      const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - wall;
      results.Add(contender.name, round, CpuSeconds() - cpu, passed.count());
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    wkagent::bench::ProgramResults results(argc, argv);
    Measure(results);
    results.Write();
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "pool: %s\n", error.what());
    return 70;
  }
}
