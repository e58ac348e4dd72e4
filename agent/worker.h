#ifndef WKAGENT_AGENT_WORKER_H
#define WKAGENT_AGENT_WORKER_H

#include <atomic>
#include <exception>
#include <thread>

#include "agent/event_queue.h"
#include "agent/pipeline.h"

namespace wkagent {

// The thread that takes events off the queue and through the pipeline, which belongs to it until it
// was stopped.
class Worker {
 public:
  Worker(EventQueue& queue, Pipeline& pipeline);

  // Ends the thread as Stop does, but for what that throws.
  ~Worker();

  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Ends the thread once it has taken everything that was pushed before. Throws what ended its work
  // early.
  void Stop();

  // True when the worker can take no more events; it then drops what is pushed.
  [[nodiscard]] bool Failed() const { return failed_; }

 private:
  void Run();
  void Take(QueueItem& item);
  void Join();

  EventQueue& queue_;
  Pipeline& pipeline_;
  std::atomic<bool> failed_ = false;
  std::exception_ptr thrown_;
  std::thread thread_;  // the last member: it uses the others
};

// Prints the totals on standard output.
void PrintTotals(Pipeline& pipeline);

}  // namespace wkagent

#endif  // WKAGENT_AGENT_WORKER_H
