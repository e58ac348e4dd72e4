#ifndef WKAGENT_CORE_WATCHED_CHANGES_H
#define WKAGENT_CORE_WATCHED_CHANGES_H

#include <atomic>
#include <cstdint>

namespace wkagent {

// How often anything that is watched has changed, in the whole process. Whoever has worked
// something out of many objects looks at them again only when this has moved.
inline std::atomic<std::uint64_t> watchedChanges = 0;

inline void CountWatchedChange() { watchedChanges.fetch_add(1, std::memory_order_relaxed); }
[[nodiscard]] inline std::uint64_t WatchedChanges() {
  return watchedChanges.load(std::memory_order_relaxed);
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_WATCHED_CHANGES_H
