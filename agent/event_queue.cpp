#include "agent/event_queue.h"

#include <new>
#include <string>
#include <type_traits>
#include <utility>

namespace wkagent {
namespace {

static_assert(std::is_trivially_copyable_v<QueueItem>);  // the pool copies bytes

constexpr int kBatch = 256;

// A signal may interrupt the wait.
void WaitFor(CSemaphore& semaphore) {
  while (semaphore.Wait() != 0) {
  }
}

}  // namespace

EventQueue::EventQueue(int places) {
  QueueItem empty{};
  // With less memory than asked for it works with fewer places.
  pool_.Initialize(places, &empty, sizeof(empty));
  if (pool_.GetFreeMemoryBlocks() == 0 || queued_.Open(0) != 1 || free_.Open(0) != 1) {
    throw std::bad_alloc();
  }
}

void EventQueue::Push(QueueItem& item) {
  while (pool_.AddToQ(&item) != 0) {
    Flush();
    // The flag is set before the queue is found full once more: the thread that pops will see it
    // when it has emptied the queue, if not before.
    full_ = true;
    if (pool_.AddToQ(&item) == 0) break;
    WaitFor(free_);
  }
  if (++unannounced_ >= kBatch) Flush();
}

void EventQueue::Flush() {
  if (std::exchange(unannounced_, 0) > 0) queued_.Post();
}

void EventQueue::Pop(QueueItem& item) {
  for (;;) {
    const bool empty = pool_.GetData(&item) != 0;
    if (empty || ++popped_ >= kBatch) {
      popped_ = 0;
      if (full_.exchange(false)) free_.Post();
    }
    if (!empty) return;
    WaitFor(queued_);
  }
}

void QueueSink::OnEvent(tagWKEventData& event) {
  item_.kind = QueueItem::Kind::kEvent;
  item_.event = event;
  queue_.Push(item_);
}

void QueueSink::OnMalformed(long line, std::string_view reason) {
  item_.line = line;
  Push(QueueItem::Kind::kMalformed, reason);
}

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
