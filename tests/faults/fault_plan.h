#ifndef WKAGENT_TESTS_FAULTS_FAULT_PLAN_H
#define WKAGENT_TESTS_FAULTS_FAULT_PLAN_H

// What the failing_calls library counts, and which call it lets fail. It is preloaded into a
// program and told by the environment:
//
//   LD_PRELOAD=libfailing_calls.so   its path
//   WKFAULT_CALL=rename              the kind of call, a name of kCallNames; none: only counts
//   WKFAULT_NTH=3                    the first call of that kind to act upon
//   WKFAULT_TIMES=1                  so many calls in a row; 0: all from then on
//   WKFAULT_ACT=errno:ENOSPC         fails; "short" takes half of what is written, sent or read;
//                                    "kill-before" and "kill-after" end the process by SIGKILL
//   WKFAULT_UNDER=/path/of/home      of calls on files, only those on files below this folder
//   WKFAULT_REPORT=/path/of/report   where the numbers of calls go, at the fault and at the end
//   WKFAULT_FROM=main                "load": counts what is called before main, too
//
// The report has a line "hit N", the number of calls that were acted upon, one "live N", the blocks
// of memory not given back, and a line a kind of call: "rename 7". Programs that the process starts
// do not inherit any of this; its own forked copies are neither counted nor touched.

#include <cstddef>

namespace wkagent::faults {

enum class Call {
  kAllocate,  // malloc and its like, operator new
  kOpen,      // open, openat, creat, fopen, mkstemp, opendir
  kRead,      // read, recv of a file's content: read, fread, fgets, getline
  kWrite,     // write, writev, pwrite
  kStream,    // fwrite, fputs, fflush, fclose of a stream that was written
  kRename,    // rename, renameat, renameat2, link
  kUnlink,    // unlink, unlinkat, remove
  kMkdir,
  kSync,      // fsync, fdatasync
  kTruncate,  // ftruncate, truncate
  kLock,      // flock
  kSocket,
  kConnect,
  kSend,  // send, sendto, sendmsg
  kRecv,  // recv
  kTls,   // SSL_CTX_new, SSL_new, SSL_connect, SSL_write, SSL_read
  kThread,
  kWatch,  // inotify_init1, inotify_add_watch
  kCount
};

inline constexpr const char* kCallNames[] = {
    "allocate", "open",  "read", "write",    "stream",         "rename",
    "unlink",   "mkdir", "sync", "truncate", "lock",           "socket",
    "connect",  "send",  "recv", "tls",      "pthread_create", "watch"};
static_assert(sizeof(kCallNames) / sizeof(*kCallNames) == static_cast<std::size_t>(Call::kCount));

// What a call is about. The path filter leaves out calls on other files; a call on neither a path
// nor a descriptor is always counted.
struct Subject {
  const char* path = nullptr;
  int folder = -100;  // AT_FDCWD
  int file = -1;
};

// One call's turn: counts it, ends the process before it where that is wanted, and tells what to
// do. The process is ended after it by the destructor.
class Turn {
 public:
  explicit Turn(Call call, Subject subject = {}) noexcept;
  ~Turn();
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  // True where the call is to fail; errno says how.
  [[nodiscard]] bool Fails() const noexcept { return fails_; }

  // How much of a write, send or read is to be done.
  [[nodiscard]] std::size_t Portion(std::size_t size) const noexcept {
    return shortens_ && size > 1 ? size / 2 : size;
  }

 private:
  bool fails_ = false;
  bool shortens_ = false;
  bool killsAfter_ = false;
};

// The number of blocks of memory that were taken and not given back.
void CountLive(long change) noexcept;

// True for an address in the dynamic loader.
[[nodiscard]] bool IsInLoader(const void* address) noexcept;

}  // namespace wkagent::faults

#endif  // WKAGENT_TESTS_FAULTS_FAULT_PLAN_H
