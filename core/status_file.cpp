#include <ctime>

#include <wkagent/core.h>

#include "core/bounded_copy.h"
#include "core/commands.h"
#include "core/shell_command.h"
#include "core/time_stamp.h"

namespace {

constexpr char kTouch[] = "touch ";

}  // namespace

WKStatusFile::WKStatusFile(char* name) : fileName{}, command{}, timeStamp{} {
  wkagent::CopyBounded(fileName, name);
}

void WKStatusFile::GetTimeDateString() {
  wkagent::CopyBounded(timeStamp, wkagent::FormatTimeStamp(std::time(nullptr)).data());
}

int WKStatusFile::CreateFile() {
  GetTimeDateString();
  wkagent::FormatBounded(command, "%s../outbox/%s.%s.xml", kTouch, fileName, timeStamp);
  // The host's callback is handed a copy: what runs is what was built here.
  char path[sizeof(command)];
  char text[sizeof(command)];
  wkagent::CopyBounded(path, command + sizeof(kTouch) - 1);
  wkagent::CopyBounded(text, command);
  LogStatus(text);
  if (wkagent::CommandsAreForbidden()) return wkagent::TouchFile(path);
  return wkagent::RunOnPath(command, "touch", path);
}
