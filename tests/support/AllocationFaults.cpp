#include "tests/support/AllocationFaults.h"

#include <atomic>
#include <cstdlib>

#include "util/string/HeapBlock.h"

namespace {

std::atomic<size_t> liveBlocks{0};
thread_local size_t allocations = 0;
thread_local size_t failingNumber = 0;  // of this thread's allocations; 0: none
thread_local bool happened = false;

// Counts one allocation; false when it is the one that fails.
bool MayAllocate() noexcept {
  ++allocations;
  if (failingNumber == 0 || --failingNumber != 0) return true;
  happened = true;
  return false;
}

void* Allocate(size_t size) noexcept {
  if (!MayAllocate()) return nullptr;
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) ++liveBlocks;
  return block;
}

void Free(void* block) noexcept {
  if (block == nullptr) return;
  --liveBlocks;
  std::free(block);
}

}  // namespace

void* operator new(size_t size) {
  if (void* const block = Allocate(size)) return block;
  throw std::bad_alloc();
}
void* operator new[](size_t size) {
  return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size);
}
void operator delete(void* block) noexcept {
  Free(block);
}
void operator delete[](void* block) noexcept {
  Free(block);
}
void operator delete(void* block, size_t) noexcept {
  Free(block);
}
void operator delete[](void* block, size_t) noexcept {
  Free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  Free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  Free(block);
}

namespace veskard {

void* ResizeHeapBlock(void* block, size_t size) noexcept {
  if (block == nullptr) return Allocate(size);
  return MayAllocate() ? std::realloc(block, size) : nullptr;
}

void FreeHeapBlock(void* block) noexcept {
  Free(block);
}

namespace test {

size_t LiveBlocks() noexcept {
  return liveBlocks;
}

size_t AllocationsOfThisThread() noexcept {
  return allocations;
}

FailingAllocation::FailingAllocation(size_t number) noexcept {
  happened = false;
  failingNumber = number;
}

FailingAllocation::~FailingAllocation() {
  failingNumber = 0;
}

bool FailingAllocation::Happened() const noexcept {
  return happened;
}

}  // namespace test
}  // namespace veskard
