#include "ZorvTestAllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> largest{0};

void noteSize(std::size_t size) {
  std::size_t seen = largest.load(std::memory_order_relaxed);
  while (size > seen && !largest.compare_exchange_weak(seen, size, std::memory_order_relaxed)) {
  }
}

// The one watched thread, when watching is set.
std::atomic<bool> watching{false};
pthread_t watched{};
std::atomic<std::size_t> watchedAllocations{0};

void count() {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (watching.load(std::memory_order_acquire) && pthread_equal(pthread_self(), watched) != 0) {
    watchedAllocations.fetch_add(1, std::memory_order_relaxed);
  }
}

void* countedAllocation(std::size_t size) {
  count();
  noteSize(size);
  if (size == 0) size = 1;
  if (void* p = std::malloc(size)) return p;
  throw std::bad_alloc();
}

void* countedAlignedAllocation(std::size_t size, std::align_val_t alignment) {
  count();
  noteSize(size);
  std::size_t const a = static_cast<std::size_t>(alignment);
  std::size_t rounded = (size + a - 1) / a * a;
  if (rounded == 0) rounded = a;
  if (void* p = std::aligned_alloc(a, rounded)) return p;
  throw std::bad_alloc();
}
}  // namespace

namespace zorvtest {
AllocationCounter::AllocationCounter() : start(allocations.load()) {}
AllocationCounter::AllocationCounter(pthread_t thread) : start(0), onThread(true) {
  watching.store(false, std::memory_order_release);
  watched = thread;
  watchedAllocations.store(0);
  watching.store(true, std::memory_order_release);
}
AllocationCounter::~AllocationCounter() {
  if (onThread) watching.store(false, std::memory_order_release);
}
std::size_t AllocationCounter::Count() const {
  return onThread ? watchedAllocations.load() : allocations.load() - start;
}
void ResetLargestAllocation() {
  largest.store(0);
}
std::size_t LargestAllocation() {
  return largest.load();
}
}  // namespace zorvtest

void* operator new(std::size_t size) {
  return countedAllocation(size);
}
void* operator new[](std::size_t size) {
  return countedAllocation(size);
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
  try {
    return countedAllocation(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
  try {
    return countedAllocation(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new(std::size_t size, std::align_val_t a) {
  return countedAlignedAllocation(size, a);
}
void* operator new[](std::size_t size, std::align_val_t a) {
  return countedAlignedAllocation(size, a);
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t, std::align_val_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept {
  std::free(p);
}
