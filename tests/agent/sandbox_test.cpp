#include "agent/sandbox.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <future>
#include <ostream>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netdb.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/agent_home.h"
#include "support/sanitized.h"

namespace wkagent::test {
namespace {

constexpr int kNotConfined = 99;

// How a process ends that enters the sandbox and then does this: as waitpid(2) tells. What `action`
// returns is its exit status.
int EndOf(const std::function<int()>& action) {
  const pid_t child = fork();
  if (child == 0) _exit(EnterSandbox().empty() ? action() : kNotConfined);
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

void ExpectExit(int expected, const std::function<int()>& action) {
  const int status = EndOf(action);
  ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_EQ(expected, WEXITSTATUS(status));
}

// The errno of a system call, 0 where it succeeded.
int ErrorOf(long result) { return result < 0 ? errno : 0; }

struct Call {
  const char* name;
  long number;
};

void PrintTo(const Call& call, std::ostream* out) { *out << call.name; }

#define WKAGENT_CALL(name) \
  Call { #name, SYS_##name }

class DeadlyCall : public ::testing::TestWithParam<Call> {};

TEST_P(DeadlyCall, EndsTheProcess) {
  // Arguments that would do no harm.
  const int status =
      EndOf([] { return ErrorOf(syscall(GetParam().number, -1L, -1L, -1L, -1L, -1L)); });
  ASSERT_TRUE(WIFSIGNALED(status)) << "it went on, with " << WEXITSTATUS(status);
  EXPECT_EQ(SIGSYS, WTERMSIG(status));
}

INSTANTIATE_TEST_SUITE_P(
    Sandbox, DeadlyCall,
    ::testing::Values(
        WKAGENT_CALL(setuid), WKAGENT_CALL(setgid), WKAGENT_CALL(setreuid), WKAGENT_CALL(setregid),
        WKAGENT_CALL(setresuid), WKAGENT_CALL(setresgid), WKAGENT_CALL(setfsuid),
        WKAGENT_CALL(setfsgid), WKAGENT_CALL(setgroups), WKAGENT_CALL(capset),
        WKAGENT_CALL(process_vm_readv), WKAGENT_CALL(process_vm_writev), WKAGENT_CALL(pidfd_open),
        WKAGENT_CALL(pidfd_getfd), WKAGENT_CALL(mount), WKAGENT_CALL(umount2), WKAGENT_CALL(fsopen),
        WKAGENT_CALL(move_mount), WKAGENT_CALL(open_tree), WKAGENT_CALL(pivot_root),
        WKAGENT_CALL(chroot), WKAGENT_CALL(setns), WKAGENT_CALL(unshare),
        WKAGENT_CALL(open_by_handle_at), WKAGENT_CALL(kexec_load), WKAGENT_CALL(kexec_file_load),
        WKAGENT_CALL(init_module), WKAGENT_CALL(finit_module), WKAGENT_CALL(delete_module),
        WKAGENT_CALL(bpf), WKAGENT_CALL(keyctl), WKAGENT_CALL(add_key), WKAGENT_CALL(request_key),
        WKAGENT_CALL(perf_event_open), WKAGENT_CALL(userfaultfd), WKAGENT_CALL(io_uring_setup),
        WKAGENT_CALL(reboot), WKAGENT_CALL(swapon), WKAGENT_CALL(swapoff), WKAGENT_CALL(iopl),
        WKAGENT_CALL(ioperm), WKAGENT_CALL(acct), WKAGENT_CALL(clock_settime),
        WKAGENT_CALL(settimeofday), WKAGENT_CALL(sethostname), WKAGENT_CALL(syslog)),
    [](const auto& test) { return std::string(test.param.name); });

class Sandbox : public ::testing::Test {
 protected:
  AgentHome home_;
};

TEST_F(Sandbox, AnswersCallsThatItDoesNotKnowLikeAnOldKernel) {
  ExpectExit(ENOSYS, [] { return ErrorOf(syscall(SYS_link, "a", "b")); });
  ExpectExit(ENOSYS, [] { return ErrorOf(syscall(SYS_chown, ".", 1, 1)); });
  ExpectExit(ENOSYS, [] { return ErrorOf(syscall(100'000)); });
}

TEST_F(Sandbox, LetsItReadAndWriteFiles) {
  ExpectExit(0, [] {
    std::ofstream("file") << "text";
    std::string text;
    std::ifstream("file") >> text;
    return text == "text" ? 0 : 1;
  });
}

TEST_F(Sandbox, LetsItStartThreads) {
  ExpectExit(0, [] {
    int done = 1;
    std::thread([&] { done = 0; }).join();
    return done;
  });
}

TEST_F(Sandbox, LetsItResolveNamesAndTime) {
  ExpectExit(0, [] {
    addrinfo* found = nullptr;
    const int error = getaddrinfo("localhost", "514", nullptr, &found);
    if (error == 0) freeaddrinfo(found);
    setenv("TZ", "Europe/Berlin", 1);
    const std::time_t noon = 1'700'000'000;
    return error == 0 && std::localtime(&noon) != nullptr ? 0 : 1;
  });
}

TEST_F(Sandbox, LetsItAbort) {
  const int status = EndOf([]() -> int { std::abort(); });
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(SIGABRT, WTERMSIG(status));
}

TEST_F(Sandbox, HoldsThreadsThatRanBefore) {
  const pid_t child = fork();
  if (child == 0) {
    std::promise<void> confined;
    std::thread earlier([future = confined.get_future()]() mutable {
      future.wait();
      syscall(SYS_chroot, -1L);
    });
    if (EnterSandbox().empty()) confined.set_value();
    earlier.join();
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(SIGSYS, WTERMSIG(status));
}

TEST_F(Sandbox, CannotBeLeft) {
  ExpectExit(ENOSYS, [] { return ErrorOf(syscall(SYS_seccomp, 0, 0, nullptr)); });
}

#ifndef WKAGENT_TEST_SANITIZED

// What a sanitizer's runtime must be allowed to do.

INSTANTIATE_TEST_SUITE_P(SandboxOfTheProductOnly, DeadlyCall,
                         ::testing::Values(WKAGENT_CALL(execve), WKAGENT_CALL(execveat),
                                           WKAGENT_CALL(ptrace)),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(Sandbox, StartsNoProcess) {
  ExpectExit(ENOSYS, [] { return ErrorOf(fork()); });
  ExpectExit(ENOSYS, [] { return ErrorOf(syscall(SYS_vfork)); });
  ExpectExit(ENOSYS, [] { return ErrorOf(syscall(SYS_clone3, nullptr, 0)); });
  ExpectExit(127, [] { return WEXITSTATUS(std::system("exit 7")); });
}

TEST_F(Sandbox, SignalsNoOtherProcess) {
  ExpectExit(ENOSYS, [] { return ErrorOf(kill(getppid(), 0)); });
  ExpectExit(ENOSYS, [] { return ErrorOf(syscall(SYS_tgkill, getppid(), getppid(), 0)); });
}

TEST_F(Sandbox, MakesNoMemoryThatIsWrittenAndRun) {
  constexpr int kAll = PROT_READ | PROT_WRITE | PROT_EXEC;
  constexpr std::size_t kPage = 4096;
  ExpectExit(ENOSYS, [] {
    return mmap(nullptr, kPage, kAll, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED ? errno : 0;
  });
  ExpectExit(ENOSYS, [] {
    void* const page =
        mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return ErrorOf(mprotect(page, kPage, kAll));
  });
}

TEST_F(Sandbox, OpensNoOtherSockets) {
  ExpectExit(ENOSYS, [] { return ErrorOf(socket(AF_PACKET, SOCK_RAW, 0)); });
  ExpectExit(ENOSYS, [] { return ErrorOf(socket(AF_VSOCK, SOCK_STREAM, 0)); });
  ExpectExit(0, [] { return ErrorOf(socket(AF_INET, SOCK_STREAM, 0)); });
}

TEST_F(Sandbox, SeesItsLimitsButSetsNone) {
  rlimit limit{};
  ExpectExit(0, [&] { return ErrorOf(getrlimit(RLIMIT_NOFILE, &limit)); });
  ExpectExit(ENOSYS, [&] { return ErrorOf(prlimit(0, RLIMIT_CORE, &limit, nullptr)); });
  ExpectExit(ENOSYS, [] { return ErrorOf(prctl(PR_SET_DUMPABLE, 1)); });
}

#endif

}  // namespace
}  // namespace wkagent::test
