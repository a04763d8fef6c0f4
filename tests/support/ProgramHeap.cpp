// Linking the library "program_heap" replaces operator new and delete and the
// general-purpose heap functions of util/string/HeapBlock.h in the whole program, so
// that each of its allocations is counted and can fail (tests/support/Faults.h).
#include <cstdlib>

#include "tests/support/Faults.h"
#include "util/string/HeapBlock.h"

namespace {

using veskard::test::FaultKind;
using veskard::test::Faults;
using veskard::test::Held;

bool MayAllocate() noexcept {
  return !Faults::Strikes(FaultKind::kAllocation, "operator new");
}

void* Allocate(size_t size) noexcept {
  if (!MayAllocate()) return nullptr;
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block != nullptr) Faults::Take(Held::kBlock, 1);
  return block;
}

void Free(void* block) noexcept {
  if (block == nullptr) return;
  Faults::Take(Held::kBlock, -1);
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

}  // namespace veskard
