#ifndef WKAGENT_AGENT_FEED_PROGRESS_H
#define WKAGENT_AGENT_FEED_PROGRESS_H

#include <cstdint>

#include "agent/feed.h"
#include "agent/feed_place.h"

namespace wkagent {

// Stands between the feed of a file and its sink: knows how far the file has been read, and leaves
// out what an earlier process has dealt with.
class FeedProgress : public FeedSink {
 public:
  explicit FeedProgress(FeedSink& next) : next_(next) {}

  // Goes on at this place, and hands none of the next `done` events and malformed entries on.
  void StartAt(const FeedPlace& place, std::int64_t done);

  // Another file, or new content, is read from its beginning.
  void StartFile(const FileMark& file);

  // More is known of the file that is being read.
  void SetFile(const FileMark& file) { place_.file = file; }

  // Tells the sink how far everything has been handed over, unless it knows.
  void Announce();

  void OnEvent(tagWKEventData& event) override;
  void OnMalformed(long line, std::string_view reason) override;
  void OnProblem(std::string_view what) override { next_.OnProblem(what); }
  void OnBoundary(std::int64_t offset, long line) override;

 private:
  [[nodiscard]] bool IsDone();

  FeedSink& next_;
  FeedPlace place_;
  std::int64_t items_ = 0;  // events and malformed entries since that place
  std::int64_t skip_ = 0;   // of those that are still to come
  FeedPlace announced_;
  std::int64_t announcedItems_ = -1;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FEED_PROGRESS_H
