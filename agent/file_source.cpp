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

std::string FileSource::FileName() const {
  if (!input_.HasMark()) return {};
  return (kind_ == FeedKind::kJsonl ? "jsonl:" : "auditlog:") + path_;
}

FeedPosition FileSource::Start() const {
  FeedPosition start = start_;
  start.place.file = input_.Mark();
  return start;
}

bool FileSource::GoOnAt(const FeedPosition& position) {
  if (!input_.GoOnAt(position.place.file, position.place.offset)) return false;
  start_ = position;
  return true;
}

void FileSource::Attach(FeedSink& sink) {
  progress_ = std::make_unique<FeedProgress>(sink);
  if (kind_ == FeedKind::kJsonl) {
    feed_ = std::make_unique<JsonlFeed>(*progress_);
  } else {
    feed_ = std::make_unique<AuditlogFeed>(*progress_, HostName());
  }
  progress_->StartAt(Start().place, start_.done);
  feed_->StartAt(start_.place.offset, start_.place.line);
  Announce();
}

void FileSource::Announce() {
  if (!input_.HasMark()) return;
  progress_->SetFile(input_.Mark());
  progress_->Announce();
}

Source::State FileSource::Work(bool ready) {
  // Standard input may block.
  if (input_.WaitFd() >= 0 && !ready) return State::kIdle;
  switch (input_.Read()) {
    case FollowedFile::State::kData:
      Announce();  // more is known of the file, by which its events may have to be found again
      feed_->Take(input_.Block());
      Announce();
      return State::kBusy;
    case FollowedFile::State::kNothing:
      return State::kIdle;
    case FollowedFile::State::kReplaced:
      feed_->Finish();
      progress_->StartFile(input_.Mark());
      Announce();
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
