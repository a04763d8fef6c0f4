// HeapBlock: realloc and free, as functions that a test program can replace by linking
// others, as it can operator new.
#pragma once

#include <cstddef>

namespace veskard {

/// Makes a block larger or smaller and keeps its contents; makes a new one for null. The
/// size may not be 0. Null when out of memory; the old block then stays valid.
void* ResizeHeapBlock(void* block, size_t size) noexcept;

/// Frees a block; does nothing for null.
void FreeHeapBlock(void* block) noexcept;

}  // namespace veskard
