#ifndef WKAGENT_CORE_LOCK_EAGERLY_H
#define WKAGENT_CORE_LOCK_EAGERLY_H

#include <pthread.h>

namespace wkagent {

// Locks a mutex that is never held for longer than the tries take, a microsecond or a few: to sleep
// and be woken would cost more on both sides. Where it is held longer after all, it sleeps.
inline void LockEagerly(pthread_mutex_t& mutex, int tries, int pausesBetween) {
  for (; tries > 0; --tries) {
    if (pthread_mutex_trylock(&mutex) == 0) return;
    for (int pause = 0; pause < pausesBetween; ++pause) {
#if defined(__x86_64__)
      __builtin_ia32_pause();
#endif
    }
  }
  pthread_mutex_lock(&mutex);
}

}  // namespace wkagent

#endif  // WKAGENT_CORE_LOCK_EAGERLY_H
