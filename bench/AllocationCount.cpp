#include "bench/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {

// One thread only; a plain counter costs all contenders the same.
size_t allocated_blocks = 0;

}  // namespace

namespace veskard::bench {

size_t AllocatedBlocks() noexcept {
  return allocated_blocks;
}

}  // namespace veskard::bench

void* operator new(size_t size) {
  ++allocated_blocks;
  if (void* block = std::malloc(size)) return block;
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, size_t) noexcept {
  std::free(block);
}
