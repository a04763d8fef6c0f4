#include "util/string/HeapBlock.h"

#include <cstdlib>

namespace veskard {

void* ResizeHeapBlock(void* block, size_t size) noexcept {
  return std::realloc(block, size);
}

void FreeHeapBlock(void* block) noexcept {
  std::free(block);
}

}  // namespace veskard
