// Memory: malloc and its like, and operator new, which the sanitizers do not build on malloc.

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <new>

#include <pthread.h>

#include "faults/failing_call.h"

namespace {

using wkagent::faults::Call;
using wkagent::faults::CountLive;
using wkagent::faults::IsInLoader;
using wkagent::faults::NextFunction;
using wkagent::faults::Turn;

NextFunction<void*(std::size_t)> nextMalloc("malloc");
NextFunction<void*(std::size_t, std::size_t)> nextCalloc("calloc");
NextFunction<void*(void*, std::size_t)> nextRealloc("realloc");
NextFunction<void*(std::size_t, std::size_t)> nextAlignedAlloc("aligned_alloc");
NextFunction<int(void**, std::size_t, std::size_t)> nextPosixMemalign("posix_memalign");
NextFunction<void(void*)> nextFree("free");
NextFunction<int(pthread_t, pthread_attr_t*)> nextGetAttributes("pthread_getattr_np");
NextFunction<void*(std::size_t)> nextNew("_Znwm");
NextFunction<void*(std::size_t)> nextNewArray("_Znam");
NextFunction<void*(std::size_t, std::align_val_t)> nextAlignedNew("_ZnwmSt11align_val_t");
NextFunction<void(void*)> nextDelete("_ZdlPv");
NextFunction<void(void*)> nextDeleteArray("_ZdaPv");
NextFunction<void(void*, std::align_val_t)> nextAlignedDelete("_ZdlPvSt11align_val_t");

// What finding the next malloc may need before there is one.
alignas(std::max_align_t) char early[16384];
std::atomic<std::size_t> earlyUsed{0};

void* TakeEarly(std::size_t size) {
  constexpr std::size_t kAligned = alignof(std::max_align_t);
  const std::size_t at = earlyUsed.fetch_add((size + kAligned - 1) / kAligned * kAligned);
  return at + size <= sizeof(early) ? early + at : nullptr;
}

bool IsEarly(const void* block) { return block >= early && block < early + sizeof(early); }

// A call of the program may come by twice, as operator new calls malloc: only the outer one counts.
__attribute__((tls_model("initial-exec"))) thread_local int depth = 0;

struct Inside {
  Inside() { ++depth; }
  ~Inside() { --depth; }
};

// A call of the thread's that must not fail is under way.
__attribute__((tls_model("initial-exec"))) thread_local bool spared = false;

bool IsSpared(const void* caller) { return spared || IsInLoader(caller); }

// The block that `take` gives, or null where this call is to fail.
template <typename Take>
void* Taken(const void* caller, Take take) {
  if (depth > 0) return take();
  const Inside inside;
  if (IsSpared(caller)) {
    void* const block = take();
    if (block != nullptr) CountLive(1);
    return block;
  }
  const Turn turn(Call::kAllocate);
  if (turn.Fails()) return nullptr;
  void* const block = take();
  if (block != nullptr) CountLive(1);
  return block;
}

template <typename Give>
void GiveBack(void* block, Give give) {
  if (block == nullptr || IsEarly(block)) return;
  if (depth == 0) CountLive(-1);
  const Inside inside;
  give();
}

template <typename Take>
void* TakenOrThrown(const void* caller, Take take) {
  void* const block = Taken(caller, take);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

template <typename Take>
void* TakenOrNull(const void* caller, Take take) noexcept {
  try {
    return Taken(caller, take);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

#define WKAGENT_CALLER __builtin_return_address(0)

WKAGENT_REPLACED(void*, malloc, (std::size_t size)) {
  if (nextMalloc.Get() == nullptr) return TakeEarly(size);
  return Taken(WKAGENT_CALLER, [=] { return nextMalloc(size); });
}

WKAGENT_REPLACED(void*, calloc, (std::size_t count, std::size_t size)) {
  if (nextCalloc.Get() == nullptr) return TakeEarly(count * size);
  return Taken(WKAGENT_CALLER, [=] { return nextCalloc(count, size); });
}

WKAGENT_REPLACED(void, free, (void* block)) {
  if (nextFree.Get() == nullptr) return;  // looking for it clears an error of an earlier search
  GiveBack(block, [=] { nextFree(block); });
}

WKAGENT_REPLACED(void*, realloc, (void* block, std::size_t size)) {
  if (block == nullptr) return Taken(WKAGENT_CALLER, [=] { return nextRealloc(nullptr, size); });
  if (size == 0) {
    replaced_free(block);
    return nullptr;
  }
  if (depth > 0 || IsSpared(WKAGENT_CALLER)) return nextRealloc(block, size);
  const Inside inside;
  const Turn turn(Call::kAllocate);
  return turn.Fails() ? nullptr : nextRealloc(block, size);
}

WKAGENT_REPLACED(void*, aligned_alloc, (std::size_t alignment, std::size_t size)) {
  return Taken(WKAGENT_CALLER, [=] { return nextAlignedAlloc(alignment, size); });
}

WKAGENT_REPLACED(int, posix_memalign, (void** block, std::size_t alignment, std::size_t size)) {
  int result = ENOMEM;
  void* const taken = Taken(WKAGENT_CALLER, [&]() -> void* {
    void* fresh = nullptr;
    result = nextPosixMemalign(&fresh, alignment, size);
    return result == 0 ? fresh : nullptr;
  });
  if (taken != nullptr) *block = taken;
  return result;
}

// A sanitizer asks where a new thread's stack lies, and ends the process where it gets no answer.
WKAGENT_REPLACED(int, pthread_getattr_np, (pthread_t thread, pthread_attr_t* attributes)) {
  spared = true;
  const int result = nextGetAttributes(thread, attributes);
  spared = false;
  return result;
}

#define WKAGENT_EXPORTED __attribute__((visibility("default")))

WKAGENT_EXPORTED void* operator new(std::size_t size) {
  return TakenOrThrown(WKAGENT_CALLER, [=] { return nextNew(size); });
}
WKAGENT_EXPORTED void* operator new[](std::size_t size) {
  return TakenOrThrown(WKAGENT_CALLER, [=] { return nextNewArray(size); });
}
WKAGENT_EXPORTED void* operator new(std::size_t size, std::align_val_t alignment) {
  return TakenOrThrown(WKAGENT_CALLER, [=] { return nextAlignedNew(size, alignment); });
}
WKAGENT_EXPORTED void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return TakenOrNull(WKAGENT_CALLER, [=] { return nextNew(size); });
}
WKAGENT_EXPORTED void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return TakenOrNull(WKAGENT_CALLER, [=] { return nextNewArray(size); });
}

WKAGENT_EXPORTED void operator delete(void* block) noexcept {
  GiveBack(block, [=] { nextDelete(block); });
}
WKAGENT_EXPORTED void operator delete[](void* block) noexcept {
  GiveBack(block, [=] { nextDeleteArray(block); });
}
WKAGENT_EXPORTED void operator delete(void* block, std::size_t) noexcept { operator delete(block); }
WKAGENT_EXPORTED void operator delete[](void* block, std::size_t) noexcept {
  operator delete[](block);
}
WKAGENT_EXPORTED void operator delete(void* block, const std::nothrow_t&) noexcept {
  operator delete(block);
}
WKAGENT_EXPORTED void operator delete[](void* block, const std::nothrow_t&) noexcept {
  operator delete[](block);
}
WKAGENT_EXPORTED void operator delete(void* block, std::align_val_t alignment) noexcept {
  GiveBack(block, [=] { nextAlignedDelete(block, alignment); });
}
WKAGENT_EXPORTED void operator delete(void* block, std::size_t,
                                      std::align_val_t alignment) noexcept {
  operator delete(block, alignment);
}
