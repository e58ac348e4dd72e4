#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include <wkagent/core.h>

#include "core/lock_eagerly.h"

namespace {

// Holds a pool's mutex, which is a plain one of the C library, for a scope. Another thread holds it
// for one copy as a rule.
class PoolLock {
 public:
  explicit PoolLock(pthread_mutex_t& mutex) : mutex_(mutex) {
    wkagent::LockEagerly(mutex_, kTries, kPauses);
  }
  ~PoolLock() { pthread_mutex_unlock(&mutex_); }
  PoolLock(const PoolLock&) = delete;
  PoolLock& operator=(const PoolLock&) = delete;

 private:
  static constexpr int kTries = 8;
  static constexpr int kPauses = 16;

  pthread_mutex_t& mutex_;
};

// The counts are read without the lock, so they are stored and read as a whole.
void Store(std::uint32_t& count, int value) {
  std::atomic_ref<std::uint32_t>(count).store(static_cast<std::uint32_t>(value),
                                              std::memory_order_relaxed);
}

unsigned int Load(std::uint32_t& count) {
  return std::atomic_ref<std::uint32_t>(count).load(std::memory_order_relaxed);
}

}  // namespace

ClsMemManager::ClsMemManager() : freeBlocks(0), usedBlocks(0), mutex{}, mutexReady(false) {}

ClsMemManager::~ClsMemManager() { Free(); }

int ClsMemManager::Initialize(int count, void* blockTemplate, int size) {
  if (!mutexReady) mutexReady = pthread_mutex_init(&mutex, nullptr) == 0;
  if (!mutexReady) return 1;
  const PoolLock lock(mutex);
  int added = 0;
  try {
    for (; added < count; ++added) freeList.AddNode(blockTemplate, size);
  } catch (const std::bad_alloc&) {
    // The pool works with the blocks that there are.
  }
  // Deliberate: of a pool that is set up again only the new blocks count, until the next move.
  Store(freeBlocks, added);
  Store(usedBlocks, 0);
  return added == std::max(count, 0) ? 0 : 1;
}

int ClsMemManager::AddToQ(void* data) {
  if (!mutexReady) return 1;
  const PoolLock lock(mutex);
  tagLinkList* const block = freeList.GetHeadListNode();
  if (block == nullptr) return 1;
  std::memcpy(block->data, data, static_cast<std::size_t>(block->size));
  usedList.AddListNode(block);
  RefreshCounts();
  return 0;
}

int ClsMemManager::GetData(void* target) {
  if (!mutexReady) return 1;
  const PoolLock lock(mutex);
  tagLinkList* const block = usedList.GetHeadListNode();
  if (block != nullptr) {
    const auto size = static_cast<std::size_t>(block->size);
    std::memcpy(target, block->data, size);
    std::memset(block->data, 0, size);
    freeList.AddListNode(block);
  }
  RefreshCounts();
  return block == nullptr ? 1 : 0;
}

unsigned int ClsMemManager::GetFreeMemoryBlocks() { return Load(freeBlocks); }

unsigned int ClsMemManager::GetUsedBlocks() { return Load(usedBlocks); }

void ClsMemManager::Free() {
  freeList.ClearList();
  usedList.ClearList();
  RefreshCounts();
  if (mutexReady) pthread_mutex_destroy(&mutex);
  mutexReady = false;
}

void ClsMemManager::RefreshCounts() {
  Store(freeBlocks, freeList.GetCount());
  Store(usedBlocks, usedList.GetCount());
}
