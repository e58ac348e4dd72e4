#include "alert/file_mailer_sink.h"

#include <utility>

// The host need not have the component.
#pragma weak FileMailer_Create
#pragma weak FileMailer_Set
#pragma weak FileMailer_Do
#pragma weak FileMailer_Destroy

namespace wkagent {
namespace {

enum Event {
  kConnectionStatus = 1,
  kEndTransfer,
  kError,
  kPITrail,
  kStartTransfer,
  kTransfer,
};

// How many parameters each event has.
constexpr int kCounts[] = {0, 3, 1, 2, 2, 1, 3};

int ToInt(void* value) { return static_cast<int>(reinterpret_cast<std::intptr_t>(value)); }

}  // namespace

FileMailer::FileMailer() : handle_(FileMailer_Create(FileMailerEventSink, this, "")) {}

FileMailer::~FileMailer() { Destroy(); }

int FileMailer::FireConnectionStatus(FileMailerConnectionStatusEventParams* /*event*/) { return 0; }
int FileMailer::FireEndTransfer(FileMailerEndTransferEventParams* /*event*/) { return 0; }
int FileMailer::FireError(FileMailerErrorEventParams* /*event*/) { return 0; }
int FileMailer::FirePITrail(FileMailerPITrailEventParams* /*event*/) { return 0; }
int FileMailer::FireStartTransfer(FileMailerStartTransferEventParams* /*event*/) { return 0; }
int FileMailer::FireTransfer(FileMailerTransferEventParams* /*event*/) { return 0; }

bool FileMailer::IsAvailable() {
  return FileMailer_Create != nullptr && FileMailer_Set != nullptr && FileMailer_Do != nullptr &&
         FileMailer_Destroy != nullptr;
}

void FileMailer::SetText(int property, const char* text) {
  FileMailer_Set(handle_, property, 0, text, 0);
}

int FileMailer::Do(int method) {
  void* params[] = {nullptr};
  int lengths[] = {0};
  return FileMailer_Do(handle_, method, 0, params, lengths);
}

int FileMailer::Destroy() {
  if (void* const handle = std::exchange(handle_, nullptr); handle != nullptr) {
    destroyed_ = FileMailer_Destroy(handle);
  }
  return destroyed_;
}

int FileMailerEventSink(void* wrapper, int eventId, int count, void** params, int* /*lengths*/) {
  if (wrapper == nullptr || eventId < kConnectionStatus || eventId > kTransfer) return 0;
  if (params == nullptr || count < kCounts[eventId]) return 0;
  FileMailer& mailer = *static_cast<FileMailer*>(wrapper);
  switch (eventId) {
    case kConnectionStatus: {
      FileMailerConnectionStatusEventParams event{params[0], ToInt(params[1]), params[2]};
      return mailer.FireConnectionStatus(&event);
    }
    case kEndTransfer: {
      FileMailerEndTransferEventParams event{params[0]};
      return mailer.FireEndTransfer(&event);
    }
    case kError: {
      FileMailerErrorEventParams event{params[0], params[1]};
      return mailer.FireError(&event);
    }
    case kPITrail: {
      FileMailerPITrailEventParams event{params[0], params[1]};
      return mailer.FirePITrail(&event);
    }
    case kStartTransfer: {
      FileMailerStartTransferEventParams event{params[0]};
      return mailer.FireStartTransfer(&event);
    }
    default: {
      FileMailerTransferEventParams event{params[0], params[1], params[2]};
      return mailer.FireTransfer(&event);
    }
  }
}

}  // namespace wkagent
