// AllocationCount: how many heap blocks a piece of code takes.
#pragma once

#include <cstddef>

namespace veskard::bench {

/// Blocks that this program took with operator new since it started.
size_t AllocatedBlocks() noexcept;

/// The blocks that one run takes.
template <class Run>
size_t BlocksOf(const Run& run) {
  const size_t before = AllocatedBlocks();
  run();
  return AllocatedBlocks() - before;
}

}  // namespace veskard::bench
