#ifndef WKAGENT_AGENT_EVENT_QUEUE_H
#define WKAGENT_AGENT_EVENT_QUEUE_H

#include <atomic>
#include <string_view>

#include <wkagent/core.h>

#include "agent/event_batch.h"
#include "agent/feed.h"
#include "agent/settings.h"

namespace wkagent {

// See FeedSink::OnPlace.
struct PlaceReached {
  FeedPlace place;
  std::int64_t items;
};

// What passes from the reader to the worker: an event, or something to do between two events.
struct QueueItem {
  enum class Kind {
    kEvent,
    kMalformed,  // line, text
    kPlace,
    kEntryBegun,  // text: the entry's ID
    kEntryRead,   // text: "CSN ID"
    kProblem,     // text
    kSettings,
    kReload,  // text: the name of a filter file, or none
    kIdle,
    kShowTotals,
    kShowProgress,
    kStop,
  };

  Kind kind;
  long line;
  union {
    tagWKEventData event;
    PlaceReached place;
    Settings settings;
    char text[512];
  };
};

// A queue of a fixed number of places, one for each item or event, between one thread that pushes
// and one that pops. Nothing is dropped: who finds it full waits.
//
// Events that follow one another are handed over together as far as they fit into one block of the
// pool, and threads are woken for many blocks at once: both cost more than most events. So what is
// pushed is only sure to be popped after Flush.
class EventQueue {
 public:
  // Throws std::bad_alloc where not even one place can be had.
  explicit EventQueue(int places);

  void Push(QueueItem& item);
  void PushEvent(const tagWKEventData& event);
  void Flush();

  void Pop(QueueItem& item);

 private:
  struct Block {
    int events;  // 0 for an item
    union {
      QueueItem item;
      EventBatch batch;
    };
  };

  void WaitForPlace();
  void PushEvents();
  void PushBlock(Block& block);
  void Announce();
  void PopBlock();

  ClsMemManager pool_;
  int places_;
  std::atomic<int> taken_ = 0;      // places of what is in the pool
  CSemaphore queued_;               // wakes the thread that pops
  CSemaphore free_;                 // wakes the thread that pushes
  std::atomic<bool> full_ = false;  // which waits, or is about to

  // Of the thread that pushes.
  Block pushed_{};       // events that are not in the pool yet
  int unannounced_ = 0;  // blocks since the last Flush

  // Of the thread that pops.
  Block popped_{};   // the last one, with the events that are left
  int emptied_ = 0;  // blocks since the thread that pushes was woken
};

// The reader's end of a queue. It belongs to one thread.
class QueueSink : public FeedSink {
 public:
  explicit QueueSink(EventQueue& queue) : queue_(queue) {}

  void OnEvent(tagWKEventData& event) override;
  void OnMalformed(long line, std::string_view reason) override;
  void OnPlace(const FeedPlace& place, std::int64_t items) override;
  void OnEntryBegun(std::string_view id) override;
  void OnEntryRead(std::string_view csn, std::string_view id) override;
  void OnProblem(std::string_view what) override;

  void Push(QueueItem::Kind kind, std::string_view text = {});
  void Push(const Settings& settings);

  // Lets the worker know of what was pushed.
  void Flush() { queue_.Flush(); }

 private:
  EventQueue& queue_;
  QueueItem item_{};
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_EVENT_QUEUE_H
