#include "agent/signals.h"

#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace wkagent {

Signals::Signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGTERM, SIGINT, SIGHUP, SIGUSR1}) sigaddset(&set, number);
  if (sigprocmask(SIG_BLOCK, &set, nullptr) != 0 || std::signal(SIGPIPE, SIG_IGN) == SIG_ERR) {
    throw std::system_error(errno, std::generic_category(), "signals");
  }
  fd_.Reset(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!fd_.IsOpen()) throw std::system_error(errno, std::generic_category(), "signalfd");
}

bool Signals::Poll(int input, int milliseconds) {
  pollfd sources[] = {{fd_.Get(), POLLIN, 0}, {input, POLLIN, 0}};
  if (poll(sources, 2, milliseconds) <= 0) return false;
  signalfd_siginfo info{};
  while (read(fd_.Get(), &info, sizeof(info)) == sizeof(info)) {
    switch (info.ssi_signo) {
      case SIGHUP:
        reload_ = true;
        break;
      case SIGUSR1:
        totals_ = true;
        break;
      default:
        stop_ = true;
    }
  }
  return sources[1].revents != 0;
}

bool Signals::TakeReload() { return std::exchange(reload_, false); }

bool Signals::TakeTotals() { return std::exchange(totals_, false); }

}  // namespace wkagent
