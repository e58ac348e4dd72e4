#ifndef WKAGENT_AGENT_FOLLOWED_FILE_H
#define WKAGENT_AGENT_FOLLOWED_FILE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "core/handles.h"

namespace wkagent {

// The input of a feed: a file, a FIFO or standard input, read in blocks without waiting. A followed
// regular file is read on as it grows; when another file takes its name, or when it is truncated,
// reading goes on at the beginning of the new content.
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

  [[nodiscard]] State Read();

  // What the last Read gave; valid until the next.
  [[nodiscard]] std::string_view Block() const { return {buffer_.data(), filled_}; }

  // The descriptor to wait on for more, -1 where waiting for a time must do.
  [[nodiscard]] int WaitFd() const;

  // The errno of what failed.
  [[nodiscard]] int Error() const { return error_; }

 private:
  [[nodiscard]] State AtEnd();
  [[nodiscard]] bool NameHasMoved() const;

  const std::string path_;
  const bool follow_;
  Fd fd_;
  bool regular_ = false;
  bool lastLook_ = false;  // the name has moved: read the rest, then change over
  std::vector<char> buffer_;
  std::size_t filled_ = 0;
  int error_ = 0;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FOLLOWED_FILE_H
