#include "faults/fault_plan.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>

#include <dlfcn.h>
#include <elf.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/auxv.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "faults/fault_control.h"
#include "faults/file_names.h"

// Nothing in here allocates, and all system calls go past the C library: its functions are the ones
// that are replaced.

namespace wkagent::faults {
namespace {

enum class Act { kNone, kFail, kShorten, kKillBefore, kKillAfter };

struct ErrorName {
  std::string_view name;
  int number;
};

constexpr ErrorName kErrorNames[] = {{"EACCES", EACCES},
                                     {"EAGAIN", EAGAIN},
                                     {"ECONNREFUSED", ECONNREFUSED},
                                     {"EBADF", EBADF},
                                     {"ECONNRESET", ECONNRESET},
                                     {"EDQUOT", EDQUOT},
                                     {"EINTR", EINTR},
                                     {"EINVAL", EINVAL},
                                     {"EIO", EIO},
                                     {"EMFILE", EMFILE},
                                     {"ENETUNREACH", ENETUNREACH},
                                     {"ENFILE", ENFILE},
                                     {"ENOENT", ENOENT},
                                     {"ENOMEM", ENOMEM},
                                     {"ENOSPC", ENOSPC},
                                     {"EPERM", EPERM},
                                     {"EPIPE", EPIPE},
                                     {"EROFS", EROFS},
                                     {"EXDEV", EXDEV}};

constexpr std::size_t kCalls = static_cast<std::size_t>(Call::kCount);

struct Plan {
  Call call = Call::kCount;
  long first = 0;
  long times = 1;
  Act act = Act::kNone;
  int error = 0;
  char under[PATH_MAX] = {};
  char report[PATH_MAX] = {};
};

Plan plan;
std::atomic<bool> armed{false};
std::atomic<int> pauses{0};
std::atomic<long> counts[kCalls];
std::atomic<long> hits{0};
std::atomic<long> live{0};
std::uintptr_t loaderBegin = 0;
std::uintptr_t loaderEnd = 0;

bool IsMeant(const Subject& subject) {
  if (subject.path == nullptr && subject.file < 0) return true;
  if (subject.path == nullptr && subject.file <= STDERR_FILENO) return false;
  if (plan.under[0] == '\0') return true;
  Text whole;
  if (subject.path != nullptr) {
    Resolve(subject.path, subject.folder, whole);
  } else {
    NameOf(subject.file, whole);
  }
  const std::string_view under = plan.under;
  return whole.View().starts_with(under) &&
         (whole.View().size() == under.size() || whole.View()[under.size()] == '/');
}

void Report() {
  if (plan.report[0] == '\0') return;
  Text text;
  text << "hit " << hits << "\nlive " << live << "\n";
  for (std::size_t i = 0; i < kCalls; ++i) text << kCallNames[i] << " " << counts[i] << "\n";
  const long file =
      syscall(SYS_openat, AT_FDCWD, plan.report, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (file < 0) return;
  syscall(SYS_write, file, text.Get(), text.View().size());
  syscall(SYS_close, file);
}

void Kill() {
  Report();
  syscall(SYS_kill, syscall(SYS_getpid), SIGKILL);
}

[[noreturn]] void Refuse(const char* variable) {
  Text text;
  text << "failing_calls: " << variable << " is not understood\n";
  syscall(SYS_write, STDERR_FILENO, text.Get(), text.View().size());
  _exit(125);
}

void Copy(const char* variable, char* text) {
  const char* const value = std::getenv(variable);
  if (value == nullptr) return;
  if (std::strlen(value) >= PATH_MAX) Refuse(variable);
  std::memcpy(text, value, std::strlen(value) + 1);
}

long Number(const char* variable, long otherwise) {
  const char* const value = std::getenv(variable);
  if (value == nullptr) return otherwise;
  char* end = nullptr;
  const long number = std::strtol(value, &end, 10);
  if (end == value || *end != '\0') Refuse(variable);
  return number;
}

Call CallNamed(std::string_view name) {
  for (std::size_t i = 0; i < kCalls; ++i) {
    if (kCallNames[i] == name) return static_cast<Call>(i);
  }
  Refuse("WKFAULT_CALL");
}

void ReadAct(std::string_view act) {
  constexpr std::string_view kErrno = "errno:";
  if (act == "kill-before") plan.act = Act::kKillBefore;
  if (act == "kill-after") plan.act = Act::kKillAfter;
  if (act == "short") plan.act = Act::kShorten;
  for (const ErrorName& error : kErrorNames) {
    if (!act.starts_with(kErrno) || act.substr(kErrno.size()) != error.name) continue;
    plan.act = Act::kFail;
    plan.error = error.number;
  }
  if (plan.act == Act::kNone) Refuse("WKFAULT_ACT");
}

void FindLoader() {
  const auto* const header = reinterpret_cast<const ElfW(Ehdr)*>(getauxval(AT_BASE));
  if (header == nullptr) return;
  const auto begin = reinterpret_cast<std::uintptr_t>(header);
  const auto* const segments = reinterpret_cast<const ElfW(Phdr)*>(begin + header->e_phoff);
  for (int i = 0; i < header->e_phnum; ++i) {
    if (segments[i].p_type == PT_LOAD) {
      loaderEnd = begin + segments[i].p_vaddr + segments[i].p_memsz;
    }
  }
  loaderBegin = begin;
}

bool StartsAt(std::string_view where) {
  const char* const from = std::getenv("WKFAULT_FROM");
  return (from == nullptr ? "main" : from) == where;
}

bool startsAtMain = false;

__attribute__((constructor(101))) void ReadEnvironment() {
  FindLoader();
  Copy("WKFAULT_UNDER", plan.under);
  Copy("WKFAULT_REPORT", plan.report);
  plan.first = Number("WKFAULT_NTH", 1);
  plan.times = Number("WKFAULT_TIMES", 1);
  if (const char* const call = std::getenv("WKFAULT_CALL")) {
    plan.call = CallNamed(call);
    const char* const act = std::getenv("WKFAULT_ACT");
    ReadAct(act == nullptr ? "" : act);
  }
  startsAtMain = StartsAt("main");
  armed = StartsAt("load");
  for (const char* name : {"LD_PRELOAD", "WKFAULT_UNDER", "WKFAULT_REPORT", "WKFAULT_NTH",
                           "WKFAULT_TIMES", "WKFAULT_CALL", "WKFAULT_ACT", "WKFAULT_FROM"}) {
    unsetenv(name);
  }
  pthread_atfork(nullptr, nullptr, [] {
    armed = false;
    plan.report[0] = '\0';
  });
}

__attribute__((destructor(101))) void ReportAtEnd() { Report(); }

int (*realMain)(int, char**, char**) = nullptr;

// For an exception that nobody takes.
[[noreturn]] void ShowWhereAndAbort() {
  armed = false;
  void* frames[40];
  backtrace_symbols_fd(frames, backtrace(frames, 40), STDERR_FILENO);
  std::abort();
}

int ArmedMain(int argc, char** argv, char** environment) {
  std::set_terminate(ShowWhereAndAbort);
  if (startsAtMain) armed = true;
  return realMain(argc, argv, environment);
}

}  // namespace

Turn::Turn(Call call, Subject subject) noexcept {
  if (!armed || pauses > 0) return;
  const int before = errno;
  const bool meant = IsMeant(subject);
  errno = before;
  if (!meant) return;
  const long number = ++counts[static_cast<std::size_t>(call)];
  if (call != plan.call || number < plan.first) return;
  if (plan.times > 0 && number >= plan.first + plan.times) return;
  ++hits;
  if (plan.act == Act::kKillBefore) Kill();
  Report();
  fails_ = plan.act == Act::kFail;
  shortens_ = plan.act == Act::kShorten;
  killsAfter_ = plan.act == Act::kKillAfter;
  errno = fails_ ? plan.error : before;
}

Turn::~Turn() {
  if (killsAfter_) Kill();
}

void CountLive(long change) noexcept { live += change; }

bool IsInLoader(const void* address) noexcept {
  const auto at = reinterpret_cast<std::uintptr_t>(address);
  return at >= loaderBegin && at < loaderEnd;
}

}  // namespace wkagent::faults

extern "C" {

void wkfault_begin(const char* call, long nth, long times, const char* act, const char* under) {
  using namespace wkagent::faults;
  plan.call = call == nullptr ? Call::kCount : CallNamed(call);
  plan.first = nth;
  plan.times = times;
  if (call != nullptr) ReadAct(act);
  std::memcpy(plan.under, under, std::strlen(under) + 1);
  for (std::atomic<long>& count : counts) count = 0;
  hits = 0;
  armed = true;
}

long wkfault_end() {
  wkagent::faults::armed = false;
  return wkagent::faults::hits;
}

void wkfault_pause() { ++wkagent::faults::pauses; }

void wkfault_resume() { --wkagent::faults::pauses; }

long wkfault_count(const char* call) {
  return wkagent::faults::counts[static_cast<std::size_t>(wkagent::faults::CallNamed(call))];
}

long wkfault_live() { return wkagent::faults::live; }

using MainFunction = int (*)(int, char**, char**);
using StartFunction = int (*)(MainFunction, int, char**, void (*)(), void (*)(), void (*)(), void*);

// The C library's way into main.
__attribute__((visibility("default"))) int __libc_start_main(MainFunction main, int argc,
                                                             char** argv, void (*begin)(),
                                                             void (*end)(), void (*loaderEnd)(),
                                                             void* stack) {
  wkagent::faults::realMain = main;
  const auto start = reinterpret_cast<StartFunction>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(wkagent::faults::ArmedMain, argc, argv, begin, end, loaderEnd, stack);
}
}
