#ifndef WKAGENT_ALERT_FILE_MAILER_SINK_H
#define WKAGENT_ALERT_FILE_MAILER_SINK_H

#include <cstdint>

#include <wkagent/components.h>

namespace wkagent {

// What the mail component tells, an event each. Parameters are as the component passes them.

struct FileMailerConnectionStatusEventParams {
  void* first = nullptr;
  int statusCode = 0;
  void* description = nullptr;
  int reserved = 0;
};
struct FileMailerEndTransferEventParams {
  void* direction = nullptr;
  int reserved = 0;
};
struct FileMailerErrorEventParams {
  void* errorCode = nullptr;
  void* description = nullptr;
  int reserved = 0;
};
struct FileMailerPITrailEventParams {
  void* direction = nullptr;
  void* message = nullptr;
  int reserved = 0;
};
struct FileMailerStartTransferEventParams {
  void* direction = nullptr;
  int reserved = 0;
};
struct FileMailerTransferEventParams {
  void* direction = nullptr;
  void* bytes = nullptr;
  void* text = nullptr;
  int reserved = 0;
};

// One use of the mail component: its handle, which it destroys, and what it does about events,
// which is nothing unless a derived class says otherwise. It belongs to one thread.
class FileMailer {
 public:
  FileMailer();

  virtual int FireConnectionStatus(FileMailerConnectionStatusEventParams* event);
  virtual int FireEndTransfer(FileMailerEndTransferEventParams* event);
  virtual int FireError(FileMailerErrorEventParams* event);
  virtual int FirePITrail(FileMailerPITrailEventParams* event);
  virtual int FireStartTransfer(FileMailerStartTransferEventParams* event);
  virtual int FireTransfer(FileMailerTransferEventParams* event);
  virtual ~FileMailer();

  FileMailer(const FileMailer&) = delete;
  FileMailer& operator=(const FileMailer&) = delete;

  // True when the host has a mail component.
  [[nodiscard]] static bool IsAvailable();

  void SetText(int property, const char* text);

  // Calls a method without parameters, and returns its result.
  int Do(int method);

  // Destroys the handle, once, and returns the component's result.
  int Destroy();

 private:
  void* handle_;
  int destroyed_ = 0;  // the result of Destroy
};

// Hands an event of the component to its FileMailer.
int FileMailerEventSink(void* wrapper, int eventId, int count, void** params, int* lengths);

}  // namespace wkagent

#endif  // WKAGENT_ALERT_FILE_MAILER_SINK_H
