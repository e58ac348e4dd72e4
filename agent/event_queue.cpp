#include "agent/event_queue.h"

#include <algorithm>
#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace wkagent {
namespace {

// The pool copies bytes.
static_assert(std::is_trivially_copyable_v<QueueItem> && std::is_trivially_copyable_v<EventBatch>);

constexpr int kBlocksAtOnce = 64;

// A signal may interrupt the wait.
void WaitFor(CSemaphore& semaphore) {
  while (semaphore.Wait() != 0) {
  }
}

}  // namespace

EventQueue::EventQueue(int places) {
  pushed_.batch.Clear();
  // With less memory than asked for it works with fewer places. Even if no two events share a
  // block, there is a block for each place.
  pool_.Initialize(places, &popped_, sizeof(popped_));
  places_ = static_cast<int>(pool_.GetFreeMemoryBlocks());
  if (places_ == 0 || queued_.Open(0) != 1 || free_.Open(0) != 1) throw std::bad_alloc();
}

void EventQueue::Push(QueueItem& item) {
  PushEvents();
  WaitForPlace();
  Block block{.events = 0, .item = item};
  PushBlock(block);
}

void EventQueue::PushEvent(const tagWKEventData& event) {
  if (pushed_.events + taken_ >= places_) {
    PushEvents();
    WaitForPlace();
  }
  if (!pushed_.batch.Add(event)) {
    PushEvents();
    (void)pushed_.batch.Add(event);  // which an empty batch always takes
  }
  ++pushed_.events;
}

void EventQueue::Flush() {
  PushEvents();
  Announce();
}

void EventQueue::WaitForPlace() {
  while (taken_ >= places_) {
    Announce();
    // The flag is set before the queue is found full once more: the thread that pops will see it
    // when it has emptied the queue, if not before.
    full_ = true;
    if (taken_ < places_) break;
    WaitFor(free_);
  }
}

void EventQueue::PushEvents() {
  if (pushed_.events == 0) return;
  PushBlock(pushed_);
  pushed_.events = 0;
  pushed_.batch.Clear();
}

void EventQueue::PushBlock(Block& block) {
  taken_ += std::max(block.events, 1);
  (void)pool_.AddToQ(&block);  // which has a free block, as there was a free place
  if (++unannounced_ >= kBlocksAtOnce) Announce();
}

void EventQueue::Announce() {
  if (std::exchange(unannounced_, 0) > 0) queued_.Post();
}

void EventQueue::Pop(QueueItem& item) {
  item.kind = QueueItem::Kind::kEvent;
  if (popped_.events > 0 && popped_.batch.Take(item.event)) return;
  PopBlock();
  if (popped_.events == 0) {
    item = popped_.item;
  } else {
    (void)popped_.batch.Take(item.event);  // no empty batch is pushed
  }
}

void EventQueue::PopBlock() {
  for (;;) {
    const bool empty = pool_.GetData(&popped_) != 0;
    if (!empty) taken_ -= std::max(popped_.events, 1);
    if (empty || ++emptied_ >= kBlocksAtOnce) {
      emptied_ = 0;
      if (full_.exchange(false)) free_.Post();
    }
    if (!empty) return;
    WaitFor(queued_);
  }
}

void QueueSink::OnEvent(tagWKEventData& event) { queue_.PushEvent(event); }

void QueueSink::OnMalformed(long line, std::string_view reason) {
  item_.line = line;
  Push(QueueItem::Kind::kMalformed, reason);
}

void QueueSink::OnPlace(const FeedPlace& place, std::int64_t items) {
  item_.kind = QueueItem::Kind::kPlace;
  item_.place = {place, items};
  queue_.Push(item_);
}

void QueueSink::OnEntryBegun(std::string_view id) { Push(QueueItem::Kind::kEntryBegun, id); }

void QueueSink::OnEntryRead(std::string_view csn, std::string_view id) {
  Push(QueueItem::Kind::kEntryRead, std::string(csn).append(1, ' ').append(id));
}

void QueueSink::OnProblem(std::string_view what) { Push(QueueItem::Kind::kProblem, what); }

void QueueSink::Push(QueueItem::Kind kind, std::string_view text) {
  item_.kind = kind;
  item_.text[text.copy(item_.text, sizeof(item_.text) - 1)] = '\0';
  queue_.Push(item_);
}

void QueueSink::Push(const Settings& settings) {
  item_.kind = QueueItem::Kind::kSettings;
  item_.settings = settings;
  queue_.Push(item_);
}

}  // namespace wkagent
