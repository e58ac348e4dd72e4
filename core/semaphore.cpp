#include <cerrno>

#include <wkagent/core.h>

#include "core/bounded_copy.h"

CSemaphore::CSemaphore() : semaphore{}, isOpen(0), errorText{} {}

CSemaphore::~CSemaphore() { Close(); }

int CSemaphore::Open(int initialValue) {
  if (isOpen != 0) return 1;
  if (sem_init(&semaphore, 0, static_cast<unsigned int>(initialValue)) != 0) {
    wkagent::FormatBounded(errorText, "Unable to initialize sema_init returned %d", errno);
    return 0;
  }
  isOpen = 1;
  return 1;
}

int CSemaphore::Post() { return isOpen == 0 ? 1 : sem_post(&semaphore); }

int CSemaphore::Wait() { return isOpen == 0 ? 1 : sem_wait(&semaphore); }

int CSemaphore::Close() {
  if (isOpen == 0) return 0;
  isOpen = 0;
  return sem_destroy(&semaphore);
}
