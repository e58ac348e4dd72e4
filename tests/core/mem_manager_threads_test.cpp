// The pool as a host uses it: producers queue events, and a semaphore wakes the consumers.

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <wkagent/core.h>

#include "support/threads.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

constexpr std::uint32_t kProducers = 4;
constexpr std::uint32_t kConsumers = 2;
constexpr std::uint32_t kEvents = 250'000;  // of each producer
constexpr int kBlocks = 1000;

struct Event {
  std::uint32_t producer;
  std::uint32_t number;
};

// What one consumer has taken.
struct Harvest {
  std::array<std::vector<std::uint8_t>, kProducers> taken;  // how often, by producer and number
  std::uint32_t count = 0;
  bool inOrder = true;
};

class MemManagerThreads : public testing::Test {
 protected:
  MemManagerThreads() {
    Event none{};
    EXPECT_EQ(pool_.Initialize(kBlocks, &none, sizeof(none)), 0);
    EXPECT_EQ(filled_.Open(0), 1);
    EXPECT_EQ(free_.Open(kBlocks), 1);
  }

  // Queues the events of one producer. Where the pool is full it waits for a free block, or drops
  // the event as an agent does.
  void Produce(std::uint32_t producer, bool waits) {
    for (std::uint32_t number = 0; number < kEvents; ++number) {
      if (waits) free_.Wait();
      Event event{producer, number};
      if (pool_.AddToQ(&event) == 0) {
        ++queued_;
        filled_.Post();
      } else {
        ++refused_;
      }
    }
  }

  // Takes events until it is woken for none.
  void Consume(Harvest& harvest) {
    std::array<std::int64_t, kProducers> last;
    last.fill(-1);
    for (auto& numbers : harvest.taken) numbers.resize(kEvents);
    Event event{};
    while (filled_.Wait() == 0 && pool_.GetData(&event) == 0) {
      harvest.inOrder = harvest.inOrder && event.number > last[event.producer];
      last[event.producer] = event.number;
      ++harvest.taken[event.producer][event.number];
      ++harvest.count;
      free_.Post();
    }
  }

  void RunAll(bool producersWait) {
    std::vector<std::thread> consumers;
    std::vector<std::thread> producers;
    for (Harvest& harvest : harvests_) {
      consumers.emplace_back([this, &harvest] { Consume(harvest); });
    }
    for (std::uint32_t producer = 0; producer < kProducers; ++producer) {
      producers.emplace_back([=, this] { Produce(producer, producersWait); });
    }
    for (std::thread& producer : producers) producer.join();
    for (std::uint32_t i = 0; i < kConsumers; ++i) filled_.Post();  // for no event: the end
    for (std::thread& consumer : consumers) consumer.join();
  }

  // The number of events that were taken exactly `times`.
  std::uint32_t Taken(std::uint32_t times) const {
    std::uint32_t count = 0;
    for (std::uint32_t producer = 0; producer < kProducers; ++producer) {
      for (std::uint32_t number = 0; number < kEvents; ++number) {
        std::uint32_t taken = 0;
        for (const Harvest& harvest : harvests_) taken += harvest.taken[producer][number];
        count += taken == times ? 1 : 0;
      }
    }
    return count;
  }

  bool EachConsumerSawEachProducersOrder() const {
    return std::all_of(harvests_.begin(), harvests_.end(),
                       [](const Harvest& harvest) { return harvest.inOrder; });
  }

  ClsMemManager pool_;
  CSemaphore filled_;
  CSemaphore free_;
  std::array<Harvest, kConsumers> harvests_;
  std::atomic<std::uint32_t> queued_{0};
  std::atomic<std::uint32_t> refused_{0};
};

TEST_F(MemManagerThreads, AMillionEventsPassThroughAThousandBlocks) {
  RunAll(true);
  EXPECT_EQ(refused_, 0U);
  EXPECT_EQ(Taken(1), kProducers * kEvents);
  EXPECT_TRUE(EachConsumerSawEachProducersOrder());
  EXPECT_EQ(pool_.GetFreeMemoryBlocks(), static_cast<unsigned>(kBlocks));
  EXPECT_EQ(pool_.GetUsedBlocks(), 0U);
}

TEST_F(MemManagerThreads, WhatAFullPoolRefusesIsDroppedAndNothingElse) {
  RunAll(false);
  EXPECT_EQ(queued_ + refused_, kProducers * kEvents);
  EXPECT_EQ(Taken(1), queued_);
  EXPECT_EQ(Taken(0), refused_);
  EXPECT_TRUE(EachConsumerSawEachProducersOrder());
  EXPECT_EQ(pool_.GetUsedBlocks(), 0U);
}

TEST_F(MemManagerThreads, CountsCanBeReadMeanwhile) {
  std::atomic<bool> done = false;
  std::atomic<bool> sane = true;
  std::thread reader([&] {
    while (!done) {
      if (pool_.GetFreeMemoryBlocks() > kBlocks || pool_.GetUsedBlocks() > kBlocks) sane = false;
    }
  });
  RunAll(true);
  done = true;
  reader.join();
  EXPECT_TRUE(sane);
}

TEST_F(MemManagerThreads, MovesWaitForALockThatIsHeldForLong) {
  std::atomic<bool> moved = false;
  std::atomic<pid_t> id = 0;
  pthread_mutex_lock(&pool_.mutex);
  std::thread producer([&] {
    Event event{};
    id = gettid();
    EXPECT_EQ(pool_.AddToQ(&event), 0);
    moved = true;
  });
  EXPECT_TRUE(WaitUntil([&] {
    return id != 0 && ThreadStatus("/proc/self/task/" + std::to_string(id), "State")[0] == 'S';
  }));
  EXPECT_FALSE(moved);
  pthread_mutex_unlock(&pool_.mutex);
  producer.join();
  EXPECT_EQ(pool_.GetUsedBlocks(), 1U);
}

}  // namespace
}  // namespace wkagent::test
