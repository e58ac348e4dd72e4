#include "agent/event_queue.h"

#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "agent/event_condition.h"
#include "support/wait_until.h"

namespace wkagent::test {
namespace {

QueueItem Popped(EventQueue& queue) {
  QueueItem item{};
  queue.Pop(item);
  return item;
}

QueueItem Numbered(long number) {
  QueueItem item{};
  item.kind = QueueItem::Kind::kMalformed;
  item.line = number;
  return item;
}

TEST(EventQueue, HandsItemsOverInTheirOrder) {
  EventQueue queue(10);
  for (long i = 0; i < 10; ++i) {
    QueueItem item = Numbered(i);
    queue.Push(item);
  }
  queue.Flush();
  for (long i = 0; i < 10; ++i) EXPECT_EQ(i, Popped(queue).line);
}

TEST(EventQueue, PushWaitsWhileTheQueueIsFull) {
  EventQueue queue(2);
  std::atomic<int> pushed = 0;
  std::thread reader([&] {
    for (long i = 0; i < 5; ++i) {
      QueueItem item = Numbered(i);
      queue.Push(item);
      ++pushed;
    }
    queue.Flush();
  });
  EXPECT_TRUE(WaitUntil([&] { return pushed == 2; }));
  for (long i = 0; i < 5; ++i) EXPECT_EQ(i, Popped(queue).line);
  reader.join();
  EXPECT_EQ(5, pushed);
}

TEST(EventQueue, PopWaitsUntilSomethingWasPushed) {
  EventQueue queue(2);
  std::atomic<long> popped = -1;
  std::thread worker([&] { popped = Popped(queue).line; });
  QueueItem item = Numbered(7);
  queue.Push(item);
  queue.Flush();
  worker.join();
  EXPECT_EQ(7, popped);
}

// However small the queue, neither thread may be left asleep.
class EventQueueLoad : public ::testing::TestWithParam<int> {};

TEST_P(EventQueueLoad, NothingIsLostDoubledOrStuck) {
  constexpr long kItems = 200'000;
  EventQueue queue(GetParam());
  std::thread reader([&] {
    for (long i = 0; i < kItems; ++i) {
      QueueItem item = Numbered(i);
      queue.Push(item);
    }
    queue.Flush();
  });
  long wrong = 0;
  for (long i = 0; i < kItems; ++i) wrong += Popped(queue).line == i ? 0 : 1;
  reader.join();
  EXPECT_EQ(0, wrong);
}

INSTANTIATE_TEST_SUITE_P(Places, EventQueueLoad, ::testing::Values(1, 2, 255, 256, 257, 5000),
                         ::testing::PrintToStringParamName());

tagWKEventData EventOf(long number) {
  tagWKEventData event{};
  event.Status = number;
  return event;
}

TEST(EventQueue, EventsAndItemsKeepTheirOrder) {
  EventQueue queue(100);
  for (long i = 0; i < 60; ++i) {
    QueueItem item = Numbered(i);
    i % 7 == 3 ? queue.Push(item) : queue.PushEvent(EventOf(i));
  }
  queue.Flush();
  for (long i = 0; i < 60; ++i) {
    const QueueItem item = Popped(queue);
    const bool event = item.kind == QueueItem::Kind::kEvent;
    EXPECT_EQ(i % 7 != 3, event);
    EXPECT_EQ(i, event ? item.event.Status : item.line);
  }
}

TEST(EventQueue, EveryEventTakesAPlace) {
  for (const int places : {1, 2, 30, 5000}) {
    EventQueue queue(places);
    std::atomic<int> pushed = 0;
    std::thread reader([&] {
      for (long i = 0; i <= places; ++i) {
        queue.PushEvent(EventOf(i));
        ++pushed;
      }
      queue.Flush();
    });
    EXPECT_TRUE(WaitUntil([&] { return pushed == places; }));
    for (long i = 0; i <= places; ++i) EXPECT_EQ(i, Popped(queue).event.Status);
    reader.join();
  }
}

TEST_P(EventQueueLoad, NoEventIsLostDoubledOrStuck) {
  constexpr long kEvents = 200'000;
  EventQueue queue(GetParam());
  std::thread reader([&] {
    for (long i = 0; i < kEvents; ++i) queue.PushEvent(EventOf(i));
    queue.Flush();
  });
  long wrong = 0;
  QueueItem item{};
  for (long i = 0; i < kEvents; ++i) {
    queue.Pop(item);
    wrong += item.event.Status == i ? 0 : 1;
  }
  reader.join();
  EXPECT_EQ(0, wrong);
}

TEST(QueueSink, EventsKeepTheirTextsAndCondition) {
  EventQueue queue(1);
  QueueSink sink(queue);
  tagWKEventData event{};
  event.EventID = 21001;
  SetCondition(event, 706);
  std::string("bob").copy(event.UserName, 3);
  sink.OnEvent(event);
  sink.Flush();
  QueueItem item = Popped(queue);
  EXPECT_EQ(QueueItem::Kind::kEvent, item.kind);
  EXPECT_EQ(21001, item.event.EventID);
  EXPECT_EQ(706, GetCondition(item.event));
  EXPECT_STREQ("bob", item.event.UserName);
}

TEST(QueueSink, TextsTooLongForAnItemAreCut) {
  EventQueue queue(1);
  QueueSink sink(queue);
  sink.OnProblem(std::string(10'000, 'x'));
  sink.Flush();
  const QueueItem item = Popped(queue);
  EXPECT_EQ(QueueItem::Kind::kProblem, item.kind);
  EXPECT_EQ(std::string(sizeof(item.text) - 1, 'x'), item.text);
}

TEST(QueueSink, MalformedEntriesKeepLineAndReason) {
  EventQueue queue(1);
  QueueSink sink(queue);
  sink.OnMalformed(12, "no dn");
  sink.Flush();
  const QueueItem item = Popped(queue);
  EXPECT_EQ(QueueItem::Kind::kMalformed, item.kind);
  EXPECT_EQ(12, item.line);
  EXPECT_STREQ("no dn", item.text);
}

}  // namespace
}  // namespace wkagent::test
