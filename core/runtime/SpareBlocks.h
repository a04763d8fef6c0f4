// Memory for exceptions when the process is out of memory.
#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <cstddef>

namespace veskard {

/// Blocks for exceptions that find the heap empty, as large as the exceptions of the
/// standard library need. Half of them are kept for threads that have an exception in flight
/// already: threads that wait for a block inside a handler would otherwise keep each other
/// waiting with those that they hold. They need no lock, and nothing when the module is
/// loaded or unloaded.
class SpareBlocks {
 public:
  static constexpr size_t kSize = 512;
  /// What the records of exceptions are declared with; on ARM64 more than std::max_align_t has.
  static constexpr size_t kAlignment = 16;

  /// Memory from the heap, by a function that returns null when there is none, or one of
  /// these blocks. Without either the thread waits until another one is done with its
  /// exception: a host with a thread that waits for memory is better off than one that is
  /// ended.
  template <class TakeFromHeap, class HasExceptionInFlight>
  void* TakeAfter(TakeFromHeap takeFromHeap, size_t size,
                  HasExceptionInFlight hasExceptionInFlight) noexcept {
    for (;;) {
      void* block = takeFromHeap();
      if (block == nullptr && size <= kSize) block = Take(hasExceptionInFlight());
      if (block != nullptr) return block;
      ::Sleep(1);
    }
  }

  /// False when it is none of these blocks.
  bool GiveBack(const void* bytes) noexcept {
    for (Block& block : blocks_) {
      if (block.bytes != bytes) continue;
      block.isTaken = false;
      return true;
    }
    return false;
  }

 private:
  struct Block {
    alignas(kAlignment) unsigned char bytes[kSize];
    std::atomic<bool> isTaken;
  };

  // Null when all that this thread may have are taken.
  void* Take(bool hasExceptionInFlight) noexcept {
    const size_t count = hasExceptionInFlight ? blocks_.size() : blocks_.size() / 2;
    for (size_t i = 0; i < count; ++i)
      if (!blocks_[i].isTaken.exchange(true)) return blocks_[i].bytes;
    return nullptr;
  }

  std::array<Block, 64> blocks_ = {};
};

}  // namespace veskard
