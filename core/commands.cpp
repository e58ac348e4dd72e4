#include "core/commands.h"

#include <atomic>

#include <wkagent/core.h>

#include "core/own_file.h"

namespace wkagent {
namespace {

constexpr mode_t kMode = 0640;
constexpr int kFailed = 1 << 8;  // exit status 1

std::atomic<bool> forbidden = false;

}  // namespace

bool CommandsAreForbidden() { return forbidden; }

int TouchFile(const char* path) {
  const Fd file = OpenOwnFile(path, O_WRONLY | O_CREAT, kMode);
  return file.IsOpen() && futimens(file.Get(), nullptr) == 0 ? 0 : kFailed;
}

int DeleteFile(const char* path) { return RemoveFormer(path) ? 0 : kFailed; }

}  // namespace wkagent

void WKCommands::SetForbidden(bool on) { wkagent::forbidden = on; }
