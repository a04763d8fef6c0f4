// HeapBlock: the general-purpose heap functions, in one place of their own so that
// a test program can put others in their stead, as it can with operator new.
#pragma once

#include <cstddef>

namespace veskard {

/// Makes a block larger or smaller, or a new one for null, keeping its contents;
/// the size may not be 0. Null when memory runs out, and then the old block stays.
void* ResizeHeapBlock(void* block, size_t size) noexcept;

/// Frees a block; null is nothing.
void FreeHeapBlock(void* block) noexcept;

}  // namespace veskard
