#include "agent/file_source.h"

#include <array>
#include <cstring>

#include <unistd.h>

#include "agent/auditlog_feed.h"
#include "agent/jsonl_feed.h"
#include "agent/report.h"

namespace wkagent {
namespace {

std::string HostName() {
  std::array<char, 256> name{};
  gethostname(name.data(), name.size() - 1);
  return name.data();
}

}  // namespace

FileSource::FileSource(const Options& options)
    : kind_(options.feedKind), path_(options.feedPath), input_(path_, options.follow) {}

ExitStatus FileSource::Open() {
  if (input_.Open()) return kDone;
  Report(path_ + ": " + std::strerror(input_.Error()));
  return kInputMissing;
}

void FileSource::Attach(FeedSink& sink) {
  if (kind_ == FeedKind::kJsonl) {
    feed_ = std::make_unique<JsonlFeed>(sink);
  } else {
    feed_ = std::make_unique<AuditlogFeed>(sink, HostName());
  }
}

Source::State FileSource::Work(bool ready) {
  // Standard input may block.
  if (input_.WaitFd() >= 0 && !ready) return State::kIdle;
  switch (input_.Read()) {
    case FollowedFile::State::kData:
      feed_->Take(input_.Block());
      return State::kBusy;
    case FollowedFile::State::kNothing:
      return State::kIdle;
    case FollowedFile::State::kReplaced:
      feed_->Finish();
      return State::kBusy;
    case FollowedFile::State::kEnd:
      feed_->Finish();
      return State::kEnd;
    case FollowedFile::State::kFailed:
      break;
  }
  Report(path_ + ": " + std::strerror(input_.Error()));
  return State::kFailed;
}

}  // namespace wkagent
