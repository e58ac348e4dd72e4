#include "support/counted_heap.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace {

std::atomic<long> live_blocks{0};
std::atomic<long> allocations{0};

// Each block is preceded by its size, in as many bytes as keep it aligned.
constexpr std::size_t kHeader = alignof(std::max_align_t);
static_assert(kHeader >= sizeof(std::size_t));

void* TryAllocate(std::size_t size) {
  if (size > wkagent::test::HeapLimit::limit || size > SIZE_MAX - kHeader) return nullptr;
  void* const memory = std::malloc(kHeader + size);
  if (memory == nullptr) return nullptr;
  std::memcpy(memory, &size, sizeof(size));
  ++live_blocks;
  ++allocations;
  return static_cast<char*>(memory) + kHeader;
}

void* Allocate(std::size_t size) {
  void* const block = TryAllocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void Release(void* block) {
  if (block == nullptr) return;
  --live_blocks;
  void* const memory = static_cast<char*>(block) - kHeader;
  if (const std::string_view wanted = wkagent::test::LeftInMemory::wanted; !wanted.empty()) {
    std::size_t size = 0;
    std::memcpy(&size, memory, sizeof(size));
    const std::string_view content(static_cast<char*>(block), size);
    if (content.find(wanted) != content.npos) ++wkagent::test::LeftInMemory::count;
  }
  std::free(memory);
}

}  // namespace

namespace wkagent::test {

long LiveBlocks() { return live_blocks; }

long Allocations() { return allocations; }

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
