#ifndef WKAGENT_AGENT_SANDBOX_H
#define WKAGENT_AGENT_SANDBOX_H

#include <string>

namespace wkagent {

// Confines the process, in every thread that it has or starts, to the system calls that an agent
// needs (seccomp(2)), for good. Whoever makes it run code of theirs can start no program, become
// nobody else, look into no other process, mount nothing and load nothing into the kernel.
//
// A call that only an attack makes ends the process by SIGSYS, which the kernel logs with the
// call's number. Any other call that is not on the list fails with ENOSYS, as in a kernel that does
// not know it: a libc that tries a newer call then does without, and no event is lost.
//
// Empty, or why it cannot be done.
[[nodiscard]] std::string EnterSandbox();

}  // namespace wkagent

#endif  // WKAGENT_AGENT_SANDBOX_H
