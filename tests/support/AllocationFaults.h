// AllocationFaults: lets the Nth heap allocation fail, and counts live blocks.
//
// Linking the library "allocation_faults" replaces operator new and delete and the
// general-purpose heap functions of util/string/HeapBlock.h in the whole program.
#pragma once

#include <cstddef>
#include <new>

namespace veskard::test {

/// Heap blocks of this program that are not freed yet, whatever thread took them.
size_t LiveBlocks() noexcept;

/// Blocks that this thread has taken so far.
size_t AllocationsOfThisThread() noexcept;

/// While it lives, allocation number `number` (from 1) of this thread fails, and
/// no other: code that swallows the failure goes on with memory again.
class FailingAllocation {
 public:
  explicit FailingAllocation(size_t number) noexcept;
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  /// Whether there were that many allocations.
  bool Happened() const noexcept;
};

/// Runs `scenario` again and again, each time with one allocation failing: the
/// first, the second, and so on until it takes fewer. Then calls
/// check(number, threw, blocksBefore) with whether std::bad_alloc came out and
/// how many blocks were alive before. Returns how many allocations were tried.
/// Number `spared` (0: none) is passed over, for one whose failure ends the process.
/// The scenario makes no assertions of its own: those allocate as well.
template <class Scenario, class Check>
size_t FailEachAllocation(const Scenario& scenario, const Check& check, size_t spared = 0) {
  for (size_t number = 1;; ++number) {
    if (number == spared) continue;
    const size_t before = LiveBlocks();
    bool threw = false;
    bool happened = false;
    {
      const FailingAllocation failing(number);
      try {
        scenario();
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      happened = failing.Happened();
    }
    if (!happened) return number - 1;
    check(number, threw, before);
  }
}

}  // namespace veskard::test
