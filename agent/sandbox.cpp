#include "agent/sandbox.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include <linux/prctl.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include "agent/sandbox_calls.h"
#include "agent/sanitized.h"

namespace wkagent {
namespace {

constexpr std::uint64_t kNameMemory = 0x53564d41;  // PR_SET_VMA, newer than some kernels' headers

// The filter while it is put together; keeps the first error.
class Filter {
 public:
  Filter() : context_(seccomp_init(SCMP_ACT_ERRNO(ENOSYS))) {
    if (context_ == nullptr) Note(-ENOMEM);
    Note(seccomp_attr_set(Get(), SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS));
    Note(seccomp_attr_set(Get(), SCMP_FLTATR_CTL_TSYNC, 1));
  }

  void Add(std::uint32_t action, std::span<const int> calls) {
    for (const int call : calls) Note(seccomp_rule_add(Get(), action, call, 0));
  }

  // Allows a call where one argument, as far as `mask` reaches, is `value`.
  void AllowIf(int call, unsigned argument, std::uint64_t mask, std::uint64_t value) {
    AllowIfAll(call, {{argument, SCMP_CMP_MASKED_EQ, mask, value}});
  }

  // The same for an argument of 32 bits, of which the kernel looks at no more.
  void AllowIfInt(int call, unsigned argument, std::uint32_t value) {
    AllowIf(call, argument, UINT32_MAX, value);
  }

  // Allows a call where two arguments are 0.
  void AllowIfBothAreNull(int call, unsigned first, unsigned second) {
    AllowIfAll(call, {{first, SCMP_CMP_EQ, 0, 0}, {second, SCMP_CMP_EQ, 0, 0}});
  }

  // Empty, or what went wrong.
  [[nodiscard]] std::string Load() {
    if (error_ == 0) Note(seccomp_load(Get()));
    return error_ == 0 ? "" : std::strerror(-error_);
  }

 private:
  struct Releaser {
    void operator()(void* context) const { seccomp_release(context); }
  };

  void AllowIfAll(int call, const std::vector<scmp_arg_cmp>& arguments) {
    Note(seccomp_rule_add_array(Get(), SCMP_ACT_ALLOW, call,
                                static_cast<unsigned>(arguments.size()), arguments.data()));
  }

  [[nodiscard]] scmp_filter_ctx Get() const { return context_.get(); }
  void Note(int result) {
    if (error_ == 0 && result < 0) error_ = result;
  }

  const std::unique_ptr<void, Releaser> context_;
  int error_ = 0;
};

void AllowByArguments(Filter& filter) {
  // Threads, but no processes. What clone3 is asked for lies in memory, where no filter can see it;
  // the C library falls back to clone.
  filter.AllowIf(SCMP_SYS(clone), 0, CLONE_THREAD, CLONE_THREAD);
  for (const int family : {AF_UNIX, AF_INET, AF_INET6, AF_NETLINK}) {
    filter.AllowIfInt(SCMP_SYS(socket), 0, static_cast<std::uint32_t>(family));
  }
  filter.AllowIfInt(SCMP_SYS(socketpair), 0, AF_UNIX);
  // No memory that can be written and executed.
  constexpr std::uint64_t kWrite = PROT_WRITE;
  constexpr std::uint64_t kRun = PROT_EXEC;
  for (const int call : {SCMP_SYS(mmap), SCMP_SYS(mprotect)}) {
    for (const std::uint64_t one : {std::uint64_t{0}, kWrite, kRun}) {
      filter.AllowIf(call, 2, kWrite | kRun, one);
    }
  }
  for (const int request : {TCGETS, TIOCGWINSZ, FIONREAD, FIONBIO}) {
    filter.AllowIfInt(SCMP_SYS(ioctl), 1, static_cast<std::uint32_t>(request));
  }
  for (const std::uint64_t option :
       {std::uint64_t{PR_SET_NAME}, std::uint64_t{PR_GET_NAME}, kNameMemory}) {
    filter.AllowIfInt(SCMP_SYS(prctl), 0, static_cast<std::uint32_t>(option));
  }
  // Its own limits, to look at.
  filter.AllowIfBothAreNull(SCMP_SYS(prlimit64), 0, 2);
  // Signals to itself, by which it ends itself.
  for (const int call : {SCMP_SYS(kill), SCMP_SYS(tgkill)}) {
    filter.AllowIfInt(call, 0, static_cast<std::uint32_t>(getpid()));
  }
}

}  // namespace

std::string EnterSandbox() {
  Filter filter;
  filter.Add(SCMP_ACT_ALLOW, kAllowedCalls);
  filter.Add(SCMP_ACT_KILL_PROCESS, kDeadlyCalls);
  filter.Add(kSanitized ? SCMP_ACT_ALLOW : SCMP_ACT_KILL_PROCESS, kSanitizersCalls);
  if (kSanitized) {
    filter.Add(SCMP_ACT_ALLOW, kMoreForSanitizers);
  } else {
    AllowByArguments(filter);
  }
  return filter.Load();
}

}  // namespace wkagent
