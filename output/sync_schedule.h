#ifndef WKAGENT_OUTPUT_SYNC_SCHEDULE_H
#define WKAGENT_OUTPUT_SYNC_SCHEDULE_H

#include <cstdint>
#include <ctime>

namespace wkagent {

// When the records of a file are to reach the disk: once there are so many of them, or once the
// first has waited so long. It has no thread, so the time is only looked at when it is asked.
class SyncSchedule {
 public:
  // What is not positive does not count; with neither it is off.
  void Set(int records, int milliseconds) {
    records_ = records;
    milliseconds_ = milliseconds;
  }

  [[nodiscard]] bool IsOn() const { return records_ > 0 || milliseconds_ > 0; }

  // A record was written. True when it is time.
  [[nodiscard]] bool NoteRecord() {
    if (++waiting_ == 1 && milliseconds_ > 0) first_ = Now();
    return IsDue();
  }

  [[nodiscard]] bool IsDue() const {
    if (waiting_ == 0) return false;
    if (records_ > 0 && waiting_ >= records_) return true;
    return milliseconds_ > 0 && Now() - first_ >= milliseconds_;
  }

  // Everything has reached the disk, or there is nothing any more.
  void Clear() { waiting_ = 0; }

 private:
  // Milliseconds of a clock that is read without a system call.
  [[nodiscard]] static std::int64_t Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000;
  }

  int records_ = 0;
  int milliseconds_ = 0;
  int waiting_ = 0;  // records
  std::int64_t first_ = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_OUTPUT_SYNC_SCHEDULE_H
