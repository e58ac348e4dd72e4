#include <cstdio>
#include <ctime>

#include <wkagent/core.h>

#include "core/bounded_copy.h"
#include "core/handles.h"
#include "core/time_stamp.h"

WKStatusMessage::WKStatusMessage(char* file) : path{} { wkagent::CopyBounded(path, file); }

void WKStatusMessage::WriteMessage(tagStatusMessage* record) {
  if (record == nullptr) return;
  const wkagent::File stream(std::fopen(path, "a+e"));
  if (stream == nullptr) {
    std::fprintf(stderr, "QRAUDIT_ERROR: Unable to open %s\n", path);
    return;
  }
  char stamp[24] = {};
  const std::tm now = wkagent::LocalTime(std::time(nullptr));
  std::strftime(stamp, sizeof(stamp), "%m/%d/%Y - %H:%M:%S ", &now);
  std::fputs(stamp, stream.get());

  const std::string_view message = wkagent::BoundedView(record->message);
  std::fwrite(message.data(), 1, message.size(), stream.get());
  if (record->errorCode != 0) {
    const std::string_view function = wkagent::BoundedView(record->functionName);
    std::fprintf(stream.get(), "  Function: %.*s return error - %d",
                 static_cast<int>(function.size()), function.data(), record->errorCode);
  }
  std::fputs("\n\r", stream.get());
}
