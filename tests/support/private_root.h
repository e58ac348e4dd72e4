#ifndef WKAGENT_TESTS_SUPPORT_PRIVATE_ROOT_H
#define WKAGENT_TESTS_SUPPORT_PRIVATE_ROOT_H

// Full disks, read-only folders and other file systems of which only the test knows.
//
//   InPrivateRoot([&] {
//     MountTmpfs(home.Path("tmp"), "size=16k");
//     ... expectations about a disk of 16 KiB ...
//   });
//
// The body runs in a child process, in a mount namespace of its own: nobody else sees its mounts,
// and they end with it. What it changes in memory is lost to the test; what it changes in files
// outside its mounts stays.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/handles.h"

namespace wkagent::test {

inline void RequireMounted(int result, const std::string& what) {
  if (result != 0) throw std::system_error(errno, std::generic_category(), "mount " + what);
}

// Mounts an empty file system, to which its owner alone may write; options as of mount(8):
// "size=16k", "nr_inodes=4".
inline void MountTmpfs(const std::string& path, const std::string& options) {
  const std::string all = "mode=755," + options;
  RequireMounted(mount("tmpfs", path.c_str(), "tmpfs", 0, all.c_str()), "tmpfs on " + path);
}

// Makes a folder and what is in it read-only, for root as well.
inline void MountReadOnly(const std::string& path) {
  const char* const folder = path.c_str();
  RequireMounted(mount(folder, folder, nullptr, MS_BIND, nullptr), "itself on " + path);
  RequireMounted(mount(nullptr, folder, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr),
                 "read-only " + path);
}

inline void Unmount(const std::string& path) {
  RequireMounted(umount(path.c_str()), "off " + path);
}

// Steps out of a chroot to the file system's root while `action` runs. Needs CAP_SYS_CHROOT.
inline void OutsideChroot(const std::function<void()>& action) {
  const Fd inside(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
  // A working directory above the root is not held back by it.
  bool out = chdir("/") == 0 && chroot("tmp") == 0;
  constexpr int kDeepest = 64;
  for (int i = 0; out && i < kDeepest; ++i) out = chdir("..") == 0;
  if (!out || chroot(".") != 0) {
    throw std::system_error(errno, std::generic_category(), "leaving a chroot");
  }
  action();
  if (fchdir(inside.Get()) != 0 || chroot(".") != 0) {
    throw std::system_error(errno, std::generic_category(), "entering a chroot");
  }
}

// Leaves the mounts of all others. Needs CAP_SYS_ADMIN.
inline void EnterPrivateRoot() {
  if (unshare(CLONE_NEWNS) != 0) {
    throw std::system_error(errno, std::generic_category(),
                            "this test mounts file systems of its own, so it must run as root, "
                            "with CAP_SYS_ADMIN; unshare");
  }
  const std::filesystem::path folder = std::filesystem::current_path();
  const auto makePrivate = [] {
    return mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
  };
  if (makePrivate() == 0) return;
  // The root of a chroot is no mount of its own, so the one that it lies in must be changed.
  OutsideChroot([&] { RequireMounted(makePrivate(), "private /"); });
  std::filesystem::current_path(folder);
}

// Leaves the network of all others, for one with a loopback interface only. Needs CAP_SYS_ADMIN.
inline void EnterPrivateNetwork() {
  ifreq loopback{};
  std::memcpy(loopback.ifr_name, "lo", sizeof("lo"));
  loopback.ifr_flags = IFF_UP;
  const Fd any(unshare(CLONE_NEWNET) == 0 ? socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0) : -1);
  if (!any.IsOpen() || ioctl(any.Get(), SIOCSIFFLAGS, &loopback) != 0) {
    throw std::system_error(errno, std::generic_category(),
                            "this test has a network of its own, so it must run as root");
  }
}

// Runs `body` in a child process after `enter`; the running test fails where the body fails, throws
// or crashes.
inline void InChild(const std::function<void()>& enter, const std::function<void()>& body) {
  std::cout.flush();
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
      enter();
      body();
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    std::exit(::testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_TRUE(WIFEXITED(status)) << "the child was ended by signal " << WTERMSIG(status);
  EXPECT_EQ(EXIT_SUCCESS, WEXITSTATUS(status)) << "the child failed, see above";
}

inline void InPrivateRoot(const std::function<void()>& body) { InChild(EnterPrivateRoot, body); }

inline void InPrivateNetwork(const std::function<void()>& body) {
  InChild(EnterPrivateNetwork, body);
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_PRIVATE_ROOT_H
