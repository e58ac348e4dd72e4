#include "monitor/inotify_events.h"

#include <cstdio>

namespace wkagent {

int OpenInotify() {
  const int fd = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
  if (fd < 0) std::perror("inotify_init");
  return fd;
}

int WatchDirectory(int inotifyFd, const char* path) {
  return inotify_add_watch(inotifyFd, path, IN_CLOSE_WRITE);
}

}  // namespace wkagent
