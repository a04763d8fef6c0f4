// ProcessResources: counts of the system's resources that a process holds, for comparison.
#pragma once

#include <cstddef>
#include <iosfwd>

namespace veskard::test {

/// Counted without `GetProcessHandleCount` and `GetGuiResources`, which answer 0
/// under Wine.
struct ProcessResources {
  size_t heapBlocks = 0;  // allocated blocks of all heaps
  size_t heapBytes = 0;   // and their sizes
  size_t handles = 0;     // kernel handles
  size_t gdiObjects = 0;
  size_t tlsIndices = 0;  // of the 1088 that a process has
};

ProcessResources CountProcessResources();

/// The test fails when `rounds` rounds of an operation have leaked a resource.
void ExpectNoGrowth(const ProcessResources& before, const ProcessResources& after, size_t rounds);

/// The memory that the system keeps for this process alone, in bytes; moves by pages.
size_t PrivateBytes();

/// "7 blocks, 512 bytes, ..." for a test's message.
std::ostream& operator<<(std::ostream& out, const ProcessResources& resources);

}  // namespace veskard::test
