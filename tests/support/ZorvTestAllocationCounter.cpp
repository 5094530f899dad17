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

void* countedAllocation(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  noteSize(size);
  if (size == 0) size = 1;
  if (void* p = std::malloc(size)) return p;
  throw std::bad_alloc();
}

void* countedAlignedAllocation(std::size_t size, std::align_val_t alignment) {
  allocations.fetch_add(1, std::memory_order_relaxed);
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
AllocationCounter::~AllocationCounter() = default;
std::size_t AllocationCounter::Count() const {
  return allocations.load() - start;
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
