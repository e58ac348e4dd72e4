#include "agent/worker.h"

#include <cstdio>
#include <string>
#include <string_view>
#include <utility>

#include <pthread.h>

#include "agent/report.h"

namespace wkagent {
namespace {

void ShowProgress(Pipeline& pipeline) {
  const Totals totals = pipeline.GetTotals();
  ReportProgress(std::to_string(totals.read) + " events read, " + std::to_string(totals.kept) +
                 " kept");
}

void TakeEntryRead(Pipeline& pipeline, std::string_view text) {
  const std::size_t blank = text.find(' ');
  if (blank != std::string_view::npos) {
    pipeline.OnEntryRead(text.substr(0, blank), text.substr(blank + 1));
  }
}

}  // namespace

void PrintTotals(Pipeline& pipeline) {
  ReportProgress({});
  std::puts(pipeline.Summary().c_str());
  std::fflush(stdout);
}

Worker::Worker(EventQueue& queue, Pipeline& pipeline)
    : queue_(queue), pipeline_(pipeline), thread_([this] { Run(); }) {}

Worker::~Worker() { Join(); }

void Worker::Stop() {
  Join();
  if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
}

void Worker::Join() {
  if (!thread_.joinable()) return;
  QueueItem stop{};
  stop.kind = QueueItem::Kind::kStop;
  queue_.Push(stop);
  queue_.Flush();
  thread_.join();
}

void Worker::Run() {
  pthread_setname_np(pthread_self(), "wk-worker");
  QueueItem item{};
  do {
    queue_.Pop(item);
    if (thrown_) continue;
    try {
      Take(item);
      if (pipeline_.Failed()) failed_ = true;
    } catch (...) {
      // The reader is told by `failed_`; until it stops the thread, nothing may block it.
      thrown_ = std::current_exception();
      failed_ = true;
    }
  } while (item.kind != QueueItem::Kind::kStop);
}

void Worker::Take(QueueItem& item) {
  switch (item.kind) {
    case QueueItem::Kind::kEvent:
      pipeline_.OnEvent(item.event);
      break;
    case QueueItem::Kind::kMalformed:
      pipeline_.OnMalformed(item.line, item.text);
      break;
    case QueueItem::Kind::kPlace:
      pipeline_.OnPlace(item.place.place, item.place.items);
      break;
    case QueueItem::Kind::kEntryBegun:
      pipeline_.OnEntryBegun(item.text);
      break;
    case QueueItem::Kind::kEntryRead:
      TakeEntryRead(pipeline_, item.text);
      break;
    case QueueItem::Kind::kProblem:
      pipeline_.OnProblem(item.text);
      break;
    case QueueItem::Kind::kSettings:
      pipeline_.Apply(item.settings);
      break;
    case QueueItem::Kind::kReload:
      pipeline_.Reload(item.text);
      break;
    case QueueItem::Kind::kIdle:
      pipeline_.Idle();
      break;
    case QueueItem::Kind::kShowTotals:
      PrintTotals(pipeline_);
      break;
    case QueueItem::Kind::kShowProgress:
      ShowProgress(pipeline_);
      break;
    case QueueItem::Kind::kStop:
      break;
  }
}

}  // namespace wkagent
