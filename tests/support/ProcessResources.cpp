#include "tests/support/ProcessResources.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <vector>

#include "tests/support/FileTools.h"
#include "tests/support/GdiHandleCount.h"

namespace veskard::test {
namespace {

// Room for eight thousand handles: counted seldom, and after thousands of rounds of which
// each may have lost some.
constexpr uintptr_t kEndOfHandles = 0x8000;
constexpr size_t kTlsLimit = 1088;

/// With its heap checks on, Wine keeps the blocks that were freed last and counts them
/// as taken: these take their places, always the same.
void ReplaceFreedBlocks(HANDLE heap) {
  constexpr int kKept = 1024;
  for (int i = 0; i <= kKept; ++i) ::HeapFree(heap, 0, ::HeapAlloc(heap, 0, 1));
}

void AddHeap(ProcessResources& count, HANDLE heap) {
  ReplaceFreedBlocks(heap);
  ::HeapLock(heap);
  PROCESS_HEAP_ENTRY entry = {};
  while (::HeapWalk(heap, &entry)) {
    if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) == 0) continue;
    ++count.heapBlocks;
    count.heapBytes += entry.cbData;
  }
  ::HeapUnlock(heap);
}

/// Takes every index that is left and gives them back.
size_t CountTlsIndices() {
  std::vector<DWORD> taken;
  taken.reserve(kTlsLimit);
  for (DWORD index = ::TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = ::TlsAlloc()) taken.push_back(index);
  for (const DWORD index : taken) ::TlsFree(index);
  return kTlsLimit - taken.size();
}

}  // namespace

ProcessResources CountProcessResources() {
  ProcessResources count;
  std::array<HANDLE, 64> heaps = {};
  // The answer is how many there are, which may be more than fit.
  const size_t heapCount = ::GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
  for (size_t i = 0; i < std::min(heapCount, heaps.size()); ++i) AddHeap(count, heaps[i]);
  count.handles = CountOpenHandles(kEndOfHandles);
  count.gdiObjects = CountGdiHandles();
  count.tlsIndices = CountTlsIndices();
  return count;
}

void ExpectNoGrowth(const ProcessResources& before, const ProcessResources& after, size_t rounds) {
  // A cache of the system's may still grow a little, by a large block at once; a leak
  // grows with each round.
  constexpr size_t kOneBlock = 8192 + 64;
  EXPECT_LT(after.heapBlocks, before.heapBlocks + rounds / 10) << before << "; then " << after;
  EXPECT_LT(after.heapBytes, before.heapBytes + rounds + kOneBlock) << before << "; then " << after;
  EXPECT_EQ(after.handles, before.handles);
  EXPECT_EQ(after.gdiObjects, before.gdiObjects);
  EXPECT_EQ(after.tlsIndices, before.tlsIndices);
}

size_t PrivateBytes() {
  PROCESS_MEMORY_COUNTERS counters = {};
  ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
  return counters.PagefileUsage;
}

std::ostream& operator<<(std::ostream& out, const ProcessResources& resources) {
  return out << resources.heapBlocks << " blocks, " << resources.heapBytes << " bytes, " << resources.handles
             << " handles, " << resources.gdiObjects << " GDI objects, " << resources.tlsIndices
             << " TLS indices";
}

}  // namespace veskard::test
