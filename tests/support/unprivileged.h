#ifndef WKAGENT_TESTS_SUPPORT_UNPRIVILEGED_H
#define WKAGENT_TESTS_SUPPORT_UNPRIVILEGED_H

#include <unistd.h>

namespace wkagent::test {

// While it lives, a process of root has the rights of a user who owns nothing.
class Unprivileged {
 public:
  Unprivileged() : before_(geteuid()) {
    if (before_ == 0) changed_ = seteuid(kNobody) == 0;
  }
  ~Unprivileged() {
    if (changed_) changed_ = seteuid(before_) != 0;
  }
  Unprivileged(const Unprivileged&) = delete;
  Unprivileged& operator=(const Unprivileged&) = delete;

 private:
  static constexpr uid_t kNobody = 65534;

  uid_t before_;
  bool changed_ = false;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_SUPPORT_UNPRIVILEGED_H
