#include "tests/support/GdiHandleCount.h"

#include <windows.h>
#include <winternl.h>

#include <cstdint>

namespace veskard::test {
namespace {

// One entry of the table, as user mode sees it; its type is 0 where it is free.
struct TableEntry {
  uint64_t object;
  uint16_t owner;
  uint16_t ownerHigh;
  uint16_t unique;
  uint8_t type;
  uint8_t flags;
  uint64_t userPointer;
};
static_assert(sizeof(TableEntry) == 24);

constexpr size_t kTableEntries = 0x4000;

// The environment blocks as 64-bit Windows has them, for each thread and for the process,
// as far as they are needed. A process for 32 bits has them too, beside its own.
struct ThreadBlock {
  uint64_t before[12];
  uint64_t processBlock;
};
struct ProcessBlock {
  uint64_t before[31];
  uint64_t gdiHandleTable;
};

template <class Block>
const Block& At(uint64_t address) noexcept {
  return *reinterpret_cast<const Block*>(static_cast<uintptr_t>(address));
}

const ThreadBlock& BlockOfThisThread() noexcept {
  constexpr size_t kSystemsBlock = 22;  // which pointer of a 32-bit process's own block leads to it
  BOOL isFor32Bits = FALSE;
  ::IsWow64Process(::GetCurrentProcess(), &isFor32Bits);
  const TEB* const own = ::NtCurrentTeb();
  return *static_cast<const ThreadBlock*>(isFor32Bits ? own->Reserved5[kSystemsBlock] : own);
}

const TableEntry* HandleTable() noexcept {
  return &At<TableEntry>(At<ProcessBlock>(BlockOfThisThread().processBlock).gdiHandleTable);
}

}  // namespace

size_t CountGdiHandles() noexcept {
  const TableEntry* table = HandleTable();
  size_t live = 0;
  for (size_t i = 0; i < kTableEntries; ++i) live += table[i].type != 0 ? 1 : 0;
  return live;
}

}  // namespace veskard::test
