#include "agent/private_memory.h"

#include <sys/prctl.h>
#include <sys/resource.h>

#include "agent/sanitized.h"

namespace wkagent {

void KeepMemoryPrivate() {
  const rlimit none = {0, 0};
  // Neither can fail.
  (void)setrlimit(RLIMIT_CORE, &none);
  if (!kSanitized) (void)prctl(PR_SET_DUMPABLE, 0);
}

}  // namespace wkagent
