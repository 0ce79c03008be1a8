#include "support/Allocations.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<long> madeBlocks;
std::atomic<long> liveBlocks;
std::atomic<long> liveBytes;
thread_local int countdown;  // to the allocation that fails; 0 for none
thread_local bool failLater;
thread_local bool hasFailed;

void* allocate(std::size_t size) {
  if (countdown > 0 && --countdown == 0) {
    hasFailed = true;
    if (failLater) countdown = 1;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size > 0 ? size : 1);
  if (!memory) throw std::bad_alloc();
  std::memset(memory, 0xa5, size);  // so that nothing new is zero by chance
  ++madeBlocks;
  ++liveBlocks;
  liveBytes += static_cast<long>(malloc_usable_size(memory));
  return memory;
}

void release(void* memory) {
  if (!memory) return;
  --liveBlocks;
  liveBytes -= static_cast<long>(malloc_usable_size(memory));
  std::free(memory);
}

}  // namespace

namespace allocations {

long made() { return madeBlocks; }
long live() { return liveBlocks; }
long bytes() { return liveBytes; }

void failAt(int n, bool allLater) {
  countdown = n;
  failLater = allLater;
  if (n > 0) hasFailed = false;
}

bool failed() { return hasFailed; }

}  // namespace allocations

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
