#ifndef WKAGENT_AGENT_FILE_SOURCE_H
#define WKAGENT_AGENT_FILE_SOURCE_H

#include <memory>
#include <string>

#include "agent/feed.h"
#include "agent/feed_progress.h"
#include "agent/followed_file.h"
#include "agent/options.h"
#include "agent/source.h"

namespace wkagent {

// A file, FIFO or standard input, whose bytes go to a feed.
class FileSource : public Source {
 public:
  explicit FileSource(const Options& options);

  [[nodiscard]] ExitStatus Open() override;
  [[nodiscard]] std::string FileName() const override;
  [[nodiscard]] FeedPosition Start() const override;
  [[nodiscard]] bool GoOnAt(const FeedPosition& position) override;
  void Attach(FeedSink& sink) override;
  [[nodiscard]] int WaitFd() const override { return input_.WaitFd(); }
  [[nodiscard]] State Work(bool ready) override;

 private:
  void Announce();

  const FeedKind kind_;
  const std::string path_;
  FollowedFile input_;
  FeedPosition start_;
  std::unique_ptr<FeedProgress> progress_;
  std::unique_ptr<Feed> feed_;
};

}  // namespace wkagent

#endif  // WKAGENT_AGENT_FILE_SOURCE_H
