#include "support/process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/wait_until.h"

namespace wkagent::test {
namespace {

[[noreturn]] void Throw(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

Fd Opened(int fd) {
  if (fd < 0) Throw("cannot open a descriptor for a program");
  Fd owner;
  owner.Reset(fd);
  return owner;
}

// A file that is nowhere but in memory: the program never waits for the test to read.
Fd Capture() { return Opened(memfd_create("captured", MFD_CLOEXEC)); }

std::string Content(const Fd& file) {
  std::string text;
  std::array<char, 65536> block{};
  ssize_t length = 0;
  while ((length = pread(file.Get(), block.data(), block.size(), static_cast<off_t>(text.size()))) >
         0) {
    text.append(block.data(), static_cast<std::size_t>(length));
  }
  return text;
}

// Becomes the program; in the child, where nothing but system calls is safe.
[[noreturn]] void Become(char* const* arguments, const char* folder, std::array<int, 3> streams,
                         pid_t parent) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  std::signal(SIGPIPE, SIG_DFL);
  bool ready = getppid() == parent && chdir(folder) == 0;
  for (int stream = 0; stream < 3; ++stream) {
    ready = ready && dup2(streams[static_cast<std::size_t>(stream)], stream) == stream;
  }
  ready = ready && close_range(3, ~0U, 0) == 0;  // what the test's own parent left open, too
  if (ready) execvp(arguments[0], arguments);
  _exit(127);
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

Process::Process(const std::vector<std::string>& command, Input input, const std::string& folder)
    : output_(Capture()), errors_(Capture()) {
  std::vector<std::string> words = command;
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  Fd source;
  if (input == Input::kFromTest) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) Throw("pipe2");
    source.Reset(ends[0]);
    input_.Reset(ends[1]);
    fcntl(input_.Get(), F_SETFL, O_NONBLOCK);
    std::signal(SIGPIPE, SIG_IGN);
  } else {
    source = Opened(open("/dev/null", O_RDONLY | O_CLOEXEC));
  }
  const pid_t parent = getpid();
  id_ = fork();
  if (id_ == 0) {
    Become(arguments.data(), folder.c_str(), {source.Get(), output_.Get(), errors_.Get()}, parent);
  }
  if (id_ < 0) Throw("fork");
}

Process::~Process() {
  if (HasEnded()) return;
  Signal(SIGKILL);
  waitpid(id_, nullptr, 0);
}

void Process::Write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(input_.Get(), text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
      continue;
    }
    if (errno != EAGAIN && errno != EINTR) Throw("writing to a program");
    pollfd room{input_.Get(), POLLOUT, 0};
    if (poll(&room, 1, static_cast<int>(std::chrono::milliseconds(kDeadline).count())) == 0) {
      throw std::runtime_error("the program does not read its input");
    }
  }
}

void Process::Signal(int number) const {
  if (!ended_) kill(id_, number);
}

bool Process::HasEnded() {
  if (ended_) return true;
  int status = 0;
  rusage usage{};
  if (wait4(id_, &status, WNOHANG, &usage) != id_) return false;
  ended_ = true;
  status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  peakMemory_ = usage.ru_maxrss;
  cpuSeconds_ = Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
  return true;
}

int Process::Wait() {
  if (!WaitUntil([this] { return HasEnded(); })) {
    throw std::runtime_error("a program did not end; it wrote: " + Output() + Errors());
  }
  return status_;
}

std::string Process::Output() const { return Content(output_); }

std::string Process::Errors() const { return Content(errors_); }

Ended RunToEnd(const std::vector<std::string>& command, std::string_view input,
               const std::string& folder) {
  Process process(command, Input::kFromTest, folder);
  process.Write(input);
  process.CloseInput();
  const int status = process.Wait();
  return {status, process.Output(), process.Errors()};
}

std::string OutputOf(const std::vector<std::string>& command, std::string_view input) {
  const Ended ended = RunToEnd(command, input);
  if (ended.status != 0) {
    throw std::runtime_error(command.front() + " failed with " + std::to_string(ended.status) +
                             ": " + ended.errors + ended.output);
  }
  return ended.output;
}

}  // namespace wkagent::test
