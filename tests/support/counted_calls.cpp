#include "support/counted_calls.h"

#include <cstdarg>
#include <map>
#include <mutex>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::mutex countsMutex;
bool counting = false;
std::map<std::string, int> counts;

void Count(const char* name) {
  const std::lock_guard<std::mutex> lock(countsMutex);
  if (counting) ++counts[name];
}

void Restart(bool on) {
  const std::lock_guard<std::mutex> lock(countsMutex);
  counting = on;
  counts.clear();
}

template <typename Function>
Function* Next(const char* name) {
  Count(name);
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These take the places of the C library's, also for the shared library.
#define WKAGENT_COUNTED(result) extern "C" __attribute__((visibility("default"))) result

WKAGENT_COUNTED(int) poll(pollfd* events, nfds_t size, int timeout) {
  return Next<int(pollfd*, nfds_t, int)>("poll")(events, size, timeout);
}

WKAGENT_COUNTED(ssize_t) recv(int socket, void* buffer, std::size_t size, int flags) {
  return Next<ssize_t(int, void*, std::size_t, int)>("recv")(socket, buffer, size, flags);
}

WKAGENT_COUNTED(int)
getsockopt(int socket, int level, int name, void* value, socklen_t* size) noexcept {
  return Next<int(int, int, int, void*, socklen_t*)>("getsockopt")(socket, level, name, value,
                                                                   size);
}

WKAGENT_COUNTED(int)
setsockopt(int socket, int level, int name, const void* value, socklen_t size) noexcept {
  return Next<int(int, int, int, const void*, socklen_t)>("setsockopt")(socket, level, name, value,
                                                                        size);
}

WKAGENT_COUNTED(int) fcntl(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  return Next<int(int, int, ...)>("fcntl")(file, command, argument);
}

WKAGENT_COUNTED(ssize_t) write(int file, const void* text, std::size_t size) {
  return Next<ssize_t(int, const void*, std::size_t)>("write")(file, text, size);
}

WKAGENT_COUNTED(int) stat(const char* path, struct stat* status) noexcept {
  return Next<int(const char*, struct stat*)>("stat")(path, status);
}

WKAGENT_COUNTED(int) fstat(int file, struct stat* status) noexcept {
  return Next<int(int, struct stat*)>("fstat")(file, status);
}

WKAGENT_COUNTED(int) mkdir(const char* path, mode_t mode) noexcept {
  return Next<int(const char*, mode_t)>("mkdir")(path, mode);
}

namespace wkagent::test {

CountedCalls::CountedCalls() { Restart(true); }

CountedCalls::~CountedCalls() { Restart(false); }

std::string CountedCalls::Text() const {
  const std::lock_guard<std::mutex> lock(countsMutex);
  std::string text;
  for (const auto& [name, count] : counts) text += name + ' ' + std::to_string(count) + ' ';
  if (!text.empty()) text.pop_back();
  return text;
}

}  // namespace wkagent::test
