#ifndef WKAGENT_AGENT_PRIVATE_MEMORY_H
#define WKAGENT_AGENT_PRIVATE_MEMORY_H

namespace wkagent {

// Keeps what is in memory, passwords and keys among it, out of core files and from other processes
// of the same user: none may trace this one or read its memory and environment. To be called again
// after the process has become another user.
void KeepMemoryPrivate();

}  // namespace wkagent

#endif  // WKAGENT_AGENT_PRIVATE_MEMORY_H
