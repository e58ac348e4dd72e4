#ifndef WKAGENT_AGENT_FOLLOWED_FILE_H
#define WKAGENT_AGENT_FOLLOWED_FILE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "agent/feed_place.h"
#include "core/handles.h"

namespace wkagent {

// The input of a feed: a file, a FIFO or standard input, read in blocks without waiting. A followed
// regular file is read on as it grows; when another file takes its name, or when it is truncated,
// reading goes on at the beginning of the new content.
//
// A regular file can be found again after a restart, also under the name that it was rotated to;
// what took its name follows then, also where the file is not followed.
class FollowedFile {
 public:
  enum class State {
    kData,      // `Block` holds what was read
    kNothing,   // nothing to read now, more may come
    kReplaced,  // the content has ended, other content follows
    kEnd,       // all has been read
    kFailed,    // see `Error`
  };

  // "-" is standard input.
  FollowedFile(std::string path, bool follow);

  // Opens the input; false, with `Error`, where that fails.
  [[nodiscard]] bool Open();

  // Goes on in the file of this mark, behind so many bytes, wherever it lies in its folder by now;
  // false where there is none. After Open.
  [[nodiscard]] bool GoOnAt(const FileMark& mark, std::int64_t offset);

  [[nodiscard]] State Read();

  // What the last Read gave; valid until the next.
  [[nodiscard]] std::string_view Block() const { return {buffer_.data(), filled_}; }

  // The descriptor to wait on for more, -1 where waiting for a time must do.
  [[nodiscard]] int WaitFd() const;

  // What the file that is being read is known by; only of a regular file under a name.
  [[nodiscard]] bool HasMark() const { return regular_ && path_ != "-"; }
  [[nodiscard]] FileMark Mark() const;

  // The errno of what failed.
  [[nodiscard]] int Error() const { return error_; }

 private:
  [[nodiscard]] State AtEnd();
  [[nodiscard]] State ChangeOver();
  [[nodiscard]] bool SeekTo(std::int64_t offset);
  void LookAtHead();
  [[nodiscard]] bool NameHasMoved() const;

  const std::string path_;
  const bool follow_;
  Fd fd_;
  bool regular_ = false;
  bool lastLook_ = false;  // the name has moved: read the rest, then change over
  bool rotated_ = false;   // what is being read was rotated before it was opened
  std::string head_;       // of the file
  std::vector<char> buffer_;
  std::size_t filled_ = 0;
  int error_ = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FOLLOWED_FILE_H
