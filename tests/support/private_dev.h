#ifndef WKAGENT_TESTS_SUPPORT_PRIVATE_DEV_H
#define WKAGENT_TESTS_SUPPORT_PRIVATE_DEV_H

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "support/private_root.h"

namespace wkagent::test {

// Runs `body` as InPrivateRoot does, with a /dev that holds the few devices a program needs and
// takes a /dev/log of the test's own.
inline void InPrivateDev(const std::function<void()>& body) {
  InPrivateRoot([&] {
    namespace fs = std::filesystem;
    std::string before = (fs::temp_directory_path() / "wkagent-dev-XXXXXX").string();
    if (mkdtemp(before.data()) == nullptr) throw std::runtime_error("mkdtemp");
    RequireMounted(mount("/dev", before.c_str(), nullptr, MS_BIND | MS_REC, nullptr), "/dev");
    MountTmpfs("/dev", "mode=755");
    for (const std::string name : {"null", "zero", "random", "urandom"}) {
      const std::string path = "/dev/" + name;
      std::ofstream(path).put('\n');
      const std::string device = before + "/" + name;
      RequireMounted(mount(device.c_str(), path.c_str(), nullptr, MS_BIND, nullptr), path);
    }
    RequireMounted(umount2(before.c_str(), MNT_DETACH), before);
    fs::remove(before);
    body();
  });
}

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_PRIVATE_DEV_H
