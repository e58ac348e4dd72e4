#include "output/disk_calls.h"

#include <cerrno>
#include <filesystem>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

namespace {

bool noting = false;
int contentError = 0;
int nameError = 0;
std::vector<std::string> calls;

void Note(const std::string& call) {
  if (noting) calls.push_back(call);
}

std::string NameOf(const std::filesystem::path& path) { return path.filename().string(); }

std::string NameOf(int file) {
  return NameOf(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file)));
}

template <typename Function>
Function* Next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int Result(int error, int result) {
  if (error == 0) return result;
  errno = error;
  return -1;
}

}  // namespace

// These take the places of the C library's.

extern "C" int fdatasync(int file) {
  Note("fdatasync " + NameOf(file));
  return Result(contentError, 0);
}

extern "C" int fsync(int file) {
  Note("fsync " + NameOf(file));
  return Result(nameError, 0);
}

extern "C" int rename(const char* from, const char* to) noexcept {
  Note("rename " + NameOf(std::filesystem::path(from)) + " to " +
       NameOf(std::filesystem::path(to)));
  return Next<int(const char*, const char*)>("rename")(from, to);
}

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept {
  Note("rename " + NameOf(std::filesystem::path(from)) + " to " +
       NameOf(std::filesystem::path(to)));
  return Next<int(int, const char*, int, const char*, unsigned)>("renameat2")(fromFolder, from,
                                                                              toFolder, to, flags);
}

namespace wkagent::test {

DiskCalls::DiskCalls() {
  calls.clear();
  noting = true;
}

DiskCalls::~DiskCalls() {
  noting = false;
  contentError = nameError = 0;
}

std::vector<std::string> DiskCalls::Take() { return std::exchange(calls, {}); }

void DiskCalls::FailContents(int error) { contentError = error; }

void DiskCalls::FailNames(int error) { nameError = error; }

}  // namespace wkagent::test
