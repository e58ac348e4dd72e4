#include "support/counted_heap.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> live_blocks{0};

void* TryAllocate(std::size_t size) {
  if (size > wkagent::test::HeapLimit::limit) return nullptr;
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) ++live_blocks;
  return block;
}

void* Allocate(std::size_t size) {
  void* const block = TryAllocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void Release(void* block) {
  if (block == nullptr) return;
  --live_blocks;
  std::free(block);
}

}  // namespace

namespace wkagent::test {

long LiveBlocks() { return live_blocks; }

}  // namespace wkagent::test

// These replace the process's own, in the shared library as well.
void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return TryAllocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return TryAllocate(size); }
void operator delete(void* block) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete(void* block, std::size_t) noexcept { Release(block); }
void operator delete[](void* block, std::size_t) noexcept { Release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { Release(block); }
