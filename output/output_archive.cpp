// What becomes of a live file: it is completed, archived, set aside or removed.

#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <wkagent/output.h>

#include "core/bounded_copy.h"
#include "core/own_file.h"
#include "core/sync_to_disk.h"
#include "core/time_stamp.h"
#include "output/output_state.h"
#include "output/safe_archive.h"
#include "output/unfinished_file.h"

namespace {

constexpr off_t kSmallestArchive = 64;  // what is smaller holds no record

std::string StampNow() { return wkagent::FormatTimeStamp(std::time(nullptr)).data(); }

}  // namespace

// Archives or removes what stands under the live name. False when it must stay, so that no new
// document may be begun.
bool WKOutputFile::ClearLiveFile() {
  if (state_->safe && !wkagent::IsOwnFileOrNothing(fileName)) {
    wkagent::FormatBounded(errorText, "Not a file, or a link: %s", fileName);
    Report();
    return false;
  }
  if (state_->safe) RetryArchive();
  struct stat status {};
  if (stat(fileName, &status) != 0) return true;
  if (state_->safe && status.st_size > 0 && state_->closedFile != fileName) {
    if (!CompleteLiveFile()) return false;
    if (stat(fileName, &status) != 0) return true;
  }
  bool worthKeeping = status.st_size >= kSmallestArchive;
  if (state_->safe) {
    worthKeeping = worthKeeping ? !wkagent::IsEmptyDocument(fileName, rootElement, groupElement)
                                : wkagent::MayHoldRecord(fileName);
  }
  if (worthKeeping) return MoveLiveFile();
  std::remove(fileName);
  return true;
}

// Archives the live file, or sets it aside.
bool WKOutputFile::MoveLiveFile() {
  if (state_->sync.IsOn() && state_->closedFile != fileName) {
    state_->nameError = wkagent::SyncContent(fileName);
  }
  if (RenameLog() == 0 || !state_->safe) return true;

  const wkagent::Move move = wkagent::SetAside(fileName, StampNow());
  if (move.error == 0) {
    SyncMove(move.to.c_str());
    return true;
  }
  wkagent::FormatBounded(errorText, "Cannot set aside %s as %s Error Code:%d", fileName,
                         move.to.c_str(), move.error);
  Report();
  return false;
}

// False when the live file is no XML and cannot be made so.
bool WKOutputFile::CompleteLiveFile() {
  switch (wkagent::CompleteFile(fileName, rootElement, groupElement)) {
    case wkagent::Completion::kWasComplete:
      return true;
    case wkagent::Completion::kCompleted:
      wkagent::FormatBounded(errorText, "Completed unfinished file %s", fileName);
      Report();
      return true;
    case wkagent::Completion::kRepaired:
      wkagent::FormatBounded(errorText, "Removed damaged parts of unfinished file %s", fileName);
      Report();
      return true;
    case wkagent::Completion::kFailed:
      break;
  }
  wkagent::FormatBounded(errorText, "Cannot complete unfinished file %s", fileName);
  Report();
  return false;
}

int WKOutputFile::RenameLog() { return ArchiveFile(fileName, StampNow().c_str()); }

int WKOutputFile::ArchiveFile(const char* from, const char* stamp) {
  const wkagent::Move move =
      state_->safe ? ArchiveToFreeName(from, stamp) : wkagent::Archive(from, rootElement, stamp);
  if (move.error == 0) {
    ++state_->archived;
    SyncMove(move.to.c_str());
    wkagent::FormatBounded(errorText, "Created archive file %s", move.to.c_str());
  } else {
    wkagent::FormatBounded(errorText, "Rename error - From:%s To %s Error Code:%d", from,
                           move.to.c_str(), move.error);
  }
  Report();
  return move.error == 0 ? 0 : -1;
}

wkagent::Move WKOutputFile::ArchiveToFreeName(const char* from, const char* stamp) {
  const bool sameSecond = state_->latestStamp == stamp;
  wkagent::Move move = wkagent::ArchiveWithoutReplacing(from, rootElement, stamp,
                                                        sameSecond ? state_->nextNumber : 0);
  if (move.error == 0) {
    state_->latestStamp = stamp;
    state_->nextNumber = move.number + 1;
  }
  return move;
}

void WKOutputFile::SetSafeArchive(bool safe) { state_->safe = safe; }

int WKOutputFile::RetryArchive() {
  const std::vector<std::string> files = wkagent::FilesSetAside(fileName);
  int left = static_cast<int>(files.size());
  for (const std::string& file : files) {
    if (ArchiveFile(file.c_str(), wkagent::StampOf(fileName, file).c_str()) != 0) break;
    --left;
  }
  return left;
}

int WKOutputFile::GetArchivedCount() { return state_->archived; }
